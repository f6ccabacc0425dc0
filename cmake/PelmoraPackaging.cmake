# Installing Pelmora and packing it as a Debian package.
#
#   cmake --install <build> --prefix ~/.local     the game, the launcher, the icons
#   cpack --config <build>/CPackConfig.cmake      pelmora_<version>_<arch>.deb
#
# The launcher, the icons and the software-centre entry all carry one id, so
# the desktop ties the running window, its icon and its entry together.

include(GNUInstallDirs)

set(PELMORA_DESKTOP_ID io.github.pelmora.Pelmora)
set(PELMORA_ICON_SIZES 16 24 32 48 64 128 256)
set(_pelmora_packaging ${PROJECT_SOURCE_DIR}/packaging)

if(TARGET pelmora-script)
  install(TARGETS pelmora-script RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

if(PELMORA_BUILD_QT)
  install(FILES ${_pelmora_packaging}/${PELMORA_DESKTOP_ID}.desktop
          DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
  install(FILES ${_pelmora_packaging}/${PELMORA_DESKTOP_ID}.metainfo.xml
          DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
  install(FILES ${_pelmora_packaging}/${PELMORA_DESKTOP_ID}.svg
          DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
  foreach(size IN LISTS PELMORA_ICON_SIZES)
    install(FILES ${_pelmora_packaging}/icons/${PELMORA_DESKTOP_ID}-${size}.png
            DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps
            RENAME ${PELMORA_DESKTOP_ID}.png)
  endforeach()
endif()

# The Debian package. Its Depends come from the libraries the installed
# programs link (dpkg-shlibdeps, from dpkg-dev), so they follow Qt's own
# package names on whatever release builds it.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME pelmora)
set(CPACK_PACKAGE_VENDOR "The Pelmora developers")
set(CPACK_PACKAGE_CONTACT "Pelmora developers <pelmora@invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "word-search puzzle game")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "word-search puzzle game\n Pick a game from the list: its words are hidden on a board of 15 by 15\n letters along rows, columns and diagonals, and the clock starts. Click the\n letters of a word one after the other to find it. A designer makes, changes\n and deletes games, and Print puts the puzzle on paper.")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION games)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The board's letters are drawn in DejaVu Sans, asked for by name.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "fonts-dejavu-core")
# The X11 platform plugin is in libqt6gui6 itself; the Wayland one and the
# desktop's theme are extras. libcanberra plays the alert sound straight to a
# PulseAudio or PipeWire server with its pulse backend, or through ALSA.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-qpa-plugins, qt6-wayland, libcanberra-pulse")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "cups")
set(CPACK_SOURCE_IGNORE_FILES "/build.*/;/\\\\.git/")
include(CPack)
