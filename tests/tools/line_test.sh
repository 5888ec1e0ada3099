#!/usr/bin/env bash
# The command line as a Unix tool reads it: the whole line is checked before anything is
# loaded, options go before or after the command, in both spellings, "--" ends them, and an
# account that does not exist is made only when asked.
vaultkit=$1
samples=$2
source "$(dirname "$0")/harness.sh"
run() { "$vaultkit" "$@" >"$work/out" 2>"$work/err"; echo $?; }

# A wrong command line exits 2 and leaves no trace, for commands that read and that write.
d="$work/none"
while IFS='|' read -r words; do
  read -ra line <<<"$words"
  check "'$words' exits 2" test "$(run --data-root "$d" --account alice --create "${line[@]}")" = 2
  check "... and creates nothing" test ! -e "$d"
  rm -rf "$d"
done <<'LINES'
grid lst
grid set nick notanumber
grid set nick
grid version set
users find
users import
users dept x
keydepts set x notanid
leader set x y
portal show --language 9
items set b =1
mobile add
mobile add x --gid x
dialogs add
offmsg generate --records x
offmsg bogus
options set
options set-string
profiles set
buddies set
groups add 9 0 x
groups add 4 x y
run --seconds 0
status extra
grid list --bogus
LINES

# Writes: a named account that does not exist is refused without --create.
d="$work/d"
mkdir -p "$d/Accounts/alice" "$d/Accounts/bob"
check "a write to an unknown account exits 1" test "$(run --data-root "$d" --account alcie grid set x 1)" = 1
check "... naming the accounts there are" grep -q "no account 'alcie' under .*accounts: alice, bob" "$work/err"
check "... and creates nothing" test ! -e "$d/Accounts/alcie" -a ! -e "$d/wez.cfg"
check "--create makes it" test "$(run --data-root "$d" --account carol --create grid set x 1)" = 0
check "... with its files" test -s "$d/Accounts/carol/UserGrid.xml"

# Options anywhere, --opt=value, and -- before a value that looks like an option.
check "options after the command" test "$(run grid get x --data-root "$d" --account carol)" = 0
check "... read the value" test "$(cat "$work/out")" = 1
check "--opt=value" test "$(run --data-root="$d" grid get --account=carol x)" = 0
check "-- ends the options" \
  test "$(run --data-root "$d" --account carol options set-string --user Note -- --json)" = 0
check "... so --json is stored as a value" \
  test "$("$vaultkit" --data-root "$d" --account carol options get --user Note)" = --json
check "an unknown option exits 2" test "$(run --data-root "$d" --bogus status)" = 2
check "... and says which" grep -q "unknown option --bogus" "$work/err"
check "a flag given a value exits 2" test "$(run --data-root "$d" --yes=1 status)" = 2

# Bare vaultkit: a short usage on stderr, exit 2; --help on stdout, exit 0.
check "bare vaultkit exits 2" test "$(run)" = 2
check "... with the usage on stderr only" test -s "$work/err" -a ! -s "$work/out"
check "--help exits 0" test "$(run --help)" = 0
check "... with the usage on stdout" grep -q "^commands:" "$work/out"
check "a command's help after options" test "$(run --data-root "$d" grid --help)" = 0
check "... is the command's" grep -q "grid ACTION" "$work/out"
echo "line_test: $passed passed, $failed failed"
test "$failed" = 0
