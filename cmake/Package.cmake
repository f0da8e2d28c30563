# What an install provides to other projects: the library with its headers, the CMake package
# (find_package(ribpolicy 0.2 CONFIG) and the imported target ribpolicy::ribpolicy) and a
# pkg-config file. The build tree exports the same target, so a consumer can also point
# ribpolicy_DIR at a build directory without installing.
include(CMakePackageConfigHelpers)

set(ribpolicy_config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ribpolicy)

install(TARGETS ribpolicy_library EXPORT ribpolicyTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
# Every header of the library folders, under one prefix so that the library's own
# "RibRouteMap/root/Root.h" includes resolve the same way for consumers.
foreach(dir IN LISTS library_dirs)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/${dir} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ribpolicy
          FILES_MATCHING PATTERN "*.h")
endforeach()

install(EXPORT ribpolicyTargets NAMESPACE ribpolicy:: DESTINATION ${ribpolicy_config_dir})
export(EXPORT ribpolicyTargets NAMESPACE ribpolicy::
       FILE ${PROJECT_BINARY_DIR}/ribpolicyTargets.cmake)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ribpolicyConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/ribpolicyConfig.cmake
                              INSTALL_DESTINATION ${ribpolicy_config_dir})
# Before 1.0 a minor version may change the interface, so only patch releases stand in for
# each other.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ribpolicyConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ribpolicyConfig.cmake
              ${PROJECT_BINARY_DIR}/ribpolicyConfigVersion.cmake
        DESTINATION ${ribpolicy_config_dir})

# The pkg-config file finds the prefix from its own place, so `cmake --install --prefix DIR`
# yields a working file wherever DIR is.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(ribpolicy_pc_prefix "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH ribpolicy_pc_up "/root/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/root")
  string(REGEX REPLACE "/$" "" ribpolicy_pc_up "${ribpolicy_pc_up}")
  set(ribpolicy_pc_prefix "\${pcfiledir}/${ribpolicy_pc_up}")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/ribpolicy.pc.in ${PROJECT_BINARY_DIR}/ribpolicy.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ribpolicy.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
