# The release archive lies beside the port.
vcpkg_extract_source_archive(SOURCE_PATH ARCHIVE "${CURRENT_PORT_DIR}/zolp_orktool-${VERSION}.tar.gz")

vcpkg_cmake_configure(
  SOURCE_PATH "${SOURCE_PATH}"
  OPTIONS -DZOLP_BUILD_TESTS=OFF -DZOLP_BUILD_BENCHMARKS=OFF)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME zolp_orktool CONFIG_PATH lib/cmake/zolp_orktool)
vcpkg_copy_tools(TOOL_NAMES zolp AUTO_CLEAN)
vcpkg_fixup_pkgconfig()

file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE")
