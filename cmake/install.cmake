# What a host needs: the libraries, the headers, the program, and a package to find them by.
include(CMakePackageConfigHelpers)

install(TARGETS orvhdri_avx2 orvrender orvhdri_brushes orvhdri_headers EXPORT orvhdriTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
# What the host opens when it is needed, beside it.
install(TARGETS orvrender_images LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/hdri DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY src/host/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvrender
  FILES_MATCHING PATTERN "*.h")
install(FILES orvrender/orvHost.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvrender)

install(TARGETS orvpaint RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES scene/scene.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/orvhdri)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvhdri)
install(EXPORT orvhdriTargets NAMESPACE orvhdri:: DESTINATION ${package_dir})
configure_package_config_file(cmake/orvhdriConfig.cmake.in ${PROJECT_BINARY_DIR}/orvhdriConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvhdriConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orvhdriConfig.cmake ${PROJECT_BINARY_DIR}/orvhdriConfigVersion.cmake
  DESTINATION ${package_dir})

# The same for builds without CMake. Paths are taken from where the file lies, so that the tree can be moved.
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pkgconfig /${pkgconfig_dir} /)
configure_file(cmake/orvhdri.pc.in ${PROJECT_BINARY_DIR}/orvhdri.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvhdri.pc DESTINATION ${pkgconfig_dir})
