"""One 1080p frame through effect.render against the core's own frame benchmark, interleaved, both GL.

Run by scripts/bench-python.sh: python_binding.py OSTRIVANE_BENCH BUNDLE
"""
import json
import statistics
import subprocess
import sys
import tempfile
import time

import numpy as np

import fxhost

BENCH, BUNDLE = sys.argv[1], sys.argv[2]
ROUNDS, FRAMES = 3, 30


def python_ms(effect, frame, out):
    times = []
    for _ in range(FRAMES):
        start = time.perf_counter()
        effect.render(frame, hue_value=90, saturation=1.5, out=out)
        times.append((time.perf_counter() - start) * 1000)
    return statistics.median(times)


def core_ms():
    # The bundle reports its GL driver on standard output: the figures go to a file of their own.
    with tempfile.NamedTemporaryFile(suffix=".json") as report:
        subprocess.run([BENCH, "--benchmark_filter=^Frame/w:1920/h:1080/real_time$", "--benchmark_repetitions=5",
                        "--benchmark_report_aggregates_only=true", "--benchmark_out_format=json",
                        "--benchmark_out=" + report.name],
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
        runs = json.load(report)["benchmarks"]
    return next(r["real_time"] for r in runs if r.get("aggregate_name") == "median")


effect = fxhost.Effect(BUNDLE, renderer="gl")  # the renderer the core's benchmark drives
rng = np.random.default_rng(1)
frame = rng.integers(0, 255, (1080, 1920, 4), endpoint=True, dtype=np.uint8)
out = np.empty_like(frame)
for _ in range(5):
    effect.render(frame, out=out)  # the effect's contexts and textures for this size
py, core = [], []
for _ in range(ROUNDS):
    py.append(python_ms(effect, frame, out))
    core.append(core_ms())
py_ms, core_ms_ = statistics.median(py), statistics.median(core)
print("python_ms %.2f" % py_ms)
print("core_ms %.2f" % core_ms_)
print("binding_share %.3f" % (py_ms / core_ms_ - 1))
print("rounds python %s core %s" % (" ".join("%.2f" % t for t in py), " ".join("%.2f" % t for t in core)))
