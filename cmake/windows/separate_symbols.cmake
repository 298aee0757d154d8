# Run by cpack on what goes into the package: the symbols of programs and libraries go into a ZIP file of their
# own, with the same folders. gdb finds each one beside what it is of.

set(top "${CPACK_TEMPORARY_DIRECTORY}")
set(symbols "${CPACK_TOPLEVEL_DIRECTORY}/symbols")
file(REMOVE_RECURSE "${symbols}")
file(GLOB_RECURSE programs RELATIVE "${top}" "${top}/*.exe" "${top}/*.dll")
foreach(program IN LISTS programs)
  cmake_path(GET program PARENT_PATH folder)
  file(MAKE_DIRECTORY "${symbols}/${folder}")
  set(apart "${symbols}/${program}.debug")
  execute_process(COMMAND "${CPACK_OBJCOPY_EXECUTABLE}" --only-keep-debug "${top}/${program}" "${apart}"
                  COMMAND_ERROR_IS_FATAL ANY)
  execute_process(
    COMMAND "${CPACK_OBJCOPY_EXECUTABLE}" --strip-unneeded "--add-gnu-debuglink=${apart}" "${top}/${program}"
            COMMAND_ERROR_IS_FATAL ANY)
endforeach()
file(GLOB tops RELATIVE "${symbols}" "${symbols}/*")
execute_process(
  COMMAND "${CMAKE_COMMAND}" -E tar cf "${CPACK_PACKAGE_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}-symbols.zip"
          --format=zip ${tops}
  WORKING_DIRECTORY "${symbols}" COMMAND_ERROR_IS_FATAL ANY)
