#!/usr/bin/env bash
# Makes the vaultkit manual page and its bash completion from the command's own help texts, so
# that what the command offers is written once, in the commands:
#   generate.sh VAULTKIT HELP2MAN OUTDIR   writes OUTDIR/vaultkit.1.gz and
#                                          OUTDIR/completions/vaultkit
# The help texts follow two conventions read here: `vaultkit --help` lists the commands as
# "  NAME   summary" under "commands:" and the global options as "  --option VALUE  text" or
# "  --flag  text", and a command's help lists each action on a line of its own as
# "  ACTION ARGS...", the arguments in capitals or brackets ("  get NICK", "  show [--language
# N]"), or an action alone before two spaces ("  list   every ...").
set -euo pipefail
vaultkit=$1
help2man=$2
out=$3
mkdir -p "$out/completions"

usage=$("$vaultkit" --help)
mapfile -t commands < <(sed -n '/^commands:$/,/^$/s/^  \([a-z][a-z-]*\) .*/\1/p' <<<"$usage")
((${#commands[@]})) || { echo "generate.sh: no commands in 'vaultkit --help'" >&2; exit 1; }
valued=$(sed -n 's/^  \(--[a-z-]*\) [A-Z][A-Z]* .*/\1/p' <<<"$usage" | tr '\n' ' ')
flags=$(sed -n 's/^  \(--[a-z-]*\)  .*/\1/p' <<<"$usage" | tr '\n' ' ')
[ -n "$valued" ] || { echo "generate.sh: no options in 'vaultkit --help'" >&2; exit 1; }
actions() {  # the actions of a command's help; "set-pro-ver N | set-dept-ver N" gives both
  "$vaultkit" "$1" --help |
    { grep -E '^  [a-z][a-z-]*(  | [A-Z[]| [a-z-]+\||$)' || true; } | sed 's/^  //; s/  .*//; s/ | /\n/g' |
    sed 's/^ *\([a-z][a-z-]*\).*/\1/' | awk '!seen[$0]++' | tr '\n' ' ' | sed 's/ $//'
}

# The manual: the usage as help2man formats it, then each command's help as it prints it.
{
  echo "[COMMANDS]"
  for command in "${commands[@]}"; do
    echo ".SS $command"
    echo ".nf"
    "$vaultkit" "$command" --help | sed 's/\\/\\e/g; s/^\([.'"'"']\)/\\\&\1/'
    echo ".fi"
  done
} >"$out/commands.h2m"
"$help2man" --no-info --section=1 --include="$out/commands.h2m" \
  --name="drive the Vaultkit storage component as its client does" "$vaultkit" >"$out/vaultkit.1"
grep -q '^\.SS groups$' "$out/vaultkit.1" || { echo "generate.sh: help2man left out the commands" >&2; exit 1; }
gzip -9nf "$out/vaultkit.1"

# The completion: commands and global options first, then a command's actions.
{
  echo "# bash completion for vaultkit, made from its help texts when it was built."
  echo "_vaultkit() {"
  echo "  local cur=\${COMP_WORDS[COMP_CWORD]} prev=\${COMP_WORDS[COMP_CWORD - 1]} i=1 command=\"\" words=\"\""
  echo "  local valued=\" $valued\" flags=\"$flags\""
  cat <<'BODY'
  case $prev in
    --data-root) mapfile -t COMPREPLY < <(compgen -d -- "$cur"); return ;;
    --*) [[ $valued == *" $prev "* ]] && return ;;
  esac
  while ((i < COMP_CWORD)); do
    if [[ $valued == *" ${COMP_WORDS[i]} "* ]]; then ((i += 2)); continue; fi
    [[ ${COMP_WORDS[i]} == -* ]] || { command=${COMP_WORDS[i]}; break; }
    ((i += 1))
  done
  if [[ -z $command ]]; then
    if [[ $cur == -* ]]; then words="$valued $flags --help --version"; else words=$(_vaultkit_commands); fi
  elif ((i + 1 == COMP_CWORD)) && [[ $cur != -* ]]; then
    words=$(_vaultkit_actions "$command")
  elif [[ $cur == -* ]]; then
    words="--json --help"
  fi
  [[ -n $words ]] && mapfile -t COMPREPLY < <(compgen -W "$words" -- "$cur")
}
BODY
  echo "_vaultkit_commands() { echo \"${commands[*]}\"; }"
  echo "_vaultkit_actions() {"
  echo "  case \$1 in"
  for command in "${commands[@]}"; do
    list=$(actions "$command")
    if [ -n "$list" ]; then echo "    $command) echo \"$list\" ;;"; fi
  done
  echo "  esac"
  echo "}"
  echo "complete -o default -F _vaultkit vaultkit"
} >"$out/completions/vaultkit"
bash -n "$out/completions/vaultkit"
