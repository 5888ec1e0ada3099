#!/usr/bin/env bash
# Two processes on one account: the command that writes owns the account while it runs, so
# concurrent writers lose nothing, and a writer that cannot get the account is refused.
vaultkit=$1
source "$(dirname "$0")/harness.sh"
a=(--data-root "$work/d" --account alice)
"$vaultkit" "${a[@]}" --create grid set seed 1 >/dev/null

# Each writer alternates three stores; every write reported as done must be there afterwards.
writer() {
  for i in $(seq 1 15); do
    "$vaultkit" "${a[@]}" --wait 60 profiles set "$1$i" uin="$i" >/dev/null 2>&1 && echo "profile $1$i"
    "$vaultkit" "${a[@]}" --wait 60 mobile add "$1$i" --number "$i" >/dev/null 2>&1 && echo "mobile $1$i"
    "$vaultkit" "${a[@]}" --wait 60 grid set "$1$i" "$i" >/dev/null 2>&1 && echo "grid $1$i"
  done
}
writer p >"$work/p.done" &
writer q >"$work/q.done"
wait
done_writes=$(cat "$work/p.done" "$work/q.done" | wc -l)
check "every write of both writers was done" test "$done_writes" = 90
profiles=$("$vaultkit" "${a[@]}" profiles list)
mobiles=$("$vaultkit" "${a[@]}" mobile list)
grids=$("$vaultkit" "${a[@]}" grid list)
lost=0
while read -r store name; do
  case $store in
    profile) grep -qw "$name" <<<"$profiles" || lost=$((lost + 1)) ;;
    mobile) grep -qw "$name" <<<"$mobiles" || lost=$((lost + 1)) ;;
    grid) grep -qw "$name" <<<"$grids" || lost=$((lost + 1)) ;;
  esac
done < <(cat "$work/p.done" "$work/q.done")
check "no write reported as done was lost ($lost lost)" test "$lost" = 0

# An owner that keeps the account: a writer is refused after its wait, naming the owner, and
# changes nothing; a reader still reads.
"$vaultkit" "${a[@]}" run --seconds 6 >/dev/null &
owner=$!
for _ in $(seq 1 100); do
  [ "$(cat "$work/d/Accounts/alice/vaultkit.lock" 2>/dev/null)" = "$owner" ] && break
  sleep 0.05
done
check "the owner is recorded in the account's lock file" \
  test "$(cat "$work/d/Accounts/alice/vaultkit.lock")" = "$owner"
refusal=$("$vaultkit" "${a[@]}" --wait 1 grid set late 5 2>&1); code=$?
check "a writer is refused with exit 3" test "$code" = 3
check "the refusal names the owner" \
  grep -q "the account 'alice' is in use by process $owner" <<<"$refusal"
check "a reader still reads" test "$("$vaultkit" "${a[@]}" grid get seed)" = 1
check "check names the owner" grep -q "in use by process $owner" <<<"$("$vaultkit" "${a[@]}" check)"
wait "$owner"
check "the refused write is not there" test "$("$vaultkit" "${a[@]}" grid get late >/dev/null 2>&1; echo $?)" = 1
check "after the owner, a writer gets the account" "$vaultkit" "${a[@]}" grid set late 5
check "and its owner is gone from the record" test ! -s "$work/d/Accounts/alice/vaultkit.lock"

echo "$passed passed, $failed failed"
test "$failed" = 0
