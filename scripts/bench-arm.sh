#!/bin/bash
# ARM instructions per pixel (or per call) of every slot that has a vector
# variant: the reference, the vector variant through the slot after mode 2,
# their ratio, and the vector variant against memcpy of the bytes the
# operation writes. Cross-builds the library and its counting driver for
# ARMv7, builds the instruction-counting qemu plugin for this host, and runs
# the driver under `qemu-arm -cpu cortex-a15` on a 640x480 scene; each count
# covers the second and third call. Counts are exact: two runs print the
# same table. Arguments go to the driver, e.g.
#   scripts/bench-arm.sh --only Gaussian
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh arm-bench
build=build/armv7-bench
cmake --preset armv7 -B "$build" -DOMBRIX_BUILD_TESTS=OFF -DOMBRIX_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$build" --target ombrix_armcount -j"$(nproc)" >/dev/null
gcc -O2 -shared -fPIC -Wall -Wextra -o "$build/libombrixinsncount.so" bench/arm/ombrixInsnCount.c

counts="$build/armcount-windows.txt"
labels="$build/armcount-labels.txt"
rm -f "$counts"
OMBRIX_CPUINFO=examples/cpuinfo-armv7-neon.txt \
  qemu-arm -cpu cortex-a15 -L /usr/arm-linux-gnueabihf \
  -plugin "$build/libombrixinsncount.so" -d plugin -D "$counts" \
  "$build/bench/arm/ombrix_armcount" "$@" >"$labels"
python3 scripts/bench-arm-table.py "$labels" "$counts"
