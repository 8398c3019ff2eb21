#!/bin/bash
# Builds the library and the demo for this host and runs it on its built-in
# sample scene (or on the PGM/PPM given as argument); results are written to
# build/demo/output. On a host that is not ARM it runs a second time with a
# sample ARMv7 processor description, so that the vector modes can be seen
# (the vector code runs through SIMDe there).
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh demo
cmake -S . -B build/demo -DCMAKE_BUILD_TYPE=Release -DOMBRIX_BUILD_TESTS=OFF -DOMBRIX_BUILD_BENCH=OFF >/dev/null
cmake --build build/demo --target ombrix_demo -j"$(nproc)" >/dev/null

out=build/demo/output
mkdir -p "$out"
echo "--- this machine"
./build/demo/examples/ombrix_demo "$@" --out "$out"
case "$(uname -m)" in
  arm*|aarch64) ;;
  *)
    echo "--- with OMBRIX_CPUINFO=examples/cpuinfo-armv7-neon.txt"
    OMBRIX_CPUINFO=examples/cpuinfo-armv7-neon.txt ./build/demo/examples/ombrix_demo "$@" --out "$out"
    ;;
esac
