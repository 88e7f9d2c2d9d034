#!/usr/bin/env python3
"""RenderSamplesVQZ against ffmpeg's showwavespic on the same samples.

Ten minutes of 44.1 kHz mono signed 16-bit audio (26,460,000 samples) made by
ffmpeg, drawn into a 2000 x 500 picture, one thread on both sides. ffmpeg's time
is the showwavespic run minus a run that only reads the samples (-f null), so
that its start-up and decoding are not counted against it.

usage: waveform.py [BUILD_DIR]   (default: build-bench next to this script's repo)
"""
import json
import os
import subprocess
import sys
import tempfile
import time

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
BUILD = os.path.abspath(sys.argv[1]) if len(sys.argv) > 1 else os.path.join(ROOT, "build-bench")
BENCH = os.path.join(BUILD, "bench", "vqz_bench")
SECONDS = 600
RATE = 44100
SIZE = "2000x500"
RUNS = 5
OURS = "RenderSamplesVQZ 26.46M s16 2000x500 outline 1"
FFMPEG = ["ffmpeg", "-nostdin", "-hide_banner", "-loglevel", "error", "-threads", "1",
          "-filter_threads", "1", "-filter_complex_threads", "1"]
RAW_INPUT = ["-f", "s16le", "-ar", str(RATE), "-ac", "1"]


def make_samples(path):
    # Two tones under a slow swell, with noise: the signal the benchmark generates too.
    expr = ("(0.55+0.45*sin(2*PI*0.05*t))*(0.4*sin(2*PI*220*t)+0.25*sin(2*PI*331*t))"
            "+0.15*(2*random(0)-1)")
    subprocess.run(FFMPEG + ["-f", "lavfi", "-i", f"aevalsrc={expr}:s={RATE}:d={SECONDS}",
                             "-f", "s16le", "-acodec", "pcm_s16le", "-y", path], check=True)


def best_of(command):
    best = None
    for _ in range(RUNS):
        start = time.perf_counter()
        subprocess.run(command, check=True)
        elapsed = time.perf_counter() - start
        best = elapsed if best is None else min(best, elapsed)
    return best


def ours(samples, out_json):
    env = dict(os.environ, VQZ_WAVEFORM_SAMPLES=samples)
    run = subprocess.run([BENCH, f"--benchmark_filter=^{OURS}(/|$)", f"--benchmark_out={out_json}",
                          "--benchmark_out_format=json", "--benchmark_repetitions=3"],
                         env=env, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    if run.returncode != 0:
        sys.exit(f"{BENCH} failed:\n{run.stderr}")
    with open(out_json) as f:
        runs = json.load(f)["benchmarks"]
    times = [r["real_time"] * {"ms": 1e-3, "us": 1e-6, "ns": 1e-9, "s": 1.0}[r["time_unit"]]
             for r in runs if r.get("run_type") == "iteration"]
    return min(times)


def main():
    if not os.access(BENCH, os.X_OK):
        sys.exit(f"no benchmark program at {BENCH}: build it with -DVQZ_BUILD_TOOLS=ON first")
    with tempfile.TemporaryDirectory() as tmp:
        samples = os.path.join(tmp, "samples.s16")
        make_samples(samples)
        read_only = best_of(FFMPEG + RAW_INPUT + ["-i", samples, "-f", "null", "-"])
        drawn = best_of(FFMPEG + RAW_INPUT + ["-i", samples, "-lavfi", f"showwavespic=s={SIZE}",
                                              "-frames:v", "1", "-f", "null", "-"])
        ffmpeg = max(drawn - read_only, 1e-9)
        plugin = ours(samples, os.path.join(tmp, "ours.json"))
    print(f"waveform, 26,460,000 s16 samples into {SIZE}, one thread")
    print(f"  ffmpeg showwavespic   {ffmpeg * 1e3:9.1f} ms  (run {drawn * 1e3:.1f} ms - read only {read_only * 1e3:.1f} ms)")
    print(f"  RenderSamplesVQZ      {plugin * 1e3:9.1f} ms  (outline 1)")
    print(f"  speed-up              {ffmpeg / plugin:9.2f} x  (target 2 x)")


if __name__ == "__main__":
    main()
