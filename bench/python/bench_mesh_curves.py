"""Timings of the Python module tessora1d (run by hand, not by the test suite).

(a) ``mesh_curves`` on one and on two threads, over a batch of 1000 curves of 10^4 nodes.
(b) The cost of the binding: ``mesh_line`` from Python on the dense-input isotropic 2-D
    workload of bench/mesh_line_bench.cpp (10^6 nodes), against that C++ benchmark.

Every figure is the median of several runs, the one- and two-thread runs interleaved, so
that load from other processes on a shared machine spreads over both sides::

    PYTHONPATH=build/release/python python3 bench/python/bench_mesh_curves.py \\
        --cpp-bench build/release/bench/mesh_line_bench
"""

import argparse
import json
import os
import statistics
import subprocess
import sys
import time

import numpy as np

import tessora1d


def batch_of_curves(count, nodes, seed=0):
    """Sine arcs of length 10 with a size field like the C++ benchmark's, one phase each.

    Returns
    -------
    curves : list of ndarray, (nodes, 2)
    sizes : list of ndarray, (nodes,)
    """
    rng = np.random.default_rng(seed)
    x = np.linspace(0.0, 10.0, nodes)
    phase = rng.uniform(0.0, 2.0 * np.pi, (count, 1))
    points = np.empty((count, nodes, 2))
    points[:, :, 0] = x
    points[:, :, 1] = 0.2 * np.sin(6.0 * np.pi * x + phase)
    sizes = np.broadcast_to(size_at(x), (count, nodes)).copy()
    return list(points), list(sizes)


def size_at(x):
    """The size field of bench/mesh_line_bench.cpp along the abscissa x in [0, 10]."""
    return 0.01 + 0.04 * (0.5 + 0.5 * np.cos(2.0 * np.pi * x / 10.0))


def dense_input_iso_2d(nodes):
    """The dense-input isotropic 2-D workload of bench/mesh_line_bench.cpp.

    Returns
    -------
    points : ndarray, (nodes, 2)
        y = 0.2 sin(6 pi x) sampled at `nodes` equally spaced x in [0, 10].
    sizes : ndarray, (nodes,)
    params : ndarray, (nodes,)
        Normalised chord length, as the C++ benchmark passes it.
    """
    x = 10.0 * np.arange(nodes) / (nodes - 1)
    points = np.column_stack([x, 0.2 * np.sin(6.0 * np.pi * x)])
    chord = np.concatenate([[0.0], np.cumsum(np.hypot(np.diff(points[:, 0]), np.diff(points[:, 1])))])
    return points, size_at(x), chord / chord[-1]


def timed(call):
    """Wall seconds and process CPU seconds of a call.

    On a busy machine a run may get less than its cores, which stretches the wall time
    but not the CPU time; the ratio is the number of cores the run had on average.
    """
    cpu, start = time.process_time(), time.perf_counter()
    call()
    return time.perf_counter() - start, time.process_time() - cpu


def bench_threads(count, nodes, runs):
    """Median seconds of mesh_curves on the batch with 1 and with 2 threads, and the cores each run had."""
    curves, sizes = batch_of_curves(count, nodes)
    one = tessora1d.mesh_curves(curves, sizes=sizes, threads=1)
    two = tessora1d.mesh_curves(curves, sizes=sizes, threads=2)  # also warms caches and pages
    if not all(np.array_equal(a, b) for a, b in zip(one, two)):
        raise SystemExit("mesh_curves gives different chains on 1 and 2 threads")
    elements = sum(len(chain) - 1 for chain in one)
    times, cores = {1: [], 2: []}, {1: [], 2: []}
    for _ in range(runs):
        for threads in (1, 2):
            wall, cpu = timed(lambda: tessora1d.mesh_curves(curves, sizes=sizes, threads=threads))
            times[threads].append(wall)
            cores[threads].append(cpu / wall)
    return statistics.median(times[1]), statistics.median(times[2]), elements, times, cores


def bench_binding(nodes, runs):
    """Median (wall, CPU) seconds of a Python mesh_line call on the dense-input workload.

    Returns
    -------
    wall, cpu : float
        Medians over `runs` calls.
    elements : int
    walls : list of float
    tiny : float
        Median CPU seconds of a call on ten nodes, where argument handling is all there is.
    """
    points, sizes, params = dense_input_iso_2d(nodes)
    result = tessora1d.mesh_line(points, sizes=sizes, params=params)
    elements = len(result.chain) - 1
    runs_timed = [timed(lambda: tessora1d.mesh_line(points, sizes=sizes, params=params)) for _ in range(runs)]
    walls = [wall for wall, _ in runs_timed]
    few_points, few_sizes, few_params = dense_input_iso_2d(10)
    calls = 2000
    tiny = [
        timed(lambda: [tessora1d.mesh_line(few_points, sizes=few_sizes, params=few_params) for _ in range(calls)])[1]
        / calls
        for _ in range(runs)
    ]
    cpu = statistics.median(c for _, c in runs_timed)
    return statistics.median(walls), cpu, elements, walls, statistics.median(tiny)


def bench_cpp(executable, nodes, runs):
    """Median (wall, CPU) milliseconds and elements of the matching C++ benchmark, or None."""
    if not executable or not os.access(executable, os.X_OK):
        return None
    command = [
        executable,
        f"--benchmark_filter=^DenseInputIso2D/{nodes}$",
        f"--benchmark_repetitions={runs}",
        "--benchmark_report_aggregates_only=true",
        "--benchmark_format=json",
    ]
    report = json.loads(subprocess.run(command, check=True, capture_output=True, text=True).stdout)
    medians = [b for b in report["benchmarks"] if b.get("aggregate_name") == "median"]
    if not medians:
        return None
    unit = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[medians[0]["time_unit"]]
    median = medians[0]
    return median["real_time"] * unit, median["cpu_time"] * unit, int(median.get("elements", 0))


def main(argv=None):
    here = os.path.dirname(os.path.abspath(__file__))
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--curves", type=int, default=1000, help="curves in the batch (default 1000)")
    parser.add_argument("--nodes", type=int, default=10000, help="nodes per curve (default 10^4)")
    parser.add_argument("--line-nodes", type=int, default=1000000, help="mesh_line polyline nodes (default 10^6)")
    parser.add_argument("--runs", type=int, default=5, help="runs per figure; medians are reported (default 5)")
    parser.add_argument(
        "--cpp-bench",
        default=os.path.normpath(os.path.join(here, "..", "..", "build", "release", "bench", "mesh_line_bench")),
        help="the C++ mesh_line_bench program (default build/release/bench/mesh_line_bench)",
    )
    parser.add_argument("--skip", choices=["threads", "binding"], action="append", default=[], help="leave a part out")
    args = parser.parse_args(argv)
    print(f"tessora1d {tessora1d.version()}, {os.cpu_count()} cores, load average {os.getloadavg()[0]:.2f}")

    if "threads" not in args.skip:
        t1, t2, elements, times, cores = bench_threads(args.curves, args.nodes, args.runs)
        print(f"(a) mesh_curves, {args.curves} curves x {args.nodes} nodes -> {elements} elements, {args.runs} runs")
        for threads, median in ((1, t1), (2, t2)):
            runs = ", ".join(f"{t * 1e3:.0f} ms on {c:.2f} cores" for t, c in zip(times[threads], cores[threads]))
            print(f"    {threads} thread(s) median {median * 1e3:8.1f} ms  (runs: {runs})")
        print(f"    speed-up {t1 / t2:.2f}x")
        # On a busy machine the runs get less than their cores; CPU time shows the work itself.
        cpu = {k: statistics.median(t * c for t, c in zip(times[k], cores[k])) for k in (1, 2)}
        print(
            f"    CPU time median: 1 thread {cpu[1] * 1e3:.1f} ms, 2 threads {cpu[2] * 1e3:.1f} ms: on two idle"
            f" cores the speed-up is bounded by {2.0 * cpu[1] / cpu[2]:.2f}x"
        )

    if "binding" not in args.skip:
        wall, cpu, elements, walls, tiny = bench_binding(args.line_nodes, args.runs)
        wall, cpu = wall * 1e3, cpu * 1e3
        print(f"(b) mesh_line from Python, DenseInputIso2D/{args.line_nodes} -> {elements} elements, {args.runs} runs")
        runs = ", ".join(f"{t * 1e3:.1f}" for t in walls)
        print(f"    Python median {wall:8.2f} ms wall, {cpu:8.2f} ms CPU  (runs: {runs})")
        cpp = bench_cpp(args.cpp_bench, args.line_nodes, args.runs)
        if cpp is None:
            print(f"    C++ benchmark not found at {args.cpp_bench}: no comparison")
        else:
            cpp_wall, cpp_cpu, cpp_elements = cpp
            print(f"    C++    median {cpp_wall:8.2f} ms wall, {cpp_cpu:8.2f} ms CPU  ({cpp_elements} elements)")
            for what, mine, theirs in (("wall", wall, cpp_wall), ("CPU", cpu, cpp_cpu)):
                print(f"    binding overhead ({what}) {mine - theirs:+.2f} ms ({(mine / theirs - 1.0) * 100:+.1f} %)")
        print(f"    a 10-node call from Python: median {tiny * 1e6:.1f} us CPU")
    return 0


if __name__ == "__main__":
    sys.exit(main())
