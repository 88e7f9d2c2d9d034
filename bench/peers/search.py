#!/usr/bin/env python3
"""FindPicture against OpenCV's matchTemplate on the same pair of pictures.

A random 2048 x 2048 RGB receiver and its own bottom-right 64 x 64 block. OpenCV
runs TM_SQDIFF plus minMaxLoc on one thread; the plugin's FindPicture runs in the
benchmark program on a code 13 picture filled from the same bytes (handed over in
VQZ_SEARCH_RECEIVER). Also prints the adversarial pair (a receiver of one color, a
block of that color whose last pixel differs) against one read of the receiver,
from the same benchmark run.

usage: search.py [BUILD_DIR]   (default: build-bench next to this script's repo)
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
SIDE = 2048
BLOCK = 64
RUNS = 5
UNITS = {"ms": 1e-3, "us": 1e-6, "ns": 1e-9, "s": 1.0}


def opencv_seconds(receiver, block):
    cv2.setNumThreads(1)
    best = None
    for _ in range(RUNS):
        start = time.perf_counter()
        scores = cv2.matchTemplate(receiver, block, cv2.TM_SQDIFF)
        _, _, where, _ = cv2.minMaxLoc(scores)
        elapsed = time.perf_counter() - start
        best = elapsed if best is None else min(best, elapsed)
    corner = SIDE - BLOCK
    if where != (corner, corner):
        sys.exit(f"OpenCV found the block at {where}, not at ({corner}, {corner})")
    return best


def ours(raw_path, out_json):
    names = ["FindPicture/code13", "FindPictureAdversarial/code13", "FindReadFloor/code13"]
    pattern = "^(" + "|".join(names) + ")(/|$)"
    env = dict(os.environ, VQZ_SEARCH_RECEIVER=raw_path)
    subprocess.run([BENCH, f"--benchmark_filter={pattern}", f"--benchmark_out={out_json}",
                    "--benchmark_out_format=json", "--benchmark_repetitions=3"],
                   env=env, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    with open(out_json) as f:
        runs = json.load(f)["benchmarks"]
    best = {}
    for r in runs:
        if r.get("run_type") != "iteration" or r.get("error_occurred"):
            continue
        name = next((n for n in names if r["run_name"].startswith(n)), None)
        if name is None:
            continue
        seconds = r["real_time"] * UNITS[r["time_unit"]]
        best[name] = min(seconds, best.get(name, seconds))
    missing = [n for n in names if n not in best]
    if missing:
        sys.exit(f"the benchmark gave no time for {', '.join(missing)}")
    return [best[n] for n in names]


def main():
    if not os.access(BENCH, os.X_OK):
        sys.exit(f"no benchmark program at {BENCH}: build it with -DVQZ_BUILD_TOOLS=ON first")
    receiver = np.random.default_rng(2048).integers(0, 256, size=(SIDE, SIDE, 3), dtype=np.uint8)
    block = np.ascontiguousarray(receiver[SIDE - BLOCK:, SIDE - BLOCK:])
    with tempfile.TemporaryDirectory() as tmp:
        raw = os.path.join(tmp, "receiver.rgb")
        receiver.tofile(raw)
        opencv = opencv_seconds(receiver, block)
        found, adversarial, read = ours(raw, os.path.join(tmp, "ours.json"))
    print(f"sub-picture search, {BLOCK}x{BLOCK} block at the bottom-right of a random {SIDE}x{SIDE} picture, one thread")
    print(f"  OpenCV matchTemplate  {opencv * 1e3:9.1f} ms  (TM_SQDIFF + minMaxLoc)")
    print(f"  FindPicture           {found * 1e3:9.1f} ms")
    print(f"  speed-up              {opencv / found:9.1f} x  (target 10 x)")
    print(f"  adversarial pair      {adversarial * 1e3:9.1f} ms  = {adversarial / read:.1f} x one read of the receiver"
          f" ({read * 1e3:.1f} ms; target at most 10 x)")


if __name__ == "__main__":
    main()
