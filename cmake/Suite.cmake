# The installed suite: TandemService.app with its programs, resources and the plug-in's bundle.
#   cmake --install BUILD --prefix FOLDER     puts it into FOLDER
#   the target `suite`                        puts it into BUILD/suite
set(app TandemService.app/Contents)
set(plugin ${app}/PlugIns/Update.bundle/Contents)

# Programs find the platform library beside them; the plug-in finds it beside its host.
set_target_properties(platform TandemService PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(Update PROPERTIES INSTALL_RPATH "$ORIGIN/../../../../Linux")

install(TARGETS platform TandemService installer
    RUNTIME DESTINATION ${app}/Linux
    LIBRARY DESTINATION ${app}/Linux)
install(FILES ${CMAKE_SOURCE_DIR}/resources/TandemService/Info.plist DESTINATION ${app})
install(DIRECTORY ${CMAKE_SOURCE_DIR}/resources/VelTanRes.UI DESTINATION ${app}/Resources)
install(DIRECTORY ${TANDEM_BUNDLE} DESTINATION ${app}/PlugIns PATTERN Linux EXCLUDE)
install(TARGETS Update WatchSelfUpdate
    RUNTIME DESTINATION ${plugin}/Linux
    LIBRARY DESTINATION ${plugin}/Linux)

add_custom_target(suite ALL
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${CMAKE_BINARY_DIR}/suite
    COMMAND ${CMAKE_COMMAND} --install ${CMAKE_BINARY_DIR} --prefix ${CMAKE_BINARY_DIR}/suite > ${CMAKE_BINARY_DIR}/suite.log
    VERBATIM)
add_dependencies(suite bundle platform TandemService installer Update WatchSelfUpdate)
