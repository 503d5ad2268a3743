# Debian packages by CPack, from a build with the prefix /usr (the preset "package", ./dev package):
#   tessarune          the library, the programs and the format library
#   tessarune-page     the page of its settings for a browser, which alone needs an HTTP library
#   tessarune-dev      what a client's build needs
#   tessarune-openal   the library under the system's name, in place of the package that the system has for it
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "Hollowbrook Labs <packages@hollowbrook.example>")
set(CPACK_PACKAGE_VENDOR "Hollowbrook Labs")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime page development standin)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(version ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME tessarune)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "libpulse0, libcubeb0, tessarune-page")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "alsa-utils, libdbus-1-3, rtkit")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "3D audio renderer for games that use OpenAL
 The library that a game loads in place of its OpenAL library, and that renders
 its sound over headphones or any set of speakers; programs to start games with
 it, to set it up and to listen to it; and its library of decoders.")

set(CPACK_DEBIAN_PAGE_PACKAGE_NAME tessarune-page)
set(CPACK_DEBIAN_PAGE_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PAGE_PACKAGE_DEPENDS "tessarune (= ${version})")
set(CPACK_DEBIAN_PAGE_PACKAGE_SUGGESTS "xdg-utils, www-browser")
set(CPACK_COMPONENT_PAGE_DESCRIPTION "3D audio renderer for games that use OpenAL (settings in a browser)
 A page that shows and changes all settings of Tessarune, its speakers and what
 running games do, served to browsers of this machine and this user alone.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME tessarune-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "tessarune (= ${version})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "3D audio renderer for games that use OpenAL (development files)
 Headers and what CMake and pkg-config need to build a program with Tessarune,
 by its own name or as the OpenAL library.")

# Programs depend on the system's package by versions of its own, which have an epoch.
set(CPACK_DEBIAN_STANDIN_PACKAGE_NAME tessarune-openal)
set(CPACK_DEBIAN_STANDIN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_STANDIN_PACKAGE_DEPENDS "tessarune (= ${version})")
set(CPACK_DEBIAN_STANDIN_PACKAGE_PROVIDES "libopenal1 (= 1:${version})")
set(CPACK_DEBIAN_STANDIN_PACKAGE_CONFLICTS "libopenal1")
set(CPACK_DEBIAN_STANDIN_PACKAGE_REPLACES "libopenal1")
set(CPACK_COMPONENT_STANDIN_DESCRIPTION "3D audio renderer as the system's OpenAL library
 Every program that uses OpenAL plays through Tessarune while this package is
 installed. It takes the place of the package that has the name libopenal1.")

# The settings of the machine are the administrator's to change; the loader hears of new libraries.
set(control ${PROJECT_BINARY_DIR}/package/control)
file(CONFIGURE OUTPUT ${control}/runtime/conffiles CONTENT "/etc/xdg/HollowbrookLabs/store.conf\n")
file(CONFIGURE OUTPUT ${control}/runtime/shlibs
     CONTENT "libtessarune ${PROJECT_VERSION_MAJOR} tessarune (>= ${PROJECT_VERSION})\n")
foreach(component runtime standin)
    file(CONFIGURE OUTPUT ${control}/${component}/triggers CONTENT "activate-noawait ldconfig\n")
endforeach()
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${control}/runtime/conffiles ${control}/runtime/shlibs ${control}/runtime/triggers)
set(CPACK_DEBIAN_STANDIN_PACKAGE_CONTROL_EXTRA ${control}/standin/triggers)

# What Debian wants to know of each package.
file(READ LICENSE license)
file(READ THIRD-PARTY.md third_party)
file(WRITE ${PROJECT_BINARY_DIR}/package/copyright "${license}\n${third_party}
On Debian systems the texts of the licences Apache-2.0, GPL-3, LGPL-2.1 and MPL-2.0 are
/usr/share/common-licenses/Apache-2.0, /usr/share/common-licenses/GPL-3,
/usr/share/common-licenses/LGPL-2.1 and /usr/share/common-licenses/MPL-2.0.
")
execute_process(COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/CHANGELOG.md OUTPUT_FILE ${PROJECT_BINARY_DIR}/package/changelog.gz
                COMMAND_ERROR_IS_FATAL ANY)
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/package/changelog.Debian CONTENT "tessarune (${version}) unstable; urgency=medium

  * Version ${PROJECT_VERSION}; changelog.gz has what changed.

 -- ${CPACK_PACKAGE_CONTACT}  Wed, 25 Nov 2026 12:00:00 +0000
")
execute_process(COMMAND gzip -9nk -f ${PROJECT_BINARY_DIR}/package/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)
foreach(component runtime page development standin)
    string(TOUPPER ${component} upper)
    install(FILES ${PROJECT_BINARY_DIR}/package/copyright ${PROJECT_BINARY_DIR}/package/changelog.gz
                  ${PROJECT_BINARY_DIR}/package/changelog.Debian.gz
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME} COMPONENT ${component})
endforeach()

foreach(component runtime page)
    install(CODE [[
        file(GLOB pages "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/share/man/man1/*.1")
        execute_process(COMMAND gzip -9nf ${pages} COMMAND_ERROR_IS_FATAL ANY)
    ]] COMPONENT ${component})
endforeach()

# The system's name.
tessarune_install_link(${CMAKE_INSTALL_LIBDIR}/libopenal.so.1
                       ${CMAKE_INSTALL_LIBDIR}/libtessarune.so.${PROJECT_VERSION_MAJOR} standin)
include(CPack)
