# What `cpack` makes in build/PRESET/packages: two .deb for this system, one for running programs
# and one for building them; for Windows an archive with everything.
set(CPACK_PACKAGE_VENDOR "kiv_base developers")
set(CPACK_PACKAGE_CONTACT "kiv_base developers <developers@kiv-base.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
if(TARGET docs)
  set(CPACK_INSTALL_COMMANDS "\"${CMAKE_COMMAND}\" --build \"${PROJECT_BINARY_DIR}\" --target docs")
endif()

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  math(EXPR bits "8 * ${CMAKE_SIZEOF_VOID_P}")
  set(CPACK_PACKAGE_FILE_NAME kiv_base-${PROJECT_VERSION}-win${bits})
  configure_file(cmake/windows_readme.txt.in ${PROJECT_BINARY_DIR}/README.txt @ONLY NEWLINE_STYLE CRLF)
  install(FILES ${PROJECT_BINARY_DIR}/README.txt DESTINATION . COMPONENT runtime)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkiv-base${PROJECT_VERSION_MAJOR})
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
    "networking base library with a plain C interface\n\
Event loop over sockets and timers, loops on threads, command packets, HTTP,\n\
and the runtime under them: containers, memory pool, locks, logs, strings,\n\
configuration, patterns, dates.")
  # Those who link with it depend on this package, and the system learns of the library.
  set(control ${PROJECT_BINARY_DIR}/debian)
  file(CONFIGURE OUTPUT ${control}/shlibs CONTENT "libkiv_base ${PROJECT_VERSION_MAJOR} \
${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (>= ${PROJECT_VERSION})\n")
  file(CONFIGURE OUTPUT ${control}/triggers CONTENT "activate-noawait ldconfig\n")
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${control}/shlibs ${control}/triggers)
  set(CPACK_DEBIAN_DEV_PACKAGE_NAME libkiv-base-dev)
  set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
    "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION}), libc6-dev")
  set(CPACK_DEBIAN_DEV_DESCRIPTION
    "networking base library with a plain C interface - development files\n\
Headers, documents and example programs.")
  # Everybody may enter the directories, whatever the umask of the packager. (CMake's default permissions
  # for directories go through that umask.)
  file(CONFIGURE OUTPUT ${control}/folders.cmake @ONLY CONTENT "execute_process(COMMAND \
find \${CPACK_TEMPORARY_DIRECTORY} -type d -exec chmod 755 {} + COMMAND_ERROR_IS_FATAL ANY)\n")
  set(CPACK_PRE_BUILD_SCRIPTS ${control}/folders.cmake)

  string(TIMESTAMP changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  configure_file(cmake/debian_changelog.in ${control}/changelog @ONLY)
  execute_process(COMMAND gzip -9nc ${control}/changelog OUTPUT_FILE ${control}/changelog.gz
    COMMAND_ERROR_IS_FATAL ANY)
  foreach(part RUNTIME DEV)
    string(TOLOWER debian_${part} component)
    set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${part}_PACKAGE_NAME})
    install(FILES ${control}/changelog.gz DESTINATION ${documents}
      COMPONENT ${component} EXCLUDE_FROM_ALL)
    install(FILES cmake/debian_copyright RENAME copyright DESTINATION ${documents}
      COMPONENT ${component} EXCLUDE_FROM_ALL)
  endforeach()
endif()

include(CPack)
cpack_add_component_group(runtime)
cpack_add_component(runtime GROUP runtime)
cpack_add_component(debian_runtime GROUP runtime)
cpack_add_component_group(dev)
cpack_add_component(dev GROUP dev)
cpack_add_component(doc GROUP dev)
cpack_add_component(debian_dev GROUP dev)
