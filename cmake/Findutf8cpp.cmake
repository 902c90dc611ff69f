# utf8cpp as utf8::cpp. It is headers alone, yet Debian installs its CMake package for one machine only, and
# the name of the target depends on the version.
find_path(utf8cpp_INCLUDE_DIR utf8.h PATH_SUFFIXES utf8cpp)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(utf8cpp REQUIRED_VARS utf8cpp_INCLUDE_DIR)
if(utf8cpp_FOUND AND NOT TARGET utf8::cpp)
  add_library(utf8::cpp INTERFACE IMPORTED)
  target_include_directories(utf8::cpp INTERFACE "${utf8cpp_INCLUDE_DIR}")
endif()
