# fxhost_frei0r_module(BUNDLE <bundle target> EFFECT_NAME "<the effect's name>" [AUTHOR "<who>"])
#
# Builds a frei0r filter module that hosts the bundle through fxhost's core, so FFmpeg
# (-vf frei0r=NAME), melt (frei0r.NAME) and GStreamer (frei0r-filter-NAME) can run the effect.
# NAME is the effect's name in lower case, every run of other characters one '-'. The module goes
# to build/lib/frei0r-1/NAME.so and installs to lib/frei0r-1; it finds its bundle from its own
# file: <module dir>/../fxhost/<bundle file> when installed, <module dir>/../../bin/<bundle file>
# in the build tree. The module's target is returned in FXHOST_FREI0R_TARGET.
find_path(FREI0R_INCLUDE_DIR frei0r.h REQUIRED)

function(fxhost_frei0r_module)
  cmake_parse_arguments(F0R "" "BUNDLE;EFFECT_NAME;AUTHOR" "" ${ARGN})
  if(NOT F0R_BUNDLE OR NOT F0R_EFFECT_NAME)
    message(FATAL_ERROR "fxhost_frei0r_module needs BUNDLE and EFFECT_NAME")
  endif()
  if(NOT F0R_AUTHOR)
    set(F0R_AUTHOR "Ostrivane")
  endif()
  string(TOLOWER "${F0R_EFFECT_NAME}" name)
  string(REGEX REPLACE "[^a-z0-9]+" "-" name "${name}")
  string(REGEX REPLACE "^-+|-+$" "" name "${name}")
  get_target_property(prefix ${F0R_BUNDLE} PREFIX)
  get_target_property(suffix ${F0R_BUNDLE} SUFFIX)
  get_target_property(base ${F0R_BUNDLE} OUTPUT_NAME)
  if(NOT base)
    set(base ${F0R_BUNDLE})
  endif()
  if(NOT prefix)
    set(prefix "")
  endif()
  set(bundle_file "${prefix}${base}${suffix}")

  set(target frei0r-${name})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Host/Frei0r/*.cpp)
  add_library(${target} MODULE ${sources})
  target_include_directories(${target} PRIVATE ${CMAKE_SOURCE_DIR}/Host/Frei0r)
  target_include_directories(${target} SYSTEM PRIVATE ${FREI0R_INCLUDE_DIR})
  # TODO(merge): the host's core library once fxhostcore is split per layer.
  target_link_libraries(${target} PRIVATE fxhostcore OpenGL::EGL)
  target_compile_definitions(${target} PRIVATE
    FREI0R_MODULE_NAME="${name}"
    FREI0R_EFFECT_NAME="${F0R_EFFECT_NAME}"
    FREI0R_AUTHOR="${F0R_AUTHOR}"
    FREI0R_BUNDLE_CANDIDATES="../fxhost/${bundle_file}:../../bin/${bundle_file}"
    FREI0R_MODULE_MAJOR=${PROJECT_VERSION_MAJOR}
    FREI0R_MODULE_MINOR=${PROJECT_VERSION_MINOR})
  set_target_properties(${target} PROPERTIES PREFIX "" OUTPUT_NAME ${name}
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib/frei0r-1
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  # Only the f0r_* functions leave the module: the host's own symbols (FFmpeg's, MLT's) never meet ours.
  target_link_options(${target} PRIVATE
    -Wl,--version-script=${CMAKE_SOURCE_DIR}/Host/Frei0r/exports.map -Wl,--no-undefined)
  add_dependencies(${target} ${F0R_BUNDLE})
  install(TARGETS ${target} LIBRARY DESTINATION lib/frei0r-1)
  set(FXHOST_FREI0R_TARGET ${target} PARENT_SCOPE)
endfunction()
