#!/usr/bin/env bash
# Commands that delete or replace data ask first, show what would go with --dry-run, refuse a
# script that did not say --yes, and keep a copy of what they remove.
vaultkit=$(realpath "$1")
samples=$2
source "$(dirname "$0")/harness.sh"
d="$work/d"
a=(--data-root "$d" --account alice)
acct="$d/Accounts/alice"
run() { "$vaultkit" "$@" >"$work/out" 2>"$work/err" </dev/null; echo $?; }
"$vaultkit" "${a[@]}" --create dialogs add s1 chat 1 20261123093000 >/dev/null
"$vaultkit" "${a[@]}" offmsg generate --records 3 >/dev/null
printf 'my notes\n' >"$work/notes.txt"
rm "$acct/OffMsgFiles/IM/alice.txt"

# Each destructive line: without --yes and without a terminal it is refused and changes
# nothing; --dry-run says what it would do and changes nothing.
while IFS='|' read -r words what; do
  read -ra line <<<"$words"
  before=$(snapshot "$d"; md5sum <"$work/notes.txt")
  check "'$words' without --yes exits 2" test "$(run "${a[@]}" "${line[@]}")" = 2
  check "... saying how to go on" grep -q -- "--yes" "$work/err"
  check "'$words' --dry-run exits 0" test "$(run "${a[@]}" --dry-run "${line[@]}")" = 0
  check "... and says it would $what" grep -q "^would $what" "$work/out"
  check "... and nothing changed" test "$(snapshot "$d"; md5sum <"$work/notes.txt")" = "$before"
done <<LINES
offmsg repair|clear the channel
offmsg clear-empty|clear each channel
offmsg generate --channel 0|replace the offline channel 0
items export $work/notes.txt|write the items into the existing file
dialogs reset|empty RevertDialog.xml, losing every dialog
dialogs set RevertOpenConfig 7|set RevertOpenConfig 7
LINES
check "the dry run of repair names the lone index" grep -q "OffMsgFiles/IM/alice.xml" <(run "${a[@]}" --dry-run offmsg repair; cat "$work/out")

# With --yes the change is made and a copy of every removed file is kept.
check "repair --yes exits 0" test "$(run "${a[@]}" --yes offmsg repair)" = 0
check "... clears the lone index" test ! -e "$acct/OffMsgFiles/IM/alice.xml"
check "... keeping a copy" test "$(ls "$acct/OffMsgFiles" | grep -c '^IM-alice.xml.removed-')" = 1
check "dialogs reset --yes exits 0" test "$(run "${a[@]}" --yes dialogs reset)" = 0
check "... keeping the dialogs' file" grep -q s1 "$acct"/RevertDialog.xml.removed-*
(cd "$work" && "$vaultkit" "${a[@]}" --yes items export notes.txt >/dev/null)
check "export --yes keeps the replaced file" grep -q "my notes" "$work"/notes.txt.removed-*
# An import over a company tree that has groups replaces them all.
check "the first import asks nothing" test "$(run "${a[@]}" groups import "$samples/CompanyGroups.xml")" = 0
tree=$("$vaultkit" "${a[@]}" groups tree 1)
check "an import over it without --yes exits 2" \
  test "$(run "${a[@]}" groups import "$samples/CompanyGroups.xml")" = 2
check "... and says what it would replace" grep -q "groups of the company tree" "$work/err"
check "--yes imports" test "$(run "${a[@]}" --yes groups import "$samples/CompanyGroups.xml")" = 0
check "... keeping the old tree's database" test -n "$(ls "$acct" | grep '^Group.dat.removed-')"
check "... and the tree is the file's" test "$("$vaultkit" "${a[@]}" groups tree 1)" = "$tree"
echo "consent_test: $passed passed, $failed failed"
test "$failed" = 0
