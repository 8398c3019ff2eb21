#!/usr/bin/env python3
"""Prints the table of scripts/bench-arm.sh from the driver's label lines
("<reference|vector|memcpy> <slot> <units> <pixel|call>", one per counting
window) and the plugin's counts ("window N", in the same order).

Usage: bench-arm-table.py LABELS COUNTS
"""
import sys


def main(argv):
    if len(argv) != 2:
        sys.exit(__doc__)
    labels = [line.split() for line in open(argv[0]) if line.strip()]
    counts = [int(line.split()[1]) for line in open(argv[1]) if line.startswith("window ")]
    if len(labels) != len(counts):
        sys.exit(f"{len(labels)} windows labelled but {len(counts)} counted")

    rows = {}  # slot -> {kind: instructions per unit}, in the driver's order
    units = {}
    for (kind, slot, amount, unit), count in zip(labels, counts):
        rows.setdefault(slot, {})[kind] = count / float(amount)
        units[slot] = unit

    print(f"{'operation':<46} {'unit':>5} {'reference':>10} {'vector':>8} {'ref/vec':>8} {'vec/memcpy':>10}")
    for slot, kinds in rows.items():
        ref, vec, copy = kinds["reference"], kinds["vector"], kinds["memcpy"]
        print(f"{slot:<46} {units[slot]:>5} {ref:>10.2f} {vec:>8.2f} {ref / vec:>8.2f} {vec / copy:>10.2f}")


if __name__ == "__main__":
    main(sys.argv[1:])
