# Debian packages, split as Debian splits them; finish_package.cmake brings each into Debian's form.

set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL libraries development tools documentation)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/lib")
set(CPACK_DEBIAN_PACKAGE_SOURCE zolp-orktool)
# Packages with the symbols of those that have programs or libraries; debuggers find them by build ids.
set(CPACK_DEBIAN_LIBRARIES_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_TOOLS_DEBUGINFO_PACKAGE ON)
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/debian/finish_packages.cmake")

# zolp_debian_package(COMPONENT NAME SECTION DESCRIPTION)
macro(zolp_debian_package component name section description)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${description}")
endmacro()

set(library_package libzolp-orktool${PROJECT_VERSION_MAJOR})
set(about_library "Ready-made, traced operations for batch programs, workflow handlers and user
exits that customise a product-data-management platform.")
zolp_debian_package(
  libraries ${library_package} libs
  "${about_library}
.
This package has the library, its trace library, and an embedded host platform
for programs that are developed and tested without the real one.")
zolp_debian_package(
  development libzolp-orktool-dev libdevel
  "${about_library}
.
This package has the headers and what CMake and pkg-config need.")
zolp_debian_package(
  tools zolp utils
  "Makes and shows embedded sites, finds and shows objects, works with datasets,
forms, workflow jobs and product structures, and prepares CAD clone runs.")
zolp_debian_package(
  documentation libzolp-orktool-doc doc
  "${about_library}
.
This package has the documentation as a site, guides and examples.")

set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/debian/triggers")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "libzolp-orktool-doc, zolp")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
