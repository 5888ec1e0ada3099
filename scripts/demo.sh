#!/usr/bin/env bash
# Builds Vaultkit and runs the demo: the vaultkit command acting as the client on the
# sample account "alice" in ./demo-data.
set -euo pipefail
cd "$(dirname "$0")/.."
BUILD_DIR=build ./scripts/build.sh -DVK_BUILD_TESTS=OFF -DVK_BUILD_BENCH=OFF
exec ./build/tools/vaultkit/vaultkit --data-root demo-data demo
