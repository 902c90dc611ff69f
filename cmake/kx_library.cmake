# What all libraries of the project have in common.

include(GNUInstallDirs)

# Language level and warnings for code of our own. Warnings are private: who links a library of ours
# keeps the flags he had. Whether they are errors is decided by CMAKE_COMPILE_WARNING_AS_ERROR, which
# the presets of the project's own build set.
function(kx_compile_options target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # g++ 12 takes fright at its own operator+ of a literal and a std::string.
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON)
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endfunction()

# A shared library libkx<name>, reached as kx::<name>.
function(kx_add_library name)
  set(target kx${name})
  add_library(${target} SHARED ${ARGN})
  add_library(kx::${name} ALIAS ${target})
  kx_compile_options(${target})
  set_target_properties(${target} PROPERTIES
    EXPORT_NAME ${name}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})
endfunction()
