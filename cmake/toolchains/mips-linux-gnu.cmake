# 32-bit MIPS, big-endian (the gateway's own byte order), with Debian's
# g++-mips-linux-gnu. Debian has no big-endian packages of the dependencies:
# pointed at the mipsel sysroot, headers are found there but no libraries
# (they sit under lib/mipsel-linux-gnu), which tests/target/big-endian relies
# on. A sysroot with big-endian libraries under lib/mips-linux-gnu builds the
# whole project.
set(SIMCARD_MIPS_TRIPLET mips-linux-gnu)
set(SIMCARD_MIPS_QEMU_ARCH mips)
include(${CMAKE_CURRENT_LIST_DIR}/mips-common.cmake)
