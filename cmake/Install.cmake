# What `cmake --install` puts where. The components are those of the packages: runtime (the shared library), development
# (headers, static library, descriptions for CMake and pkg-config) and tools (the command).
include(CMakePackageConfigHelpers)

install(TARGETS ozrdc ozrdc_static EXPORT ozrdcTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

# find_package(ozrdc) gives ozrdc::shared and ozrdc::static.
set(config_directory ${CMAKE_INSTALL_LIBDIR}/cmake/ozrdc)
install(EXPORT ozrdcTargets NAMESPACE ozrdc:: DESTINATION ${config_directory} COMPONENT development)
configure_package_config_file(cmake/ozrdcConfig.cmake.in ozrdcConfig.cmake INSTALL_DESTINATION ${config_directory})
write_basic_package_version_file(ozrdcConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ozrdcConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/ozrdcConfigVersion.cmake
  DESTINATION ${config_directory} COMPONENT development)

# The description for pkg-config finds the prefix from where it stands, so that an installed tree may be moved.
file(RELATIVE_PATH prefix_from_description
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" prefix_from_description "${prefix_from_description}")
configure_file(cmake/ozrdc.pc.in ozrdc.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ozrdc.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(OZRDC_BUILD_TOOLS)
  set(OZRDC_ZSH_COMPLETIONS ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING "Where completions for zsh go")
  install(TARGETS ozrz RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  install(FILES tools/ozrz/completions/ozrz.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ozrz COMPONENT tools)
  install(FILES tools/ozrz/completions/_ozrz DESTINATION ${OZRDC_ZSH_COMPLETIONS} COMPONENT tools)
  install(FILES tools/ozrz/completions/ozrz.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tools)
  if(NOT OZRDC_PACKAGE)  # packages hold it compressed
    install(FILES docs/ozrz.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  endif()
endif()
