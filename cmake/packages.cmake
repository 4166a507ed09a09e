# Debian packages, a component each (./dev package): liborvhdri0, liborvhdri-dev, orvpaint and python3-orvhdri.
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL libraries development program)
set(CPACK_PACKAGE_NAME orvhdri)
set(CPACK_PACKAGE_CONTACT "orvhdri developers <orvhdri@example.org>" CACHE STRING "Maintainer of the packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/debian/compress.cmake)

set(runtime liborvhdri${ORVHDRI_SOVERSION})
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_LIBRARIES_PACKAGE_NAME ${runtime})
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARIES_DESCRIPTION "painter of environment maps for renderers
 Paints high-dynamic-range environment maps from a background and pins of
 light: the painter, which renderers open by its name, and its reference host
 with images and a physical sky.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liborvhdri-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${runtime} ${same_version}, libdeflate-dev, libopenexr-dev, libtbb-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "painter of environment maps for renderers - development files
 Headers, CMake package and pkg-config files of the painter of environment
 maps and of its reference host, and the static libraries of its brushes and
 of its scene files.")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME orvpaint)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "${runtime} ${same_version}")
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION "paints environment maps from scene files
 Paints high-dynamic-range environment maps (latitude-longitude, linear light)
 from scene files in JSON: colors, gradients, pictures, sun and sky, and pins
 of light, one map at a time or by the thousand.")

# Which package programs that link the libraries depend on, and that the loader's cache is renewed.
set(control_dir ${PROJECT_BINARY_DIR}/debian/control)
file(CONFIGURE OUTPUT ${control_dir}/shlibs @ONLY CONTENT
  "liborvrender @ORVHDRI_SOVERSION@ @runtime@ (>= @PROJECT_VERSION@)\nliborvhdri_avx2 @ORVHDRI_SOVERSION@ @runtime@ (>= @PROJECT_VERSION@)\n")
file(CONFIGURE OUTPUT ${control_dir}/triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_CONTROL_EXTRA ${control_dir}/shlibs ${control_dir}/triggers)
set(packages libraries:${runtime} development:liborvhdri-dev program:orvpaint)
if(ORVHDRI_PYTHON)
  list(APPEND CPACK_COMPONENTS_ALL python)
  list(APPEND packages python:python3-orvhdri)
  # The compiled module is of one version of the interpreter.
  math(EXPR next_python "${Python_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-orvhdri)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "${runtime} ${same_version}, python3 (>= 3.${Python_VERSION_MINOR}~), python3 (<< 3.${next_python}), python3-numpy")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-tqdm, python3-distributed")
  set(CPACK_COMPONENT_PYTHON_DESCRIPTION "paints environment maps from Python
 Scenes as dicts, high-dynamic-range environment maps as numpy arrays:
 painting, reading, writing, measuring and previews, and many maps by worker
 processes.")
endif()

# What every package says of itself. None of it belongs to a plain installation.
set(debian_dir ${PROJECT_BINARY_DIR}/debian)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${CMAKE_CURRENT_LIST_DIR}/debian/changelog.in ${debian_dir}/changelog.Debian @ONLY)
configure_file(CHANGELOG.md ${debian_dir}/changelog COPYONLY)
foreach(pair ${packages})
  string(REPLACE ":" ";" pair ${pair})
  list(POP_FRONT pair component package)
  install(FILES ${CMAKE_CURRENT_LIST_DIR}/debian/copyright ${debian_dir}/changelog.Debian ${debian_dir}/changelog
    DESTINATION share/doc/${package} COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
install(FILES ${CMAKE_CURRENT_LIST_DIR}/debian/liborvhdri.lintian-overrides
  DESTINATION share/lintian/overrides RENAME ${runtime} COMPONENT libraries EXCLUDE_FROM_ALL)

include(CPack)
