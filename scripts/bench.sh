#!/bin/bash
# Builds the host benchmarks (with OpenCV and, for the colour conversions,
# libyuv as the peers) and prints, for every operation and image size, the
# ratios reference/vector, OpenCV/vector, libyuv/vector and vector/copy.
# Arguments are benchmark programs' names (default: all), e.g.
#   scripts/bench.sh smooth blur
# With OMBRIX_SCALAR_REFERENCE=1 the reference code is built without
# auto-vectorisation (in build/host-scalar-reference), as it runs on the
# target, where it has no vector unit to use.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh bench
build=build/host
if [ "${OMBRIX_SCALAR_REFERENCE:-0}" = 1 ]; then
  build=build/host-scalar-reference
  cmake --preset host -B "$build" -DOMBRIX_HOST_REFERENCE_FLAGS=-fno-tree-vectorize \
    -DOMBRIX_BUILD_TESTS=OFF -DOMBRIX_BUILD_EXAMPLES=OFF >/dev/null
else
  cmake --preset host >/dev/null
fi
cmake --build "$build" -j"$(nproc)" >/dev/null

programs=()
if [ $# -eq 0 ]; then
  programs=("$build"/bench/ombrix_bench_*)
else
  for family in "$@"; do programs+=("$build/bench/ombrix_bench_$family"); done
fi
image_programs=()
for program in "${programs[@]}"; do
  [ "$(basename "$program")" = ombrix_bench_runtime ] && continue  # not an image benchmark
  image_programs+=("$program")
done
[ ${#image_programs[@]} -gt 0 ] && python3 scripts/bench-ratios.py "${image_programs[@]}" -- --benchmark_min_time=0.2
if [[ " ${programs[*]} " == *ombrix_bench_runtime* ]]; then
  echo
  "$build"/bench/ombrix_bench_runtime --benchmark_min_time=0.2
fi
