#!/usr/bin/env python3
"""PictureLut3DVQZ.Run against ffmpeg's lut3d filter (interp=tetrahedral), one thread each.

The benchmark "PictureLut3DVQZ.Run 6000x4000 code12" maps a 6000 x 4000 picture of
depth 24 (rgb24 bytes) through a 16-node table and makes a new picture of the result.
Its pixels come from std::mt19937 seeded with 6000, one draw per pixel, red, green
and blue from the low three bytes (bench/classes.cpp); numpy's legacy RandomState
gives the same draws, so the same picture is written here as raw rgb24 video, and
the same table (the function peer_table, node (r, g, b) standing for the input
(17r, 17g, 17b)) as a .cube file. ffmpeg reads the frame, filters it and writes
rgb24 to /dev/null; a run with the null filter measures the reading and writing,
which is taken off to give ffmpeg's filter time alone. Both sides run several times
in turns; the best wall time and the best CPU time of each are kept.

usage: lut3d.py [BUILD_DIR]   (default: build-bench next to this script's repo)
"""
import json
import os
import resource
import shutil
import subprocess
import sys
import tempfile
import time

import numpy as np

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
BUILD = os.path.abspath(sys.argv[1]) if len(sys.argv) > 1 else os.path.join(ROOT, "build-bench")
BENCH = os.path.join(BUILD, "bench", "vqz_bench")
WIDTH, HEIGHT = 6000, 4000
ROUNDS = 3
OURS = "PictureLut3DVQZ.Run 6000x4000 code12"


def peer_table(r, g, b, channel):
    """The table of bench/classes.cpp, on the 0..1 scale of a .cube file."""
    R, G, B = r / 15.0, g / 15.0, b / 15.0
    if channel == 0:
        return min(1.0, 0.1 + 0.8 * R ** 0.8 + 0.1 * G)
    if channel == 1:
        return 0.5 * G + 0.3 * B * R + 0.2 * G * G
    return min(1.0, B ** 1.2 * 0.9 + 0.1 * R)


def write_cube(path):
    with open(path, "w") as f:
        f.write("LUT_3D_SIZE 16\n")
        for b in range(16):  # red varies fastest in a .cube file
            for g in range(16):
                for r in range(16):
                    f.write("%.9f %.9f %.9f\n" % tuple(peer_table(r, g, b, c) for c in range(3)))


def write_picture(path):
    draws = np.random.RandomState(6000).randint(0, 2**32, size=WIDTH * HEIGHT, dtype=np.uint32)
    rgb = np.empty((WIDTH * HEIGHT, 3), dtype=np.uint8)
    rgb[:, 0] = draws & 0xFF
    rgb[:, 1] = (draws >> 8) & 0xFF
    rgb[:, 2] = (draws >> 16) & 0xFF
    rgb.tofile(path)


def ffmpeg_best(ffmpeg, picture, video_filter, runs=3):
    command = [ffmpeg, "-hide_banner", "-loglevel", "error", "-nostdin", "-threads", "1", "-filter_threads", "1",
               "-f", "rawvideo", "-pix_fmt", "rgb24", "-s", f"{WIDTH}x{HEIGHT}", "-i", picture,
               "-vf", video_filter, "-f", "rawvideo", "-pix_fmt", "rgb24", "-y", "/dev/null"]
    best_wall = best_cpu = None
    for _ in range(runs):
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        start = time.perf_counter()
        subprocess.run(command, check=True)
        wall = time.perf_counter() - start
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        cpu = (after.ru_utime - before.ru_utime) + (after.ru_stime - before.ru_stime)
        best_wall = wall if best_wall is None else min(best_wall, wall)
        best_cpu = cpu if best_cpu is None else min(best_cpu, cpu)
    return best_wall, best_cpu


def ours_best(out_json):
    subprocess.run([BENCH, f"--benchmark_filter=^{OURS}", f"--benchmark_out={out_json}",
                    "--benchmark_out_format=json", "--benchmark_repetitions=3"],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    with open(out_json) as f:
        runs = [r for r in json.load(f)["benchmarks"] if r.get("run_type") == "iteration"]
    unit = {"ms": 1e-3, "us": 1e-6, "ns": 1e-9, "s": 1.0}
    return (min(r["real_time"] * unit[r["time_unit"]] for r in runs),
            min(r["cpu_time"] * unit[r["time_unit"]] for r in runs))


def main():
    if not os.access(BENCH, os.X_OK):
        sys.exit(f"no benchmark program at {BENCH}: build it with -DVQZ_BUILD_TOOLS=ON first")
    ffmpeg = shutil.which("ffmpeg")
    if not ffmpeg:
        sys.exit("ffmpeg is not installed")
    version = subprocess.run([ffmpeg, "-version"], capture_output=True, text=True).stdout.split("\n")[0]
    with tempfile.TemporaryDirectory() as tmp:
        picture, cube = os.path.join(tmp, "picture.rgb"), os.path.join(tmp, "table.cube")
        write_picture(picture)
        write_cube(cube)
        lut = f"lut3d=file={cube}:interp=tetrahedral"
        ours = peer = io = None
        for _ in range(ROUNDS):
            o = ours_best(os.path.join(tmp, "ours.json"))
            p = ffmpeg_best(ffmpeg, picture, lut)
            n = ffmpeg_best(ffmpeg, picture, "null")
            ours = o if ours is None else tuple(map(min, ours, o))
            peer = p if peer is None else tuple(map(min, peer, p))
            io = n if io is None else tuple(map(min, io, n))
    filter_only = (peer[0] - io[0], peer[1] - io[1])
    print(f"3D lookup table, {WIDTH} x {HEIGHT} rgb24 picture, 16-node table, tetrahedral, one thread")
    print(f"                                  wall ms    CPU ms")
    print(f"  ffmpeg lut3d, whole run       {peer[0] * 1e3:9.1f} {peer[1] * 1e3:9.1f}  ({version})")
    print(f"  ffmpeg reading and writing    {io[0] * 1e3:9.1f} {io[1] * 1e3:9.1f}  (null filter)")
    print(f"  ffmpeg lut3d filter alone     {filter_only[0] * 1e3:9.1f} {filter_only[1] * 1e3:9.1f}")
    print(f"  PictureLut3DVQZ.Run           {ours[0] * 1e3:9.1f} {ours[1] * 1e3:9.1f}  (with the new picture)")
    print(f"  speed-up over the filter      {filter_only[0] / ours[0]:9.2f} {filter_only[1] / ours[1]:9.2f}  (target 4 x)")


if __name__ == "__main__":
    main()
