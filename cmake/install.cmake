# The installed tree: the same shape as the build tree, with what a client's build needs to find it.
include(CMakePackageConfigHelpers)

install(TARGETS tessarune tessarune_headers EXPORT TessaruneTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS tessarune_info tessarune_demo_tool tessarune_library_tool tessarune_config_tool tessarune_run_tool
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY include/AL DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${CMAKE_BINARY_DIR}/share/tessarune DESTINATION ${CMAKE_INSTALL_DATADIR} PATTERN "*.lock" EXCLUDE)
install(DIRECTORY ${CMAKE_BINARY_DIR}/lib/dropin DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tessarune)

# The machine store names the library of the tree it stands in, wherever the prefix ends up.
install(CODE [[
    set(root "${CMAKE_INSTALL_PREFIX}")
    file(MAKE_DIRECTORY "$ENV{DESTDIR}${root}/etc/xdg/HollowbrookLabs")
    file(WRITE "$ENV{DESTDIR}${root}/etc/xdg/HollowbrookLabs/store.conf"
         "[Formats]\nAFL=${root}/share/tessarune/Tessarune.afl\n")
]])

install(EXPORT TessaruneTargets NAMESPACE Tessarune:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tessarune)
configure_package_config_file(cmake/TessaruneConfig.cmake.in ${CMAKE_BINARY_DIR}/package/TessaruneConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tessarune)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/package/TessaruneConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/package/TessaruneConfig.cmake
              ${CMAKE_BINARY_DIR}/package/TessaruneConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tessarune)
configure_file(cmake/tessarune.pc.in ${CMAKE_BINARY_DIR}/package/tessarune.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/package/tessarune.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
