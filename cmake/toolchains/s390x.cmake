# 64-bit big-endian s390x with Debian's g++-s390x-linux-gnu.
# Programs run under qemu-user, those that CMake and ctest start as well. What the compiler's own
# tree lacks, libcrypt and GoogleTest, is looked for in CMAKE_PREFIX_PATH; see scripts/test-cross.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(CMAKE_C_COMPILER s390x-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER s390x-linux-gnu-g++)

# Headers, libraries and packages are the target's, programs those of this machine.
set(CMAKE_FIND_ROOT_PATH /usr/s390x-linux-gnu ${CMAKE_PREFIX_PATH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-s390x;-L;/usr/s390x-linux-gnu)
