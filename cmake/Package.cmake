# The installed package (cmake --install) and its zip (the "package" target): the DLL, both
# import libraries, the module-definition file, the headers, and the CMake package files that let
# a caller write find_package(SetupCLS) and link SetupCLS::SetupCLS. The DLL's own install rules
# are beside its target (setupcls/CMakeLists.txt).
include(CMakePackageConfigHelpers)

if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(SETUPCLS_ARCH x86)
else()
  set(SETUPCLS_ARCH x64)
endif()
set(SETUPCLS_CMAKE_DIR lib/cmake/SetupCLS)

install(EXPORT SetupCLSTargets NAMESPACE SetupCLS:: DESTINATION ${SETUPCLS_CMAKE_DIR})
configure_file(${CMAKE_CURRENT_LIST_DIR}/SetupCLSConfig.cmake.in
               ${PROJECT_BINARY_DIR}/SetupCLSConfig.cmake @ONLY)
# Any 1.x satisfies a request for 1.y with y <= x. The version file also compares the pointer
# size: a 64-bit caller looking for SetupCLS passes over the 32-bit package and the other way
# round, so one prefix path may hold both.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/SetupCLSConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/SetupCLSConfig.cmake ${PROJECT_BINARY_DIR}/SetupCLSConfigVersion.cmake
        DESTINATION ${SETUPCLS_CMAKE_DIR})

# cmake --build build/<arch> --target package: build/<arch>/SetupCLS-<version>-<arch>.zip, the
# installed package below one folder of the same name.
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME SetupCLS)
set(CPACK_PACKAGE_VENDOR Drosvane)
set(CPACK_PACKAGE_FILE_NAME SetupCLS-${PROJECT_VERSION}-${SETUPCLS_ARCH})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR})
include(CPack)
