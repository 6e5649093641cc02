# Shared part of the 32-bit MIPS toolchain files; SIMCARD_MIPS_TRIPLET is set
# by the file that includes this one.
#
# Debian's cross compiler brings its own C library and libstdc++ under
# /usr/<triplet>. The library's dependencies (IXML, libcrypto, GoogleTest)
# come from a second root: SIMCARD_MIPS_SYSROOT in the environment, or the
# one scripts/mips-sysroot.sh makes in out/. No --sysroot is given, since
# neither root holds everything.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR mips)

set(CMAKE_C_COMPILER ${SIMCARD_MIPS_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${SIMCARD_MIPS_TRIPLET}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${SIMCARD_MIPS_TRIPLET})

if(DEFINED ENV{SIMCARD_MIPS_SYSROOT})
  set(SIMCARD_MIPS_SYSROOT "$ENV{SIMCARD_MIPS_SYSROOT}")
else()
  get_filename_component(SIMCARD_MIPS_SYSROOT
    "${CMAKE_CURRENT_LIST_DIR}/../../out/sysroot-mipsel" ABSOLUTE)
endif()
set(SIMCARD_MIPS_LIBC /usr/${SIMCARD_MIPS_TRIPLET})

set(CMAKE_FIND_ROOT_PATH ${SIMCARD_MIPS_SYSROOT} ${SIMCARD_MIPS_LIBC})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config (FindOpenSSL asks it first) must not answer with the host's files.
set(ENV{PKG_CONFIG_LIBDIR} ${SIMCARD_MIPS_SYSROOT}/usr/lib/${SIMCARD_MIPS_TRIPLET}/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${SIMCARD_MIPS_SYSROOT})
set(ENV{PKG_CONFIG_PATH} "")

# Per-target headers (OpenSSL's configuration.h) live under include/<triplet>.
set(_simcard_mips_arch_include ${SIMCARD_MIPS_SYSROOT}/usr/include/${SIMCARD_MIPS_TRIPLET})
set(CMAKE_C_STANDARD_INCLUDE_DIRECTORIES ${_simcard_mips_arch_include})
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES ${_simcard_mips_arch_include})

# libsimcard.so's own needs (libcrypto, libixml) are found here when a program
# links against it.
set(_simcard_mips_libdir ${SIMCARD_MIPS_SYSROOT}/usr/lib/${SIMCARD_MIPS_TRIPLET})
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath-link,${_simcard_mips_libdir}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,-rpath-link,${_simcard_mips_libdir}")

# Test programs (and gtest_discover_tests at build time) run under qemu-user:
# the loader and libc from the cross toolchain, the rest from the sysroot.
find_program(SIMCARD_QEMU qemu-${SIMCARD_MIPS_QEMU_ARCH})
if(SIMCARD_QEMU)
  set(CMAKE_CROSSCOMPILING_EMULATOR
    ${SIMCARD_QEMU} -L ${SIMCARD_MIPS_LIBC} -E LD_LIBRARY_PATH=${_simcard_mips_libdir})
endif()
