# Installation: headers, library, and the descriptions by which other projects find them (CMake package and pkg-config).
# Both descriptions are relative to their own place, so that an installed tree can be moved.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ZelIMP)

install(TARGETS ZelIMP EXPORT ZelIMPTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES include/ZelIMP.h include/ZelIMP.hpp DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/ZelIMP DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

install(EXPORT ZelIMPTargets NAMESPACE ZelIMP:: DESTINATION ${package_dir})
configure_package_config_file(cmake/ZelIMPConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/ZelIMPConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/ZelIMPConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ZelIMPConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/ZelIMPConfigVersion.cmake
  DESTINATION ${package_dir})

set(pkgconfig_dir ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH ZELIMP_PC_LIBDIR ${pkgconfig_dir} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH ZELIMP_PC_INCLUDEDIR ${pkgconfig_dir} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
configure_file(cmake/zelimp.pc.in ${CMAKE_CURRENT_BINARY_DIR}/zelimp.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zelimp.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
