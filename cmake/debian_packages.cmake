# The Debian packages: run `cpack` in a build of the preset "package". The components of the install
# rules determine which file goes into which package.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The kxinstall developers <kxinstall@example.org>")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

# The package of a shared library is named after the version of the binary interface, so that two
# versions can be installed side by side.
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

# The description of each package, and the components of the install rules that go into it.
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "The shared libraries.")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "The headers, and the files that CMake, pkg-config and gdb need.")
set(CPACK_DEBIAN_DOCUMENTATION_DESCRIPTION
  "The reference, the examples, and JSON schemas of the files in an install tree.")
set(CPACK_COMPONENT_DOCUMENTATION_GROUP documentation)
get_property(libraries GLOBAL PROPERTY kx_libraries)
foreach(library IN LISTS libraries)
  string(TOUPPER ${library} library)
  set(CPACK_COMPONENT_${library}_RUNTIME_GROUP runtime)
  set(CPACK_COMPONENT_${library}_DEVELOPMENT_GROUP development)
endforeach()

include(CPack)
