#!/usr/bin/env bash
# vaultkit check end to end: a healthy account made by the demo passes; each kind of damage,
# planted alone in a copy, is found and named with what the store will do; the check never
# changes a byte or a name in the folder it examines.
vaultkit=$1
source "$(dirname "$0")/harness.sh"
poke() { printf "$3" | dd of="$1" bs=1 seek="$2" conv=notrunc status=none; }
cut_to() { head -c "$2" "$1" >"$1.cut" && mv "$1.cut" "$1"; }
as_utf8_option() { { printf '\xEF\xBB\xBF'; tail -c +3 "$1" | iconv -f UTF-16LE -t UTF-8; } >"$1.u" && mv "$1.u" "$1"; }

healthy="$work/healthy"
"$vaultkit" --data-root "$healthy" demo >/dev/null 2>&1
check "the demo builds the account" test -f "$healthy/Accounts/alice/userList5.dat"
before=$(snapshot "$healthy")
out=$("$vaultkit" --data-root "$healthy" check)
check "a healthy data root passes (exit 0)" test $? = 0
check "... and says so" grep -q "0 damaged.*all is well" <<<"$out"
check "every account folder is examined" grep -q "Accounts/0$" <<<"$out"
"$vaultkit" --data-root "$healthy" --account alice check >/dev/null
check "one account by name passes" test $? = 0
json=$("$vaultkit" check --json "$healthy/Accounts/alice/")
check "an account folder passes, --json one document" grep -q '"healthy": true' <<<"$json"
check "the check changed nothing in the data root" test "$(snapshot "$healthy")" = "$before"
"$vaultkit" check "$work/nowhere" 2>/dev/null
check "no such account folder exits 1" test $? = 1
"$vaultkit" --data-root "$work/nowhere" check 2>/dev/null
check "a data root without Accounts exits 1" test $? = 1
check "the missing data root was not created" test ! -e "$work/nowhere"
"$vaultkit" check a b 2>/dev/null
check "two folders exit 2" test $? = 2

# A reader that permissions bind: root reads a folder of mode 000 all the same.
as_other=()
if ((EUID == 0)); then
  as_other=(setpriv --reuid=65534 --regid=65534 --clear-groups)
  command -v setpriv >/dev/null || as_other=(runuser -u nobody --)
  command -v "${as_other[0]}" >/dev/null || as_other=(skip)
fi

# exit status | text the report must hold | the damage, planted in account folder $f (opts:
# the command's options, as: what runs it)
cases=$(cat <<'TABLE'
4|userList5.dat is not a readable SQLite database (database disk image is malformed)|cut_to "$f/userList5.dat" 6000
4|userList5.dat fails SQLite's integrity check|poke "$f/userList5.dat" 20500 '\x7f\x7f\x7f\x7f\x7f\x7f\x7f\x7f'
4|FriendGroup.dat is not a readable SQLite database (file is not a database)|poke "$f/FriendGroup.dat" 0 'SQLite format 9'
4|userList5.dat: table global has the columns (key, value) where the store expects (id, value)|cp "$f/Group.dat" "$f/userList5.dat"
0|Group.dat is empty: the store creates its tables|: >"$f/Group.dat"
4|UserGrid.xml does not parse in its declared encoding gb2312 (|cut_to "$f/UserGrid.xml" 60
4|KeyDepts.xml has the root <Foo>, not <KeyDepts>: the key departments store keeps it|sed -i 's/KeyDepts/Foo/g' "$f/KeyDepts.xml"
4|Leader.xml does not parse in its declared encoding utf-8|printf '<?xml version="1.0" encoding="utf-8"?><Leader>\xd5\xc5</Leader>' >"$f/Leader.xml"
4|WEZExtBuddy.xml is empty: the item store will start from an empty template|: >"$f/WEZExtBuddy.xml"
4|UserGrid.xml is a folder, not a file|rm "$f/UserGrid.xml"; mkdir "$f/UserGrid.xml"
4|MobileProfile.xml is 314572800 bytes, far more than such a file holds|truncate -s 300M "$f/MobileProfile.xml"
0|MobileProfile.xml is not there: the mobile profile store writes its empty template|rm "$f/MobileProfile.xml"
0|PortalIcon/EPortal.xml holds the portal's empty template|printf '<?xml version="1.0" encoding="gb2312"?><Portal ProVer="0"></Portal>' >"$f/PortalIcon/EPortal.xml"
4|RevertDialog.xml: the switch IsNeedtoRevert="7" is not a value it may take|sed -i 's/IsNeedtoRevert="[01]"/IsNeedtoRevert="7"/' "$f/RevertDialog.xml"
4|RevertDialog.xml has the root <Other>, not <Dialogroot>: the dialog store keeps it|printf '<?xml version="1.0" encoding="gb2312"?><Other/>' >"$f/RevertDialog.xml"
4|WEZProfilePro.dat cannot be deciphered with the key of the folder 'alice'|truncate -s -1 "$f/WEZProfilePro.dat"
4|WEZProfile.dat cannot be deciphered with the key of the folder 'bob' (damaged, truncated, or another account's file)|mv "$f" "$root/Accounts/bob"; f="$root/Accounts/bob"
4|WEZProfilePro.xml does not parse|printf '<Root><WEZBuddyPro' >"$f/WEZProfilePro.xml"
4|User.cfg has no FF FE mark|tail -c +3 "$f/User.cfg" >"$f/u" && mv "$f/u" "$f/User.cfg"
4|User.cfg is UTF-8 (mark EF BB BF), not UTF-16LE|as_utf8_option "$f/User.cfg"
4|User.cfg ends in half a character|printf 'x' >>"$f/User.cfg"
4|OffMsgFiles/IM/alice.xml is there without its data file OffMsgFiles/IM/alice.txt: CheckFiles clears channel 0|rm "$f/OffMsgFiles/IM/alice.txt"
4|record 1 (MsgID "im0"): Addr 99999 and Len 146 lie outside the data file|sed -i 's/Addr="0"/Addr="99999"/' "$f/OffMsgFiles/IM/alice.xml"
4|record 1 (MsgID "im0"): its body does not decompress|poke "$f/OffMsgFiles/IM/alice.txt" 2 'abcd'
4|OffMsgFiles/DisGroup/alice.xml does not parse as an index|cut_to "$f/OffMsgFiles/DisGroup/alice.xml" 100
4|Group.dat is a folder, not a file: the group store of the company answers E_FAIL|rm "$f/Group.dat"; mkdir "$f/Group.dat"
4|Leader.xml is not a regular file|rm "$f/Leader.xml"; mkfifo "$f/Leader.xml"
4|KeyDepts.xml is a link to a file that is not there|rm "$f/KeyDepts.xml"; ln -s gone.xml "$f/KeyDepts.xml"
4|WEZProfile.dat (mode 0666) may be written by other local users|chmod 666 "$f/WEZProfile.dat"
4|the folder itself (mode 0777) may be changed by other local users|chmod 777 "$f"
0|it names process 4194303, which no longer exists|printf '4194303\n' >"$f/vaultkit.lock"
0|0 damaged, 0 absent|mv "$f" "$root/alice-from-ticket-4711"; f="$root/alice-from-ticket-4711"; opts=(--account alice)
4|may not be its account's name (its profile files do not decipher with the key of that name; its offline messages are filed as 'alice'): pass --account alice|mv "$f" "$root/alice-from-ticket-4711"; f="$root/alice-from-ticket-4711"
3|alice cannot be listed: Permission denied|chmod 711 "$work" "$root" "$root/Accounts"; chmod 000 "$f"; as=("${as_other[@]}")
TABLE
)
n=0
while IFS='|' read -r status text damage; do
  n=$((n + 1))
  root="$work/case$n"
  cp -a "$healthy" "$root"
  f="$root/Accounts/alice"
  opts=() as=()
  eval "$damage"
  if [ "${as[*]}" = skip ]; then echo "case $n skipped: as root it needs setpriv or runuser"; continue; fi
  planted=$(snapshot "$root")
  out=$("${as[@]}" "$vaultkit" "${opts[@]}" check "$f" 2>&1)
  code=$?
  check "case $n ($text): exit $status, not $code" test "$code" = "$status"
  check "case $n names the damage: $text" grep -qF -- "$text" <<<"$out"
  check "case $n changed nothing" test "$(snapshot "$root")" = "$planted"
  rm -rf "$root"
done <<<"$cases"

# Any content, in every file at once: each file holds the bytes of the next one in the
# listing, then every file is cut to half its length. The check reports damage, never crashes.
root="$work/scrambled"
cp -a "$healthy" "$root"
mapfile -t files < <(find "$root/Accounts/alice" -type f | LC_ALL=C sort)
cp "${files[0]}" "$work/first"
for ((i = 0; i + 1 < ${#files[@]}; i++)); do cp "${files[i + 1]}" "${files[i]}"; done
cp "$work/first" "${files[-1]}"
"$vaultkit" --data-root "$root" check >/dev/null 2>&1
check "scrambled contents are reported as damage (exit 4)" test $? = 4
for file in "${files[@]}"; do cut_to "$file" $(($(stat -c %s "$file") / 2)); done
"$vaultkit" --data-root "$root" check --json >"$work/scrambled.json" 2>&1
check "halved files are reported as damage (exit 4)" test $? = 4
check "... in one JSON document" grep -q '"healthy": false' "$work/scrambled.json"

echo "check_test: $passed passed, $failed failed"
test "$failed" = 0
