"""Mesh a large batch of curves on a Dask cluster and check it against a serial run.

The batch is cut into chunks; each chunk is one task that meshes its curves with
``tessora1d.mesh_curves`` on a worker. The chunk results are gathered in input order
and compared, bit for bit, with ``mesh_curves`` run on the whole batch in this process.
A chunk travels to its worker as one packed buffer, and its chains come back the same way.

Run on this machine (a local cluster of worker processes on the loopback interface)::

    python3 dask_batch.py --curves 20000 --workers 2

Run on an existing cluster (workers there must be able to ``import tessora1d``)::

    python3 dask_batch.py --curves 200000 --scheduler tcp://scheduler:8786

Worker processes rather than threads: ``mesh_curves`` releases the GIL, so threads would
also run in parallel, but processes send every chunk and every result through the same
serialisation as a real cluster does, so a local run checks what a deployment will do,
and a fault in native code takes down one worker instead of the client.
"""

import argparse
import sys
import time

import numpy as np

import tessora1d

try:
    import cloudpickle

    # Ship this module's task function by value, so that workers need tessora1d only,
    # not this file, even when the module is imported rather than run as a script.
    cloudpickle.register_pickle_by_value(sys.modules[__name__])
except (ImportError, AttributeError, ValueError):
    pass

# Curves per task below which scheduling overhead (about a millisecond a task) starts
# to weigh against the meshing itself.
MIN_CHUNK = 64
# Tasks per worker thread: a few, so that a slow chunk does not leave the others idle.
TASKS_PER_THREAD = 4


def make_batch(count, nodes=200, seed=0):
    """Sample a reproducible batch of planar curves with a size at every node.

    Parameters
    ----------
    count : int
        Number of curves.
    nodes : int, optional
        Polyline nodes per curve (at least 2).
    seed : int, optional
        Seed of the random generator; the same seed gives the same batch.

    Returns
    -------
    curves : list of ndarray, each (nodes, 2)
        Sine arcs of random length, amplitude, frequency and phase.
    sizes : list of ndarray, each (nodes,)
        Target element size at each node, varying smoothly along the curve.
    """
    rng = np.random.default_rng(seed)
    t = np.linspace(0.0, 1.0, nodes)
    length = rng.uniform(1.0, 4.0, (count, 1))
    amplitude = rng.uniform(0.05, 0.5, (count, 1))
    frequency = rng.integers(1, 6, (count, 1))
    phase = rng.uniform(0.0, 2.0 * np.pi, (count, 1))
    h0 = rng.uniform(0.02, 0.08, (count, 1))
    points = np.empty((count, nodes, 2))
    points[:, :, 0] = length * t
    points[:, :, 1] = amplitude * np.sin(2.0 * np.pi * frequency * t + phase)
    sizes = h0 * (1.0 + 0.8 * np.cos(2.0 * np.pi * t + phase))
    return list(points), list(sizes)


def chunk_bounds(count, chunk_size):
    """Return the (start, stop) pairs that cut ``range(count)`` into chunks.

    Parameters
    ----------
    count : int
        Number of items.
    chunk_size : int
        Items per chunk (the last chunk may be shorter); at least 1.

    Returns
    -------
    list of tuple of int
    """
    if chunk_size < 1:
        raise ValueError("chunk_size must be at least 1")
    return [(start, min(start + chunk_size, count)) for start in range(0, count, chunk_size)]


def default_chunk_size(count, worker_threads):
    """A chunk size giving a few tasks per worker thread, but not tiny tasks."""
    tasks = max(1, TASKS_PER_THREAD * worker_threads)
    return max(MIN_CHUNK, -(-count // tasks))


def pack(arrays):
    """Concatenate arrays of one trailing shape into a buffer and the offsets that cut it.

    Thousands of small arrays cost Dask far more to serialise one by one than the
    meshing itself; one buffer per chunk travels as a single block.

    Parameters
    ----------
    arrays : list of ndarray
        Arrays whose shapes differ at most in their first axis.

    Returns
    -------
    buffer : ndarray
    offsets : ndarray of int64, (len(arrays) + 1,)
        Array k is ``buffer[offsets[k]:offsets[k + 1]]``.
    """
    offsets = np.zeros(len(arrays) + 1, dtype=np.int64)
    np.cumsum([len(a) for a in arrays], out=offsets[1:])
    return np.concatenate(arrays), offsets


def unpack(buffer, offsets):
    """The arrays of :func:`pack`, as views of `buffer`."""
    return [buffer[offsets[k] : offsets[k + 1]] for k in range(len(offsets) - 1)]


def mesh_chunk(chunk, threads, options):
    """Mesh one packed chunk on a worker and return its chains packed: the body of every task.

    Parameters
    ----------
    chunk : tuple
        ``(points, point_offsets, sizes)``: the chunk's curves and sizes packed by :func:`pack`.
    threads : int
        Threads for ``mesh_curves``.
    options : dict
        Keyword options for ``mesh_curves``.
    """
    points, offsets, sizes = chunk
    chains = tessora1d.mesh_curves(unpack(points, offsets), sizes=unpack(sizes, offsets), threads=threads, **options)
    return pack(chains)


def mesh_batch(client, curves, sizes, *, chunk_size=None, threads=1, **options):
    """Mesh a batch of curves on a Dask cluster.

    Parameters
    ----------
    client : distributed.Client
        Client of the cluster that runs the tasks.
    curves : list of ndarray
        Polylines, each (n, 2) or (n, 3), all of one dimension.
    sizes : list of ndarray
        Size per node of each curve, parallel to `curves`.
    chunk_size : int, optional
        Curves per task; by default a few tasks per worker thread.
    threads : int, optional
        Threads that ``mesh_curves`` uses inside one task. Keep 1 when each worker
        thread already has a core of its own.
    **options
        Passed to ``mesh_curves`` (``even``, ``nmin``, ``nmax``, ``chordal``, ``hmin``).

    Returns
    -------
    list of ndarray
        The chain of each curve, in input order (views of one buffer per chunk).
    """
    if len(sizes) != len(curves):
        raise ValueError("sizes must be parallel to curves")
    if chunk_size is None:
        worker_threads = sum(client.nthreads().values())
        chunk_size = default_chunk_size(len(curves), worker_threads)
    bounds = chunk_bounds(len(curves), chunk_size)
    # Scatter the inputs first: the tasks then refer to data already on the workers
    # instead of carrying megabytes inside the task graph.
    inputs = client.scatter([pack(curves[a:b]) + (np.concatenate(sizes[a:b]),) for a, b in bounds])
    tasks = [client.submit(mesh_chunk, chunk, threads, options) for chunk in inputs]
    results = []
    for chains, offsets in client.gather(tasks):  # futures in chunk order, so input order is kept
        results.extend(unpack(chains, offsets))
    return results


def identical(first, second):
    """True when two lists of chains match in length, shape, dtype and every bit."""
    return len(first) == len(second) and all(
        a.dtype == b.dtype and a.shape == b.shape and np.array_equal(a, b) for a, b in zip(first, second)
    )


def start_local_cluster(workers, threads_per_worker=1, processes=True):
    """Start a local cluster with no dashboard.

    Parameters
    ----------
    workers : int
        Number of workers.
    threads_per_worker : int, optional
        Threads of each worker.
    processes : bool, optional
        Workers as processes talking over the loopback interface (127.0.0.1); when false,
        as threads of this process talking in memory, with no socket at all.

    Returns
    -------
    distributed.LocalCluster
    """
    from distributed import LocalCluster

    # In-process clusters use their own transport, which takes no host.
    network = {"host": "127.0.0.1"} if processes else {}
    return LocalCluster(
        n_workers=workers,
        threads_per_worker=threads_per_worker,
        processes=processes,
        dashboard_address=None,
        **network,
    )


def _module_version():
    import tessora1d as module  # on a worker: fails there, with its own message, if missing

    return module.version()


def check_workers(client):
    """Make sure every worker imports the same tessora1d as this process.

    Also the warm-up: afterwards no task pays for the module's first import.

    Raises
    ------
    RuntimeError
        Naming the workers whose version differs.
    """
    versions = client.run(_module_version)
    odd = {worker: version for worker, version in versions.items() if version != tessora1d.version()}
    if odd:
        raise RuntimeError(f"workers with another tessora1d than {tessora1d.version()}: {odd}")
    return len(versions)


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--curves", type=int, default=20000, help="curves in the batch (default 20000)")
    parser.add_argument("--nodes", type=int, default=200, help="polyline nodes per curve (default 200)")
    parser.add_argument("--workers", type=int, default=2, help="local worker processes (default 2)")
    parser.add_argument("--chunk-size", type=int, default=None, help="curves per task (default: a few per worker)")
    parser.add_argument("--scheduler", default=None, help="address of a running scheduler, e.g. tcp://scheduler:8786")
    parser.add_argument("--threads", action="store_true", help="local workers as threads of this process")
    args = parser.parse_args(argv)

    from distributed import Client

    curves, sizes = make_batch(args.curves, args.nodes)
    print(f"tessora1d {tessora1d.version()}: {args.curves} curves of {args.nodes} nodes")

    start = time.perf_counter()
    serial = tessora1d.mesh_curves(curves, sizes=sizes, threads=1)
    serial_s = time.perf_counter() - start
    print(f"serial, one thread: {serial_s:.3f} s, {sum(len(c) for c in serial)} chain nodes")

    cluster = None
    if args.scheduler:
        client = Client(args.scheduler)
    else:
        cluster = start_local_cluster(args.workers, processes=not args.threads)
        client = Client(cluster)
    try:
        client.wait_for_workers(1)
        workers = check_workers(client)
        start = time.perf_counter()
        distributed_result = mesh_batch(client, curves, sizes, chunk_size=args.chunk_size)
        dask_s = time.perf_counter() - start
        print(f"dask, {workers} workers: {dask_s:.3f} s ({serial_s / dask_s:.2f}x the serial run)")
    finally:
        client.close()
        if cluster is not None:
            cluster.close()

    same = identical(serial, distributed_result)
    print("results identical to the serial run" if same else "RESULTS DIFFER from the serial run")
    return 0 if same else 1


if __name__ == "__main__":
    sys.exit(main())
