#!/usr/bin/env bash
# Checks the vaultkit command end to end on fresh data roots: files on disk, output, exit
# codes for bad input.
set -u
vaultkit=$1
samples=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export VAULTKIT_REGISTRY="$work/registry"
passed=0
failed=0
check() {  # description, then a command that must succeed
  local what=$1
  shift
  if "$@"; then passed=$((passed + 1)); else failed=$((failed + 1)); echo "FAILED: $what"; fi
}
exit_code() { "$@" >/dev/null 2>&1; echo $?; }

d="$work/d"
out=$("$vaultkit" --data-root "$d" status)
check "status names the module" grep -q "Norvane.WEZ.Store" <<<"$out"
check "status names the first missing store class" grep -q "the load stopped at the first store class not yet built" <<<"$out"
check "wez.cfg is exactly FF FE" test "$(od -An -tx1 "$d/Accounts/wez.cfg" | tr -d ' \n')" = "fffe"
check "the assertion report reaches the log" grep -q "ASSERT HAPPENS!" "$d/vaultkit.log"

"$vaultkit" --data-root "$d" options set k 5
check "options get prints the value" test "$("$vaultkit" --data-root "$d" options get k)" = 5
check "wez.cfg holds k=5 in Default as UTF-16LE" \
  test "$(tail -c +3 "$d/Accounts/wez.cfg" | iconv -f UTF-16LE -t UTF-8 | tr -d '\r')" = "$(printf '[Default]\nk=5')"
"$vaultkit" --data-root "$d" --account alice options set --user k 7
check "User.cfg holds k=7" \
  test "$(tail -c +3 "$d/Accounts/alice/User.cfg" | iconv -f UTF-16LE -t UTF-8 | tr -d '\r')" = "$(printf '[Default]\nk=7')"

a=(--data-root "$d" --account alice)
"$vaultkit" "${a[@]}" users import "$samples/org.xml" >/dev/null
search=$("$vaultkit" "${a[@]}" users search zh)
check "search finds each match once" test "$(sort <<<"$search" | uniq -d | wc -l)" = 0
check "search finds zhangsan" grep -qx "zhangsan(张三)" <<<"$search"
"$vaultkit" "${a[@]}" grid set zhangsan 42
check "grid value on disk" grep -q 'Grid="42"' "$d/Accounts/alice/UserGrid.xml"
check "grid value read back" test "$("$vaultkit" "${a[@]}" grid get zhangsan)" = 42
"$vaultkit" "${a[@]}" portal install "$samples/EPortal.xml" >/dev/null
check "portal in English" grep -q "My workspace" <<<"$("$vaultkit" "${a[@]}" portal show --language 1)"
check "portal in Traditional Chinese" grep -q "我的工作臺" <<<"$("$vaultkit" "${a[@]}" portal show --language 2)"

check "unknown command exits 2" test "$(exit_code "$vaultkit" --data-root "$d" frobnicate)" = 2
check "missing arguments exit 2" test "$(exit_code "$vaultkit" --data-root "$d" options set k)" = 2
check "a bad number exits 2" test "$(exit_code "$vaultkit" "${a[@]}" leader get abc)" = 2
check "an account outside Accounts exits 2" \
  test "$(exit_code "$vaultkit" --data-root "$d" --account ../evil options --user set k 1)" = 2
check "nothing was written outside Accounts" test ! -e "$d/evil"
check "--help works for every command" "$vaultkit" users --help >/dev/null
check "a missing organisation file exits 2" \
  test "$(exit_code "$vaultkit" "${a[@]}" users import "$work/none.xml")" = 2

demo=$(cd "$work" && "$vaultkit" demo 2>&1)
check "the demo runs to its end" grep -q "demo finished$" <<<"$demo"
check "the demo's flush ran twice" grep -q "2 flushes" <<<"$demo"

echo "$passed passed, $failed failed"
test "$failed" = 0
