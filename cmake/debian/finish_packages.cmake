# Run by cpack on what goes into each Debian package: search paths for libraries go, since the system knows
# where its libraries are; manual pages are compressed; copyright and changelog are added.

file(GLOB folders LIST_DIRECTORIES true "${CPACK_TEMPORARY_DIRECTORY}/*")
foreach(folder IN LISTS folders)
  cmake_path(GET folder FILENAME component)
  string(TOUPPER "${component}" component)
  set(package "${CPACK_DEBIAN_${component}_PACKAGE_NAME}")
  if(NOT package)
    continue()
  endif()

  file(GLOB programs "${folder}/usr/bin/*" "${folder}/usr/lib/*.so.*")
  foreach(program IN LISTS programs)
    if(NOT IS_SYMLINK "${program}")
      file(RPATH_REMOVE FILE "${program}")
    endif()
  endforeach()

  file(GLOB pages "${folder}/usr/share/man/*/*")
  set(own "${folder}/usr/share/doc/${package}")
  file(READ "${CPACK_RESOURCE_FILE_LICENSE}" licence)
  file(WRITE "${own}/copyright" "${licence}")
  string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  file(
    WRITE "${own}/changelog"
    "${CPACK_DEBIAN_PACKAGE_SOURCE} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium\n\n"
    "  * Version ${CPACK_PACKAGE_VERSION}; CHANGELOG.md in libzolp-orktool-doc says what it brings.\n\n"
    " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
  execute_process(COMMAND gzip -n9 ${pages} "${own}/changelog" COMMAND_ERROR_IS_FATAL ANY)
  file(CHMOD "${own}/copyright" "${own}/changelog.gz" FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ
                                                                       WORLD_READ)
endforeach()
