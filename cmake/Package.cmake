# What an install provides to other projects: the library and its text target with their public
# headers, the CMake package (find_package(ribpolicy 0.2 CONFIG) and the imported targets
# ribpolicy::ribpolicy and ribpolicy::text) and a pkg-config file for each. The build tree exports the same target, so a consumer can also point
# ribpolicy_DIR at a build directory without installing.
include(CMakePackageConfigHelpers)

set(ribpolicy_config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ribpolicy)

install(TARGETS ribpolicy_library ribpolicy_text EXPORT ribpolicyTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})

# The public headers and every library header they include, and nothing else: the state
# machines and the command channel stay inside the library (scripts/check-includes.sh checks
# that this closure holds no state machine and no macro). Installed under one prefix so that
# the headers' own "framework/vox/Ptr.h" includes resolve the same way for consumers.
set(ribpolicy_public_headers RibRouteMap/Host.h RibText/Text.h)
set(pending ${ribpolicy_public_headers})
set(closure)
while(pending)
  list(POP_FRONT pending header)
  if(header IN_LIST closure)
    continue()
  endif()
  list(APPEND closure ${header})
  file(STRINGS ${PROJECT_SOURCE_DIR}/${header} includes REGEX "^[ \t]*#[ \t]*include[ \t]*\"")
  foreach(line IN LISTS includes)
    string(REGEX REPLACE "^[^\"]*\"([^\"]+)\".*$" "\\1" included "${line}")
    list(APPEND pending ${included})
  endforeach()
endwhile()
foreach(header IN LISTS closure)
  get_filename_component(dir ${header} DIRECTORY)
  install(FILES ${PROJECT_SOURCE_DIR}/${header}
          DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ribpolicy/${dir})
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
foreach(pc ribpolicy ribpolicy-text)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${pc}.pc.in ${PROJECT_BINARY_DIR}/${pc}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${pc}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
