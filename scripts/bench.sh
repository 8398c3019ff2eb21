#!/bin/bash
# Builds the host benchmarks (with OpenCV as the peer) and prints, for every
# operation and image size, the ratios reference/vector, OpenCV/vector and
# vector/copy. Arguments are benchmark programs' names (default: all), e.g.
#   scripts/bench.sh smooth blur
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh bench
cmake --preset host >/dev/null
cmake --build --preset host -j"$(nproc)" >/dev/null

programs=()
if [ $# -eq 0 ]; then
  programs=(build/host/bench/ombrix_bench_*)
else
  for family in "$@"; do programs+=("build/host/bench/ombrix_bench_$family"); done
fi
image_programs=()
for program in "${programs[@]}"; do
  [ "$(basename "$program")" = ombrix_bench_runtime ] && continue  # not an image benchmark
  image_programs+=("$program")
done
[ ${#image_programs[@]} -gt 0 ] && python3 scripts/bench-ratios.py "${image_programs[@]}" -- --benchmark_min_time=0.2
if [[ " ${programs[*]} " == *ombrix_bench_runtime* ]]; then
  echo
  build/host/bench/ombrix_bench_runtime --benchmark_min_time=0.2
fi
