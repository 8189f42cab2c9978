# `cpack -G DEB` in the build folder: one package, fxhost, for the host, the effect bundle, its
# frei0r module and GStreamer plug-in, installed under /usr, its version the project's own.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME fxhost)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Ostrivane")
set(CPACK_PACKAGE_CONTACT "Ostrivane packaging <packaging@ostrivane.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "hue and saturation video effect, its headless host and frei0r module")
set(CPACK_PACKAGE_DESCRIPTION
  "Ostrivane Hue And Saturation turns the hue of every pixel in YIQ space
and mixes its saturation against its luminance, on the GPU through OpenGL
(EGL, headless).

This package holds the effect bundle; fxhost, a command-line host that
renders images, sequences and movies through it; and a frei0r module that
puts the effect into FFmpeg (-vf frei0r), MLT (melt, Kdenlive, Shotcut)
and GStreamer. Kdenlive and Shotcut show the effect's controls in degrees
and its own units. A GStreamer plug-in gives every GStreamer program
(gst-launch-1.0, Pitivi) the element ostrivanehueandsaturation, its
properties in the effect's own units and keyframable. A Python module,
fxhost, renders NumPy frames through the effect.")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)  # fxhost_VERSION_ARCH.deb
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Depends from the libraries the ELF files link, by dpkg-shlibdeps, run on the staged files by
# cmake/PackageDepends.cmake rather than by CPack's CPACK_DEBIAN_PACKAGE_SHLIBDEPS: CPack's adds
# postinst and postrm scripts that run ldconfig to any package with a shared object under /usr/lib,
# though the bundle and the module are plug-ins the dynamic linker never looks for. A Debian
# package of plug-ins has no maintainer scripts.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/PackageDepends.cmake)
# The effect renders through EGL: a GPU's driver where there is one, Mesa's llvmpipe otherwise.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libgl1-mesa-dri")
# The programs that load frei0r modules, and the editors that read the effect's descriptions.
set(CPACK_DEBIAN_PACKAGE_ENHANCES "ffmpeg, gstreamer1.0-plugins-bad, kdenlive, melt, pitivi, shotcut")
# The Python module, built for Debian's python3 of this release, takes its frames from NumPy.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "python3 (>= 3.11), python3 (<< 3.12), python3-numpy")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})

include(CPack)
