#!/usr/bin/env bash
# Runs a program of the armhf build on this machine under qemu-arm:
#   scripts/armhf-run.sh [--sysroot DIR] PROGRAM [ARGS...]
# DIR defaults to build/armhf-sysroot (scripts/armhf-sysroot.sh builds it).
# The armhf preset runs its tests, and gtest's test discovery, through this.
#
# qemu-user emulates one program. When that program executes itself again,
# as GoogleTest's "threadsafe" death tests do (execv of argv[0]), the host
# kernel cannot start the ARM file (no binfmt_misc handler on build
# machines). So the program is given this script as its argv[0], and the
# environment tells a re-execution which program and sysroot it is for.
set -euo pipefail

if [[ -n ${ZEL_ARMHF_PROGRAM-} ]]; then
  # Executed by the emulated program as its own argv[0].
  program=$ZEL_ARMHF_PROGRAM
  sysroot=$ZEL_ARMHF_SYSROOT
else
  sysroot="$(dirname "$0")/../build/armhf-sysroot"
  if [[ ${1-} == --sysroot ]]; then
    sysroot=$2
    shift 2
  fi
  if (($# == 0)); then
    echo "usage: $0 [--sysroot DIR] PROGRAM [ARGS...]" >&2
    exit 2
  fi
  program=$(realpath "$1")
  shift
  sysroot=$(realpath "$sysroot")
  export ZEL_ARMHF_PROGRAM=$program ZEL_ARMHF_SYSROOT=$sysroot
fi

exec qemu-arm -L "$sysroot" -0 "$(realpath "$0")" "$program" "$@"
