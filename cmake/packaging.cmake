# Installation: the two libraries (shared and static), their headers, and what other projects find
# them by, pkg-config and CMake; manager/ installs the daemon. Everything refers to its own place, so
# an installed tree may be moved.
include(CMakePackageConfigHelpers)

# Programs and libraries find their sibling libraries wherever the tree stands.
file(RELATIVE_PATH libraries_from_programs
  ${CMAKE_INSTALL_FULL_SBINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set_target_properties(acl_lib PROPERTIES INSTALL_RPATH $ORIGIN)
set_target_properties(aclmgrd PROPERTIES INSTALL_RPATH $ORIGIN/${libraries_from_programs})

# install_package(name description TARGETS target... [REQUIRES package...]): installs one library as
# a package.
#   TARGETS   imported as <name>::<target>
#   REQUIRES  packages of this project whose headers and libraries come along
function(install_package name description)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "TARGETS;REQUIRES")
  set(directory ${CMAKE_INSTALL_LIBDIR}/cmake/${name})
  install(TARGETS ${arg_TARGETS} EXPORT ${name}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(EXPORT ${name} NAMESPACE ${name}:: FILE ${name}-targets.cmake DESTINATION ${directory})

  set(package_name ${name})
  set(package_description ${description})
  list(TRANSFORM arg_REQUIRES REPLACE "(.+)" "find_dependency(\\1)" OUTPUT_VARIABLE dependencies)
  list(JOIN dependencies "\n" package_dependencies)
  list(JOIN arg_REQUIRES " " package_requires)
  file(RELATIVE_PATH prefix_from_pkgconfig
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" prefix_from_pkgconfig ${prefix_from_pkgconfig})

  set(generated ${PROJECT_BINARY_DIR}/packaging)
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/package-config.cmake.in
    ${generated}/${name}-config.cmake INSTALL_DESTINATION ${directory})
  write_basic_package_version_file(${generated}/${name}-config-version.cmake
    COMPATIBILITY SameMinorVersion)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/package.pc.in ${generated}/${name}.pc @ONLY)
  install(FILES ${generated}/${name}-config.cmake ${generated}/${name}-config-version.cmake
    DESTINATION ${directory})
  install(FILES ${generated}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

install_package(swplat "Switch platform services on a Linux host"
  TARGETS swplat swplat_static platform_headers)
install_package(acl_lib "Client library of a switch's access-control-list service"
  TARGETS acl_lib acl_lib_static
  REQUIRES swplat)

install(FILES README.md LICENSE CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN "*.md")
install(FILES include/acl_lib.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY platform/include/platform platform/host/include/swplat
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
