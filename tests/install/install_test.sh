#!/usr/bin/env bash
# Installs the build into a temporary prefix and uses it from outside the source tree, as a
# packager and a client developer would: the installed command, a C client through
# pkg-config and a C++ client through find_package(Vaultkit).
set -u
build=$1
source_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"
export VAULTKIT_REGISTRY="$work/registry"
unset VAULTKIT_COMPONENT
passed=0
failed=0
check() {
  local what=$1
  shift
  if "$@"; then passed=$((passed + 1)); else failed=$((failed + 1)); echo "FAILED: $what"; fi
}

cmake --install "$build" --prefix "$prefix" >"$work/install.log" 2>&1
check "cmake --install succeeds" test $? = 0
libdir=$(cd "$prefix" && ls -d lib*/ | head -1)
libdir=${libdir%/}
check "libvkcom has its SONAME" grep -q "SONAME.*libvkcom.so.0" <<<"$(readelf -d "$prefix/$libdir/libvkcom.so")"
check "libvaultkit has a relative RUNPATH" grep -q 'RUNPATH.*\$ORIGIN' <<<"$(readelf -d "$prefix/$libdir/libvaultkit.so")"
check "vaultkit has a relative RUNPATH" grep -q 'RUNPATH.*\$ORIGIN' <<<"$(readelf -d "$prefix/bin/vaultkit")"
check "the samples are installed" test -f "$prefix/share/vaultkit/samples/org.xml"
check "only sample data is installed with them" \
  test -z "$(find "$prefix/share/vaultkit/samples" -type f ! -name '*.xml')"

manual="$prefix/share/man/man1/vaultkit.1.gz"
check "the manual is installed, compressed" gzip -t "$manual"
if command -v man >/dev/null; then
  check "it renders with every command's help" grep -q "add KIND PARENT NAME" <<<"$(man -l "$manual" 2>/dev/null)"
else
  echo "skipped: rendering the manual needs man"
fi
# The words bash completion offers on the command line given.
offers() {
  bash -c 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _vaultkit; echo "${COMPREPLY[*]}"' \
    _ "$prefix/share/bash-completion/completions/vaultkit" "$@"
}
check "completion offers the commands" test "$(offers vaultkit g)" = "grid groups"
check "... a command's actions after global options" \
  test "$(offers vaultkit --data-root d --account alice grid '')" = "get set list clear version"
check "... the global options" grep -qw -- --account <<<"$(offers vaultkit --)"
check "... nothing of its own after an action" test -z "$(offers vaultkit grid get '')"

cd "$work" || exit 1
status=$("$prefix/bin/vaultkit" --data-root "$work/data" status 2>&1)
check "the installed command runs" grep -q "Norvane.WEZ.Store" <<<"$status"
check "it registered the installed component" grep -q "$prefix/$libdir/libvaultkit.so" "$VAULTKIT_REGISTRY"
check "it never names the build tree" test "$(grep -c "$build" "$VAULTKIT_REGISTRY")" = 0
check "the installed demo finds its samples" \
  grep -q "imported .*share/vaultkit/samples/org.xml" <<<"$("$prefix/bin/vaultkit" --data-root "$work/demo" demo 2>&1)"

export PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig"
component=$(pkg-config --variable=component vaultkit)
check "pkg-config names the installed component" \
  test "$(realpath "$component")" = "$(realpath "$prefix/$libdir/libvaultkit.so")"
# shellcheck disable=SC2046
cc -std=c11 -o "$work/c_consumer" "$source_dir/tests/install/consumer/consumer.c" \
  $(pkg-config --cflags --libs vaultkit) -ldl
check "a C client builds through pkg-config" test -x "$work/c_consumer"
check "the C client creates the module" test "$("$work/c_consumer" "$component")" = Norvane.WEZ.Store

# The README's client, through the client kit.
# shellcheck disable=SC2046
cc -std=c11 -o "$work/kit_client" "$source_dir/tests/install/consumer/kit_client.c" \
  $(pkg-config --cflags --libs vaultkit) -lvaultkit-client
check "the README's client builds against the installed kit" test -x "$work/kit_client"
mkdir -m 700 "$work/kitdata"
check "it changes the account and reads the grid back" \
  test "$("$work/kit_client" "$component" "$work/kitdata")" = "bob's grid value: 42"
check "its change reached the account's file" grep -q 'Grid="42"' "$work/kitdata/Accounts/alice/UserGrid.xml"
check "the kit exports only its own functions" \
  test "$(nm -D --defined-only "$prefix/$libdir/libvaultkit-client.so" | awk '$2 == "T" {print $3}' | grep -vc '^Vk')" = 0

cmake -S "$source_dir/tests/install/consumer" -B "$work/cpp" -DCMAKE_PREFIX_PATH="$prefix" \
  >"$work/cpp.log" 2>&1 && cmake --build "$work/cpp" >>"$work/cpp.log" 2>&1
check "a C++ client builds through find_package" test -x "$work/cpp/consumer"
check "the C++ client creates the module" test "$("$work/cpp/consumer" "$component")" = Norvane.WEZ.Store

echo "$passed passed, $failed failed"
test "$failed" = 0
