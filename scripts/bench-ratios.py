#!/usr/bin/env python3
"""Runs benchmark programs and prints, per operation and image size, the
ratios that matter: reference time / vector time (speed-up), OpenCV time /
vector time and libyuv time / vector time (above 1: we are faster), and
vector time / plain copy time.

Benchmarks are named <operation>/<implementation>/<width>/<height>, with the
implementation one of reference, vector, opencv, libyuv; the copy row is
copy/<width>/<height>. Usage: bench-ratios.py PROGRAM... [-- BENCHMARK FLAGS]
"""
import json
import subprocess
import sys
from collections import defaultdict


def run(program, flags):
    out = subprocess.run([program, "--benchmark_format=json"] + flags,
                         check=True, capture_output=True, text=True).stdout
    return json.loads(out)["benchmarks"]


def main(argv):
    programs, flags = argv, []
    if "--" in argv:
        split = argv.index("--")
        programs, flags = argv[:split], argv[split + 1:]
    if not programs:
        sys.exit(__doc__)

    times = defaultdict(dict)  # (operation, size) -> implementation -> ns
    copy = {}
    for program in programs:
        for b in run(program, flags):
            if b.get("run_type") == "aggregate":
                continue
            parts = b["name"].split("/")
            if parts[0] == "copy":
                copy[tuple(parts[1:3])] = b["real_time"]
            elif len(parts) >= 4:
                times[(parts[0], tuple(parts[2:4]))][parts[1]] = b["real_time"]

    def ratio(a, b):
        return f"{a / b:8.2f}" if a and b else "       -"

    print(f"{'operation':44} {'size':>10} {'ref/vec':>8} {'cv/vec':>8} {'yuv/vec':>8} {'vec/copy':>8}")
    for (operation, size), t in sorted(times.items(), key=lambda kv: (kv[0][0], int(kv[0][1][0]))):
        vec = t.get("vector")
        print(f"{operation:44} {'x'.join(size):>10} {ratio(t.get('reference'), vec)} "
              f"{ratio(t.get('opencv'), vec)} {ratio(t.get('libyuv'), vec)} {ratio(vec, copy.get(size))}")


if __name__ == "__main__":
    main(sys.argv[1:])
