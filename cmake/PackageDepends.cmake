# Run by cpack on the staged package (CPACK_PRE_BUILD_SCRIPTS, cmake/Package.cmake): the package's
# Depends, worked out by dpkg-shlibdeps from the libraries its ELF files link, as CPack's own
# CPACK_DEBIAN_PACKAGE_SHLIBDEPS would. CPack's own also gives a package with a shared object under
# /usr/lib maintainer scripts that run ldconfig, which plug-ins the dynamic linker never looks for
# do not need; done here, the package has no maintainer scripts and CPack nothing to warn about.
file(GLOB_RECURSE staged LIST_DIRECTORIES false "${CPACK_TEMPORARY_DIRECTORY}/*")
set(elf_files "")
foreach(path IN LISTS staged)
  if(NOT IS_SYMLINK "${path}")
    file(READ "${path}" magic LIMIT 4 HEX)
    if(magic STREQUAL "7f454c46")
      list(APPEND elf_files "${path}")
    endif()
  endif()
endforeach()
if(NOT elf_files)
  message(FATAL_ERROR "PackageDepends: no ELF file staged under ${CPACK_TEMPORARY_DIRECTORY}")
endif()
find_program(DPKG_SHLIBDEPS dpkg-shlibdeps REQUIRED)
# dpkg-shlibdeps wants a source package's debian/control around it, even an empty one.
set(work "${CPACK_TOPLEVEL_DIRECTORY}/shlibdeps")
file(MAKE_DIRECTORY "${work}/debian")
file(WRITE "${work}/debian/control" "")
execute_process(COMMAND ${DPKG_SHLIBDEPS} -O ${elf_files} WORKING_DIRECTORY "${work}"
  RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE errors)
if(NOT status EQUAL 0 OR NOT output MATCHES "^shlibs:Depends=([^\n]+)")
  message(FATAL_ERROR "PackageDepends: dpkg-shlibdeps failed (${status}): ${errors}")
endif()
set(CPACK_DEBIAN_PACKAGE_DEPENDS "${CMAKE_MATCH_1}")
message(STATUS "PackageDepends: ${CPACK_DEBIAN_PACKAGE_DEPENDS}")
