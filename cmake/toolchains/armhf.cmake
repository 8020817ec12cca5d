# 32-bit ARM, little-endian with unsigned char, with Debian's g++-arm-linux-gnueabihf.
# Programs run under qemu-user, those that CMake and ctest start as well. What the compiler's own
# tree lacks, libcrypt and GoogleTest, is looked for in CMAKE_PREFIX_PATH; see scripts/test-cross.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

# Headers, libraries and packages are the target's, programs those of this machine.
set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf ${CMAKE_PREFIX_PATH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm;-L;/usr/arm-linux-gnueabihf)
