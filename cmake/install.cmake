# The installed tree: the same shape as the build tree, or a distribution's where its folders are asked for, with what
# a client's build needs to find it. Four components: what a game needs, the page of its settings, what a client's build
# needs, and what stands in for the system's OpenAL library.
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME runtime)

install(TARGETS tessarune tessarune_headers EXPORT TessaruneTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT development)
install(TARGETS tessarune_info tessarune_run_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(NOT TESSARUNE_FORMAT_LIBRARY)
    install(TARGETS tessarune_demo_tool tessarune_library_tool tessarune_config_tool tessarune_replay_tool
            RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(TARGETS tessarune_page_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT page)
endif()
install(DIRECTORY include/AL DESTINATION ${TESSARUNE_INSTALL_INCLUDEDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_BINARY_DIR}/share/tessarune DESTINATION ${CMAKE_INSTALL_DATADIR} PATTERN "*.lock" EXCLUDE)
if(NOT TESSARUNE_FORMAT_LIBRARY)
    # Man pages, completion for the shells, and the entry in the desktop's menu.
    foreach(pages man bash-completion zsh fish applications)
        install(DIRECTORY ${PROJECT_BINARY_DIR}/share/${pages} DESTINATION ${CMAKE_INSTALL_DATADIR}
                PATTERN "*tessarune-page*" EXCLUDE)
        install(DIRECTORY ${PROJECT_BINARY_DIR}/share/${pages} DESTINATION ${CMAKE_INSTALL_DATADIR} COMPONENT page
                FILES_MATCHING PATTERN "*tessarune-page*")
    endforeach()
endif()
install(FILES LICENSE THIRD-PARTY.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tessarune)

# tessarune_install_link(FILE TARGET COMPONENT): a link at FILE to TARGET, both below the prefix, which holds wherever
# the prefix ends up.
function(tessarune_install_link file target component)
    get_filename_component(folder ${file} DIRECTORY)
    get_filename_component(name ${file} NAME)
    file(RELATIVE_PATH way /${folder} /${target})
    string(MAKE_C_IDENTIFIER ${file} place)
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/package/links/${place})
    file(CREATE_LINK ${way} ${PROJECT_BINARY_DIR}/package/links/${place}/${name} SYMBOLIC)
    install(FILES ${PROJECT_BINARY_DIR}/package/links/${place}/${name} DESTINATION ${folder} COMPONENT ${component})
endfunction()

# What a game and a client's build take for the system's library: everything about it is below one folder, which
# goes into a library path, or is named by OPENALDIR for CMake's own find_package(OpenAL).
set(library libtessarune.so.${PROJECT_VERSION_MAJOR})
foreach(name libopenal.so libopenal.so.1 ${library})
    tessarune_install_link(${TESSARUNE_INSTALL_DROPINDIR}/${name} ${CMAKE_INSTALL_LIBDIR}/${library} runtime)
endforeach()
# Beside it the library that records, which looks for ours in the folder above, or the one above that.
get_filename_component(record_folder /${TESSARUNE_INSTALL_DROPINDIR}/../record ABSOLUTE)
string(SUBSTRING ${record_folder} 1 -1 record_folder)
install(TARGETS tessarune_recorder LIBRARY DESTINATION ${record_folder})
tessarune_install_link(${record_folder}/${library} ${record_folder}/libopenal.so.1 runtime)
tessarune_install_link(${TESSARUNE_INSTALL_DROPINDIR}/include ${TESSARUNE_INSTALL_INCLUDEDIR} development)

# The machine store names the library of the tree that it is in, wherever the prefix ends up. Where the folder of
# settings isn't below the prefix, as with /usr and /etc, nothing is moved, and it names the place.
GNUInstallDirs_get_absolute_install_dir(settings CMAKE_INSTALL_SYSCONFDIR SYSCONFDIR)
if(CMAKE_INSTALL_PREFIX STREQUAL /usr)
    set(format_library_path ${CMAKE_INSTALL_FULL_DATADIR}/tessarune/Tessarune.afl)
else()
    set(settings ${CMAKE_INSTALL_SYSCONFDIR})
    file(RELATIVE_PATH format_library_path /${settings}/xdg/HollowbrookLabs /${CMAKE_INSTALL_DATADIR}/tessarune/Tessarune.afl)
endif()
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/package/store.conf CONTENT "[Formats]\nAFL=${format_library_path}\n")
install(FILES ${PROJECT_BINARY_DIR}/package/store.conf DESTINATION ${settings}/xdg/HollowbrookLabs)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Tessarune)
install(EXPORT TessaruneTargets NAMESPACE Tessarune:: DESTINATION ${package_folder} COMPONENT development)
configure_package_config_file(cmake/TessaruneConfig.cmake.in ${PROJECT_BINARY_DIR}/package/TessaruneConfig.cmake
                              INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/TessaruneConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/TessaruneConfig.cmake
              ${PROJECT_BINARY_DIR}/package/TessaruneConfigVersion.cmake
        DESTINATION ${package_folder} COMPONENT development)

# For pkg-config: the library by its own name, and beside the drop-in as the one that programs for OpenAL ask for.
foreach(package tessarune openal)
    set(package_library ${package})
    if(package STREQUAL openal)
        set(package_libdir ${TESSARUNE_INSTALL_DROPINDIR})
    else()
        set(package_libdir ${CMAKE_INSTALL_LIBDIR})
    endif()
    file(RELATIVE_PATH package_prefix /${package_libdir}/pkgconfig /)
    configure_file(cmake/package.pc.in ${PROJECT_BINARY_DIR}/package/${package}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/package/${package}.pc DESTINATION ${package_libdir}/pkgconfig COMPONENT development)
endforeach()
