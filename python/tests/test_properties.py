"""Properties of random curves and size fields, checked with Hypothesis."""

import numpy as np
from hypothesis import assume, given
from hypothesis import strategies as st
from hypothesis.extra.numpy import arrays

import tessora1d as t

coordinate = st.floats(-100, 100, allow_nan=False)


@st.composite
def curves(draw, min_points=2):
    """A polyline of positive length with a size per point, sizes not below 1/2000 of the length."""
    dim = draw(st.sampled_from([2, 3]))
    n = draw(st.integers(min_points, 25))
    points = draw(arrays(np.float64, (n, dim), elements=coordinate))
    length = np.linalg.norm(np.diff(points, axis=0), axis=1).sum()
    assume(length > 1e-3)
    sizes = draw(arrays(np.float64, n, elements=st.floats(length / 2000, 2 * length)))
    return points, sizes


def metric_length(points, sizes):
    """Length under sizes varying linearly along each edge (the library's size model)."""
    ell = np.linalg.norm(np.diff(points, axis=0), axis=1)
    h0, h1 = sizes[:-1], sizes[1:]
    ratio = np.where(np.isclose(h0, h1, rtol=1e-9), 1.0, np.log(h1 / h0) / np.where(h0 == h1, 1.0, h1 - h0) * h0)
    return ell / h0 * ratio


def distance_to_polyline(p, points):
    a, b = points[:-1], points[1:]
    ab = b - a
    s = np.clip(np.einsum("ij,ij->i", p - a, ab) / np.maximum(np.einsum("ij,ij->i", ab, ab), 1e-300), 0, 1)
    return np.min(np.linalg.norm(a + s[:, None] * ab - p, axis=1))


@given(curves(), st.booleans(), st.integers(1, 8), st.one_of(st.none(), st.integers(8, 60)))
def test_mesh_line_chain_structure_and_sizes(curve, even, nmin, nmax):
    points, sizes = curve
    before = points.copy(), sizes.copy()
    line = t.mesh_line(points, sizes=sizes, even=even, nmin=nmin, nmax=nmax)
    assert np.array_equal(before[0], points) and np.array_equal(before[1], sizes)
    n, E = len(points), len(line.chain) - 1
    # The chain runs from the first point to the last through the new points, in order.
    assert np.array_equal(line.chain, np.r_[0, np.arange(n, n + E - 1), n - 1])
    assert line.new_points.shape == (E - 1, points.shape[1])
    assert E >= nmin and (not even or E % 2 == 0)
    if nmax is not None:
        assert E <= nmax + (1 if even else 0)
    assert line.params[0] == 0 and line.params[-1] == 1 and np.all(np.diff(line.params) >= 0)
    # New points lie on the polyline; their sizes stay within the given ones.
    scale = np.abs(points).max() + 1
    assert all(distance_to_polyline(p, points) <= 1e-9 * scale for p in line.new_points)
    assert np.all(line.sizes >= sizes.min() * (1 - 1e-12)) and np.all(line.sizes <= sizes.max() * (1 + 1e-12))
    # mesh_curve gives the same chain's coordinates.
    mesh = t.mesh_curve(points, sizes=sizes, even=even, nmin=nmin, nmax=nmax)
    assert np.array_equal(mesh, np.concatenate([points, line.new_points])[line.chain])


@given(curves(), st.booleans())
def test_segment_elements_have_equal_metric_lengths(curve, even):
    # On one straight segment the count is the metric length rounded (then made even), and every
    # element has the same metric length under the sizes the library reports at the chain nodes.
    points, sizes = curve[0][[0, -1]], curve[1][[0, -1]]
    assume(np.linalg.norm(points[1] - points[0]) > 1e-3)
    line = t.mesh_line(points, sizes=sizes, even=even)
    E = len(line.chain) - 1
    L = metric_length(points, sizes).sum()
    assert max(1, np.floor(L)) - 1e-9 <= E <= np.ceil(L) + (2 if even else 0)
    chain = np.concatenate([points, line.new_points])[line.chain]
    steps = metric_length(chain, line.sizes)
    assert np.allclose(steps, L / E, rtol=1e-6)


@given(curves(min_points=3), st.sampled_from(["F", "strided"]))
def test_memory_layout_does_not_change_results(curve, layout):
    points, sizes = curve
    if layout == "F":
        other = np.asfortranarray(points)
    else:
        other = np.zeros((2 * len(points), points.shape[1] + 1))[::2, 1:]
        other[...] = points
    metrics = np.tile([1.0, 0.0, 1.0] if points.shape[1] == 2 else [1.0, 0, 1, 0, 0, 1], (len(points), 1)) / sizes[:, None] ** 2
    for kwargs in ({"sizes": sizes}, {"metrics": metrics}):
        a, b = t.mesh_line(points, **kwargs), t.mesh_line(other, **kwargs)
        assert all(np.array_equal(x, y) for x, y in zip(a, b))
    assert t.length(points) == t.length(other)
    assert np.array_equal(t.curvatures(points), t.curvatures(other))


@given(curves(min_points=4))
def test_mesh_spline_runs_between_the_inner_chain_ends(curve):
    points, sizes = curve
    spline = t.mesh_spline(points, sizes=sizes, nmax=5000)
    n = len(points)
    assert spline.chain[0] == 1 and spline.chain[-1] == n - 2
    assert np.array_equal(spline.chain[1:-1], np.arange(n, n + len(spline.new_points)))
    assert spline.params[0] == 0 and spline.params[-1] == 1 and spline.deviation >= 0


@given(arrays(np.float64, st.integers(0, 50), elements=st.floats(-1e6, 1e6)), st.randoms())
def test_sort_orders_by_value_then_identifier(values, random):
    ids = np.arange(len(values))
    random.shuffle(ids)
    out = t.sort(values, ids)
    order = np.lexsort((ids, values))
    assert np.array_equal(out.values, values[order]) and np.array_equal(out.ids, ids[order])


@given(curves(), st.lists(st.floats(-0.5, 1.5), max_size=20))
def test_interpolated_coordinates_follow_numpy_interp(curve, queries):
    points = curve[0]
    params = np.linspace(0, 1, len(points))
    queries = np.sort(queries)
    out = t.interpolate_coordinates(points, np.arange(len(points)), params, queries)
    for d in range(points.shape[1]):
        assert np.allclose(out[:, d], np.interp(queries, params, points[:, d]), rtol=1e-12, atol=1e-12 * 100)


@given(curves(), st.integers(0, 40))
def test_extrusion_chain_ends_at_start_plus_vector(curve, count):
    points = curve[0]
    vector = points[-1] - points[0] + 1.0
    out = t.extrude_translate(points, 0, vector, count=count)
    n = len(points)
    assert np.array_equal(out.chain, np.r_[0, np.arange(n, n + count)] if count else [])
    if count:
        assert np.allclose(out.new_points[-1], points[0] + vector, rtol=1e-12, atol=1e-9)
