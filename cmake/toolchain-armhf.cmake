# Cross build for the device: 32-bit ARM hard-float Linux (arm-linux-gnueabihf),
# where long, size_t and time_t are 32 bits and plain char is unsigned.
#
# Compiler: Debian's g++-arm-linux-gnueabihf. Libraries: the sysroot that
# scripts/armhf-sysroot.sh builds (default build/armhf-sysroot; another one
# with -DZEL_ARMHF_SYSROOT=<dir>). Programs built here, the tests included,
# run under qemu-arm (scripts/armhf-run.sh) with that sysroot as the root for
# the armhf loader, so `ctest` and gtest_discover_tests work as in a native
# build.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# GCC notes on every ARM build that the passing of some iterators changed
# in GCC 7.1; everything here is built by one compiler, so it is noise.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")

if(NOT ZEL_ARMHF_SYSROOT)
  get_filename_component(ZEL_ARMHF_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../build/armhf-sysroot" ABSOLUTE)
endif()
set(ZEL_ARMHF_SYSROOT_STAMP "")
if(EXISTS "${ZEL_ARMHF_SYSROOT}/.zel-sysroot")
  file(STRINGS "${ZEL_ARMHF_SYSROOT}/.zel-sysroot" ZEL_ARMHF_SYSROOT_STAMP LIMIT_COUNT 1)
endif()
if(ZEL_ARMHF_SYSROOT_STAMP STREQUAL "" OR ZEL_ARMHF_SYSROOT_STAMP STREQUAL "incomplete")
  message(FATAL_ERROR "No armhf sysroot in ${ZEL_ARMHF_SYSROOT}: run scripts/armhf-sysroot.sh (scripts/setup.sh does)")
endif()
# try_compile projects read this file again; hand them the same sysroot.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZEL_ARMHF_SYSROOT)

set(CMAKE_SYSROOT "${ZEL_ARMHF_SYSROOT}")
# Headers and libraries from the sysroot only; programs from the host.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The sysroot holds the armhf loader and the toolchain's runtime libraries
# where the loader looks for them, so qemu-arm -L <sysroot> runs our programs;
# scripts/armhf-run.sh adds what a program that executes itself needs.
find_program(ZEL_QEMU_ARM qemu-arm REQUIRED)
get_filename_component(ZEL_ARMHF_RUN "${CMAKE_CURRENT_LIST_DIR}/../scripts/armhf-run.sh" ABSOLUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR "${ZEL_ARMHF_RUN};--sysroot;${ZEL_ARMHF_SYSROOT}")
