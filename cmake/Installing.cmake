# What an installation holds, but for the hosts, which install themselves. Nothing in it names the
# prefix, so that an installation can be moved as a whole.
include(CMakePackageConfigHelpers)

install(TARGETS umdformat EXPORT umdformatTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/umdformat
        FILES_MATCHING PATTERN "*.h")
foreach(header IN LISTS public_class_headers)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/umdformat/${folder})
endforeach()

# For CMake: find_package(umdformat 1 CONFIG). The library is shared and its headers include nothing
# of what it stands on, so a host needs no other package.
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/umdformat)
install(EXPORT umdformatTargets NAMESPACE umdformat:: FILE umdformatConfig.cmake
        DESTINATION ${package_folder})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/umdformatConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/umdformatConfigVersion.cmake DESTINATION ${package_folder})

# For pkg-config, whose file finds the prefix from its own folder.
file(RELATIVE_PATH prefix_from_here ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/umdformat.pc.in umdformat.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/umdformat.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# A manual page and bash's completion for each program.
foreach(program umdview umdread mkumd)
    if(TARGET ${program})
        install(FILES man/${program}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
        install(FILES completion/${program}
                DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    endif()
endforeach()
if(TARGET mkumd)
    install(TARGETS mkumd RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
