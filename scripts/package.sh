#!/usr/bin/env bash
# Builds the Debian packages of the project into build/packages/ and checks
# each with lintian:
#   scripts/package.sh              amd64 (the default build) and armhf (the
#                                   cross build, scripts/armhf-sysroot.sh)
#   scripts/package.sh armhf        only the named architectures
#
# Per architecture: libzelobjectmodel0 (the library), libzelobjectmodel-dev,
# zelknx, libzelobjectmodel-platform-sim (the platform stand-ins, for
# machines without the device's platform; never for the device), and a
# -dbgsym .ddeb with the debug information of each one that has binaries.
# The build is configured for /usr (CMAKE_INSTALL_PREFIX, and the Debian
# multiarch library folder), built, and packed by CPack (cmake/
# ZelPackaging.cmake). Nothing is installed on this machine. The builds stay
# configured for /usr; `cmake --install BUILD --prefix PREFIX` then puts the
# libraries into PREFIX/lib/<multiarch>.
#
# Fails when a build fails or lintian reports an error; prints lintian's
# warnings, the packages with their sizes and the stripped library's size.
set -euo pipefail
cd "$(dirname "$0")/.."

arches=("$@")
if ((${#arches[@]} == 0)); then
  arches=(amd64 armhf)
fi
for tool in cpack dpkg-deb dpkg-shlibdeps lintian file; do
  command -v "$tool" >/dev/null || { echo "package: $tool is missing (scripts/setup.sh installs it)" >&2; exit 1; }
done
out=build/packages
mkdir -p "$out"

# A -dbgsym package as CPack makes it lacks the copyright file and changelog
# every package needs, and its md5sums miss the debug files. As Debian's own
# -dbgsym packages do, its documentation folder becomes a link to the main
# package's (which it depends on), and the md5sums are written anew.
complete_dbgsym() {
  local ddeb=$1 work name
  work=$(mktemp -d)
  name=$(dpkg-deb -f "$ddeb" Package)
  dpkg-deb -R "$ddeb" "$work/root"
  mkdir -p "$work/root/usr/share/doc"
  ln -s "${name%-dbgsym}" "$work/root/usr/share/doc/$name"
  (cd "$work/root" && find usr -type f -print0 | sort -z | xargs -0 md5sum >DEBIAN/md5sums)
  dpkg-deb --root-owner-group -Zxz --build "$work/root" "$ddeb" >/dev/null
  rm -rf "$work"
}

for arch in "${arches[@]}"; do
  case $arch in
    amd64) preset=default ;;
    armhf) preset=armhf; scripts/armhf-sysroot.sh >/dev/null ;;
    *) echo "package: no build for architecture $arch (amd64, armhf)" >&2; exit 2 ;;
  esac
  multiarch=$(dpkg-architecture -a"$arch" -qDEB_HOST_MULTIARCH 2>/dev/null)
  echo "=== $arch: build ($preset)"
  cmake --preset "$preset" -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_LIBDIR="lib/$multiarch" >/dev/null
  cmake --build --preset "$preset"

  echo "=== $arch: packages"
  staging="build/$preset/cpack"
  rm -rf "$staging"
  rm -f "$out"/*_"$arch".deb "$out"/*_"$arch".ddeb
  mkdir -p "$staging"
  if ! cpack --config "build/$preset/CPackConfig.cmake" -B "$staging" >"$staging/cpack.log" 2>&1; then
    cat "$staging/cpack.log" >&2
    echo "package: cpack failed for $arch" >&2
    exit 1
  fi
  mv "$staging"/*.deb "$staging"/*.ddeb "$out/"
  for ddeb in "$out"/*-dbgsym_*_"$arch".ddeb; do
    complete_dbgsym "$ddeb"
  done
done

status=0
for arch in "${arches[@]}"; do
  echo "=== $arch: lintian"
  report=$(lintian --tag-display-limit 0 "$out"/*_"$arch".deb "$out"/*_"$arch".ddeb 2>&1 || true)
  [[ -z $report ]] || printf '%s\n' "$report"
  if grep -q '^E: ' <<<"$report"; then
    echo "package: lintian reports errors for $arch" >&2
    status=1
  fi
done
((status == 0)) || exit 1

echo "=== packages in $out"
for arch in "${arches[@]}"; do
  stat -c '%8s %n' "$out"/*_"$arch".deb "$out"/*_"$arch".ddeb | sed "s|$out/||"
  root=$(mktemp -d)
  dpkg-deb -x "$out/libzelobjectmodel0_"*"_$arch.deb" "$root"
  library=$(find "$root" -name 'libzelobjectmodel.so.*.*' -type f)
  echo "stripped ${library#"$root"/} ($arch): $(stat -c %s "$library") bytes"
  rm -rf "$root"
done
