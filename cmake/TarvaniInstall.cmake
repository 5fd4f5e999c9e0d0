# What installing brings: the library, its public headers, the command, a CMake package and a pkg-config file. The whole
# prefix may be moved afterwards: everything in it finds the rest from where it stands.
include(CMakePackageConfigHelpers)

set(TARVANI_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/Tarvani")
set(TARVANI_PKGCONFIG_DIR "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

install(TARGETS tarvani EXPORT TarvaniTargets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")

# The headers are chosen when installing, not when configuring: a header that became private must not slip through.
install(CODE "
    include([[${CMAKE_CURRENT_LIST_DIR}/TarvaniHeaders.cmake]])
    tarvani_public_headers([[${PROJECT_SOURCE_DIR}/src]] headers)
    foreach(header IN LISTS headers)
        cmake_path(GET header PARENT_PATH folder)
        cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY [[${CMAKE_INSTALL_INCLUDEDIR}/tarvani]] OUTPUT_VARIABLE place)
        cmake_path(ABSOLUTE_PATH place BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\")
        file(INSTALL \"${PROJECT_SOURCE_DIR}/src/\${header}\" DESTINATION \"\${place}\")
    endforeach()
")

# The package offers the library alone. The command is a program to run, not a target to build upon.
install(EXPORT TarvaniTargets NAMESPACE Tarvani:: DESTINATION "${TARVANI_CMAKE_DIR}")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/TarvaniConfig.cmake.in"
                              "${CMAKE_CURRENT_BINARY_DIR}/TarvaniConfig.cmake"
                              INSTALL_DESTINATION "${TARVANI_CMAKE_DIR}")
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/TarvaniConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/TarvaniConfig.cmake" "${CMAKE_CURRENT_BINARY_DIR}/TarvaniConfigVersion.cmake"
        DESTINATION "${TARVANI_CMAKE_DIR}")

# Relative to the .pc file where the directories are relative, as they are unless the packager said otherwise.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(TARVANI_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
    set(TARVANI_PC_LIBDIR "${CMAKE_INSTALL_LIBDIR}")
else()
    file(RELATIVE_PATH up "/prefix/${TARVANI_PKGCONFIG_DIR}" "/prefix")
    string(REGEX REPLACE "/$" "" up "${up}")
    set(TARVANI_PC_PREFIX "\${pcfiledir}/${up}")
    set(TARVANI_PC_LIBDIR "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
    set(TARVANI_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
else()
    set(TARVANI_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
# A blank in a .pc file must be escaped; pcfiledir comes escaped already.
foreach(directory PREFIX LIBDIR INCLUDEDIR)
    string(REPLACE " " "\\ " TARVANI_PC_${directory} "${TARVANI_PC_${directory}}")
endforeach()
configure_file("${CMAKE_CURRENT_LIST_DIR}/tarvani.pc.in" "${CMAKE_CURRENT_BINARY_DIR}/tarvani.pc" @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/tarvani.pc" DESTINATION "${TARVANI_PKGCONFIG_DIR}")

if(TARGET tarvani_command)
    file(RELATIVE_PATH library_from_command "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
    set_target_properties(tarvani_command PROPERTIES INSTALL_RPATH "$ORIGIN/${library_from_command}")
    install(TARGETS tarvani_command RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
    install(FILES "${PROJECT_SOURCE_DIR}/docs/tarvani-path.7" DESTINATION "${CMAKE_INSTALL_MANDIR}/man7")
    # Each where its reader looks for it.
    get_target_property(pages tarvani_command TARVANI_PAGES)
    if(pages)
        install(FILES "${pages}/tarvani.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
        install(FILES "${pages}/tarvani" DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions")
        install(FILES "${pages}/_tarvani" DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/zsh/site-functions")
        install(FILES "${pages}/tarvani.fish" DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/fish/vendor_completions.d")
    endif()
endif()
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" "${PROJECT_SOURCE_DIR}/CHANGELOG.md"
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/tarvani")

if(PROJECT_IS_TOP_LEVEL)
    add_custom_target(uninstall COMMAND "${CMAKE_COMMAND}" -D "MANIFEST=${CMAKE_CURRENT_BINARY_DIR}/install_manifest.txt"
                      -P "${CMAKE_CURRENT_LIST_DIR}/TarvaniUninstall.cmake" VERBATIM)
endif()
