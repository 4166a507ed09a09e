# What others build on: the libraries, the headers, the program, and packages to find them by. Components are those
# of the packages in cmake/packages.cmake: libraries, development and program.
include(CMakePackageConfigHelpers)

# The painter is opened, and needs its host, by names without versions: those links belong to the libraries.
install(TARGETS orvhdri_avx2 orvrender EXPORT orvhdriTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libraries NAMELINK_COMPONENT libraries)
# What the host opens when it is needed, beside it.
install(TARGETS orvrender_images LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libraries)

install(TARGETS orvhdri_brushes orvhdri_headers EXPORT orvhdriTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(TARGETS orvscene EXPORT orvhdriSceneTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
set(include_dir ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/hdri DESTINATION ${include_dir} COMPONENT development)
install(DIRECTORY src/host/ DESTINATION ${include_dir}/orvrender COMPONENT development FILES_MATCHING PATTERN "*.h")
install(FILES orvrender/orvHost.h DESTINATION ${include_dir}/orvrender COMPONENT development)
# The scene library's headers include each other from a folder of their own.
set(scene_headers animation clamp_map HostPicture Job json_tree keys layout map_file missing_images OutputFile
  output_names paint_scene PainterLibrary pin_light PinLights preview_sheet Problems read_scene reduce_map Scene
  scene_names SceneDocument SceneErrors Session Setting sweep ThreadLimit tone_map usd_file write_scene)
list(TRANSFORM scene_headers REPLACE "(.+)" "scene/\\1.h")
install(FILES ${scene_headers} DESTINATION ${include_dir}/orvhdri/scene COMPONENT development)
install(FILES orvrender/images/FileStamp.h
  DESTINATION ${include_dir}/orvhdri/orvrender/images COMPONENT development)

install(TARGETS orvpaint RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
install(FILES scene/scene.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/orvhdri COMPONENT program)
# Packages bring the license as their system wants it.
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/licenses/orvhdri COMPONENT license)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvhdri)
install(EXPORT orvhdriTargets NAMESPACE orvhdri:: DESTINATION ${package_dir} COMPONENT development)
install(EXPORT orvhdriSceneTargets NAMESPACE orvhdri:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/orvhdriConfig.cmake.in ${PROJECT_BINARY_DIR}/orvhdriConfig.cmake
  INSTALL_DESTINATION ${package_dir})
# Before 1.0.0 a minor version may change interfaces.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvhdriConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orvhdriConfig.cmake ${PROJECT_BINARY_DIR}/orvhdriConfigVersion.cmake
  cmake/libdeflate.cmake DESTINATION ${package_dir} COMPONENT development)

# The same for builds without CMake. Paths are taken from where the file lies, so that the tree can be moved.
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pkgconfig /${pkgconfig_dir} /)
foreach(name orvhdri orvrender orvhdri-scene)
  configure_file(cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${pkgconfig_dir} COMPONENT development)
endforeach()
