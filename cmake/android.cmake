# Android at API level 21 where no NDK is at hand: clang, libc++ and the libraries' headers that
# scripts/make-sysroot unpacks, and Android's own C headers. It compiles and does not link.
# Set ANDROID_ARCHITECTURE (armv7a or aarch64), LLVM_VERSION and ANDROID_HEADERS.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ANDROID_ARCHITECTURE LLVM_VERSION ANDROID_HEADERS)
set(CMAKE_SYSTEM_NAME Linux)
set(ANDROID TRUE)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
if(ANDROID_ARCHITECTURE STREQUAL "armv7a")
  set(target armv7a-linux-androideabi21)
  set(machine "-march=armv7-a -mfpu=neon")
  set(kernel_headers asm-arm)
else()
  set(target aarch64-linux-android21)
  set(kernel_headers asm-arm64)
endif()
set(CMAKE_SYSTEM_PROCESSOR ${ANDROID_ARCHITECTURE})
set(CMAKE_C_COMPILER clang-${LLVM_VERSION})
set(CMAKE_CXX_COMPILER clang++-${LLVM_VERSION})

get_filename_component(root ${CMAKE_CURRENT_LIST_DIR}/../build/sysroots/android ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH ${root})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Found by name, since this CMake knows no libraries' folder of the target.
file(GLOB folder ${root}/usr/lib/*-linux-gnu)
cmake_path(GET folder FILENAME CMAKE_LIBRARY_ARCHITECTURE)

execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-resource-dir OUTPUT_VARIABLE compiler
                OUTPUT_STRIP_TRAILING_WHITESPACE)
set(headers ${compiler}/include ${ANDROID_HEADERS}/include ${ANDROID_HEADERS}/uapi
            ${ANDROID_HEADERS}/uapi/${kernel_headers} ${ANDROID_HEADERS}/android-uapi)
list(TRANSFORM headers PREPEND "-isystem ")
list(JOIN headers " " c_headers)
foreach(language C CXX)
  set(CMAKE_${language}_COMPILER_TARGET ${target})
endforeach()
set(CMAKE_C_FLAGS_INIT "${machine} -nostdinc ${c_headers}")
set(CMAKE_CXX_FLAGS_INIT
    "${machine} -nostdinc -nostdinc++ -isystem ${root}/usr/lib/llvm-${LLVM_VERSION}/include/c++/v1 ${c_headers}")
