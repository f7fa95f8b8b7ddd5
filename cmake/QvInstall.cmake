# Where everything goes when it is installed, and how clients find it: a CMake package, also from
# the build tree, and a pkg-config file.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# After a build of one target, say by "./qv demo", the installation would stop half-way.
foreach(target qvcommon qvcommon_idle qvtool)
    if(TARGET ${target})
        list(APPEND parts "$<TARGET_FILE:${target}>")
    endif()
endforeach()
set(manual "${PROJECT_BINARY_DIR}/manual")
if(TARGET qvtool AND NOT CMAKE_CROSSCOMPILING) # the tool itself is asked for its manual
    list(APPEND parts "${manual}/man1/qvtool.1.gz")
endif()
install(CODE "
    set(parts \"${parts}\")
    foreach(part IN LISTS parts)
        if(NOT EXISTS \"\${part}\")
            message(FATAL_ERROR \"'\${part}' is not built yet: first run cmake --build '${PROJECT_BINARY_DIR}'\")
        endif()
    endforeach()" ALL_COMPONENTS)

set(cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/${QVCOMMON_NAME}")

install(TARGETS qvcommon EXPORT ${QVCOMMON_NAME}Targets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
    FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/${QVCOMMON_NAME}" COMPONENT development
    INCLUDES DESTINATION
        "${CMAKE_INSTALL_INCLUDEDIR}/${QVCOMMON_NAME}" # for a client's CMake before 3.23
        "${CMAKE_INSTALL_INCLUDEDIR}/${QVCOMMON_NAME}/qtsingleapplication")
if(TARGET qvcommon_idle)
    install(TARGETS qvcommon_idle
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/${QVCOMMON_MODULE_DIR}" COMPONENT runtime)
endif()
install(EXPORT ${QVCOMMON_NAME}Targets NAMESPACE qvcommon::
    DESTINATION "${cmake_dir}" COMPONENT development)

list(JOIN QVCOMMON_QT_PUBLIC " " qt_components)
string(REPLACE "${QVCOMMON_QT}::" "" qt_components "${qt_components}")
configure_package_config_file(cmake/qvcommonConfig.cmake.in
    "${PROJECT_BINARY_DIR}/${QVCOMMON_NAME}Config.cmake"
    INSTALL_DESTINATION "${cmake_dir}"
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/${QVCOMMON_NAME}ConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/${QVCOMMON_NAME}Config.cmake"
    "${PROJECT_BINARY_DIR}/${QVCOMMON_NAME}ConfigVersion.cmake"
    DESTINATION "${cmake_dir}" COMPONENT development)
export(EXPORT ${QVCOMMON_NAME}Targets NAMESPACE qvcommon::)

# The file may be moved along with the tree: its paths start from where it lies.
file(RELATIVE_PATH pc_prefix
    "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" pc_prefix "${pc_prefix}")
foreach(dir LIBDIR INCLUDEDIR)
    set(pc_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
    if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
        set(pc_${dir} "${CMAKE_INSTALL_${dir}}")
    endif()
endforeach()
list(JOIN QVCOMMON_QT_PUBLIC " >= ${QVCOMMON_QT_MINIMUM} " pc_requires)
string(REPLACE "::" "" pc_requires "${pc_requires} >= ${QVCOMMON_QT_MINIMUM}")
configure_file(cmake/qvcommon.pc.in ${QVCOMMON_NAME}.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/${QVCOMMON_NAME}.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

if(TARGET qvtool)
    # Outside the system's own directories the tool must be told where the library is.
    if(NOT CMAKE_INSTALL_FULL_LIBDIR IN_LIST CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES)
        file(RELATIVE_PATH lib_from_bin "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
        set_target_properties(qvtool PROPERTIES INSTALL_RPATH "$ORIGIN/${lib_from_bin}")
    endif()
    install(TARGETS qvtool RUNTIME COMPONENT tools)

    set(QVCOMMON_ZSH_COMPLETIONS_DIR "${CMAKE_INSTALL_DATAROOTDIR}/zsh/site-functions" CACHE STRING
        "Where the completion of qvtool for zsh is installed")
    mark_as_advanced(QVCOMMON_ZSH_COMPLETIONS_DIR)
    if(NOT CMAKE_CROSSCOMPILING)
        add_custom_command(OUTPUT "${manual}/man1/qvtool.1.gz"
            COMMAND "${PROJECT_SOURCE_DIR}/cmake/write_manual.sh" $<TARGET_FILE:qvtool> "${manual}"
            DEPENDS qvtool cmake/write_manual.sh
            VERBATIM)
        add_custom_target(manual ALL DEPENDS "${manual}/man1/qvtool.1.gz")
        install(DIRECTORY "${manual}/man1" DESTINATION "${CMAKE_INSTALL_MANDIR}" COMPONENT tools)
    endif()
    install(FILES src/apps/qvtool/completion.bash RENAME qvtool COMPONENT tools
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions")
    install(FILES src/apps/qvtool/completion.zsh RENAME _qvtool COMPONENT tools
        DESTINATION "${QVCOMMON_ZSH_COMPLETIONS_DIR}")
endif()
