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
foreach(program quillo quillo-tools)
  string(REPLACE quillo-tools tools component ${program})
  install(FILES ${made}/completions/bash/${program} COMPONENT ${component}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES ${made}/completions/zsh/_${program} COMPONENT ${component}
    DESTINATION ${QUILLO_ZSH_DIR})
  install(FILES ${made}/completions/fish/${program}.fish
    COMPONENT ${component}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
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

# Editor files: where each editor looks by itself, and the rest for those who
# put them there.
set(QUILLO_VIM_DIR ${CMAKE_INSTALL_DATADIR}/vim/vimfiles CACHE STRING
  "Where files for Vim are installed")
set(QUILLO_EMACS_DIR ${CMAKE_INSTALL_DATADIR}/emacs/site-lisp CACHE STRING
  "Where files for Emacs are installed")
if(EXISTS ${CMAKE_SOURCE_DIR}/editors)
  install(DIRECTORY editors/vim/ COMPONENT quillo
    DESTINATION ${QUILLO_VIM_DIR})
  install(DIRECTORY editors/emacs/ COMPONENT quillo
    DESTINATION ${QUILLO_EMACS_DIR})
  install(DIRECTORY editors/vscode editors/pygments COMPONENT quillo
    DESTINATION ${CMAKE_INSTALL_DATADIR}/quillo/editors
    PATTERN __pycache__ EXCLUDE)
endif()

# Documents and examples.
set(documents README.md CHANGELOG.md)
if(NOT EXISTS ${CMAKE_SOURCE_DIR}/CHANGELOG.md)
  set(documents README.md)
endif()
install(FILES ${documents}
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT quillo)
install(DIRECTORY docs examples
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT quillo)
