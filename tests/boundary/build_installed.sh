#!/usr/bin/env bash
# Installs the library to a folder of its own and builds and runs a C host against it, through the
# CMake package and through pkg-config. build_installed.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/installed" >/dev/null
cat >"$work/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(host C)
find_package(veldane REQUIRED)
add_executable(host "$source/tests/boundary/c_host.c")
target_link_libraries(host PRIVATE veldane::veldane m)
CMAKE
cmake -G Ninja -S "$work" -B "$work/build" -DCMAKE_PREFIX_PATH="$work/installed" >/dev/null
cmake --build "$work/build" >/dev/null
"$work/build/host"

libdir=$(dirname "$(find "$work/installed" -name libveldane.so)")
export PKG_CONFIG_PATH=$libdir/pkgconfig
read -ra flags <<<"$(pkg-config --cflags --libs veldane)"
cc -std=c11 -Wall -Wextra -Wpedantic -Werror "$source/tests/boundary/c_host.c" "${flags[@]}" -lm \
    -o "$work/host"
LD_LIBRARY_PATH=$libdir "$work/host"
