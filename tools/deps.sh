#!/usr/bin/env bash
# Installs what the build needs (compiler, CMake, GoogleTest) when it is missing.
set -euo pipefail
missing=()
command -v g++ >/dev/null 2>&1 || missing+=(g++)
command -v cmake >/dev/null 2>&1 || missing+=(cmake)
[ -f /usr/include/gtest/gtest.h ] || missing+=(libgtest-dev)
command -v pkg-config >/dev/null 2>&1 || missing+=(pkg-config)
[ -e /usr/lib/x86_64-linux-gnu/libasan.so.8 ] || [ -n "$(ls /usr/lib/gcc/*/*/libasan.so 2>/dev/null)" ] || missing+=(libasan8)
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq "${missing[@]}" >/dev/null
fi
