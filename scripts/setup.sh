#!/usr/bin/env bash
# Installs every build and test dependency from Debian 12's packages, then
# builds the armhf sysroot (scripts/armhf-sysroot.sh) when it is missing.
#   scripts/setup.sh               packages, then the armhf sysroot
#   scripts/setup.sh --no-sysroot  packages only (for the host builds)
# Idempotent: runs `apt-get update` once and installs only what is missing.
# Must run as root (or with sudo available) when something is missing.
set -euo pipefail

sysroot=yes
if [[ ${1-} == --no-sysroot ]]; then
  sysroot=no
fi

packages=(
  cmake ninja-build g++ pkg-config git
  libboost1.74-dev libboost-thread1.74-dev libboost-date-time1.74-dev
  libboost-chrono1.74-dev libboost-timer1.74-dev libboost-system1.74-dev
  libboost-filesystem1.74-dev
  liblog4cplus-dev librapidxml-dev libutfcpp-dev
  libgtest-dev libbenchmark-dev nlohmann-json3-dev
  clang libclang-rt-14-dev
  g++-arm-linux-gnueabihf binutils-arm-linux-gnueabihf qemu-user
  clang-format abigail-tools libcli11-dev knxd knxd-tools knxd-dev
  lintian dpkg-dev fakeroot file
  clang-tidy
  libzip-dev libpugixml-dev libssl-dev zip
  pybind11-dev python3-dev python3-pytest python3-hypothesis
  libcpp-httplib-dev libjs-chart.js chromium chromium-driver python3-selenium
)

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "ok installed"; then
    missing+=("$package")
  fi
done

if ((${#missing[@]})); then
  sudo=()
  if [[ $(id -u) -ne 0 ]]; then
    sudo=(sudo)
  fi
  echo "setup: installing ${missing[*]}"
  "${sudo[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null
else
  echo "setup: all packages present"
fi

# The armhf build's libraries: a private download, nothing installed.
if [[ $sysroot == yes ]]; then
  "$(dirname "$0")/armhf-sysroot.sh"
fi
