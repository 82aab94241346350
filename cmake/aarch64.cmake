# SPDX-FileCopyrightText: 2026 The fibdb authors
# SPDX-License-Identifier: Apache-2.0
# 64-bit Arm, from any machine: Debian's cross compiler, and what cmake/foreign-root put into build/arm64-root. Programs
# that the build or a test runs are run by the emulator.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

get_filename_component(root ${CMAKE_CURRENT_LIST_DIR}/../build/arm64-root ABSOLUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${root})
set(CMAKE_FIND_ROOT_PATH ${root})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${root}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${root}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${root})
# What the libraries there need in turn.
set(CMAKE_EXE_LINKER_FLAGS_INIT
  "-Wl,-rpath-link,${root}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}:${root}/lib/${CMAKE_LIBRARY_ARCHITECTURE}")
