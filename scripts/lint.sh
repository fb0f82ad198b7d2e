#!/usr/bin/env bash
# clang-tidy over the library's sources, as the release preset compiles them.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh g++ cmake ninja-build libeigen3-dev libgtest-dev clang-tidy
cmake --preset release >/dev/null
git ls-files -- 'src/*.cpp' 'examples/*.cpp' |
    xargs -P "$(nproc)" -n 4 clang-tidy -p build --quiet --extra-arg=-Wno-unknown-warning-option 2>/dev/null
