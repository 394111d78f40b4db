#!/usr/bin/env bash
# Builds the armhf sysroot the `armhf` preset compiles against and runs its
# tests in (qemu-arm -L <sysroot>):
#   scripts/armhf-sysroot.sh [DIR]      default DIR: build/armhf-sysroot
#
# The armhf -dev packages of our dependencies and the libraries they need at
# run time are downloaded with a private apt (own lists, cache and an empty
# status file, the host's sources) and unpacked with dpkg-deb. Nothing on the
# host changes: no foreign architecture is added, no package is installed,
# root is not needed. The C and C++ runtime (libc, libstdc++, libgcc_s, the
# dynamic loader) comes from the cross toolchain in /usr/arm-linux-gnueabihf
# and is linked into the sysroot, so that what is linked and what runs under
# qemu are the same files.
#
# Idempotent: a stamp records the package list; when it matches, nothing is
# done. Delete DIR (or change the list or the version v2 below) to rebuild.
set -euo pipefail
cd "$(dirname "$0")/.."

triplet=arm-linux-gnueabihf
toolchain_root=/usr/$triplet
sysroot=$(realpath -m "${1:-build/armhf-sysroot}")

# What the project links. apt adds everything they depend on.
packages=(
  libboost1.74-dev
  libboost-thread1.74-dev libboost-date-time1.74-dev libboost-chrono1.74-dev
  libboost-timer1.74-dev libboost-system1.74-dev libboost-filesystem1.74-dev
  libboost-atomic1.74-dev
  liblog4cplus-dev libgtest-dev libbenchmark-dev
  libutfcpp-dev librapidxml-dev nlohmann-json3-dev libcli11-dev
  libzip-dev libpugixml-dev libssl-dev
)
# Supplied by the cross toolchain (the *-armhf-cross packages) or of no use
# in a sysroot (build tools, sources). Taking libc or libstdc++ from the
# archive as well would put two copies of the runtime side by side.
toolchain_supplied='^(libc6|libc6-dev|libc-dev-bin|linux-libc-dev|libgcc-s1|libgcc-[0-9]+-dev|gcc-[0-9]+-base|libstdc\+\+6|libstdc\+\+-[0-9]+-dev|libasan[0-9]+|libubsan[0-9]+|libatomic1|libgomp1|libcrypt-dev|rpcsvc-proto|googletest)$'

# The run-time packages of that part, for what they declare.
toolchain_runtime=(libc6 libgcc-s1 libstdc++6)

stamp="$sysroot/.zel-sysroot"
want="v2 ${packages[*]}"
if [[ -f $stamp && $(<"$stamp") == "$want" ]]; then
  echo "armhf-sysroot: $sysroot is up to date"
  exit 0
fi

for tool in apt-get dpkg-deb "$triplet-g++"; do
  command -v "$tool" >/dev/null || { echo "armhf-sysroot: $tool is missing (scripts/setup.sh installs it)" >&2; exit 1; }
done

# Only a folder this script made (it has the stamp) is ever deleted.
if [[ -d $sysroot && ! -f $stamp && -n $(ls -A "$sysroot") ]]; then
  echo "armhf-sysroot: $sysroot exists and is not a sysroot made here; not touching it" >&2
  exit 1
fi
echo "armhf-sysroot: building $sysroot"
rm -rf "$sysroot"
mkdir -p "$sysroot"
echo "incomplete" >"$stamp"
apt_dir="$sysroot/var/lib/apt"
cache_dir="$sysroot/var/cache/apt"
mkdir -p "$apt_dir/lists/partial" "$cache_dir/archives/partial" "$sysroot/var/lib/dpkg"
: >"$sysroot/var/lib/dpkg/status"

apt_options=(
  -o APT::Architecture=armhf -o APT::Architectures=armhf
  -o Dir::State="$apt_dir" -o Dir::State::Lists="$apt_dir/lists"
  -o Dir::State::status="$sysroot/var/lib/dpkg/status"
  -o Dir::Cache="$cache_dir"
  -o Debug::NoLocking=1 -o APT::Sandbox::User="$(id -un)"
  -qq
)

# A mirror whose armhf index is mid-sync fails `update` for that one index
# (typically the security suite's). The other suites are enough as long as
# every package below can be downloaded, which `download` checks.
update_log="$sysroot/var/log/apt-update.log"
mkdir -p "$(dirname "$update_log")"
if ! apt-get "${apt_options[@]}" update >"$update_log" 2>&1; then
  echo "armhf-sysroot: some armhf indexes failed to download (see $update_log); going on without them" >&2
fi

# Everything an empty armhf system would install for our packages, minus the
# toolchain's part.
mapfile -t closure < <(
  apt-get "${apt_options[@]}" --simulate --no-install-recommends install "${packages[@]}" |
    awk '$1 == "Inst" { print $2 }' | grep -Ev "$toolchain_supplied"
)
if ((${#closure[@]} < ${#packages[@]})); then
  echo "armhf-sysroot: apt could not resolve the armhf packages" >&2
  exit 1
fi

debs="$cache_dir/archives"
(cd "$debs" && apt-get "${apt_options[@]}" download "${closure[@]}")
# Each package's control files are kept too (var/lib/zel-sysroot/control/
# <package>/), and their shlibs and symbols files are gathered in DEBIAN/:
# to dpkg-shlibdeps the sysroot is then a package build tree that says which
# package and version each of its libraries needs (scripts/package.sh
# computes the armhf packages' Depends with it). The packages of the C and
# C++ runtime that the toolchain supplies give their control files only.
control_dir="$sysroot/var/lib/zel-sysroot/control"
mkdir -p "$control_dir" "$sysroot/DEBIAN" "$debs/runtime"
for deb in "$debs"/*.deb; do
  dpkg-deb -x "$deb" "$sysroot"
  dpkg-deb -e "$deb" "$control_dir/$(dpkg-deb -f "$deb" Package)"
done
(cd "$debs/runtime" && apt-get "${apt_options[@]}" download "${toolchain_runtime[@]}")
for deb in "$debs/runtime"/*.deb; do
  dpkg-deb -e "$deb" "$control_dir/$(dpkg-deb -f "$deb" Package)"
done
rm -rf "$debs/runtime"
for kind in shlibs symbols; do
  find "$control_dir" -name "$kind" -type f -print0 | sort -z | xargs -0 -r cat >"$sysroot/DEBIAN/$kind"
done
rm -f "$debs"/*.deb
echo "armhf-sysroot: unpacked ${#closure[@]} packages: ${closure[*]}"

# Absolute symbolic links point into the host; make them relative to the
# sysroot so the compiler and qemu see the sysroot's files.
while IFS= read -r -d '' link; do
  target=$(readlink "$link")
  if [[ $target == /* ]]; then
    ln -sfn "$(realpath -m --relative-to="$(dirname "$link")" "$sysroot$target")" "$link"
  fi
done < <(find "$sysroot" -type l -print0)

# Package configurations that name library files by absolute path (log4cplus
# links librt.a and libnsl.so that way) would make the cross build link the
# host's files. Re-root them at the sysroot CMake is configured with; a file
# that the toolchain supplies (librt.a) is linked into the sysroot first.
configs=("$sysroot/usr/lib/$triplet/cmake" "$sysroot/usr/share")
mapfile -t absolute < <(
  grep -rhoE --include='*.cmake' "[\";]/usr/lib/$triplet/lib[^\";]*" "${configs[@]}" 2>/dev/null |
    cut -c2- | sort -u
)
for path in "${absolute[@]}"; do
  if [[ ! -e $sysroot$path ]]; then
    if [[ -e $toolchain_root/lib/$(basename "$path") ]]; then
      ln -sfn "$toolchain_root/lib/$(basename "$path")" "$sysroot$path"
    else
      echo "armhf-sysroot: a package configuration links $path, which neither the sysroot nor the toolchain has" >&2
      exit 1
    fi
  fi
done
if ((${#absolute[@]})); then
  grep -rlZ --include='*.cmake' "/usr/lib/$triplet/lib" "${configs[@]}" |
    xargs -0 sed -i "s|\\([\";]\\)/usr/lib/$triplet/lib|\\1\${CMAKE_SYSROOT}/usr/lib/$triplet/lib|g"
fi

# The toolchain's runtime (dynamic loader, libc, libstdc++, libgcc_s, the
# sanitizer runtimes) where the armhf loader looks for it.
mkdir -p "$sysroot/lib/$triplet"
ln -sfn "$toolchain_root/lib/ld-linux-armhf.so.3" "$sysroot/lib/ld-linux-armhf.so.3"
for library in "$toolchain_root"/lib/*.so.*; do
  ln -sfn "$library" "$sysroot/lib/$triplet/$(basename "$library")"
done

echo "$want" >"$stamp"
echo "armhf-sysroot: done"
