"""The Python examples run and give what they promise: the Dask batch equals the serial
run bit for bit, the plot is a real PNG, and the meshio files give the chain back."""

import os
import sys

import numpy as np
import pytest

import tessora1d

pytestmark = pytest.mark.filterwarnings("ignore:make_current is deprecated:DeprecationWarning")

EXAMPLES = os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir, os.pardir, "examples", "python")
sys.path.insert(0, os.path.normpath(EXAMPLES))


@pytest.fixture(scope="module", params=["processes", "threads"])
def dask_client(request):
    """A two-worker cluster for the module (a cluster of processes takes seconds to start)."""
    distributed = pytest.importorskip("distributed")
    import dask_batch

    processes = request.param == "processes"
    with dask_batch.start_local_cluster(2, processes=processes) as cluster, distributed.Client(cluster) as client:
        yield client


@pytest.mark.parametrize(
    "options, chunk_size",
    [({}, None), ({"even": True, "nmin": 7}, 32)],
    ids=["default-chunks", "even-nmin-chunks-of-32"],
)
def test_dask_batch_matches_serial_results(dask_client, options, chunk_size):
    import dask_batch

    curves, sizes = dask_batch.make_batch(203, nodes=40, seed=11)
    serial = tessora1d.mesh_curves(curves, sizes=sizes, threads=1, **options)
    # 203 curves: chunks of 64 (the default floor) or 32, with a short last chunk either way.
    batched = dask_batch.mesh_batch(dask_client, curves, sizes, chunk_size=chunk_size, **options)
    assert len(batched) == len(serial)
    for mine, reference in zip(batched, serial):
        assert mine.dtype == reference.dtype and mine.shape == reference.shape
        assert np.array_equal(mine, reference)
    if options:
        # The options reached the workers: every chain obeys them.
        assert all((len(chain) - 1) % 2 == 0 and len(chain) - 1 >= 7 for chain in batched)


def test_dask_batch_refuses_workers_with_another_module_version(dask_client, monkeypatch):
    import types

    import dask_batch

    assert dask_batch.check_workers(dask_client) == 2
    # The workers still import the real module; this process now claims another version.
    monkeypatch.setattr(dask_batch, "tessora1d", types.SimpleNamespace(version=lambda: "0.0.0.0"))
    with pytest.raises(RuntimeError, match="another tessora1d than 0.0.0.0"):
        dask_batch.check_workers(dask_client)


def test_plot_example_writes_a_png(tmp_path):
    pytest.importorskip("matplotlib")
    import mesh_and_plot

    path = tmp_path / "chain.png"
    assert mesh_and_plot.main([str(path)]) == 0
    data = path.read_bytes()
    assert data.startswith(b"\x89PNG\r\n\x1a\n") and len(data) > 10_000


def helix(nodes=150):
    t = np.linspace(0.0, 4.0 * np.pi, nodes)
    return np.column_stack([np.cos(t), np.sin(t), 0.1 * t]), np.full(nodes, 0.3)


@pytest.mark.parametrize("suffix, dim", [(".vtu", 2), (".msh", 2), (".vtu", 3)])
def test_meshio_example_round_trips_points_cells_and_sizes(tmp_path, suffix, dim):
    pytest.importorskip("meshio")
    import write_mesh

    points, sizes = write_mesh.sample_curve() if dim == 2 else helix()
    mesh = write_mesh.chain_mesh(points, sizes)
    # The mesh is the chain: its nodes are mesh_curve's, padded with z = 0, joined in order.
    chain = tessora1d.mesh_curve(points, sizes=sizes)
    assert np.array_equal(mesh.points[:, :dim], chain) and not mesh.points[:, dim:].any()
    cells = mesh.cells[0].data
    assert np.array_equal(cells, np.column_stack([np.arange(len(chain) - 1), np.arange(1, len(chain))]))

    back = write_mesh.write_and_read(mesh, str(tmp_path / f"chain{suffix}"))
    assert np.array_equal(back.points, mesh.points)
    assert np.array_equal(write_mesh.line_cells(back), cells)
    assert np.array_equal(np.ravel(back.point_data["size"]), mesh.point_data["size"])
