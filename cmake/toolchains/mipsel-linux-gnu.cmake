# 32-bit MIPS, little-endian, with Debian's g++-mipsel-linux-gnu.
#   cmake -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/mipsel-linux-gnu.cmake ...
set(SIMCARD_MIPS_TRIPLET mipsel-linux-gnu)
set(SIMCARD_MIPS_QEMU_ARCH mipsel)
include(${CMAKE_CURRENT_LIST_DIR}/mips-common.cmake)
