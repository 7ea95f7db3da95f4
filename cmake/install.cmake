# What `cmake --install` brings: headers, library, pkg-config file, CMake package. The command installs itself.
install(TARGETS tavstoch EXPORT tavstochTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

install(EXPORT tavstochTargets NAMESPACE tavstoch:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tavstoch)
include(CMakePackageConfigHelpers)
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/tavstochConfig.cmake.in tavstochConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tavstoch)
write_basic_package_version_file(tavstochConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/tavstochConfig.cmake ${CMAKE_BINARY_DIR}/tavstochConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tavstoch)

# A static archive of C++ needs the C++ run time named to a C linker; a shared object brings it along.
if(TAVSTOCH_STATIC)
  set(TAVSTOCH_PC_LIBS "-ltavstoch -lstdc++ -lm")
else()
  set(TAVSTOCH_PC_LIBS "-ltavstoch")
endif()
file(RELATIVE_PATH TAVSTOCH_PC_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${CMAKE_SOURCE_DIR}/cmake/tavstoch.pc.in tavstoch.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/tavstoch.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
