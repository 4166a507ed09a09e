# Debian's libdeflate comes without a CMake package.
find_path(LIBDEFLATE_INCLUDE_DIR libdeflate.h REQUIRED)
find_library(LIBDEFLATE_LIBRARY deflate REQUIRED)
add_library(libdeflate::libdeflate UNKNOWN IMPORTED)
set_target_properties(libdeflate::libdeflate PROPERTIES
  IMPORTED_LOCATION ${LIBDEFLATE_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES ${LIBDEFLATE_INCLUDE_DIR})
