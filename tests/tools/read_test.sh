#!/usr/bin/env bash
# Commands that only read, run on an account folder with damaged files as support receives it:
# not a byte or a name under the data root changes, each file the client would replace is
# named, and the command exits 3 for it; no scratch copy is left behind.
vaultkit=$1
source "$(dirname "$0")/harness.sh"
export TMPDIR="$work/tmp"
mkdir -p "$TMPDIR"
exit_code() { "$@" >/dev/null 2>&1; echo $?; }

d="$work/d"
(cd "$work" && "$vaultkit" --data-root "$d" demo >/dev/null 2>&1)
f="$d/Accounts/alice"
check "the demo builds the account" test -f "$f/userList5.dat"
head -c 70 "$f/UserGrid.xml" >"$f/UserGrid.xml.cut" && mv "$f/UserGrid.xml.cut" "$f/UserGrid.xml"
: >"$f/Leader.xml"
before=$(snapshot "$d")

reads=("status" "options list" "options list --user" "users depts" "users find zhangsan"
  "users search zh" "users versions" "grid list" "grid get zhangsan" "keydepts list"
  "leader list" "portal show" "items list" "mobile list" "dialogs list" "dialogs switches"
  "offmsg list" "offmsg count" "profiles list" "buddies fields bob" "groups tree 1"
  "grid version get" "grid lst")
for read in "${reads[@]}"; do
  # shellcheck disable=SC2086
  "$vaultkit" --data-root "$d" --account alice $read >/dev/null 2>"$work/err"
  code=$?
  check "$read changes nothing" test "$(snapshot "$d")" = "$before"
  case "$read" in
  "grid lst") check "a usage error exits 2" test "$code" = 2 ;;
  "grid "* | status)
    check "$read names the damaged grid" grep -q "UserGrid.xml is damaged: the client would" "$work/err"
    check "$read exits 3" test "$code" = 3
    ;;
  esac
done
said=$("$vaultkit" --data-root "$d" --account alcie grid list 2>&1)
check "a read of an account that does not exist exits 1" \
  test "$(exit_code "$vaultkit" --data-root "$d" --account alcie grid list)" = 1
check "... names the accounts there are" \
  grep -q "^vaultkit: no account 'alcie' under $d/Accounts; accounts: alice$" <<<"$said"
check "... and creates nothing" test "$(snapshot "$d")" = "$before"
check "vaultkit accounts lists them" test "$("$vaultkit" --data-root "$d" accounts)" = alice
check "... as JSON too" test "$("$vaultkit" --data-root "$d" accounts --json | tr -d ' \n')" = '["alice"]'
check "... and none in a folder that has none" \
  test "$("$vaultkit" --data-root "$work/empty" accounts)" = "(no accounts)"
check "no scratch copy is left" test -z "$(ls -A "$TMPDIR")"
# Without TMPDIR the copy goes to a memory-backed folder when one has room, else to /tmp.
mkdir -p "$work/run"
expected=$("$vaultkit" --data-root "$d" --account alice keydepts list 2>&1)
for runtime in "$work/run" "$work/missing"; do
  check "a read with XDG_RUNTIME_DIR=$runtime answers as with TMPDIR" test "$(env -u TMPDIR \
    XDG_RUNTIME_DIR="$runtime" "$vaultkit" --data-root "$d" --account alice keydepts list 2>&1)" \
    = "$expected"
done
check "... leaves no copy in it" test -z "$(ls -A "$work/run")"
# A file that cannot be copied (here process memory behind a link) fails the command, and the
# part of the copy already made goes with it.
ln -s /proc/self/mem "$f/unreadable"
"$vaultkit" --data-root "$d" --account alice grid list >/dev/null 2>&1
check "a copy that fails part-way leaves nothing behind" test -z "$(ls -A "$TMPDIR")"
rm "$f/unreadable"
check "... and changes nothing" test "$(snapshot "$d")" = "$before"
check "a write repairs as the client would" \
  test "$(exit_code "$vaultkit" --data-root "$d" --account alice grid set zhangsan 1)" = 0
check "... keeping the damaged bytes aside" test -n "$(ls "$f" | grep '^UserGrid.xml.damaged-')"

# A directory the store cannot read answers "nothing": that is reported as damage, not absence.
"$vaultkit" --data-root "$d" --account alice users import "$(dirname "$0")/../../samples/org.xml" >/dev/null
head -c 5000 "$f/userList5.dat" >"$work/cut" && cp "$work/cut" "$f/userList5.dat"
for read in "users find zhangsan" "users depts" "users search zh"; do
  # shellcheck disable=SC2086
  said=$("$vaultkit" --data-root "$d" --account alice $read 2>&1 >/dev/null); code=$?
  check "$read on a truncated directory exits 3" test "$code" = 3
  check "... naming userList5.dat" grep -q "userList5.dat" <<<"$said"
done

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
