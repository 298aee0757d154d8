# Install rules, the CMake package and the pkg-config file. The components are the parts that Debian makes
# packages of: libraries, development, tools, documentation.

include(CMakePackageConfigHelpers)

set(zolp_header_dir "${CMAKE_INSTALL_INCLUDEDIR}/zolp_orktool")
set(zolp_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/zolp_orktool")

set(installed_targets ork_platform zolp_basetool zolp_orktool)
set_target_properties(zolp_basetool PROPERTIES EXPORT_NAME basetool)
set_target_properties(zolp_orktool PROPERTIES EXPORT_NAME orktool)
if(TARGET ork_host)
  list(APPEND installed_targets ork_host)
  install(FILES host/ork_host.h DESTINATION "${zolp_header_dir}" COMPONENT development)
endif()
install(
  TARGETS ${installed_targets}
  EXPORT zolp_orktool
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
          COMPONENT libraries
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
          COMPONENT libraries
          NAMELINK_COMPONENT development
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
          COMPONENT development)
if(TARGET zolp)
  install(
    TARGETS zolp
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
            COMPONENT tools)
  install(
    DIRECTORY "${PROJECT_BINARY_DIR}/manual/"
    DESTINATION "${CMAKE_INSTALL_MANDIR}/man1"
    COMPONENT tools)
  install(
    DIRECTORY "${PROJECT_BINARY_DIR}/schemas"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/zolp"
    COMPONENT tools)
  foreach(completion IN ITEMS zolp:bash-completion/completions _zolp:zsh/vendor-completions
                              zolp.fish:fish/vendor_completions.d)
    string(REGEX MATCH "(.*):(.*)" completion "${completion}")
    install(
      FILES "${PROJECT_BINARY_DIR}/completions/${CMAKE_MATCH_1}"
      DESTINATION "${CMAKE_INSTALL_DATADIR}/${CMAKE_MATCH_2}"
      COMPONENT tools)
  endforeach()
endif()
install(
  DIRECTORY platform/ork include/zolp_orktool
  DESTINATION "${zolp_header_dir}"
  COMPONENT development
  FILES_MATCHING
  PATTERN "*.h")
install(
  FILES include/zolp_orktool.h include/zolp_call_frame.h platform/zolp_basetool.h
  DESTINATION "${zolp_header_dir}"
  COMPONENT development)
# The site is there once `./dev docs` has built it.
install(
  FILES LICENSE README.md CHANGELOG.md
  DESTINATION "${CMAKE_INSTALL_DOCDIR}"
  COMPONENT documentation)
install(
  DIRECTORY examples
  DESTINATION "${CMAKE_INSTALL_DOCDIR}"
  COMPONENT documentation)
install(
  DIRECTORY docs/
  DESTINATION "${CMAKE_INSTALL_DOCDIR}/docs"
  COMPONENT documentation
  FILES_MATCHING
  PATTERN "*.md"
  PATTERN site EXCLUDE)
install(
  DIRECTORY build/site/html
  DESTINATION "${CMAKE_INSTALL_DOCDIR}"
  COMPONENT documentation
  OPTIONAL)

install(
  EXPORT zolp_orktool
  NAMESPACE zolp::
  DESTINATION "${zolp_package_dir}"
  COMPONENT development)
configure_package_config_file(
  cmake/zolp_orktool-config.cmake.in "${PROJECT_BINARY_DIR}/zolp_orktool-config.cmake"
  INSTALL_DESTINATION "${zolp_package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/zolp_orktool-config-version.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/zolp_orktool-config.cmake"
              "${PROJECT_BINARY_DIR}/zolp_orktool-config-version.cmake"
        DESTINATION "${zolp_package_dir}"
        COMPONENT development)

# Paths in the pkg-config file are relative to it, so that an installation can be moved.
file(RELATIVE_PATH zolp_prefix_from_pc "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/zolp_orktool.pc.in "${PROJECT_BINARY_DIR}/zolp_orktool.pc" @ONLY)
configure_file(cmake/ork_host.pc.in "${PROJECT_BINARY_DIR}/ork_host.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/zolp_orktool.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
        COMPONENT development)
if(TARGET ork_host)
  install(FILES "${PROJECT_BINARY_DIR}/ork_host.pc"
          DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
          COMPONENT development)
endif()

if(EXISTS "${ZOLP_VIEWER}/page.html")
  # The notices of what pages of `zolp trace view` hold.
  install(
    DIRECTORY "${ZOLP_VIEWER}/licences"
    DESTINATION "${CMAKE_INSTALL_DOCDIR}"
    COMPONENT tools)
endif()

if(WIN32)
  # The libraries that the project's own ones load, import libraries for other compilers, and the
  # notices of all that is inside.
  install(DIRECTORY "${ZOLP_WINDOWS_DEPENDENCIES}/bin/" DESTINATION "${CMAKE_INSTALL_BINDIR}"
          FILES_MATCHING PATTERN "*.dll")
  install(FILES "${ZOLP_WINDOWS_DEPENDENCIES}/include/gnu_regex/regex.h"
          DESTINATION "${zolp_header_dir}")
  install(FILES "${ZOLP_WINDOWS_DEPENDENCIES}/lib/libgnu_regex.dll.a"
          DESTINATION "${CMAKE_INSTALL_LIBDIR}")
  install(DIRECTORY "${PROJECT_BINARY_DIR}/lib/" DESTINATION "${CMAKE_INSTALL_LIBDIR}"
          FILES_MATCHING PATTERN "*.lib")
  install(DIRECTORY "${ZOLP_WINDOWS_DEPENDENCIES}/licences"
          DESTINATION "${CMAKE_INSTALL_DOCDIR}")
endif()

# Packages: `cpack` in the build folder.
set(CPACK_PACKAGE_VENDOR "The zolp_orktool developers")
set(CPACK_PACKAGE_CONTACT "The zolp_orktool developers <developers@zolp-orktool.example>")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_SOURCE_DIR}/build/packages")
# Not by the installation: packages keep the symbols, apart from what they are of.
set(CPACK_STRIP_FILES OFF)
if(WIN32)
  set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/windows/separate_symbols.cmake")
  set(CPACK_OBJCOPY_EXECUTABLE "${CMAKE_OBJCOPY}")
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME "${PROJECT_NAME}-${PROJECT_VERSION}-windows-x86_64")
else()
  include(DebianPackages)
endif()
include(CPack)
