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
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}")

# The package of a shared library is named after the version of the binary interface, so that two
# versions can be installed side by side. Packages of one build belong together.
set(libraries_package libkxinstall-product-impl${PROJECT_VERSION_MAJOR})
set(tree_package libkxinstall-tree${PROJECT_VERSION_MAJOR})

# Describes the package of a group:
#
#     kx_debian_package(<group> <name> <section> <description> [<dependency>...])
macro(kx_debian_package group name section description)
  string(TOUPPER ${group} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${description}")
  set(dependencies ${ARGN}) # which is no variable in a macro
  list(JOIN dependencies ", " CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS)
endmacro()

set(exactly "(= ${PROJECT_VERSION})")
kx_debian_package(runtime ${libraries_package} libs
  "The shared libraries that turn a product model into a product and write it.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
kx_debian_package(development libkxinstall-product-impl-dev libdevel
  "The headers, and the files that CMake, pkg-config and gdb need."
  "${libraries_package} ${exactly}" "libboost-dev (>= 1.74) | libboost1.81-dev")
kx_debian_package(tree_runtime ${tree_package} libs
  "The shared library that changes install trees as a whole or not at all."
  "${libraries_package} ${exactly}")
set(CPACK_DEBIAN_TREE_RUNTIME_PACKAGE_SHLIBDEPS ON)
kx_debian_package(tree_development libkxinstall-tree-dev libdevel
  "The headers of libkxinstall_tree, and the files that CMake and pkg-config need."
  "${tree_package} ${exactly}" "libkxinstall-product-impl-dev ${exactly}")
kx_debian_package(tools kxinstall-tools admin
  "The command kxtree, which checks and repairs install trees."
  "${tree_package} ${exactly}")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
kx_debian_package(documentation libkxinstall-product-impl-doc doc
  "The reference, the examples, and JSON schemas of the files in an install tree.")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)

# The components of the install rules that go into each package.
set(CPACK_COMPONENT_DOCUMENTATION_GROUP documentation)
set(CPACK_COMPONENT_KXTREE_GROUP tools)
get_property(libraries GLOBAL PROPERTY kx_libraries)
foreach(library IN LISTS libraries)
  string(TOUPPER ${library} component)
  set(prefix "")
  if(library STREQUAL "kxinstall_tree")
    set(prefix tree_)
  endif()
  set(CPACK_COMPONENT_${component}_RUNTIME_GROUP ${prefix}runtime)
  set(CPACK_COMPONENT_${component}_DEVELOPMENT_GROUP ${prefix}development)
endforeach()

include(CPack)
