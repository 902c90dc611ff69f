# Functions for all libraries of the project.

include(CheckCXXCompilerFlag)
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

# Installed siblings have their own headers, which must be used instead of those in include/. The
# headers that a library of ours installs are then copied to a folder without those of its siblings.
if(KX_SIBLINGS STREQUAL "system")
  set(kx_include_directory "${PROJECT_BINARY_DIR}/include")
else()
  set(kx_include_directory "${PROJECT_SOURCE_DIR}/include")
endif()

# Language level and warnings for our own code. The warnings are private, so that users of a library
# keep their own flags. CMAKE_COMPILE_WARNING_AS_ERROR, which the presets set, makes them errors.
function(kx_compile_options target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  # Sizes and numbers of files have 64 bits, also where the machine's words have not.
  target_compile_definitions(${target} PRIVATE _FILE_OFFSET_BITS=64)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # g++ 12 warns falsely about operator+ of a literal and a std::string.
    target_compile_options(${target} PRIVATE -Wno-restrict)
    if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
      # The code that the sanitizers add makes it warn falsely about <regex>.
      target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
    endif()
  endif()
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
endfunction()

# For all that is installed: a fault in memory ends the program rather than runs somebody else's code.
# Optimised builds only, which the checks of the C library's functions need; the sanitizers have their own.
function(kx_harden target)
  if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
    return()
  endif()
  set(optimised "$<CONFIG:Release,RelWithDebInfo,MinSizeRel>")
  set(options -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong)
  foreach(option -fstack-clash-protection -fcf-protection)
    string(MAKE_C_IDENTIFIER "KX_HAS${option}" available)
    check_cxx_compiler_flag(${option} ${available})
    if(${available})
      list(APPEND options ${option})
    endif()
  endforeach()
  target_compile_options(${target} PRIVATE "$<${optimised}:${options}>")
  get_target_property(type ${target} TYPE)
  if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND NOT type STREQUAL "STATIC_LIBRARY")
    target_link_options(${target} PRIVATE "$<${optimised}:LINKER:-z,relro,-z,now>")
  endif()
endfunction()

# Adds the library libkx<name>, shared or static as BUILD_SHARED_LIBS says. Its target is kx::<name>, here and
# once it is installed:
#
#     kx_add_library(<name>
#       DESCRIPTION <one line>
#       SOURCES <source>...
#       HEADERS <header>...           the headers that it installs, relative to include/
#       [REQUIRES <name>...]          our libraries whose headers its headers include
#       [FINDS <package and version>] the external package whose headers its headers include
#     )
function(kx_add_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "DESCRIPTION;FINDS" "SOURCES;HEADERS;REQUIRES")
  set(target kx${name})
  add_library(${target} ${arg_SOURCES})
  add_library(kx::${name} ALIAS ${target})
  kx_compile_options(${target})
  kx_harden(${target})
  kx_export_our_names_only(${target})
  set_target_properties(${target} PROPERTIES
    EXPORT_NAME ${name}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    # The libraries are in one folder, which may be moved. They are in one before they are installed,
    # too: if the folders had to change then, CMake would add an empty one, which is the current one.
    LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}"
    ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}"
    INSTALL_RPATH "$ORIGIN"
    BUILD_WITH_INSTALL_RPATH ON)

  if(KX_SIBLINGS STREQUAL "system")
    foreach(header IN LISTS arg_HEADERS)
      configure_file("${PROJECT_SOURCE_DIR}/include/${header}" "${kx_include_directory}/${header}"
        COPYONLY)
    endforeach()
  endif()
  list(TRANSFORM arg_HEADERS PREPEND "${kx_include_directory}/")
  target_sources(${target} PUBLIC
    FILE_SET HEADERS BASE_DIRS "${kx_include_directory}" FILES ${arg_HEADERS})

  list(TRANSFORM arg_REQUIRES PREPEND kx:: OUTPUT_VARIABLE libraries)
  target_link_libraries(${target} PUBLIC ${libraries})

  if(KX_INSTALL)
    kx_install_library(${target} "${arg_DESCRIPTION}" "${arg_REQUIRES}" "${arg_FINDS}")
  endif()
endfunction()

# Hidden visibility does not apply to instantiations of templates of the standard library. If they
# were exported, they would be part of our binary interface, and some of them would keep the library
# from being unloaded.
function(kx_export_our_names_only target)
  if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND BUILD_SHARED_LIBS)
    set(names "${PROJECT_SOURCE_DIR}/cmake/exported_names.map")
    target_link_options(${target} PRIVATE "LINKER:--version-script=${names}")
    set_target_properties(${target} PROPERTIES LINK_DEPENDS "${names}")
  endif()
endfunction()

# Installs a library, its headers, and the files by which CMake and pkg-config find it. Each library has
# two install components, <target>_runtime and <target>_development. No installed file contains an
# absolute path, so that the prefix can be moved.
function(kx_install_library target description requires finds)
  install(TARGETS ${target} EXPORT ${target}Targets
    LIBRARY COMPONENT ${target}_runtime NAMELINK_COMPONENT ${target}_development
    ARCHIVE COMPONENT ${target}_development
    FILE_SET HEADERS COMPONENT ${target}_development)

  set(package_directory "${CMAKE_INSTALL_LIBDIR}/cmake/${target}")
  install(EXPORT ${target}Targets NAMESPACE kx:: DESTINATION "${package_directory}"
    COMPONENT ${target}_development)

  set(find_dependencies "")
  foreach(name IN LISTS requires)
    string(APPEND find_dependencies
      "find_dependency(kx${name} CONFIG HINTS \"\${CMAKE_CURRENT_LIST_DIR}/../kx${name}\")\n")
  endforeach()
  if(finds)
    string(APPEND find_dependencies "find_dependency(${finds})\n")
  endif()
  set(generated "${CMAKE_CURRENT_BINARY_DIR}/${target}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/package_config.cmake.in"
    "${generated}Config.cmake" @ONLY)
  write_basic_package_version_file("${generated}ConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
  install(FILES "${generated}Config.cmake" "${generated}ConfigVersion.cmake"
    DESTINATION "${package_directory}" COMPONENT ${target}_development)

  set(pc_directory "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
  file(RELATIVE_PATH prefix_from_pc "/${pc_directory}" "/")
  list(TRANSFORM requires PREPEND kx)
  list(JOIN requires " " pc_requires)
  configure_file("${PROJECT_SOURCE_DIR}/cmake/pkg_config.pc.in" "${generated}.pc" @ONLY)
  install(FILES "${generated}.pc" DESTINATION "${pc_directory}" COMPONENT ${target}_development)
endfunction()
