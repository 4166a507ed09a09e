# What a host needs: both libraries, the scene library and the program, the headers, and a package to find them by.
include(CMakePackageConfigHelpers)

install(TARGETS orvhdri_avx2 orvrender orvpaint
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/hdri DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY src/host/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvrender FILES_MATCHING PATTERN "*.h")
install(FILES orvrender/orvHost.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orvrender)
