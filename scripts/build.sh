#!/usr/bin/env bash
# Configures and builds into BUILD_DIR (default: build). Extra arguments go to CMake.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/bootstrap.sh
build_dir=${BUILD_DIR:-build}
cmake -S . -B "$build_dir" -DCMAKE_BUILD_TYPE="${BUILD_TYPE:-RelWithDebInfo}" -DVK_WERROR=ON "$@" >/dev/null
cmake --build "$build_dir" -j"$(nproc)"
