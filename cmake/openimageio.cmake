# Debian's package names include folders of libraries whose headers it does not depend on; CMake refuses folders that do
# not exist.
get_target_property(include_dirs OpenImageIO::OpenImageIO INTERFACE_INCLUDE_DIRECTORIES)
set(existing_dirs)
foreach(dir ${include_dirs})
  if(IS_DIRECTORY ${dir})
    list(APPEND existing_dirs ${dir})
  endif()
endforeach()
set_target_properties(OpenImageIO::OpenImageIO PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${existing_dirs}")
