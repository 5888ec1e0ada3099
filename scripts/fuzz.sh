#!/usr/bin/env bash
# Builds the fuzz targets (Clang, libFuzzer, ASan and UBSan) into build-fuzz/ and runs each
# one in turn over a temporary copy of its seed corpus and its regression inputs.
#   scripts/fuzz.sh --ci              17 s per target (CI: about 4 minutes in all)
#   scripts/fuzz.sh --time SECONDS    that long per target (hand runs)
#   scripts/fuzz.sh ... NAME...       only the named targets (e.g. UserGrid OffMsgStore)
#   --build-only / --no-build         one half, so that a shared machine's build lock is held
#                                     only while compiling
# Fails on any crash, leak, timeout (10 s per input) or UBSan finding; the failing input is
# kept in build-fuzz/artifacts/<target>/ and belongs, once fixed, in fuzz/regress/<target>/.
# The committed corpus is never modified. Nice level: $FUZZ_NICE (default 19).
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=60
targets=()
build_step=1
run_step=1
while (($#)); do
  case "$1" in
    --ci) seconds=17 ;;
    --time) seconds=${2:?--time needs a number of seconds}; shift ;;
    --build-only) run_step=0 ;;
    --no-build) build_step=0 ;;
    -*) echo "usage: $0 [--ci | --time SECONDS] [--build-only | --no-build] [TARGET...]" >&2; exit 2 ;;
    *) targets+=("$1") ;;
  esac
  shift
done

build=build-fuzz
if ((${#targets[@]} == 0)); then
  for source in fuzz/*Fuzz.cpp; do
    name=${source#fuzz/}
    targets+=("${name%Fuzz.cpp}")
  done
fi

if ((build_step)); then
  ./scripts/bootstrap.sh
  if command -v ccache >/dev/null; then
    export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$PWD}
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
  fi
  CC=clang CXX=clang++ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVK_WERROR=ON \
    -DVK_FUZZ=ON -DVK_BUILD_TESTS=OFF -DVK_BUILD_BENCH=OFF >/dev/null
  if ! cmake --build "$build" -j"$(nproc)" --target "${targets[@]/#/fuzz_}" >"$build/build.log" 2>&1
  then
    cat "$build/build.log"
    exit 1
  fi
fi
((run_step)) || exit 0

# Every input is written to files and saved with fsync: a memory-backed folder keeps the
# disk out of the loop (the stores' temporary data roots follow TMPDIR).
if [ -z "${TMPDIR:-}" ] && [ -d /dev/shm ] && [ -w /dev/shm ]; then export TMPDIR=/dev/shm; fi

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:allocator_may_return_null=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=()
started=$(date +%s)
for name in "${targets[@]}"; do
  mkdir -p "$work/$name" "$build/artifacts/$name"
  cp -r "fuzz/corpus/$name/." "$work/$name/"
  dict=()
  if [ -f "fuzz/dict/$name.dict" ]; then
    # Every XML reader gets the XML syntax with its own names; the option files are not XML.
    cat "fuzz/dict/$name.dict" > "$work/$name.dict"
    [ "$name" = OptionStore ] || cat fuzz/dict/xml.dict >> "$work/$name.dict"
    dict=(-dict="$work/$name.dict")
  fi
  regress=()
  [ -d "fuzz/regress/$name" ] && regress=("fuzz/regress/$name")
  echo "fuzz: $name for ${seconds}s"
  if nice -n "${FUZZ_NICE:-19}" "$build/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=10 \
      -rss_limit_mb=2048 -print_final_stats=1 "${dict[@]}" \
      -artifact_prefix="$build/artifacts/$name/" "$work/$name" "${regress[@]}" \
      >"$work/$name.log" 2>&1; then
    grep -E '^stat::number_of_executed_units|^stat::peak_rss_mb' "$work/$name.log" | sed "s/^/  /"
  else
    failed+=("$name")
    tail -n 60 "$work/$name.log"
    echo "fuzz: $name FAILED; input in $build/artifacts/$name/"
  fi
done
echo "fuzz: ${#targets[@]} targets in $(($(date +%s) - started))s"
if ((${#failed[@]})); then
  echo "fuzz: findings in ${failed[*]}" >&2
  exit 1
fi
