#!/usr/bin/env python3
"""CountColorsVQZ against OpenCV's calcHist on the same picture, one thread on both sides.

The benchmark's 4096 x 4096 code-13 picture is random colors from std::mt19937
seeded with 1, one draw per pixel row by row, the low 24 bits as 0xRRGGBB
(bench/support.cpp). numpy's legacy RandomState(1) gives the same draws, so the
picture is rebuilt here bit for bit, in the code-13 byte order (mask, red, green,
blue), and OpenCV histograms its three color channels, one calcHist call per
channel as the three histograms of CountColorsVQZ. Both sides are measured in
turns, several times, and the best time of each is kept.

usage: color.py [BUILD_DIR]   (default: build-bench next to this script's repo)
"""
import json
import os
import subprocess
import sys
import tempfile
import time

import cv2
import numpy as np

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
BUILD = os.path.abspath(sys.argv[1]) if len(sys.argv) > 1 else os.path.join(ROOT, "build-bench")
BENCH = os.path.join(BUILD, "bench", "vqz_bench")
SIDE = 4096
ROUNDS = 3
OURS = "CountColorsVQZ/code13"


def bench_picture():
    draws = np.random.RandomState(1).randint(0, 2**32, size=SIDE * SIDE, dtype=np.uint32)
    pixels = np.zeros((SIDE, SIDE, 4), dtype=np.uint8)
    pixels[:, :, 1] = ((draws >> 16) & 0xFF).reshape(SIDE, SIDE)
    pixels[:, :, 2] = ((draws >> 8) & 0xFF).reshape(SIDE, SIDE)
    pixels[:, :, 3] = (draws & 0xFF).reshape(SIDE, SIDE)
    return pixels


def opencv_best(pixels, runs=5):
    best = None
    for _ in range(runs):
        start = time.perf_counter()
        for channel in (1, 2, 3):
            cv2.calcHist([pixels], [channel], None, [256], [0, 256])
        elapsed = time.perf_counter() - start
        best = elapsed if best is None else min(best, elapsed)
    return best


def ours_best(out_json):
    subprocess.run([BENCH, f"--benchmark_filter=^{OURS}(/|$)", f"--benchmark_out={out_json}",
                    "--benchmark_out_format=json", "--benchmark_repetitions=5"],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    with open(out_json) as f:
        runs = json.load(f)["benchmarks"]
    unit = {"ms": 1e-3, "us": 1e-6, "ns": 1e-9, "s": 1.0}
    return min(r["real_time"] * unit[r["time_unit"]] for r in runs if r.get("run_type") == "iteration")


def main():
    if not os.access(BENCH, os.X_OK):
        sys.exit(f"no benchmark program at {BENCH}: build it with -DVQZ_BUILD_TOOLS=ON first")
    cv2.setNumThreads(1)
    pixels = bench_picture()
    # OpenCV's own three histograms, to show that both sides count the same pixels.
    counts = [int(cv2.calcHist([pixels], [c], None, [256], [0, 256]).sum()) for c in (1, 2, 3)]
    assert counts == [SIDE * SIDE] * 3
    opencv = ours = None
    with tempfile.TemporaryDirectory() as tmp:
        for _ in range(ROUNDS):
            t = ours_best(os.path.join(tmp, "ours.json"))
            ours = t if ours is None else min(ours, t)
            t = opencv_best(pixels)
            opencv = t if opencv is None else min(opencv, t)
    print(f"color histograms, {SIDE} x {SIDE} random picture (code 13), three channels, one thread")
    print(f"  OpenCV calcHist x 3   {opencv * 1e3:9.1f} ms  (cv2 {cv2.__version__})")
    print(f"  CountColorsVQZ        {ours * 1e3:9.1f} ms")
    print(f"  speed-up              {opencv / ours:9.2f} x  (target 2 x)")


if __name__ == "__main__":
    main()
