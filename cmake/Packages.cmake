# Debian packages, one for each install component: `cpack` in a build directory that was configured
# for the prefix /usr, as by the preset `packages`.
include(GNUInstallDirs)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME rectiline)
set(CPACK_PACKAGE_CONTACT "Rectiline maintainers <maintainers@users.noreply.rectiline.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/library)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENTS_ALL)

# rectiline_package(COMPONENT NAME SECTION SUMMARY DESCRIPTION [components that it needs...])
# A macro, since what describes packages are variables of the caller.
macro(rectiline_package component name section summary description)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}")
  set(CPACK_COMPONENT_${upper}_DEPENDS ${ARGN})
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  # The packages' rules want a copy in each; an ordinary installation has one.
  install(FILES ${PROJECT_SOURCE_DIR}/NOTICE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name}
          RENAME copyright COMPONENT ${component} EXCLUDE_FROM_ALL)
endmacro()

get_target_property(version rectiline SOVERSION)
rectiline_package(library librectiline${version} libs
  "rectification and undistortion maps for calibrated cameras"
  "The shared library: from the calibration of a camera or a stereo pair to
the maps that rectify or undistort its images, with C and C++ interfaces.")
rectiline_package(development librectiline-dev libdevel
  "headers of the rectiline library"
  "What building a program needs: headers, examples, and the descriptions of
the library for CMake and pkg-config." library)
if(RECTILINE_BUILD_TOOL)
  rectiline_package(tools rectiline-tools graphics
    "rectify, undistort and check images of calibrated cameras"
    "The command rectiline: reads the calibrations of many programs, says
whether they are right for given images, and rectifies, undistorts and
converts." library)
endif()
if(RECTILINE_BUILD_PYTHON AND TARGET rectiline_python)
  rectiline_package(python python3-rectiline python
    "rectify, undistort and check images with Python and NumPy"
    "The Python package rectiline: rigs from the calibrations of many programs,
maps and images as NumPy arrays, plots where Matplotlib is installed." library)
  # The extension is compiled for one minor version of Python.
  find_package(Python REQUIRED COMPONENTS Interpreter)
  math(EXPR next "${Python_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
      "python3 (>= 3.${Python_VERSION_MINOR}), python3 (<< 3.${next}), python3-numpy")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-matplotlib")
endif()
include(CPack)
