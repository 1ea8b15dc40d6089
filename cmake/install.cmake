# Installs the library, its headers, a CMake package (find_package(orvil))
# and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS orvil EXPORT orvilTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/orvil
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT orvilTargets NAMESPACE orvil::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/orvil)

configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/orvilConfig.cmake.in
  ${CMAKE_BINARY_DIR}/orvilConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/orvil)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/orvilConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/orvilConfig.cmake
              ${CMAKE_BINARY_DIR}/orvilConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/orvil)

# The pkg-config file finds the prefix from its own place, so that an install
# under any --prefix given at install time is found as it lies.
file(RELATIVE_PATH ORVIL_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" ORVIL_PC_TO_PREFIX "${ORVIL_PC_TO_PREFIX}")
configure_file(${CMAKE_SOURCE_DIR}/cmake/orvil.pc.in ${CMAKE_BINARY_DIR}/orvil.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/orvil.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
