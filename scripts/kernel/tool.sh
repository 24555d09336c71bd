#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: tool.sh ARCH FOLDER
#
# Builds the command line tool for a guest; the program is FOLDER/bin/gponflow. For another
# architecture it is built with the libraries that fetch.sh unpacked.
set -eu
cd "$(dirname "$(readlink -f "$0")")/../.."
# shellcheck source=scripts/kernel/common.sh
. scripts/kernel/common.sh

[ $# = 2 ] || fail "an architecture and a folder are needed"
arch=$1
folder=$2
root=$(kernel_root "$arch")
prefix=$(cross_prefix "$arch")

# A guest has the C library of this machine's Debian, so it runs the tool of the release build.
if [ -z "$prefix" ]; then
    # shellcheck source=scripts/build.sh
    . scripts/build.sh
    build_preset tool gponflow
    mkdir -p "$folder/bin"
    ln -sfT "$(readlink -f "$(preset_dir tool)/bin/gponflow")" "$folder/bin/gponflow"
    exit
fi

case $arch in
arm64) processor=aarch64 ;;
*) processor=$arch ;;
esac
libraries=usr/lib/$processor-linux-gnu
c_compiler=$(command -v "${prefix}gcc") compiler=$(command -v "${prefix}g++")
# CMake forgets the other settings of a folder whose compiler changes, for example to one behind ccache.
if ! grep -qs "^CMAKE_CXX_COMPILER:[A-Z]*=$compiler\$" "$folder/CMakeCache.txt"; then
    rm -rf "$folder/CMakeCache.txt" "$folder/CMakeFiles"
fi

search=
for directory in "$root/$libraries" "$root/lib/$processor-linux-gnu"; do
    search+=" -Wl,-rpath-link,$directory"
done
export PKG_CONFIG_LIBDIR=$root/$libraries/pkgconfig:$root/usr/share/pkgconfig
export PKG_CONFIG_SYSROOT_DIR=$root
cmake -S . -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS=-O1 -DGPON_WERROR=OFF \
    -DGPON_UNITY_ALL=ON \
    -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR="$processor" \
    -DCMAKE_C_COMPILER="$c_compiler" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_FIND_ROOT_PATH="$root" -DCMAKE_FIND_ROOT_PATH_MODE_PROGRAM=NEVER \
    -DCMAKE_FIND_ROOT_PATH_MODE_LIBRARY=ONLY -DCMAKE_FIND_ROOT_PATH_MODE_INCLUDE=ONLY \
    -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=ONLY \
    -DCMAKE_EXE_LINKER_FLAGS="-static-libstdc++ -static-libgcc -L$root/$libraries$search" \
    -DCMAKE_LIBRARY_ARCHITECTURE="$processor-linux-gnu" -DBUILD_TESTING=OFF
cmake --build "$folder" --parallel "$GPON_JOBS" --target gponflow
