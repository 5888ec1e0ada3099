# Shared by the command's end-to-end scripts: a temporary work folder with its own registry,
# removed on exit, and `check`, which counts a described command's success or failure.
set -u
work=$(mktemp -d)
trap 'chmod -R u+rwX "$work"; rm -rf "$work"' EXIT
export VAULTKIT_REGISTRY="$work/registry"
passed=0
failed=0
check() {  # description, then a command that must succeed
  local what=$1
  shift
  if "$@"; then passed=$((passed + 1)); else failed=$((failed + 1)); echo "FAILED: $what"; fi
}
# Every name, kind, size and mode below a folder, and every file's bytes.
snapshot() {
  (cd "$1" && find . -printf '%p %y %s %m\n' | LC_ALL=C sort &&
    find . -type f -exec sha256sum {} + | LC_ALL=C sort)
}
