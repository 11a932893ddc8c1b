# Cross build for the device: 32-bit little-endian ARM with hard float
# (Debian's armhf), with Debian's arm-linux-gnueabihf cross compiler.
#
#   cmake -S . -B build-arm -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-armhf.cmake \
#         [-DFWUPDATE_ARMHF_SYSROOT=<folder>]
#
# The armhf libraries (expat, OpenSSL, GoogleTest) come either from Debian
# multiarch (libexpat1-dev:armhf installed with apt) or from a sysroot folder
# into which their .deb files were unpacked with dpkg -x; scripts/test-arm
# builds the latter. The cross compiler's own C library lives in /usr/arm-linux-gnueabihf.
# Programs and tests built here run on the host under qemu-arm.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# Large-file interfaces: with 32-bit off_t and ino_t, readdir and stat fail
# with EOVERFLOW on a directory cookie or inode number beyond 32 bits, which a
# 64-bit kernel hands out (always so under qemu-arm). The program then sees a
# folder as empty. With 64-bit offsets the same calls work on every kernel.
set(CMAKE_C_FLAGS_INIT "-D_FILE_OFFSET_BITS=64")
# GCC notes on every std::vector instance that the ARM argument passing of
# some iterators changed in GCC 7.1; nothing here mixes code from before that.
set(CMAKE_CXX_FLAGS_INIT "-D_FILE_OFFSET_BITS=64 -Wno-psabi")

# The C library root of the cross compiler: qemu-arm finds the dynamic loader
# and libc there.
set(FWUPDATE_ARMHF_LIBC_ROOT /usr/arm-linux-gnueabihf)

# The sysroot of unpacked armhf packages; the environment variable of the
# same name serves try_compile runs, which do not see the cache.
if(NOT DEFINED FWUPDATE_ARMHF_SYSROOT AND DEFINED ENV{FWUPDATE_ARMHF_SYSROOT})
  set(FWUPDATE_ARMHF_SYSROOT "$ENV{FWUPDATE_ARMHF_SYSROOT}")
endif()
set(FWUPDATE_ARMHF_SYSROOT "${FWUPDATE_ARMHF_SYSROOT}" CACHE PATH
    "Folder holding armhf packages unpacked with dpkg -x (empty: multiarch install)")
set(ENV{FWUPDATE_ARMHF_SYSROOT} "${FWUPDATE_ARMHF_SYSROOT}")

# Libraries, headers and packages come only from the armhf roots; programs
# (the build's own tools) from the host.
set(CMAKE_FIND_ROOT_PATH ${FWUPDATE_ARMHF_LIBC_ROOT})
if(FWUPDATE_ARMHF_SYSROOT)
  list(PREPEND CMAKE_FIND_ROOT_PATH "${FWUPDATE_ARMHF_SYSROOT}")
else()
  # A multiarch install puts armhf libraries under the host's /usr.
  list(APPEND CMAKE_FIND_ROOT_PATH /)
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config (consulted by FindEXPAT) must describe the armhf libraries, not
# the host's.
if(FWUPDATE_ARMHF_SYSROOT)
  set(ENV{PKG_CONFIG_SYSROOT_DIR} "${FWUPDATE_ARMHF_SYSROOT}")
  set(ENV{PKG_CONFIG_LIBDIR}
      "${FWUPDATE_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${FWUPDATE_ARMHF_SYSROOT}/usr/share/pkgconfig")
else()
  set(ENV{PKG_CONFIG_LIBDIR} "/usr/lib/arm-linux-gnueabihf/pkgconfig:/usr/share/pkgconfig")
endif()

# Debian keeps the headers that differ between architectures in a multiarch
# folder (OpenSSL's opensslconf.h, expat's expat_config.h); the cross
# compiler searches it in a multiarch install, but not inside the sysroot.
if(FWUPDATE_ARMHF_SYSROOT)
  set(CMAKE_C_STANDARD_INCLUDE_DIRECTORIES "${FWUPDATE_ARMHF_SYSROOT}/usr/include/arm-linux-gnueabihf")
  set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES "${FWUPDATE_ARMHF_SYSROOT}/usr/include/arm-linux-gnueabihf")
endif()

# The sysroot's shared libraries (libexpat.so.1) are not in the C library root
# that qemu-arm searches: the build tree's programs carry the folder in their
# run path, so they start under emulation without further settings. Installed
# programs carry no such path.
if(FWUPDATE_ARMHF_SYSROOT)
  set(CMAKE_BUILD_RPATH
      "${FWUPDATE_ARMHF_SYSROOT}/lib/arm-linux-gnueabihf"
      "${FWUPDATE_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf")
endif()

# Built programs and test executables run under emulation, also for test
# discovery (gtest_discover_tests) and for ctest.
find_program(FWUPDATE_QEMU_ARM qemu-arm)
if(FWUPDATE_QEMU_ARM)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${FWUPDATE_QEMU_ARM} -L ${FWUPDATE_ARMHF_LIBC_ROOT})
endif()
