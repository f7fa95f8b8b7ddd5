# Debian packages: the library, what is needed to build against it, the command-line tool. Configure
# with the prefix /usr, as "./qv package" does; cpack then makes them of what was built.
if(NOT TARGET qvtool)
    return()
endif()

set(QVCOMMON_PACKAGE_MAINTAINER "libqvcommon maintainers <maintainers@zelkosip.test>" CACHE STRING
    "Maintainer of the Debian packages, as in 'Name <address>'")
find_program(GZIP_PROGRAM gzip)
find_program(HELP2MAN_PROGRAM help2man)
mark_as_advanced(QVCOMMON_PACKAGE_MAINTAINER GZIP_PROGRAM HELP2MAN_PROGRAM)

set(package_version "${PROJECT_VERSION}-1")
string(TIMESTAMP package_date "%a, %d %b %Y %H:%M:%S +0000" UTC) # of SOURCE_DATE_EPOCH, if set

# qvcommon_package(<component> <name> <section> <summary> <line of the description>...)
function(qvcommon_package component name section)
    string(TOUPPER "CPACK_DEBIAN_${component}" prefix)
    set(${prefix}_PACKAGE_NAME "${name}" PARENT_SCOPE)
    set(${prefix}_PACKAGE_SECTION "${section}" PARENT_SCOPE)
    list(JOIN ARGN "\n" description)
    set(${prefix}_DESCRIPTION "${description}" PARENT_SCOPE)

    set(dir "${PROJECT_BINARY_DIR}/packaging/${name}")
    configure_file(cmake/debian/copyright "${dir}/copyright" COPYONLY)
    configure_file(cmake/debian/changelog.in "${dir}/changelog.Debian" @ONLY)
    execute_process(COMMAND "${GZIP_PROGRAM}" -9nf "${dir}/changelog.Debian"
        COMMAND_ERROR_IS_FATAL ANY)
    install(FILES "${dir}/copyright" "${dir}/changelog.Debian.gz"
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/${name}" COMPONENT ${component} EXCLUDE_FROM_ALL)
endfunction()

if(GZIP_PROGRAM)
    qvcommon_package(runtime libqvcommon${PROJECT_VERSION_MAJOR} libs
        "common ground of a Qt 5 desktop softphone client"
        "Logging, HTTP with verified downloads, file operations on threads, the"
        "grammar of SIP, Skype and telephone identifiers, JSON files and desktop"
        "helpers, for programs that use Qt 5.")
    qvcommon_package(development libqvcommon-dev libdevel
        "development files of libqvcommon, for Qt 5 softphone clients"
        "What is needed to build programs that use the library: headers, the CMake"
        "package, the pkg-config file, examples.")
    qvcommon_package(tools qvcommon-tools utils
        "libqvcommon on the command line"
        "qvtool downloads and verifies files, sends HTTP requests, copies and removes"
        "trees, takes apart SIP addresses and telephone numbers, and more.")
endif()

install(DIRECTORY docs/
    DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/libqvcommon-dev/docs" COMPONENT development
    EXCLUDE_FROM_ALL FILES_MATCHING PATTERN "*.md" PATTERN mainpage.md EXCLUDE PATTERN images EXCLUDE)
install(FILES README.md SECURITY.md CHANGELOG.md
    DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/libqvcommon-dev" COMPONENT development
    EXCLUDE_FROM_ALL)
install(DIRECTORY examples/download examples/guide
    DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/libqvcommon-dev/examples" COMPONENT development
    EXCLUDE_FROM_ALL PATTERN CMakeLists.txt EXCLUDE)

if(HELP2MAN_PROGRAM AND GZIP_PROGRAM AND NOT CMAKE_CROSSCOMPILING)
    set(man_page "${PROJECT_BINARY_DIR}/packaging/qvtool.1")
    add_custom_command(OUTPUT "${man_page}.gz"
        COMMAND "${HELP2MAN_PROGRAM}" --no-info --output "${man_page}"
            --name "puts the library libqvcommon on the command line" $<TARGET_FILE:qvtool>
        COMMAND "${GZIP_PROGRAM}" -9nf "${man_page}"
        DEPENDS qvtool
        VERBATIM)
    add_custom_target(man_page ALL DEPENDS "${man_page}.gz")
    install(FILES "${man_page}.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tools)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libqvcommon)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each has its own
set(CPACK_PACKAGE_VENDOR libqvcommon)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${QVCOMMON_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# The tool is linked to a library that is no package yet when its dependencies are looked up.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/src/libs/common")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/debian/triggers")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libqvcommon${PROJECT_VERSION_MAJOR} (= ${package_version}), qtbase5-dev (>= 5.15)")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS
    "libqvcommon${PROJECT_VERSION_MAJOR} (= ${package_version})")
include(CPack)
