# ZOLP_SYSTEM: the part of a source's name that tells for which operating system it is.
if(WIN32)
  set(ZOLP_SYSTEM windows)
else()
  set(ZOLP_SYSTEM posix)
endif()

# zolp_target_options(TARGET): the compile and link options that all targets of the project share.

add_library(zolp_options INTERFACE)
target_compile_features(zolp_options INTERFACE cxx_std_20)
target_compile_options(zolp_options INTERFACE -Wall -Wextra -Wshadow -Wconversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # Versions before 13 see overlapping copies in `"text" + std::string` where there are none.
  target_compile_options(zolp_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
endif()
if(CMAKE_UNITY_BUILD)
  # Sources that are compiled together see each other's names, which they hide, and use unnamed types of
  # the file that they became.
  target_compile_options(zolp_options INTERFACE
                         -Wno-shadow $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-subobject-linkage>)
endif()
if(ZOLP_WARNINGS_AS_ERRORS)
  target_compile_options(zolp_options INTERFACE -Werror)
endif()
if(ZOLP_SANITIZERS)
  target_compile_options(zolp_options INTERFACE -fsanitize=${ZOLP_SANITIZERS} -fno-omit-frame-pointer
                                                -fno-sanitize-recover=all)
  target_link_options(zolp_options INTERFACE -fsanitize=${ZOLP_SANITIZERS})
endif()
if(ZOLP_FUZZING)
  target_compile_options(zolp_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

function(zolp_target_options target)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:zolp_options>)
  set_target_properties(
    ${target}
    PROPERTIES CXX_EXTENSIONS OFF
               POSITION_INDEPENDENT_CODE ON
               C_VISIBILITY_PRESET hidden
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON)
  get_target_property(type ${target} TYPE)
  if(WIN32 AND type STREQUAL "EXECUTABLE")
    target_sources(${target} PRIVATE "${PROJECT_SOURCE_DIR}/cmake/windows/program.rc")
  endif()
endfunction()

# zolp_shared_library(TARGET EXPORTS FILE): options, version and export list of a shared library.
function(zolp_shared_library target)
  cmake_parse_arguments(arg "" "EXPORTS" "" ${ARGN})
  zolp_target_options(${target})
  set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION}
                                             SOVERSION ${PROJECT_VERSION_MAJOR})
  if(WIN32)
    zolp_describe_library(${target})
    zolp_import_library(${target})
  elseif(arg_EXPORTS)
    cmake_path(ABSOLUTE_PATH arg_EXPORTS)
    target_link_options(${target} PRIVATE "LINKER:--version-script=${arg_EXPORTS}")
    set_target_properties(${target} PROPERTIES LINK_DEPENDS "${arg_EXPORTS}")
  endif()
endfunction()
