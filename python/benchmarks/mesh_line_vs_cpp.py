"""Times tessora1d.mesh_line on the dense-input workload of bench/mesh_line_bench.cpp
(DenseInputIso2D: a sine sampled at n nodes, sizes 0.01 to 0.05, chord-length parameters) and,
given the path of that benchmark program, the C++ call on the same workload; prints both CPU
times per call and their ratio.

    PYTHONPATH=build/release/python /usr/bin/python3 python/benchmarks/mesh_line_vs_cpp.py \
        [--nodes 1000000] [--cpp build/release/bench/mesh_line_bench]
"""

import argparse
import json
import subprocess
import time

import numpy as np

import tessora1d


def workload(n):
    x = 10.0 * np.arange(n) / (n - 1)
    points = np.c_[x, 0.2 * np.sin(6.0 * np.pi * x)]
    sizes = 0.01 + 0.04 * (0.5 + 0.5 * np.cos(2.0 * np.pi * x / 10.0))
    step = np.diff(points, axis=0)
    params = np.r_[0.0, np.cumsum(np.sqrt(step[:, 0] * step[:, 0] + step[:, 1] * step[:, 1]))]
    return points, sizes, params / params[-1]


def python_ms(n, repetitions):
    points, sizes, params = workload(n)
    tessora1d.mesh_line(points, sizes=sizes, params=params)  # first call: the thread's buffers
    times = []
    for _ in range(repetitions):
        start = time.process_time()
        line = tessora1d.mesh_line(points, sizes=sizes, params=params)
        times.append(time.process_time() - start)
    return 1e3 * float(np.median(times)), len(line.chain) - 1


def cpp_ms(program, n, repetitions):
    out = subprocess.run(
        [program, f"--benchmark_filter=DenseInputIso2D/{n}$", f"--benchmark_repetitions={repetitions}",
         "--benchmark_report_aggregates_only=true", "--benchmark_format=json"],
        check=True, capture_output=True, text=True).stdout
    median = next(b for b in json.loads(out)["benchmarks"] if b.get("aggregate_name") == "median")
    scale = {"ms": 1.0, "us": 1e-3, "ns": 1e-6}[median["time_unit"]]
    return median["cpu_time"] * scale, int(median["elements"])


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--nodes", type=int, default=1_000_000)
    parser.add_argument("--repetitions", type=int, default=21)
    parser.add_argument("--cpp", help="path of bench/mesh_line_bench")
    args = parser.parse_args()
    py, elements = python_ms(args.nodes, args.repetitions)
    print(f"Python mesh_line, {args.nodes} nodes: {py:.2f} ms CPU per call, {elements} elements")
    if args.cpp:
        cpp, cpp_elements = cpp_ms(args.cpp, args.nodes, 5)
        print(f"C++    mesh_line, {args.nodes} nodes: {cpp:.2f} ms CPU per call, {cpp_elements} elements")
        print(f"ratio Python / C++: {py / cpp:.2f}")


if __name__ == "__main__":
    main()
