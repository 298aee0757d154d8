# What the libraries need on Windows, and what only exists there.

# zolp_describe_library(TARGET): version and description in the file's properties.
function(zolp_describe_library target)
  set(description "${PROJECT_BINARY_DIR}/resources/${target}.rc")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/windows/library.rc.in" "${description}" @ONLY)
  target_sources(${target} PRIVATE "${description}")
endfunction()

# zolp_import_library(TARGET): TARGET.lib, for programs that the platform vendor's usual compiler
# builds. It lists what the library exports.
find_program(ZOLP_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14 REQUIRED)
function(zolp_import_library target)
  set(exports "${PROJECT_BINARY_DIR}/lib/${target}.def")
  set(library "${PROJECT_BINARY_DIR}/lib/${target}.lib")
  target_link_options(${target} PRIVATE "LINKER:--output-def,${exports}")
  add_custom_command(
    TARGET ${target} POST_BUILD
    COMMAND "${ZOLP_DLLTOOL}" -m i386:x86-64 -D $<TARGET_FILE_NAME:${target}> -d "${exports}" -l
            "${library}"
    BYPRODUCTS "${exports}" "${library}" VERBATIM)
endfunction()

# zolp_export_decorated(TARGET HEADER): exports the functions of the C++ part of the header, and of
# those that it includes from its own folder, under the names that the platform vendor's usual
# compiler looks for, too.
find_program(ZOLP_CLANG NAMES clang++ clang++-14 REQUIRED)
function(zolp_export_decorated target header)
  set(script "${PROJECT_SOURCE_DIR}/cmake/windows/decorated_names.py")
  set(definition "${CMAKE_CURRENT_BINARY_DIR}/${target}_decorated.def")
  cmake_path(GET header PARENT_PATH include_folder)
  file(GLOB headers CONFIGURE_DEPENDS "${ZOLP_PLATFORM_INCLUDE_DIR}/ork/*.h"
       "${include_folder}/${target}/*.h")
  add_custom_command(
    OUTPUT "${definition}"
    COMMAND "${script}" "${ZOLP_CLANG}" "${definition}" "${header}" "${include_folder}"
            "${ZOLP_PLATFORM_INCLUDE_DIR}"
            "${ZOLP_WINDOWS_DEPENDENCIES}/include/gnu_regex"
    DEPENDS "${script}" "${header}" ${headers}
    VERBATIM)
  target_sources(${target} PRIVATE "${definition}")
endfunction()

# Programs find the libraries that they load beside themselves.
file(GLOB loaded_libraries "${ZOLP_WINDOWS_DEPENDENCIES}/bin/*.dll")
file(COPY ${loaded_libraries} DESTINATION "${PROJECT_BINARY_DIR}/bin")

# GNU regex, which is part of the C library elsewhere.
add_library(gnu_regex SHARED IMPORTED GLOBAL)
set_target_properties(
  gnu_regex
  PROPERTIES IMPORTED_LOCATION "${ZOLP_WINDOWS_DEPENDENCIES}/bin/libgnu_regex.dll"
             IMPORTED_IMPLIB "${ZOLP_WINDOWS_DEPENDENCIES}/lib/libgnu_regex.dll.a"
             INTERFACE_INCLUDE_DIRECTORIES "${ZOLP_WINDOWS_DEPENDENCIES}/include/gnu_regex")
