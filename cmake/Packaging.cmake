# What `cmake --install` puts where, and the packages that CPack makes of it:
# on Linux the Debian package (`cpack -G DEB` in a build tree, or
# scripts/package), on Windows a ZIP and, where NSIS is installed, an installer
# (`cpack` in a build tree).
include(GNUInstallDirs)

set(VELMORA_APP_ID org.velmora.Velmora)
set(VELMORA_PACKAGING_DIR ${PROJECT_SOURCE_DIR}/packaging)
set(VELMORA_PACKAGE_MAINTAINER "Velmora maintainers <maintainers@velmora.invalid>" CACHE STRING
  "Maintainer field of the Debian package")

if(WIN32)
  include(${CMAKE_CURRENT_LIST_DIR}/WindowsInstall.cmake)
else()
  install(TARGETS velmora velmora-sim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# The desktop entry, AppStream data, icon, systemd unit, man pages and the
# Debian package's documents: Linux only.
if(UNIX AND NOT APPLE)
  # systemd reads units from /usr/lib/systemd/system as well as /lib on Debian;
  # the path under the prefix keeps `cmake --install --prefix` relocatable.
  set(VELMORA_SYSTEMD_UNITDIR lib/systemd/system CACHE STRING
    "Folder of the recorder's systemd unit, relative to the install prefix")

  install(FILES ${VELMORA_PACKAGING_DIR}/${VELMORA_APP_ID}.desktop
    DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  install(FILES ${VELMORA_PACKAGING_DIR}/${VELMORA_APP_ID}.metainfo.xml
    DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
  install(FILES ${VELMORA_PACKAGING_DIR}/${VELMORA_APP_ID}.svg
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
  install(FILES ${VELMORA_PACKAGING_DIR}/velmora-recorder.service
    DESTINATION ${VELMORA_SYSTEMD_UNITDIR})
  # The licence, in Debian's machine-readable copyright format.
  install(FILES ${VELMORA_PACKAGING_DIR}/copyright
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/velmora)

  # Man pages are installed compressed, as Debian keeps them. -n leaves the name
  # and time out of the gzip header, so the same page gives the same bytes.
  find_program(VELMORA_GZIP gzip REQUIRED)
  set(VELMORA_MAN_PAGES)
  foreach(page velmora.1 velmora-sim.1)
    set(out ${PROJECT_BINARY_DIR}/packaging/${page})
    add_custom_command(OUTPUT ${out}.gz
      COMMAND ${CMAKE_COMMAND} -E copy ${VELMORA_PACKAGING_DIR}/${page} ${out}
      COMMAND ${VELMORA_GZIP} -9 -n -f ${out}
      DEPENDS ${VELMORA_PACKAGING_DIR}/${page}
      COMMENT "Compressing man page ${page}"
      VERBATIM)
    list(APPEND VELMORA_MAN_PAGES ${out}.gz)
  endforeach()
  add_custom_target(velmora_man_pages ALL DEPENDS ${VELMORA_MAN_PAGES})
  install(FILES ${VELMORA_MAN_PAGES} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

  # The package's changelog, compressed the same way, beside its copyright.
  set(VELMORA_CHANGELOG ${PROJECT_BINARY_DIR}/packaging/changelog.gz)
  add_custom_command(OUTPUT ${VELMORA_CHANGELOG}
    COMMAND ${CMAKE_COMMAND} -E copy ${VELMORA_PACKAGING_DIR}/changelog
      ${PROJECT_BINARY_DIR}/packaging/changelog
    COMMAND ${VELMORA_GZIP} -9 -n -f ${PROJECT_BINARY_DIR}/packaging/changelog
    DEPENDS ${VELMORA_PACKAGING_DIR}/changelog
    COMMENT "Compressing the changelog"
    VERBATIM)
  add_custom_target(velmora_changelog ALL DEPENDS ${VELMORA_CHANGELOG})
  install(FILES ${VELMORA_CHANGELOG} DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/velmora)
endif()

set(CPACK_PACKAGE_NAME velmora)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Velmora")
set(CPACK_PACKAGE_CONTACT ${VELMORA_PACKAGE_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "monitoring station for methane and carbon dioxide gas analyzers")
set(CPACK_STRIP_FILES ON)

if(WIN32)
  # velmora-<version>-win64.zip always; velmora-<version>-win64.exe, an
  # installer with Start menu entries and an uninstaller, where makensis is.
  set(CPACK_GENERATOR ZIP)
  set(velmora_programfiles_x86 "ProgramFiles(x86)")
  find_program(VELMORA_MAKENSIS makensis
    PATHS "$ENV{ProgramFiles}/NSIS" "$ENV{${velmora_programfiles_x86}}/NSIS")
  if(VELMORA_MAKENSIS)
    list(APPEND CPACK_GENERATOR NSIS)
  endif()
  set(CPACK_PACKAGE_INSTALL_DIRECTORY Velmora)
  set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
  # Start menu entries for the programs in bin/: the station; the console
  # twin and the simulator are run from a command prompt.
  set(CPACK_PACKAGE_EXECUTABLES velmora Velmora)
  set(CPACK_NSIS_DISPLAY_NAME Velmora)
  set(CPACK_NSIS_PACKAGE_NAME "Velmora ${PROJECT_VERSION}")
  set(CPACK_NSIS_ENABLE_UNINSTALL_BEFORE_INSTALL ON)
else()
  set(CPACK_GENERATOR DEB)
  # The long description, wrapped as Debian's control file wants it.
  string(JOIN "\n" CPACK_PACKAGE_DESCRIPTION
    "Velmora talks to one streaming gas analyzer, or to an RS-485 line of"
    "addressed analyzers, over a serial port. It shows the CH4 and CO2"
    "concentrations on a trend graph and other views, records them to hourly"
    "and daily data files and raises alarms at two thresholds."
    ""
    "The package also holds velmora-sim, a simulated analyzer on a"
    "pseudo-terminal, and velmora-recorder.service, which records without"
    "windows as a system service (installed, not enabled).")
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)

  # velmora_<version>_<arch>.deb; the dependencies come from dpkg-shlibdeps.
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${VELMORA_PACKAGE_MAINTAINER})
  set(CPACK_DEBIAN_PACKAGE_SECTION science)
  set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
  # Maintainer scripts tell a running systemd about the unit and stop the
  # service before its program goes away.
  set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${VELMORA_PACKAGING_DIR}/debian/postinst
    ${VELMORA_PACKAGING_DIR}/debian/prerm
    ${VELMORA_PACKAGING_DIR}/debian/postrm)
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
endif()

include(CPack)
