# What `cmake --install` puts where, and how other projects find it: find_package(zor) and
# pkg-config.
include(CMakePackageConfigHelpers)

install(TARGETS zor EXPORT zorTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/zor DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES LICENSE README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zor)
install(EXPORT zorTargets NAMESPACE zor:: DESTINATION ${config_dir})
configure_package_config_file(cmake/zorConfig.cmake.in zorConfig.cmake
    INSTALL_DESTINATION ${config_dir}
    PATH_VARS ZOR_MODULE_INSTALL_DIR)
write_basic_package_version_file(zorConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zorConfig.cmake ${PROJECT_BINARY_DIR}/zorConfigVersion.cmake
    DESTINATION ${config_dir})

# Relative, so that what is installed can be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
    BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE pc_to_prefix)
configure_file(cmake/zor.pc.in zor.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zor.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
