# 32-bit big-endian MIPS with Debian's g++-mips-linux-gnu.
# Programs run under qemu-user, those that CMake and ctest start as well. What the compiler's own
# tree lacks, libcrypt and GoogleTest, is looked for in CMAKE_PREFIX_PATH; see scripts/test-cross.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR mips)
set(CMAKE_C_COMPILER mips-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER mips-linux-gnu-g++)

# Headers, libraries and packages are the target's, programs those of this machine.
set(CMAKE_FIND_ROOT_PATH /usr/mips-linux-gnu ${CMAKE_PREFIX_PATH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-mips;-L;/usr/mips-linux-gnu)
