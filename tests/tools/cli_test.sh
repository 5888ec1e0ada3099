#!/usr/bin/env bash
# Checks the vaultkit command end to end on fresh data roots: files on disk, output, exit
# codes for bad input.
vaultkit=$1
samples=$2
source "$(dirname "$0")/harness.sh"
exit_code() { "$@" >/dev/null 2>&1; echo $?; }

d="$work/d"
out=$("$vaultkit" --data-root "$d" status)
check "status names the module" grep -q "Norvane.WEZ.Store" <<<"$out"
check "the load runs to its end" grep -q "^load: *succeeded" <<<"$out"
check "a command that reads creates nothing" test ! -e "$d"
"$vaultkit" --data-root "$d" --account zed --create grid set seed 1
check "wez.cfg is exactly FF FE" test "$(od -An -tx1 "$d/Accounts/wez.cfg" | tr -d ' \n')" = "fffe"

"$vaultkit" --data-root "$d" options set k 5
check "options get prints the value" test "$("$vaultkit" --data-root "$d" options get k)" = 5
check "wez.cfg holds k=5 in Default as UTF-16LE" \
  test "$(tail -c +3 "$d/Accounts/wez.cfg" | iconv -f UTF-16LE -t UTF-8 | tr -d '\r')" = "$(printf '[Default]\nk=5')"
"$vaultkit" --data-root "$d" --account alice --create options set --user k 7
check "User.cfg holds k=7" \
  test "$(tail -c +3 "$d/Accounts/alice/User.cfg" | iconv -f UTF-16LE -t UTF-8 | tr -d '\r')" = "$(printf '[Default]\nk=7')"

a=(--data-root "$d" --account alice)
"$vaultkit" "${a[@]}" users import "$samples/org.xml" >/dev/null
search=$("$vaultkit" "${a[@]}" users search zh)
check "search finds each match once" test "$(sort <<<"$search" | uniq -d | wc -l)" = 0
check "search finds zhangsan" grep -qx "zhangsan(张三)" <<<"$search"
check "--limit shows the first N" test "$("$vaultkit" "${a[@]}" users search z --limit 2 2>"$work/err" | wc -l)" = 2
check "... and says how many matched" grep -q "^vaultkit: 2 of 3 shown; --limit to change$" "$work/err"
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
check "merge into a missing file exits 3" \
  test "$(exit_code "$vaultkit" "${a[@]}" items merge "$work/none.xml")" = 3
check "merge created nothing" test ! -e "$work/none.xml"
"$vaultkit" "${a[@]}" items export "$work/out.xml"
check "export writes the items" grep -q '<Item Name="buddy"><Field id="x">3</Field>' "$work/out.xml"
check "export into a folder exits 3" test "$(exit_code "$vaultkit" "${a[@]}" items export "$work")" = 3
check "a quote in an item name exits 3" test "$(exit_code "$vaultkit" "${a[@]}" items set 'a"b' x=1)" = 3
check "items list --json is one document" \
  grep -q '"fields": {' <<<"$("$vaultkit" "${a[@]}" items list --json)"
check "a field without an id exits 2" test "$(exit_code "$vaultkit" "${a[@]}" items set b =1)" = 2
check "a taken mobile name gets a number" \
  test "$("$vaultkit" "${a[@]}" mobile add Mum --gid 1)$("$vaultkit" "${a[@]}" mobile add mum)" = Mummum1
check "mobile get folds A to Z" grep -q '"name": "mum1"' <<<"$("$vaultkit" "${a[@]}" mobile get MUM1 --json)"
check "delete in another case succeeds" test "$(exit_code "$vaultkit" "${a[@]}" mobile delete MUM1)" = 0
check "... and removes nothing" test "$("$vaultkit" "${a[@]}" mobile list | wc -l)" = 3
check "deleting an unknown mobile name exits 1" \
  test "$(exit_code "$vaultkit" "${a[@]}" mobile delete nobody)" = 1
check "a name longer than the record exits 2" \
  test "$(exit_code "$vaultkit" "${a[@]}" mobile add "$(printf 'n%.0s' {1..33})")" = 2
# Profiles and buddies: enciphered on disk, plain through inspect, plain companions migrated.
check "an account without profiles lists none" \
  test "$("$vaultkit" "${a[@]}" profiles list)" = "(no profiles)"
check "... and as JSON an empty array" test "$("$vaultkit" "${a[@]}" profiles list --json)" = "[]"
"$vaultkit" "${a[@]}" profiles set ZhangSan uin=1001 name=张三
check "profiles get folds A-Z" grep -q "张三" <<<"$("$vaultkit" "${a[@]}" profiles get zhangsan)"
check "the profile file is enciphered" test "$(grep -c ZhangSan "$d/Accounts/alice/WEZProfile.dat")" = 0
check "inspect shows the profile as XML" grep -q 'NICK="ZhangSan" NAME="张三"' \
  <<<"$("$vaultkit" "${a[@]}" inspect "$d/Accounts/alice/WEZProfile.dat")"
check "nick-by-uin" test "$("$vaultkit" "${a[@]}" profiles nick-by-uin 1001)" = ZhangSan
check "an unknown profile is not found (1)" test "$(exit_code "$vaultkit" "${a[@]}" profiles get ghost)" = 1
check "a quote in a nickname fails the lookup (3)" \
  test "$(exit_code "$vaultkit" "${a[@]}" profiles get "o'neil")" = 3
check "a gender beyond 8 bits exits 2" \
  test "$(exit_code "$vaultkit" "${a[@]}" profiles set x gender=256)" = 2
"$vaultkit" "${a[@]}" buddies set Bob note=hi
check "a buddy field reads back" test "$("$vaultkit" "${a[@]}" buddies get BOB note)" = hi
check "delete needs the lower-case account (1)" \
  test "$(exit_code "$vaultkit" "${a[@]}" buddies delete Bob)" = 1
for read in "profiles list" "profiles get zhangsan" "buddies get bob" "buddies fields bob" \
  "inspect $d/Accounts/alice/WEZProfilePro.dat"; do
  # shellcheck disable=SC2086
  check "$read --json is one JSON document" python3 -c 'import json,sys; json.load(sys.stdin)' \
    < <("$vaultkit" "${a[@]}" $read --json 2>/dev/null)
done
mkdir -p "$work/elsewhere"
cp "$d/Accounts/alice/WEZProfile.dat" "$work/elsewhere/"
check "another folder's key does not decipher (3)" \
  test "$(exit_code "$vaultkit" inspect "$work/elsewhere/WEZProfile.dat")" = 3
mkdir -p "$d/Accounts/carol"
printf '<?xml version="1.0" encoding="GB2312"?><Root><ITEM UIN="7" NICK="old"/></Root>' \
  >"$d/Accounts/carol/WEZProfile.xml"
c=(--data-root "$d" --account carol)
check "a plain companion is read" test "$("$vaultkit" "${c[@]}" profiles nick-by-uin 7)" = old
"$vaultkit" "${c[@]}" profiles set new uin=8
check "the first save deletes the plain companion" test ! -e "$d/Accounts/carol/WEZProfile.xml"
check "its records move to the enciphered file" grep -q 'NICK="old"' \
  <<<"$("$vaultkit" "${c[@]}" inspect "$d/Accounts/carol/WEZProfile.dat")"

check "unknown command exits 2" test "$(exit_code "$vaultkit" --data-root "$d" frobnicate)" = 2
check "missing arguments exit 2" test "$(exit_code "$vaultkit" --data-root "$d" options set k)" = 2
check "a bad number exits 2" test "$(exit_code "$vaultkit" "${a[@]}" leader get abc)" = 2
check "an account outside Accounts exits 2" \
  test "$(exit_code "$vaultkit" --data-root "$d" --account ../evil options --user set k 1)" = 2
check "nothing was written outside Accounts" test ! -e "$d/evil"
check "--help works for every command" "$vaultkit" users --help >/dev/null
check "a missing organisation file exits 2" \
  test "$(exit_code "$vaultkit" "${a[@]}" users import "$work/none.xml")" = 2

# The command's conventions: ranges, statuses, absence, listings, JSON, alignment, errors.
check "a signed value beyond 32 bits exits 2" test "$(exit_code "$vaultkit" "${a[@]}" grid set lisi 4000000000)" = 2
check "a negative unsigned id exits 2" test "$(exit_code "$vaultkit" "${a[@]}" keydepts set lisi -1)" = 2
check "the largest unsigned id is taken" test "$(exit_code "$vaultkit" "${a[@]}" keydepts set lisi 4294967295)" = 0
check "keydepts get lower-cases like the store" test "$("$vaultkit" "${a[@]}" keydepts get LISI)" = 4294967295
"$vaultkit" "${a[@]}" grid set 张三 7
check "grid clear's S_FALSE is success" test "$(exit_code "$vaultkit" "${a[@]}" grid clear)" = 0
check "clear removed only the first entry" test "$("$vaultkit" "${a[@]}" grid get 张三)" = 7
check "an unknown nickname is not found (1)" test "$(exit_code "$vaultkit" "${a[@]}" grid get ghost)" = 1
check "a missing option is not found (1)" test "$(exit_code "$vaultkit" --data-root "$d" options get Missing)" = 1
check "an unknown leader is not found (1)" test "$(exit_code "$vaultkit" "${a[@]}" leader get 999)" = 1
check "leader delete's help says the leader stays" grep -q "KEEPS its leader" <<<"$("$vaultkit" leader --help)"
"$vaultkit" "${a[@]}" grid set zhangsan 42
"$vaultkit" "${a[@]}" leader set 100 3 10002
check "lists show every entry" test "$("$vaultkit" "${a[@]}" grid list | wc -l)" = 3
check "leader list names the department" grep -q "^100 *10002 *3$" <<<"$("$vaultkit" "${a[@]}" leader list)"
for read in "grid list" "keydepts list" "leader list" "users depts" "users find zhangsan" \
  "grid get 张三" "options list" "portal show" "status"; do
  # shellcheck disable=SC2086
  check "$read --json is one JSON document" python3 -c 'import json,sys; json.load(sys.stdin)' \
    < <("$vaultkit" "${a[@]}" $read --json 2>/dev/null)
done
check "users find takes any letter case" grep -q "张三" <<<"$("$vaultkit" "${a[@]}" users find ZhangSan)"
check "columns align by display width" python3 -c '
import sys, unicodedata
rows = sys.stdin.read().splitlines()
def col(line):  # display column where the second field starts
  head = line.split("  ")[0].rstrip()
  w = sum(2 if unicodedata.east_asian_width(c) in "WF" else 1 for c in head)
  rest = line[len(head):]
  return w + len(rest) - len(rest.lstrip(" "))
sys.exit(len({col(r) for r in rows}) != 1)' <<<"$("$vaultkit" "${a[@]}" grid list)"
check "a foreign file is not imported (3)" test "$(exit_code "$vaultkit" "${a[@]}" users import "$samples/EPortal.xml")" = 3
check "the directory survives a refused import" grep -q "zhangsan" <<<"$("$vaultkit" "${a[@]}" users search zh)"
check "a foreign portal document is refused (3)" test "$(exit_code "$vaultkit" "${a[@]}" portal install "$samples/org.xml")" = 3
check "the portal survives a refused install" grep -q "My workspace" <<<"$("$vaultkit" "${a[@]}" portal show --language 1)"
check "--version answers" grep -q "^vaultkit [0-9]" <<<"$("$vaultkit" --version)"
check "the help names XDG_DATA_HOME" grep -q 'XDG_DATA_HOME' <<<"$("$vaultkit" --help)"
touch "$work/file"
check "a data root that is a file exits 2" test "$(exit_code "$vaultkit" --data-root "$work/file" status)" = 2
status=$("$vaultkit" "${a[@]}" status); code=$?
if grep -q "^load: *failed" <<<"$status"; then want=3; else want=0; fi
check "status exits as its load went" test "$code" = "$want"
again=$("$vaultkit" "${a[@]}" status)
check "status shows this run's reports only" \
  test "$(grep -c "ASSERT HAPPENS" <<<"$again")" = "$(grep -c "ASSERT HAPPENS" <<<"$status")"
# An account name that would leave Accounts is refused before anything is loaded.
for bad in .. ../escaped 'a/b' 'a\b'; do
  check "--account $bad exits 2" test "$(exit_code "$vaultkit" --data-root "$d" --account "$bad" grid set x 1)" = 2
done
check "nothing was made outside Accounts" test ! -e "$d/escaped" -a ! -e "$work/escaped"
# A store that cannot write its file sends an assertion report; status prints it whole.
mkdir -p "$d/Accounts/rep" && mkdir "$d/Accounts/rep/UserGrid.xml"
check "reports keep their line breaks" grep -q "^file: " <<<"$("$vaultkit" --data-root "$d" --account rep status)"
check "the report reaches the log" grep -q "ASSERT HAPPENS!" "$d/vaultkit.log"
printf '<?xml version="1.0" encoding="gb2312"?>\n<UserGrid ProVer="1"><User Grid="5" Ni' \
  >"$d/Accounts/alice/UserGrid.xml"
cp "$d/Accounts/alice/UserGrid.xml" "$work/damaged-grid"
said=$("$vaultkit" "${a[@]}" grid list 2>&1 >/dev/null)
check "a read names the damaged file" \
  grep -q "^vaultkit: UserGrid.xml is damaged: the client would replace it" <<<"$said"
check "... exits 3" test "$(exit_code "$vaultkit" "${a[@]}" grid list)" = 3
check "... and leaves it as it was" cmp -s "$work/damaged-grid" "$d/Accounts/alice/UserGrid.xml"
"$vaultkit" "${a[@]}" grid set zhangsan 5
kept=$(ls "$d/Accounts/alice/" | grep -c '^UserGrid.xml.damaged-[0-9]\{14\}$')
check "a write keeps the damaged file aside" test "$kept" = 1
check "status lists the damaged copy" grep -q "UserGrid.xml.damaged-" <<<"$("$vaultkit" "${a[@]}" status)"
err=$("$vaultkit" "${a[@]}" users dept 424242 2>&1)
check "errors say why" grep -q "department 424242 has no members" <<<"$err"

# Dialogs waiting for a reply and offline messages.
"$vaultkit" "${a[@]}" dialogs add S1 p m t
"$vaultkit" "${a[@]}" dialogs add S2 p m t Bob
check "dialogs list shows both" test "$("$vaultkit" "${a[@]}" dialogs list | wc -l)" = 3
check "a dialog is removed by its receiver in any case" \
  test "$(exit_code "$vaultkit" "${a[@]}" dialogs remove bob)" = 0
check "an unknown dialog is not found (1)" \
  test "$(exit_code "$vaultkit" "${a[@]}" dialogs remove nobody)" = 1
check "the switches as first written" \
  grep -q "^RevertOpenConfig *1$" <<<"$("$vaultkit" "${a[@]}" dialogs switches)"
check "a switch outside 0 and 1 exits 2" \
  test "$(exit_code "$vaultkit" "${a[@]}" dialogs set IsNeedtoRevert 2)" = 2
"$vaultkit" "${a[@]}" --yes dialogs set RevertOpenConfig 5 >/dev/null
check "a config out of range empties the file at the next start" \
  test "$("$vaultkit" "${a[@]}" dialogs list)" = "(no dialogs)"
"$vaultkit" "${a[@]}" dialogs set IsNeedtoRevert 1
check "the replaced dialog file is kept aside" \
  test "$(ls "$d/Accounts/alice/" | grep -c '^RevertDialog.xml.damaged-')" = 1
printf '<?xml version="1.0" encoding="gb2312"?>\r\n<Other/>' >"$d/Accounts/alice/RevertDialog.xml"
check "a dialog file without Dialogroot is refused (3)" \
  test "$(exit_code "$vaultkit" "${a[@]}" dialogs add x p m t)" = 3
check "and left as it was" grep -q "<Other/>" "$d/Accounts/alice/RevertDialog.xml"
"$vaultkit" "${a[@]}" --yes dialogs reset >/dev/null

"$vaultkit" "${a[@]}" offmsg generate --conversations 4 --records 10 >/dev/null
check "offmsg count is the index's DataSum" test "$("$vaultkit" "${a[@]}" offmsg count)" = 10
check "offmsg list has one row per conversation" \
  test "$("$vaultkit" "${a[@]}" offmsg list | wc -l)" = 5
check "offmsg show decompresses the body" \
  grep -q "离线消息 1:" <<<"$("$vaultkit" "${a[@]}" offmsg show IM1)"
check "an unknown message is not found (1)" \
  test "$(exit_code "$vaultkit" "${a[@]}" offmsg show nobody)" = 1
"$vaultkit" "${a[@]}" offmsg delete im1
check "delete removes every record of the conversation" \
  test "$("$vaultkit" "${a[@]}" offmsg count)" = 7
check "the index stays in the ANSI code page" \
  iconv -f GBK -t UTF-8 "$d/Accounts/alice/OffMsgFiles/IM/alice.xml" >/dev/null
: >"$d/Accounts/alice/OffMsgFiles/IM/alice.txt"
check "a message whose body is gone is not found (1)" \
  test "$(exit_code "$vaultkit" "${a[@]}" offmsg show im2)" = 1
check "offmsg needs an account (2)" test "$(exit_code "$vaultkit" --data-root "$d" offmsg list)" = 2
for read in "dialogs list" "dialogs switches" "offmsg list" "offmsg count" "offmsg latest"; do
  # shellcheck disable=SC2086
  check "$read --json is one JSON document" python3 -c 'import json,sys; json.load(sys.stdin)' \
    < <("$vaultkit" "${a[@]}" $read --json 2>/dev/null)
done

# Contact groups: the company tree with members from the directory, a tree of one's own.
"$vaultkit" "${a[@]}" groups import "$samples/CompanyGroups.xml" >/dev/null
tree=$("$vaultkit" "${a[@]}" groups tree 1)
check "the company tree nests its departments" grep -q "^    设计组 *102 *3 *0$" <<<"$tree"
check "company members come from the directory" \
  test "$("$vaultkit" "${a[@]}" groups members 1 100 | sort | tr '\n' ' ')" = "alice.smith lisi zhangsan "
check "the company tree refuses edits (3)" \
  test "$(exit_code "$vaultkit" "${a[@]}" groups rename 1 100 x)" = 3
check "a group file without Groups is refused (3)" \
  test "$(exit_code "$vaultkit" "${a[@]}" groups import "$samples/org.xml")" = 3
check "the company tree survives a refused import" grep -q "研发部" <<<"$("$vaultkit" "${a[@]}" groups tree 1)"
cp "$samples/UserDefinedGroup.xml" "$d/Accounts/alice/"
id=$("$vaultkit" "${a[@]}" groups add 4 60000001 Lunch)
check "the legacy file was taken in and renamed" test -e "$d/Accounts/alice/UserDefinedGroup.xml.bak"
check "a new group's id follows the largest one" test "$id" = 60000011
tree=$("$vaultkit" "${a[@]}" groups tree 4)
check "a parent that does not exist is refused (1)" \
  test "$(exit_code "$vaultkit" "${a[@]}" groups add 4 999 Orphan)" = 1
check "a new root, whose id the next add would take, is refused (2)" \
  test "$(exit_code "$vaultkit" "${a[@]}" groups add 4 0 Root)" = 2
check "... and neither adds anything" test "$("$vaultkit" "${a[@]}" groups tree 4)" = "$tree"
"$vaultkit" "${a[@]}" groups add-member 4 "$id" Zhao
"$vaultkit" "${a[@]}" groups add-member 4 "$id" zhao
check "nicknames are kept as given" test "$("$vaultkit" "${a[@]}" groups members 4 "$id" | tr '\n' ' ')" = "Zhao zhao "
"$vaultkit" "${a[@]}" groups delete 4 "$id"
check "an empty group's members are not found (1)" \
  test "$(exit_code "$vaultkit" "${a[@]}" groups members 4 "$id")" = 1
check "a kind out of range exits 2" test "$(exit_code "$vaultkit" "${a[@]}" groups tree 7)" = 2
check "an id beyond 32 bits exits 2" test "$(exit_code "$vaultkit" "${a[@]}" groups delete 4 4294967296)" = 2
"$vaultkit" "${a[@]}" groups version 4 set 7
check "the version reads back" test "$("$vaultkit" "${a[@]}" groups version 4)" = 7
for read in "groups tree 4" "groups members 1 101" "groups version 2"; do
  # shellcheck disable=SC2086
  check "$read --json is one JSON document" python3 -c 'import json,sys; json.load(sys.stdin)' \
    < <("$vaultkit" "${a[@]}" $read --json 2>/dev/null)
done
"$vaultkit" "${a[@]}" --yes offmsg generate --records 2 >/dev/null
check "offmsg show --json is one JSON document" python3 -c 'import json,sys; json.load(sys.stdin)' \
  < <("$vaultkit" "${a[@]}" offmsg show im0 --json)
rm "$d/Accounts/alice/OffMsgFiles/IM/alice.txt"
"$vaultkit" "${a[@]}" --yes offmsg repair >/dev/null
check "repair clears a channel with only its index" test ! -e "$d/Accounts/alice/OffMsgFiles/IM/alice.xml"

# A registry written by an older build (the module's ProgID only) is brought up to date.
grep -v "^progid" "$VAULTKIT_REGISTRY" >"$work/old-registry"
grep -i "^progid Vaultkit.StoreModule" "$VAULTKIT_REGISTRY" >>"$work/old-registry"
VAULTKIT_REGISTRY="$work/old-registry" "$vaultkit" --data-root "$d" status >/dev/null
check "an older registry gains the newer classes" grep -q "^progid IWEZGroupStore" "$work/old-registry"

# run: loads the component for the account, pumps the loop for N seconds and unloads.
r=(--data-root "$work/r" --account bob --create)
ran=$("$vaultkit" "${r[@]}" run --seconds 1); code=$?
check "run pumps for the time asked and ends (0)" \
  test "$code:$(head -1 <<<"$ran"):$(tail -1 <<<"$ran")" = "0:pumping the message loop for 1 s:done"
check "run opened the account's stores" test -s "$work/r/Accounts/bob/UserGrid.xml"
check "run leaves the account to the next owner" test ! -s "$work/r/Accounts/bob/vaultkit.lock"
before=$(cat "$work/r/Accounts/bob/"*.xml | md5sum)
for bad in "" "--seconds" "--seconds 0" "--seconds 86401" "--seconds 1.5" "--seconds x" \
  "--minutes 1" "--seconds 1 --seconds 1"; do
  # shellcheck disable=SC2086
  check "run $bad exits 2" test "$(exit_code "$vaultkit" "${r[@]}" run $bad)" = 2
done
check "a refused run leaves the account's files as they were" \
  test "$(cat "$work/r/Accounts/bob/"*.xml | md5sum)" = "$before"

demo=$(cd "$work" && "$vaultkit" demo 2>&1)
check "the demo runs to its end" grep -q "demo finished$" <<<"$demo"
check "the demo's flush ran twice" grep -q "2 flushes" <<<"$demo"
check "the demo stores the second Mum as mum1" grep -qx "mum1" <<<"$demo"
check "the demo shows a generated message" grep -q "离线消息 1:" <<<"$demo"

echo "$passed passed, $failed failed"
test "$failed" = 0
