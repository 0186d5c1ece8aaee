# Installation: the library, its header, a CMake package (customvrx::customvrx) and a
# pkg-config file. Nothing here adds an rpath to the library itself; libomp is found
# through the system's library path.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VRX_CMAKE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/customvrx)

target_include_directories(customvrx INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
install(TARGETS customvrx EXPORT customvrxTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/customvrx.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# CMake package: find_package(customvrx) with CMAKE_PREFIX_PATH set to the prefix.
install(EXPORT customvrxTargets NAMESPACE customvrx:: DESTINATION ${VRX_CMAKE_PACKAGE_DIR})
configure_package_config_file(cmake/customvrxConfig.cmake.in ${PROJECT_BINARY_DIR}/customvrxConfig.cmake
                              INSTALL_DESTINATION ${VRX_CMAKE_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/customvrxConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/customvrxConfig.cmake ${PROJECT_BINARY_DIR}/customvrxConfigVersion.cmake
        DESTINATION ${VRX_CMAKE_PACKAGE_DIR})

# pkg-config file: written at install time, so that `cmake --install --prefix P` gets
# the full directories under P (a .pc file cannot locate itself when it lives in a
# multiarch directory such as /usr/lib/x86_64-linux-gnu/pkgconfig).
install(CODE "
  set(VRX_PC_PREFIX \"\${CMAKE_INSTALL_PREFIX}\")
  set(VRX_PC_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
  set(VRX_PC_INCLUDEDIR \"${CMAKE_INSTALL_INCLUDEDIR}\")
  set(VRX_PC_VERSION \"${PROJECT_VERSION}\")
  set(VRX_PC_ARCH \"${CMAKE_LIBRARY_ARCHITECTURE}\")
  set(VRX_PC_DESTDIR \"\$ENV{DESTDIR}\")
  include(\"${PROJECT_SOURCE_DIR}/cmake/write_pkgconfig.cmake\")
  list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${VRX_PC_FILE}\")
")
