# 32-bit ARM with NEON, as on the device, from any Debian host: clang, Debian's cross C library, and
# the libraries that scripts/make-sysroot unpacks. Programs run under the user-mode emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(target arm-linux-gnueabihf)
foreach(language C CXX)
  set(CMAKE_${language}_COMPILER_TARGET ${target})
  set(CMAKE_${language}_FLAGS_INIT "-march=armv7-a -mfpu=neon-vfpv4 -mfloat-abi=hard")
endforeach()
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)

get_filename_component(root ${CMAKE_CURRENT_LIST_DIR}/../build/sysroots/armhf ABSOLUTE)
set(CMAKE_LIBRARY_ARCHITECTURE ${target})
set(CMAKE_FIND_ROOT_PATH ${root})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Some libraries need others that the link does not name.
set(libraries ${root}/usr/lib/${target} ${root}/lib/${target} ${root}/usr/lib/${target}/android)
list(TRANSFORM libraries PREPEND "-Wl,-rpath-link," OUTPUT_VARIABLE link)
list(JOIN link " " link)
foreach(kind EXE SHARED)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT ${link})
endforeach()
list(JOIN libraries ":" path)
# In the cache, where scripts/count-instructions reads it.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/${target} -E LD_LIBRARY_PATH=${path}
    CACHE STRING "how programs run on this machine")
