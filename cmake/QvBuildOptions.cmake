# Compiler settings shared by every target of this project, kept off the targets of a parent
# project: all of it hangs on the interface target qvcommon_build_options.

set(QVCOMMON_SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize=")
mark_as_advanced(QVCOMMON_SANITIZE)

add_library(qvcommon_build_options INTERFACE)
target_compile_features(qvcommon_build_options INTERFACE cxx_std_17)
target_compile_options(qvcommon_build_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align
    -Wformat=2 -Wundef
    $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments> # QSKIP("...") of Qt Test
    $<$<BOOL:${QVCOMMON_WERROR}>:-Werror>)
target_compile_definitions(qvcommon_build_options INTERFACE
    QT_NO_KEYWORDS
    QT_NO_FOREACH
    QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_URL_CAST_FROM_STRING
    QT_DEPRECATED_WARNINGS)

# What a release is hardened with: checked copies, guarded stacks, nothing that can be rewritten once
# it is linked.
set(optimised "$<CONFIG:Release,RelWithDebInfo,MinSizeRel>")
target_compile_options(qvcommon_build_options INTERFACE
    $<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=2>
    $<${optimised}:-fstack-protector-strong>)
target_link_options(qvcommon_build_options INTERFACE
    $<${optimised}:LINKER:-z,relro,-z,now,-z,noexecstack>)

if(QVCOMMON_SANITIZE)
    target_compile_options(qvcommon_build_options INTERFACE
        -fsanitize=${QVCOMMON_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(qvcommon_build_options INTERFACE -fsanitize=${QVCOMMON_SANITIZE})
endif()

if(PROJECT_IS_TOP_LEVEL)
    if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
        set(CMAKE_BUILD_TYPE Release CACHE STRING "Kind of build" FORCE)
    endif()
    find_program(CCACHE_PROGRAM ccache)
    mark_as_advanced(CCACHE_PROGRAM)
    if(CCACHE_PROGRAM AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
        set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
    endif()
endif()

# qvcommon_configure_target(<target>): what every target of this project has in common.
function(qvcommon_configure_target target)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:qvcommon_build_options>)
    set_target_properties(${target} PROPERTIES
        AUTOMOC ON
        BUILD_RPATH_USE_ORIGIN ON # what is built does not tell where
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
endfunction()
