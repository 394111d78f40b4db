#!/usr/bin/env bash
# Checks the Debian packages in build/packages/ (scripts/package.sh makes
# them) the way a device integrator would use them, without installing
# anything on this machine: each architecture's packages are unpacked with
# dpkg-deb -x into a temporary root.
#   tests/package/check-packages.sh [ARCH...]     default: amd64 armhf
#
# amd64: the consumer project (tests/consumer) is built and run against the
# unpacked root with CMake and with pkg-config, and the root's zelknx runs;
# zelknx carries serve's page and depends on Debian's Chart.js;
# the Python module (python3-zelobjectmodel) is imported from the root by
# Debian's python3 and decodes.
# armhf: the Architecture fields, the library's ELF machine and soname, and
# the packaged zelknx run from the root under qemu-arm (scripts/armhf-run.sh
# with build/armhf-sysroot).
# Both: no runtime or development package holds a file named like a platform
# library; the library is stripped, has its debug information in the -dbgsym
# package, has no search path of its own and depends on the packages of
# Boost and log4cplus; the stand-ins lie only in the private folder; zelknx
# has its manual page and depends on the packages of libzip, pugixml and
# OpenSSL (its project reader).
set -euo pipefail
cd "$(dirname "$0")/../.."

arches=("$@")
if ((${#arches[@]} == 0)); then
  arches=(amd64 armhf)
fi
packages=build/packages
platform_libraries='lib(baseplatform|knxstackapi|devicestackclient|zelknxhelper|zellog2)'
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

failures=0
pass() { echo "ok   $*"; }
fail() {
  echo "FAIL $*" >&2
  failures=$((failures + 1))
}
# check DESCRIPTION COMMAND...: passes when COMMAND succeeds.
check() {
  local what=$1
  shift
  if "$@"; then pass "$what"; else fail "$what"; fi
}

deb() { # deb NAME ARCH: the package file
  local file
  file=$(ls "$packages/$1_"*"_$2.deb" 2>/dev/null | head -n 1 || true)
  [[ -n $file ]] || { echo "no package $1 for $2 in $packages (scripts/package.sh makes them)" >&2; exit 1; }
  echo "$file"
}
field() { dpkg-deb -f "$1" "$2"; }
# Whole listings are read (no grep -q): an early exit would break dpkg-deb's pipe.
contents() { dpkg-deb -c "$1" | awk '{ print $6 }'; }
no_platform_files() { ! contents "$1" | grep -E "/${platform_libraries}[^/]*$"; }
only_private_folder() { # sim package: every library file in the private folder
  ! contents "$1" | grep -E '\.(so|a)$' | grep -v '/zelobjectmodel/platform/'
}
elf_field() { LC_ALL=C readelf -h "$1" | sed -n "s/^ *$2: *//p"; }
dynamic() { LC_ALL=C readelf -d "$1"; }
has_no_search_path() { ! dynamic "$1" | grep -Eq '\((RPATH|RUNPATH)\)'; }
has_soname() { dynamic "$1" | grep -Fq "Library soname: [$2]"; }
is_stripped() { ! LC_ALL=C readelf -S "$1" | grep -Eq ' \.(symtab|debug_info) '; }
debug_file_in() { # debug_file_in ELF DBGSYM: the build id's debug file is packaged
  local id
  id=$(LC_ALL=C readelf -n "$1" | sed -n 's/^ *Build ID: //p')
  [[ -n $id ]] && contents "$2" | grep -Fx "./usr/lib/debug/.build-id/${id:0:2}/${id:2}.debug" >/dev/null
}
platform_by_soname() { # at least one platform library needed, none by path
  local needed
  needed=$(dynamic "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | grep -E "^[^ ]*${platform_libraries}")
  [[ -n $needed ]] && ! grep -q / <<<"$needed"
}
no_foreign_depends() { ! field "$1" Depends | grep -E -- '-cross|:[a-z]'; }
depends_on() { # depends_on DEB PREFIX: a Depends entry starts with PREFIX
  local entry
  while IFS= read -r entry; do
    [[ ${entry# } == "$2"* ]] && return 0
  done < <(field "$1" Depends | tr ',' '\n')
  return 1
}

sdk_project=$PWD/tests/package/device-sdk
find_package_fails() { # find_package_fails PREFIX MESSAGE
  local output
  if output=$(cmake -S "$sdk_project" -B "$work/sdk-fails" -G Ninja -DCMAKE_PREFIX_PATH="$1" 2>&1); then
    return 1
  fi
  grep -F "$2" <<<"$(tr -s ' \n' ' ' <<<"$output")" >/dev/null
}
builds_and_runs() { # builds_and_runs PREFIX LIBDIR
  cmake -S "$sdk_project" -B "$work/sdk-build" -G Ninja -DCMAKE_PREFIX_PATH="$1" >/dev/null &&
    cmake --build "$work/sdk-build" >/dev/null &&
    [[ $(LD_LIBRARY_PATH=$2 "$work/sdk-build/device-sdk") == 21.5 ]]
}

for arch in "${arches[@]}"; do
  echo "=== $arch"
  runtime=$(deb libzelobjectmodel0 "$arch")
  dev=$(deb libzelobjectmodel-dev "$arch")
  tool=$(deb zelknx "$arch")
  sim=$(deb libzelobjectmodel-platform-sim "$arch")
  root="$work/$arch/root"
  mkdir -p "$root"
  for package in "$runtime" "$dev" "$tool" "$sim"; do
    check "$(basename "$package"): Architecture $arch" test "$(field "$package" Architecture)" = "$arch"
    dpkg-deb -x "$package" "$root"
  done
  check "runtime package has no file named like a platform library" no_platform_files "$runtime"
  check "development package has no file named like a platform library" no_platform_files "$dev"
  check "stand-ins only in the private folder" only_private_folder "$sim"
  check "stand-ins provide and conflict with zelobjectmodel-platform" \
    test "$(field "$sim" Provides)/$(field "$sim" Conflicts)" = "zelobjectmodel-platform/zelobjectmodel-platform"

  library=$(find "$root/usr/lib" -maxdepth 2 -name 'libzelobjectmodel.so.*.*' -type f)
  check "library soname libzelobjectmodel.so.0" has_soname "$library" libzelobjectmodel.so.0
  check "library has no RPATH or RUNPATH" has_no_search_path "$library"
  check "library needs the platform libraries by bare soname" platform_by_soname "$library"
  check "library is stripped" is_stripped "$library"
  check "library's debug information in the -dbgsym package" \
    debug_file_in "$library" "$packages/libzelobjectmodel0-dbgsym_$(field "$runtime" Version)_$arch.ddeb"
  for dependency in libboost-thread libboost-timer liblog4cplus libc6 libstdc++6; do
    check "runtime depends on $dependency" depends_on "$runtime" "$dependency"
  done
  check "runtime's Depends name the target's packages (no cross-toolchain or qualified names)" \
    no_foreign_depends "$runtime"
  check "zelknx depends on the runtime of its version" \
    depends_on "$tool" "libzelobjectmodel0 (= $(field "$runtime" Version))"
  check "zelknx's manual page, gzipped, renders without warnings" \
    sh -c "gzip -t '$root/usr/share/man/man1/zelknx.1.gz' && ! zcat '$root/usr/share/man/man1/zelknx.1.gz' | groff -man -Tutf8 -ww -z 2>&1 | grep -q ."
  # The readers of ETS projects: ZIP archives, their XML, the key derivation.
  for dependency in libzip4 libpugixml1v5 libssl3; do
    check "zelknx depends on $dependency" depends_on "$tool" "$dependency"
  done

  case $arch in
    amd64)
      check "ELF machine x86-64" test "$(elf_field "$library" Machine)" = "Advanced Micro Devices X86-64"
      check "zelknx depends on libjs-chart.js (the plots of serve's page)" depends_on "$tool" libjs-chart.js
      check "zelknx ships serve's page" test -f "$root/usr/share/zelknx/web/index.html"
      echo "--- consumer project against the unpacked root"
      check "consumer builds and runs with CMake and pkg-config; the root's zelknx runs" \
        cmake -DPREFIX="$root/usr" -DSOURCE_DIR="$PWD/tests/consumer" -DWORK_DIR="$work/consumer" \
        -DGENERATOR=Ninja -P tests/consumer/RunConsumerTest.cmake
      echo "--- the development package without the stand-ins"
      sdk="$work/sdk"
      mkdir -p "$sdk"
      dpkg-deb -x "$runtime" "$sdk"
      dpkg-deb -x "$dev" "$sdk"
      check "without any platform, find_package says what is missing" \
        find_package_fails "$sdk/usr" "the platform library zellog2 or its headers are not installed"
      # The device's SDK: the platform's libraries and headers in the system folders.
      platform=$(find "$root/usr/lib" -type d -path '*/zelobjectmodel/platform')
      libdir=$(dirname "$(dirname "$platform")")
      cp "$platform"/*.so "$sdk/${libdir#"$root"/}/"
      cp -R "$root/usr/include/zelobjectmodel/platform/." "$sdk/usr/include/"
      check "with a platform in the system folders, a program builds and runs" \
        builds_and_runs "$sdk/usr" "$sdk/${libdir#"$root"/}"
      echo "--- the Python module in the unpacked root"
      python=$(deb python3-zelobjectmodel "$arch")
      check "$(basename "$python"): Architecture $arch" test "$(field "$python" Architecture)" = "$arch"
      dpkg-deb -x "$python" "$root"
      check "Python module depends on the runtime of its version" \
        depends_on "$python" "libzelobjectmodel0 (= $(field "$runtime" Version))"
      check "Python module depends on python3" depends_on "$python" "python3 (>= 3."
      module=$(find "$root/usr/lib/python3/dist-packages" -name 'zelobjectmodel.*.so')
      check "Python module is stripped" is_stripped "$module"
      check "Python module's type stub beside it" test -f "$(dirname "$module")/zelobjectmodel.pyi"
      output=$(env -i PYTHONPATH="$root/usr/lib/python3/dist-packages" /usr/bin/python3 -c \
        "import zelobjectmodel as z; print(z.decode('9.001', bytes.fromhex('0c33')))" 2>&1) || true
      check "packaged module decodes 9.001 0c33 to 21.5, finding the library and stand-ins by its search path (got: $output)" \
        test "$output" = "21.5"
      ;;
    armhf)
      check "ELF machine ARM" test "$(elf_field "$library" Machine)" = ARM
      check "ELF class 32-bit" test "$(elf_field "$library" Class)" = ELF32
      output=$(scripts/armhf-run.sh --sysroot build/armhf-sysroot "$root/usr/bin/zelknx" decode 9.001 0c33 2>&1) || true
      check "packaged zelknx under qemu-arm decodes 9.001 0c33 to 21.5 °C (got: $output)" test "$output" = "21.5 °C"
      ;;
  esac
done

if ((failures)); then
  echo "=== $failures check(s) failed" >&2
  exit 1
fi
echo "=== all package checks passed"
