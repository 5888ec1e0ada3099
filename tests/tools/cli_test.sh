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

"$vaultkit" "${a[@]}" items set buddy x=1 y=2
"$vaultkit" "${a[@]}" items set buddy x=3
check "an item's fields read back, a value replaced in place" \
  test "$("$vaultkit" "${a[@]}" items get buddy | tr '\n' ' ')" = "x=3 y=2 "
check "the item file on disk" grep -q '<Field id="x">3</Field>' "$d/Accounts/alice/WEZExtBuddy.xml"
check "find takes the first value not below the text" test "$("$vaultkit" "${a[@]}" items find 2)" = buddy
check "find with no value not below exits 1" test "$(exit_code "$vaultkit" "${a[@]}" items find 4)" = 1
check "merge into a missing file exits 1" \
  test "$(exit_code "$vaultkit" "${a[@]}" items merge "$work/none.xml")" = 1
check "merge created nothing" test ! -e "$work/none.xml"
"$vaultkit" "${a[@]}" items export "$work/out.xml"
check "export writes the items" grep -q '<Item Name="buddy"><Field id="x">3</Field>' "$work/out.xml"
check "export into a folder exits 1" test "$(exit_code "$vaultkit" "${a[@]}" items export "$work")" = 1
check "a quote in an item name exits 1" test "$(exit_code "$vaultkit" "${a[@]}" items set 'a"b' x=1)" = 1
check "a field without an id exits 2" test "$(exit_code "$vaultkit" "${a[@]}" items set b =1)" = 2
check "a taken mobile name gets a number" \
  test "$("$vaultkit" "${a[@]}" mobile add Mum --gid 1)$("$vaultkit" "${a[@]}" mobile add mum)" = Mummum1
check "mobile get folds A to Z" grep -q "^mum1"$'\t'"0" <<<"$("$vaultkit" "${a[@]}" mobile get MUM1)"
check "delete in another case succeeds" test "$(exit_code "$vaultkit" "${a[@]}" mobile delete MUM1)" = 0
check "... and removes nothing" test "$("$vaultkit" "${a[@]}" mobile list | wc -l)" = 2
check "deleting an unknown mobile name exits 1" \
  test "$(exit_code "$vaultkit" "${a[@]}" mobile delete nobody)" = 1
check "a name longer than the record exits 2" \
  test "$(exit_code "$vaultkit" "${a[@]}" mobile add "$(printf 'n%.0s' {1..33})")" = 2

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
check "the demo stores the second Mum as mum1" grep -qx "mum1" <<<"$demo"

echo "$passed passed, $failed failed"
test "$failed" = 0
