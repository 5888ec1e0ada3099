#!/usr/bin/env bash
# A change that did not reach its file is never reported as done: each write whose file cannot
# be written exits 3 naming the file, and an error names its own cause, not one an earlier
# step of the run left behind.
vaultkit=$1
source "$(dirname "$0")/harness.sh"
d="$work/d"
a=(--data-root "$d" --account alice)
acct="$d/Accounts/alice"
"$vaultkit" "${a[@]}" --create grid set seed 1 >/dev/null

# file made a folder | the write that must fail
while IFS='|' read -r file words; do
  read -ra line <<<"$words"
  rm -rf "${acct:?}/$file" && mkdir "$acct/$file"
  "$vaultkit" "${a[@]}" "${line[@]}" >/dev/null 2>"$work/err"
  code=$?
  check "'$words' with $file unwritable exits 3" test "$code" = 3
  check "... naming $file" grep -q "$file" "$work/err"
  rmdir "$acct/$file"
done <<'LINES'
UserGrid.xml|grid set nick 5
MobileProfile.xml|mobile add Mum
WEZExtBuddy.xml|items set x a=1
Leader.xml|leader set 1 1 1
KeyDepts.xml|keydepts set nick 1
WEZProfile.dat|profiles set z uin=1
WEZProfilePro.dat|buddies set bob nick=x
RevertDialog.xml|dialogs add s p m t
LINES

# The dialog store fails at the account change; a later, unrelated operation does not inherit
# that failure as its reason.
rm -f "$acct/RevertDialog.xml" && mkdir "$acct/RevertDialog.xml"
"$vaultkit" "${a[@]}" users add 1 zhangsan 5 >/dev/null 2>"$work/err"
check "users add does not report the dialog store's failure" test "$(grep -c RevertDialog "$work/err")" = 0
# An import that cannot write its rebuild file says why, not that the document is damaged.
mkdir "$acct/userList5.dat.bak"
"$vaultkit" "${a[@]}" users import "$(dirname "$0")/../../samples/org.xml" >/dev/null 2>"$work/err"
check "an import that cannot write exits 3" test $? = 3
check "... with the reason" grep -q "userList5.dat.bak: Is a directory" "$work/err"
echo "write_test: $passed passed, $failed failed"
test "$failed" = 0
