# Compiler settings that every target of the tree shares, and the helpers that declare a target.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

option(TANDEM_SANITIZE "Build with the address and undefined-behaviour sanitizers" OFF)
option(TANDEM_WERROR "Treat warnings as errors" OFF)
option(TANDEM_FUZZ "Have the fuzz targets; fuzz/run sets what else they need" OFF)

add_compile_options(-Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wundef)
if(TANDEM_WERROR)
    add_compile_options(-Werror)
endif()
if(TANDEM_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

find_program(TANDEM_CCACHE ccache)
if(TANDEM_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${TANDEM_CCACHE})
endif()
find_program(TANDEM_MOLD mold)
if(TANDEM_MOLD)
    add_link_options(-fuse-ld=mold)
endif()

# tandem_library(NAME SOURCES... [LINK libs...]): one floor's folder as a static library. Its names stay hidden,
# so that a module made of it exports only what its version script says.
function(tandem_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${ARG_LINK})
    set_target_properties(${name} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
endfunction()
