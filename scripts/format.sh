#!/usr/bin/env bash
# Formats the sources in place; with --check it only tells what it would change.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh clang-format
mode=(-i)
[ "${1:-}" != --check ] || mode=(--dry-run -Werror)
git ls-files -- '*.h' '*.c' '*.cpp' | xargs clang-format "${mode[@]}"
