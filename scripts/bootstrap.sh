#!/usr/bin/env bash
# Installs every Debian package the build, the tests and the demo need. Quiet and quick
# when everything is already there.
set -euo pipefail
packages=(build-essential cmake pkg-config git python3 clang clang-format
  libsqlite3-dev libxml2-dev zlib1g-dev libicu-dev unicode-data
  libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev
  libclang-rt-14-dev help2man python3-jsonschema)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "bootstrap: installing ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo_cmd apt-get update -qq
  $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
