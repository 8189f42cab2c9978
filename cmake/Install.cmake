# What `cmake --install build --prefix PREFIX` lays out, and the Debian package made from it
# (cmake/Package.cmake, `cpack -G DEB` in the build folder):
#
#   PREFIX/bin/fxhost
#   PREFIX/lib/fxhost/HueAndSaturation.plugin               fxhost's own bundle folder
#   PREFIX/lib/fxhost/libfxhost_images.so                   its image library, loaded on first use
#   PREFIX/lib/frei0r-1/ostrivane-hue-and-saturation.so     the frei0r module (its own install rule)
#   PREFIX/lib/python3/dist-packages/fxhost.cpython-*.so     the Python module
#   PREFIX/share/doc/fxhost/                                README.md, copyright, changelog.gz
#   PREFIX/share/man/man1/fxhost.1.gz
#   PREFIX/share/kdenlive/effects/frei0r_ostrivane-hue-and-saturation.xml
#   PREFIX/share/shotcut/qml/filters/ostrivane_hue_and_saturation/{meta,ui}.qml
#
# The bundle's folder is PREFIX/lib, not GNUInstallDirs' LIBDIR: under /usr that is a multiarch
# folder, and fxhost (Host/Core/Bundle.cpp) and the frei0r module find the bundle at the fixed
# relative paths ../lib/fxhost from bin and ../fxhost from lib/frei0r-1, where the frei0r hosts
# look (/usr/lib/frei0r-1, not multiarch). Nothing of the tests, benchmarks, fuzzers or the
# broken bundles has an install rule.
include(GNUInstallDirs)

set(FXHOST_INSTALL_BUNDLEDIR lib/fxhost)
set(FXHOST_INSTALL_DOCDIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/fxhost)
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

install(TARGETS fxhost RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS HueAndSaturation fxhost_images LIBRARY DESTINATION ${FXHOST_INSTALL_BUNDLEDIR})
# The Python module, for Debian's python3 (/usr/lib/python3/dist-packages under /usr); it finds
# the bundle at ../../fxhost from its own folder, whatever the prefix.
if(TARGET fxhost_python)
  install(TARGETS fxhost_python LIBRARY DESTINATION lib/python3/dist-packages)
endif()
install(FILES ${CMAKE_SOURCE_DIR}/README.md ${CMAKE_SOURCE_DIR}/packaging/copyright
  DESTINATION ${FXHOST_INSTALL_DOCDIR})

# The changelog and the manual page go compressed, as Debian wants them: gzip -9n, no name or
# time in the header, so the same sources give the same bytes.
find_program(GZIP_PROGRAM gzip REQUIRED)
# The manual page and Kdenlive's description name the project's version; the changelog's newest
# entry is bumped by hand.
set(packaging_out ${CMAKE_BINARY_DIR}/packaging)
configure_file(${CMAKE_SOURCE_DIR}/packaging/fxhost.1.in ${packaging_out}/fxhost.1 @ONLY)
# The editors' descriptions of the frei0r module, from one table. Kdenlive reads its effects from
# every XDG data folder; Shotcut only from share/shotcut/qml/filters beside its own program, so its
# files are found under the prefix Shotcut is installed in (/usr for Debian's).
include(${CMAKE_SOURCE_DIR}/packaging/EditorDescriptions.cmake)
ostrivane_write_editor_descriptions(${packaging_out})
install(FILES ${packaging_out}/frei0r_ostrivane-hue-and-saturation.xml
  DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/kdenlive/effects)
install(FILES ${packaging_out}/shotcut/meta.qml ${packaging_out}/shotcut/ui.qml
  DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/shotcut/qml/filters/ostrivane_hue_and_saturation)
add_custom_command(OUTPUT ${packaging_out}/changelog.gz ${packaging_out}/fxhost.1.gz
  COMMAND ${GZIP_PROGRAM} -9nc ${CMAKE_SOURCE_DIR}/packaging/changelog > ${packaging_out}/changelog.gz
  COMMAND ${GZIP_PROGRAM} -9nc ${packaging_out}/fxhost.1 > ${packaging_out}/fxhost.1.gz
  DEPENDS ${CMAKE_SOURCE_DIR}/packaging/changelog ${packaging_out}/fxhost.1)
add_custom_target(fxhost_packaging_files ALL
  DEPENDS ${packaging_out}/changelog.gz ${packaging_out}/fxhost.1.gz)
add_dependencies(fxhost fxhost_packaging_files)
install(FILES ${packaging_out}/changelog.gz DESTINATION ${FXHOST_INSTALL_DOCDIR})
install(FILES ${packaging_out}/fxhost.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

include(${CMAKE_CURRENT_LIST_DIR}/Package.cmake)
