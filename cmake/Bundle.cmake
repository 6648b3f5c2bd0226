# The plug-in's bundle, laid out below the build folder as it is installed.
set(TANDEM_BUNDLE ${CMAKE_BINARY_DIR}/bundle/Update.bundle)
add_custom_target(bundle_resources) # all but the programs, for those who need no more
add_custom_target(bundle ALL)
add_dependencies(bundle bundle_resources)

# tandem_bundle_file(FILE PLACE [TARGET target]): puts FILE (a path, or a generator expression of TARGET's) into the
# bundle at PLACE, a path below Contents.
function(tandem_bundle_file file place)
    cmake_parse_arguments(ARG "" "TARGET" "" ${ARGN})
    set(staged ${TANDEM_BUNDLE}/Contents/${place})
    add_custom_command(OUTPUT ${staged}
        COMMAND ${CMAKE_COMMAND} -E copy ${file} ${staged}
        DEPENDS ${file} ${ARG_TARGET}
        VERBATIM)
    string(MAKE_C_IDENTIFIER "bundle_${place}" step)
    add_custom_target(${step} DEPENDS ${staged})
    if(ARG_TARGET)
        add_dependencies(bundle ${step})
    else()
        add_dependencies(bundle_resources ${step})
    endif()
endfunction()

# tandem_bundle_program(TARGET): puts the program or module that TARGET builds into Contents/Linux.
function(tandem_bundle_program target)
    tandem_bundle_file($<TARGET_FILE:${target}> Linux/${target} TARGET ${target})
endfunction()
