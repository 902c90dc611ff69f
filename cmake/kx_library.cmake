# What all targets of the project have in common, and how its libraries are made and installed.

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

# Installed siblings have their own headers, which must be used instead of those in include/. The
# headers that a library of ours installs are then copied to a folder without those of its siblings.
set(kx_include_directory "${PROJECT_SOURCE_DIR}/include")
if(KX_SIBLINGS STREQUAL "system")
  set(kx_include_directory "${PROJECT_BINARY_DIR}/include")
endif()

# Language level and warnings of our own code; users of a library keep their own flags.
# CMAKE_COMPILE_WARNING_AS_ERROR, which the presets set, makes the warnings errors.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
# Sizes and numbers of files have 64 bits, also where the machine's words have not.
add_compile_definitions(_FILE_OFFSET_BITS=64)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # g++ 12 warns falsely about operator+ of a literal and a std::string, and about the code that the sanitizers
  # add to <regex>.
  add_compile_options(-Wno-restrict)
  if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
    add_compile_options(-Wno-maybe-uninitialized)
  endif()
endif()

# For all that is installed: a fault in memory ends the program rather than runs somebody else's code.
# Optimised builds only, which the checks of the C library's functions need; the sanitizers have their own.
if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
  set(hardening -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong -fstack-clash-protection)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "86|AMD64")
    list(APPEND hardening -fcf-protection)
    set(marks ",-z,ibt,-z,shstk") # which the linker leaves out otherwise, as Debian's start files have none
  endif()
  set(kx_hardening "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${hardening}>")
  add_link_options("$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:LINKER:-z,relro,-z,now${marks}>")
endif()

# Adds the library libkx<name>, shared or static as BUILD_SHARED_LIBS says. Its target is kx::<name>, here and
# once it is installed:
#
#     kx_add_library(<name>
#       DESCRIPTION <one line>
#       SOURCES <source>...
#       HEADERS <header>...           the headers that it installs, relative to include/
#       [REQUIRES <name>...]          our libraries whose headers its headers include
#       [FINDS <package and version>] the external package whose headers its headers include
#       [LINKS <name>]                the library of the system that it needs
#     )
function(kx_add_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "DESCRIPTION;FINDS;LINKS" "SOURCES;HEADERS;REQUIRES")
  set(target kx${name})
  add_library(${target} ${arg_SOURCES})
  add_library(kx::${name} ALIAS ${target})
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_compile_options(${target} PRIVATE "${kx_hardening}")
  # Hidden visibility does not apply to instantiations of templates of the standard library. If they
  # were exported, they would be part of our binary interface, and some of them would keep the library
  # from being unloaded.
  set(names "${PROJECT_SOURCE_DIR}/cmake/exported_names.map")
  target_link_options(${target} PRIVATE "LINKER:--version-script=${names}")
  # The libraries are in one folder, which may be moved. They are in one before they are installed,
  # too: if the folders had to change then, CMake would add an empty one, which is the current one.
  set(folder "${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}")
  set_target_properties(${target} PROPERTIES
    EXPORT_NAME ${name} VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINK_DEPENDS "${names}"
    LIBRARY_OUTPUT_DIRECTORY "${folder}" ARCHIVE_OUTPUT_DIRECTORY "${folder}"
    INSTALL_RPATH "$ORIGIN" BUILD_WITH_INSTALL_RPATH ON)

  if(KX_SIBLINGS STREQUAL "system")
    foreach(header IN LISTS arg_HEADERS)
      configure_file("${PROJECT_SOURCE_DIR}/include/${header}" "${kx_include_directory}/${header}" COPYONLY)
    endforeach()
  endif()
  list(TRANSFORM arg_HEADERS PREPEND "${kx_include_directory}/")
  target_sources(${target} PUBLIC
    FILE_SET HEADERS BASE_DIRS "${kx_include_directory}" FILES ${arg_HEADERS})

  list(TRANSFORM arg_REQUIRES PREPEND kx:: OUTPUT_VARIABLE libraries)
  target_link_libraries(${target} PUBLIC ${libraries} PRIVATE ${arg_LINKS})

  if(KX_INSTALL)
    kx_install_library(${target} "${arg_DESCRIPTION}" "${arg_REQUIRES}" "${arg_FINDS}" "${arg_LINKS}")
  endif()
endfunction()

# Installs a library, its headers, and the files by which CMake and pkg-config find it. Each library has
# two install components, <target>_runtime and <target>_development. No installed file contains an
# absolute path, so that the prefix can be moved.
function(kx_install_library target description requires finds links)
  install(TARGETS ${target} EXPORT ${target}Targets
    LIBRARY COMPONENT ${target}_runtime NAMELINK_COMPONENT ${target}_development
    ARCHIVE COMPONENT ${target}_development
    FILE_SET HEADERS COMPONENT ${target}_development)

  set(find_dependencies "")
  foreach(name IN LISTS requires)
    string(APPEND find_dependencies
      "find_dependency(kx${name} CONFIG HINTS \"\${CMAKE_CURRENT_LIST_DIR}/../kx${name}\")\n")
  endforeach()
  if(finds)
    string(APPEND find_dependencies "find_dependency(${finds})\n")
  endif()
  set(package "${CMAKE_INSTALL_LIBDIR}/cmake/${target}")
  set(generated "${CMAKE_CURRENT_BINARY_DIR}/${target}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/package_config.cmake.in" "${generated}Config.cmake" @ONLY)
  write_basic_package_version_file("${generated}ConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
  install(FILES "${generated}Config.cmake" "${generated}ConfigVersion.cmake"
    DESTINATION "${package}" COMPONENT ${target}_development)
  install(EXPORT ${target}Targets NAMESPACE kx:: DESTINATION "${package}" COMPONENT ${target}_development)

  set(pkg_config "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
  file(RELATIVE_PATH prefix_from_pc "/${pkg_config}" "/")
  list(TRANSFORM requires PREPEND kx)
  list(JOIN requires " " pc_requires)
  set(pc_links "")
  if(links AND NOT BUILD_SHARED_LIBS) # a static library does not say what it needs
    set(pc_links " -l${links}")
  endif()
  configure_file("${PROJECT_SOURCE_DIR}/cmake/pkg_config.pc.in" "${generated}.pc" @ONLY)
  install(FILES "${generated}.pc" DESTINATION "${pkg_config}" COMPONENT ${target}_development)
endfunction()
