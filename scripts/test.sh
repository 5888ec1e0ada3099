#!/usr/bin/env bash
# Builds Vaultkit with its tests and benchmarks and runs every test.
#   scripts/test.sh                        the normal build (build/)
#   scripts/test.sh --sanitize SANITIZERS  e.g. address,undefined (build-asan/) or
#                                          thread (build-tsan/, the tests of the worker threads only)
#   scripts/test.sh --clang                a Release build with Clang (build-clang/)
# The tests are turned on whatever the build folder was configured with before (the demo
# configures build/ without them), and a run that finds no test fails.
set -euo pipefail
cd "$(dirname "$0")/.."
usage() {
  echo "usage: $0 [--sanitize SANITIZERS | --clang]" >&2
  exit 2
}
sanitize=""
clang=0
case "${1:-}" in
  "") ;;
  --sanitize) (($# == 2)) && [ -n "$2" ] || usage; sanitize=$2 ;;
  --clang) (($# == 1)) || usage; clang=1 ;;
  *) usage ;;
esac
if ((clang)); then
  export CC=clang CXX=clang++ BUILD_TYPE=Release
  export VAULTKIT_REGISTRY="$PWD/build-clang/test-registry"
  BUILD_DIR=build-clang ./scripts/build.sh -DVK_BUILD_TESTS=ON -DVK_BUILD_BENCH=OFF
  exec ctest --test-dir build-clang --output-on-failure --no-tests=error -j"$(nproc)"
fi
case "$sanitize" in
  "") dir=build; filter=(); extra=(-DVK_BUILD_BENCH=ON) ;;
  thread) dir=build-tsan; filter=(-R 'UserList|SearchList|Reader|LocalOffMsgStore|GbkDecoder'); extra=(-DVK_BUILD_BENCH=OFF) ;;
  *) dir=build-asan; filter=(); extra=(-DVK_BUILD_BENCH=OFF) ;;
esac
# The registry the tests write stays inside the build tree.
export VAULTKIT_REGISTRY="$PWD/$dir/test-registry"
BUILD_DIR=$dir ./scripts/build.sh -DVK_BUILD_TESTS=ON -DVK_SANITIZE="$sanitize" "${extra[@]}"
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
ctest --test-dir "$dir" --output-on-failure --no-tests=error -j"$(nproc)" "${filter[@]}"
