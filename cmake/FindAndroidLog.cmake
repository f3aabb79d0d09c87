# Android's liblog: the platform's own on Android; on hosts the Debian package android-liblog-dev,
# whose folders named `android` lie outside the default search paths.
find_path(AndroidLog_INCLUDE_DIR android/log.h PATHS /usr/include/android)
find_library(AndroidLog_LIBRARY log PATH_SUFFIXES android ${CMAKE_LIBRARY_ARCHITECTURE}/android
             PATHS /usr/lib)
mark_as_advanced(AndroidLog_INCLUDE_DIR AndroidLog_LIBRARY)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(AndroidLog DEFAULT_MSG AndroidLog_LIBRARY AndroidLog_INCLUDE_DIR)
if(AndroidLog_FOUND AND NOT TARGET AndroidLog::AndroidLog)
  add_library(AndroidLog::AndroidLog UNKNOWN IMPORTED)
  set_target_properties(AndroidLog::AndroidLog PROPERTIES
    IMPORTED_LOCATION ${AndroidLog_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${AndroidLog_INCLUDE_DIR})
endif()
