#!/bin/bash
# Installs the Debian packages that building and testing need, if missing.
#   install-deps.sh          everything for the three test configurations
#   install-deps.sh demo     only what the host build of the demo needs
#   install-deps.sh bench    the benchmark tools, OpenCV and libyuv included (optional peers)
#   install-deps.sh arm-bench  what scripts/bench-arm.sh needs
set -euo pipefail

demo=(cmake make g++ libsimde-dev)
tests=("${demo[@]}" libgtest-dev googletest g++-arm-linux-gnueabihf qemu-user)
bench=("${demo[@]}" libgtest-dev libbenchmark-dev libopencv-dev libyuv-dev python3)
arm_bench=(cmake make gcc g++-arm-linux-gnueabihf qemu-user python3)

case "${1:-tests}" in
  demo) wanted=("${demo[@]}") ;;
  tests) wanted=("${tests[@]}") ;;
  bench) wanted=("${bench[@]}") ;;
  arm-bench) wanted=("${arm_bench[@]}") ;;
  *) echo "usage: $0 [demo|tests|bench|arm-bench]" >&2; exit 2 ;;
esac

missing=()
for package in "${wanted[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
