# The Debian packages: `cpack` in a build of the preset "package". Which files go where is told by the
# components of the install rules.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The kxinstall developers <kxinstall@example.org>")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

# Debian names the package of a shared library by the version of its interface, so that two of them
# can be installed side by side.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkxinstall-product-impl${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)
file(GLOB sibling_folders "${PROJECT_BINARY_DIR}/siblings/kx*")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${sibling_folders})

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkxinstall-product-impl-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION}), libboost-dev (>= 1.74) | libboost1.81-dev")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME libkxinstall-product-impl-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)

include(CPack)
include(CPackComponent)

function(kx_add_package group summary)
  cpack_add_component_group(${group} DESCRIPTION "${PROJECT_DESCRIPTION}\n ${summary}")
  foreach(component IN LISTS ARGN)
    cpack_add_component(${component} GROUP ${group})
  endforeach()
endfunction()

kx_add_package(runtime "The shared libraries." library_runtime siblings_runtime)
kx_add_package(development "Headers, and what CMake, pkg-config and gdb need."
  library_development siblings_development)
kx_add_package(documentation "The reference, the examples, and JSON schemas of the files of an install tree."
  documentation)
