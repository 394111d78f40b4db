#!/usr/bin/env bash
# Prints what the library and the platform stand-ins take on the device:
# arm-linux-gnueabihf-size (text, data, bss) and the file size of each shared
# library of the armhf build after stripping, as they would be installed.
#   scripts/armhf-size.sh        builds the libraries in build/armhf first
set -euo pipefail
cd "$(dirname "$0")/.."

libraries=(zelobjectmodel zellog2 zelknxhelper baseplatform knxstackapi devicestackclient)

scripts/armhf-sysroot.sh >/dev/null
[[ -f build/armhf/CMakeCache.txt ]] || cmake --preset armhf >/dev/null
cmake --build build/armhf --target "${libraries[@]}" >/dev/null

stripped=$(mktemp -d)
trap 'rm -rf "$stripped"' EXIT
files=()
for library in "${libraries[@]}"; do
  file=$(find build/armhf -name "lib${library}.so" -print -quit)
  [[ -n $file ]] || { echo "armhf-size: lib${library}.so not built" >&2; exit 1; }
  arm-linux-gnueabihf-strip --strip-unneeded -o "$stripped/lib${library}.so" "$(realpath "$file")"
  files+=("$stripped/lib${library}.so")
done

(cd "$stripped" && arm-linux-gnueabihf-size "${files[@]##*/}" &&
  echo && echo "stripped file bytes:" && stat -c '%8s %n' "${files[@]##*/}")
