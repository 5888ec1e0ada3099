#!/usr/bin/env bash
# Every read command's --json output against the one schema the README documents: numbers are
# numbers, flags booleans, keys snake_case, a listing an array of what its get prints.
vaultkit=$1
samples=$2
schema=$3
source "$(dirname "$0")/harness.sh"
a=(--data-root "$work/d" --account alice)
{
  "$vaultkit" "${a[@]}" --create users import "$samples/org.xml"
  "$vaultkit" "${a[@]}" grid set zhangsan 42
  "$vaultkit" "${a[@]}" keydepts set zhangsan 100 200
  "$vaultkit" "${a[@]}" leader set 100 3 1001
  "$vaultkit" "${a[@]}" portal install "$samples/EPortal.xml"
  "$vaultkit" "${a[@]}" items set buddy x=1 y=2
  "$vaultkit" "${a[@]}" mobile add Mum --gid 1 --number 138
  "$vaultkit" "${a[@]}" dialogs add s1 chat 1 20261123093000 bob
  "$vaultkit" "${a[@]}" offmsg generate --records 4
  "$vaultkit" "${a[@]}" profiles set ZhangSan uin=1001 name=张三
  "$vaultkit" "${a[@]}" buddies set bob email=b@x
  "$vaultkit" "${a[@]}" options set k 5
  "$vaultkit" "${a[@]}" groups import "$samples/CompanyGroups.xml"
} >/dev/null 2>&1
# command words | the schema's definition its output must match
while IFS='|' read -r words def; do
  read -ra line <<<"$words"
  "$vaultkit" "${a[@]}" "${line[@]}" --json >"$work/out" 2>"$work/err"
  check "'$words --json' matches $def" python3 - "$schema" "$def" "$work/out" <<'PY'
import json, sys, jsonschema
schema = json.load(open(sys.argv[1]))
document = json.load(open(sys.argv[3]))
definition = dict(schema, **{"$ref": "#/$defs/" + sys.argv[2]})
try:
    jsonschema.validate(document, definition, cls=jsonschema.Draft7Validator)
except jsonschema.ValidationError as error:
    sys.exit(f"  {error.message} at {list(error.absolute_path)}")
PY
done <<'LINES'
grid get zhangsan|grid
grid list|grid_list
grid version get|version
keydepts get zhangsan|key_depts
keydepts list|key_depts_list
leader get 100|leader
leader list|leader_list
users find zhangsan|member
users search zh|member_list
users dept 100|department
users depts|department_list
users versions|directory_versions
options get k|option
options list|option_list
items get buddy|item
items list|item_list
mobile get Mum|mobile
mobile list|mobile_list
dialogs list|dialog_list
dialogs switches|dialog_switches
offmsg list|conversation_list
offmsg show im0|message_list
offmsg count|message_count
offmsg latest|latest
profiles get zhangsan|profile
profiles list|profile_list
buddies get bob email|buddy_field
buddies get bob|buddy_fields
buddies fields bob|buddy_fields
portal show|portal
groups tree 1|group_tree
accounts|accounts
status|status
LINES
echo "json_test: $passed passed, $failed failed"
test "$failed" = 0
