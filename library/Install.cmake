# What of the library is installed: for programs that run (component library), and for those who build
# such programs (component development). Nothing in it names the prefix, which may be moved.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/rectiline)

install(TARGETS rectiline EXPORT rectiline
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development)
foreach(module ${RECTILINE_MODULES})
  get_target_property(dirs ${module} INTERFACE_INCLUDE_DIRECTORIES)
  list(APPEND header_dirs ${dirs})
endforeach()
install(CODE "set(DIRS ${header_dirs})
  set(DESTINATION \${CMAKE_INSTALL_PREFIX}/${RECTILINE_INCLUDEDIR})
  include(${PROJECT_SOURCE_DIR}/cmake/InstallHeaders.cmake)" COMPONENT development)

install(EXPORT rectiline NAMESPACE rectiline:: FILE rectilineConfig.cmake
        DESTINATION ${package_dir} COMPONENT development)
write_basic_package_version_file(rectilineConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/rectilineConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT development)

file(RELATIVE_PATH RECTILINE_PREFIX_FROM_PC
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(rectiline.pc.in rectiline.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/rectiline.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/NOTICE
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
