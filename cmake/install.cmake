# What `cmake --install` puts where. Two components, as there are two packages:
# the compiler, and everything that has come round it.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS quillo EXPORT quilloTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT quillo)
install(TARGETS quillo-tools EXPORT quilloTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)

# The CMake package: find_package(quillo).
set(QUILLO_CMAKE_DIR ${CMAKE_INSTALL_DATADIR}/cmake/quillo)
configure_package_config_file(cmake/quilloConfig.cmake.in
  ${CMAKE_BINARY_DIR}/cmake/quilloConfig.cmake
  INSTALL_DESTINATION ${QUILLO_CMAKE_DIR}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/cmake/quilloConfigVersion.cmake
  COMPATIBILITY SameMajorVersion ARCH_INDEPENDENT)
install(EXPORT quilloTargets NAMESPACE quillo::
  DESTINATION ${QUILLO_CMAKE_DIR} COMPONENT tools)
install(FILES
  ${CMAKE_BINARY_DIR}/cmake/quilloConfig.cmake
  ${CMAKE_BINARY_DIR}/cmake/quilloConfigVersion.cmake
  DESTINATION ${QUILLO_CMAKE_DIR} COMPONENT tools)
