# What `cmake --install` puts where, in three components: runtime (the library), dev (what others
# are built with) and doc. Nothing installed knows the prefix, so it can be moved as a whole.
if(NOT CMAKE_INSTALL_DOCDIR)
  if(WIN32)
    # In an archive people look for it beside bin, include and lib.
    set(CMAKE_INSTALL_DOCDIR doc)
  else()
    set(CMAKE_INSTALL_DOCDIR share/doc/libkiv-base-dev)
  endif()
endif()
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS kiv_base EXPORT kiv_base
  RUNTIME COMPONENT runtime
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE COMPONENT dev
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(KIV_MICROSOFT_IMPORT_LIBRARY)
  install(FILES ${KIV_MICROSOFT_IMPORT_LIBRARY} DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
endif()
install(DIRECTORY include/ TYPE INCLUDE COMPONENT dev)

# CMake: find_package(kiv_base) and the target kiv_base::kiv_base.
set(kiv_libdir ${CMAKE_INSTALL_LIBDIR})
set(kiv_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kiv_base)
configure_package_config_file(cmake/kiv_base-config.cmake.in
  ${PROJECT_BINARY_DIR}/kiv_base-config.cmake
  INSTALL_DESTINATION ${kiv_package_dir} PATH_VARS kiv_libdir)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kiv_base-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(EXPORT kiv_base NAMESPACE kiv_base:: FILE kiv_base-target.cmake
  DESTINATION ${kiv_package_dir} COMPONENT dev)
install(FILES ${PROJECT_BINARY_DIR}/kiv_base-config.cmake
              ${PROJECT_BINARY_DIR}/kiv_base-config-version.cmake
  DESTINATION ${kiv_package_dir} COMPONENT dev)

# pkg-config: all paths are counted from where the file lies.
file(RELATIVE_PATH pc_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" pc_to_prefix ${pc_to_prefix})
file(RELATIVE_PATH pc_includedir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
file(RELATIVE_PATH pc_libdir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
configure_file(cmake/kiv_base.pc.in ${PROJECT_BINARY_DIR}/kiv_base.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kiv_base.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

# The links of the README work there too. The manual is installed if it was built.
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md TYPE DOC COMPONENT doc)
install(DIRECTORY docs TYPE DOC COMPONENT doc
  FILES_MATCHING PATTERN *.md PATTERN *.c PATTERN *.cpp PATTERN *.svg PATTERN *.png)
install(DIRECTORY examples TYPE DOC COMPONENT doc
  PATTERN tests EXCLUDE PATTERN check.sh EXCLUDE PATTERN needs.sh EXCLUDE)
install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/html
  COMPONENT doc OPTIONAL)
