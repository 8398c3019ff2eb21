#!/bin/bash
# Builds and tests the three configurations: host, host with AddressSanitizer
# and UndefinedBehaviorSanitizer, and ARMv7 under qemu-arm. Stops at the first
# failure; ends with one summary line over all three.
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/install-deps.sh tests

jobs=$(nproc)
passed=0
failed=0
for preset in host asan armv7; do
  echo "=== $preset ==="
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j"$jobs"
  log="build/$preset/ctest.log"
  status=0
  ctest --preset "$preset" -j"$jobs" 2>&1 | tee "$log" || status=$?
  summary=$(grep -E "tests passed, [0-9]+ tests? failed out of [0-9]+" "$log" | tail -1)
  total=$(sed -E 's/.* out of ([0-9]+).*/\1/' <<<"$summary")
  bad=$(sed -E 's/.*passed, ([0-9]+) tests? failed.*/\1/' <<<"$summary")
  passed=$((passed + total - bad))
  failed=$((failed + bad))
  echo "$preset: $((total - bad)) of $total tests passed"
  if [ "$status" -ne 0 ] || [ "$bad" -ne 0 ]; then
    echo "$passed passed, $failed failed"
    exit 1
  fi
done
echo "$passed passed, $failed failed"
