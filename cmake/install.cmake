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

# Manual pages and completions: those of the compiler, and all others.
set(QUILLO_ZSH_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
  "Where completions for zsh are installed")
set(made ${CMAKE_BINARY_DIR}/manual)
set(completions
  bash ${CMAKE_INSTALL_DATADIR}/bash-completion/completions ""  ""
  zsh  ${QUILLO_ZSH_DIR}                                    "_" ""
  fish ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d   ""  ".fish")
foreach(component quillo tools)
  string(REPLACE "tools" "quillo-tools" program ${component})
  set(shells ${completions})
  while(shells)
    list(POP_FRONT shells shell directory before after)
    install(FILES ${made}/completions/${shell}/${before}${program}${after}
      DESTINATION ${directory} COMPONENT ${component})
  endwhile()
endforeach()
install(FILES ${made}/man/man1/quillo.1
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT quillo)
install(FILES ${made}/man/man5/quillo-macro.5 ${made}/man/man5/quillo-mask.5
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT quillo)
install(DIRECTORY ${made}/man/man1/
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools
  PATTERN quillo.1 EXCLUDE)

# Types of the files: for file(1) and for desktops.
install(FILES share/quillo.magic
  DESTINATION ${CMAKE_INSTALL_DATADIR}/quillo COMPONENT quillo)
install(FILES share/quillo.xml
  DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages COMPONENT quillo)

# Documents and examples.
file(GLOB documents CONFIGURE_DEPENDS README.md CHANGELOG.md docs/*.md)
install(FILES ${documents}
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT quillo)
install(DIRECTORY examples
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT quillo)
