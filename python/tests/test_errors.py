"""Refusals: every library code and every binding check becomes an exception that names the
function, the argument by its Python name and the code; memory codes become MemoryError."""

import pickle

import numpy as np
import pytest

import tessora1d as t
from tessora1d import Tessora1dError, Tessora1dMemoryError
from tessora1d import _core
from conftest import assert_refused

P2 = [[0.0, 0.0], [1.0, 0.0], [1.0, 1.0], [2.0, 1.0]]
P4D = [[0.0, 0.0, 0.0, 0.0], [1.0, 0.0, 0.0, 0.0]]
NOT_DEFINITE = [[1.0, 2.0, 1.0]] * 4
ISO = [[1.0, 0.0, 1.0]] * 4
E = [[0, 1], [1, 2], [2, 3]]

# (call, function, argument, library code or None when the binding refuses before the call)
REFUSALS = [
    (lambda: t.indices_to_connect_e2([3]), "indices_to_connect_e2", "chain", -1),
    (lambda: t.indices_to_connect_e3([0, 1]), "indices_to_connect_e3", "chain", -1),
    (lambda: t.split_into_linear([[0, 1]]), "split_into_linear", "edges", -1),
    (lambda: t.convert_into_linear([[0, 1]]), "convert_into_linear", "edges", -1),
    (lambda: t.convert_into_high_order(P4D, [[0, 1]], 1), "convert_into_high_order", "points", -1),
    (lambda: t.convert_into_high_order(P2, [[0, 4]], 1), "convert_into_high_order", "edges", -2),
    (lambda: t.convert_into_quadratic(P2, [[5, 0]]), "convert_into_quadratic", "edges", -2),
    (lambda: t.mesh_reorient(E, start=3), "mesh_reorient", "start", -3),
    (lambda: t.mesh_reorient(E, neighbors=[[1, -1]]), "mesh_reorient", "neighbors", -2),
    (lambda: t.mesh_reorient(E, neighbors=[[2, -1], [2, 0], [-1, 1]]), "mesh_reorient", "neighbors", None),
    (lambda: t.extrude_translate(P2, 0, [1, 0, 0], count=2), "extrude_translate", "points", -1),
    (lambda: t.extrude_translate(P2, 4, [1, 0], count=2), "extrude_translate", "start", -2),
    (lambda: t.extrude_translate(P2, 0, [0, 0], h0=1, h1=1), "extrude_translate", "vector", -3),
    (lambda: t.extrude_translate(P2, 0, [1, 0], h0=0, h1=1), "extrude_translate", "h0", -4),
    (lambda: t.extrude_translate(None, [0, 0], [1, 0], h0=1, h1=-1), "extrude_translate", "h1", -5),
    (lambda: t.extrude_rotate(P2, 0, [0, 0, 0], [0, 0, 1], count=2), "extrude_rotate", "points", -1),
    (lambda: t.extrude_rotate(P2, 9, [0, 0], 1.0, count=2), "extrude_rotate", "start", -2),
    (lambda: t.extrude_rotate(P2, 1, [0, 0], 0.0, h0=1, h1=1), "extrude_rotate", "rotation", -3),
    (lambda: t.extrude_rotate(None, [1, 0, 0], [0, 0, 0], [1, 0, 0], h0=1, h1=1), "extrude_rotate", "rotation", -3),
    (lambda: t.extrude_rotate(P2, 1, [0, 0], 1.0, h0=-1, h1=1), "extrude_rotate", "h0", -5),
    (lambda: t.extrude_rotate(P2, 1, [0, 0], 1.0, h0=1, h1=0), "extrude_rotate", "h1", -6),
    # mesh_line with params: codes of the full form.
    (lambda: t.mesh_line(P4D, sizes=[1, 1], params=[0, 1]), "mesh_line", "points", -1),
    (lambda: t.mesh_line([[0, 0]], sizes=[1], params=[0]), "mesh_line", "points", -2),
    (lambda: t.mesh_line(P2, sizes=[1] * 4, params=[0, 1, 0.5, 2]), "mesh_line", "params", -3),
    (lambda: t.mesh_line(P2, sizes=[1, 1, 0, 1], params=[0, 1, 2, 3]), "mesh_line", "sizes", -4),
    (lambda: t.mesh_line(P2, metrics=NOT_DEFINITE, params=[0, 1, 2, 3]), "mesh_line", "metrics", -4),
    (lambda: t.mesh_line(P2, sizes=[1] * 4, params=[0, 1, 2, 3], nmin=0), "mesh_line", "nmin", -6),
    (lambda: t.mesh_line(P2, metrics=ISO, params=[0, 1, 2, 3], nmin=5, nmax=4), "mesh_line", "nmax", -6),
    # mesh_line without params: the shifted codes.
    (lambda: t.mesh_line(P4D, sizes=[1, 1]), "mesh_line", "points", -1),
    (lambda: t.mesh_line([[1, 1], [1, 1]], sizes=[1, 1]), "mesh_line", "points", -2),
    (lambda: t.mesh_line(P2, sizes=[1, -1, 1, 1]), "mesh_line", "sizes", -3),
    (lambda: t.mesh_line(P2, metrics=NOT_DEFINITE), "mesh_line", "metrics", -3),
    (lambda: t.mesh_line(P2, sizes=[1] * 4, nmin=0), "mesh_line", "nmin", -5),
    (lambda: t.mesh_line(P2, sizes=[1] * 4, nmin=3, nmax=2), "mesh_line", "nmax", -5),
    (lambda: t.mesh_curve(P2, size=0.0), "mesh_curve", "size", -3),
    (lambda: t.mesh_straight(P2, [0], count=3), "mesh_straight", "chain", -2),
    (lambda: t.mesh_straight([[0, 0]], count=3), "mesh_straight", "points", -2),
    (lambda: t.mesh_straight(P2, [0, 9], sizes=[1, 1]), "mesh_straight", "chain", -2),
    (lambda: t.mesh_straight(P2, [0, 1], sizes=[1, 0]), "mesh_straight", "sizes", -3),
    (lambda: t.mesh_straight(P2, [2, 2], count=3), "mesh_straight", "chain", -3),
    (lambda: t.mesh_straight(P2, [0, 1, 2], metrics=ISO[:3]), "mesh_straight", "metrics", -4),
    (lambda: t.spline_point(P4D, [0, 0, 1, 1], 0.5), "spline_point", "points", -1),
    (lambda: t.spline_point(P2, [0, 1, 2, 4], 0.5), "spline_point", "nodes", -5),
    (lambda: t.mesh_spline(P2, [0, 1, 2], sizes=[1] * 3), "mesh_spline", "chain", -2),
    (lambda: t.mesh_spline(P2, sizes=[1, 1, -1, 1]), "mesh_spline", "sizes", -3),
    (lambda: t.mesh_spline(P2, sizes=[1] * 4, nmin=0), "mesh_spline", "nmin", -5),
    (lambda: t.mesh_spline(P2, sizes=[1] * 4, hmin=-1), "mesh_spline", "hmin", -8),
    (lambda: t.length(P2, [0]), "length", "chain", -2),
    (lambda: t.length(P2, edges=[[0, 4]]), "length", "edges", -2),
    (lambda: t.length(P4D), "length", "points", -1),
    (lambda: t.interpolate_coordinates(P2, [0, 9], [0, 1], [0.5]), "interpolate_coordinates", "chain", -2),
    (lambda: t.interpolate_coordinates(P2, [0, 1], [1, 0], [0.5]), "interpolate_coordinates", "params", -3),
    (lambda: t.interpolate_coordinates(P2, [0, 1], [0, 1], [0.5, 0.2]), "interpolate_coordinates", "new_params", -5),
    (lambda: t.curvatures(P2, [0, 7]), "curvatures", "chain", -2),
    (lambda: t.normals([[0, 0, 0], [1, 0, 0]], [[0, 1]]), "normals", "points", -1),
    (lambda: t.normals(P2, [[0, 4]]), "normals", "edges", -2),
    (lambda: t.parametric_curvatures([0, 1], [[0, 2]], [[1, 0], [1, 0]]), "parametric_curvatures", "edges", -2),
    (lambda: t.parametric_curvatures([0, 1], [[0, 1]], [[1, 0, 0, 0]] * 2), "parametric_curvatures", "derivatives", -3),
    (lambda: t.interpolate_metrics([0], [0], sizes=[1]), "interpolate_metrics", "params", -1),
    (lambda: t.interpolate_metrics([0, 1], [0.5, 2], sizes=[1, 1]), "interpolate_metrics", "queries", -3),
    (lambda: t.interpolate_metrics([0, 1], [0.5], metrics=[[1, 0], [1, 0]]), "interpolate_metrics", "metrics", -2),
    (lambda: t.metrics_gen_aniso2d([[0], [1]], [[0, 1]]), "metrics_gen_aniso2d", "points", -1),
    (lambda: t.metrics_gen_aniso2d(P2, [[0, 4]]), "metrics_gen_aniso2d", "edges", -2),
    (lambda: t.metrics_gen_aniso3d(P2, [[0, 1]]), "metrics_gen_aniso3d", "points", -1),
    (lambda: t.metrics_gen_aniso2d_directions(P2, [4], 1, 1), "metrics_gen_aniso2d_directions", "nodes", -2),
    (lambda: t.metrics_gen_aniso2d_directions(P2, [0], 0, 1), "metrics_gen_aniso2d_directions", "h_dir", -3),
    (lambda: t.metrics_gen_aniso2d_directions(P2, [0], 1, -1), "metrics_gen_aniso2d_directions", "h_cross", -4),
    (lambda: t.sort([1, 2], [0]), "sort", "ids", -1),
    (lambda: t.subdivide([0, 1], [1, 1], [0]), "subdivide", "chain", -2),
    (lambda: t.subdivide([0, 1], [1, 1], nmin=2, nmax=1), "subdivide", "nmax", -6),
    # Refused by the binding: non-finite values, shapes, counts beyond 2**32 - 1, bad indices.
    (lambda: t.mesh_line([[0, 0], [np.nan, 1]], sizes=[1, 1]), "mesh_line", "points", None),
    (lambda: t.mesh_curve([[0, 0], [1, np.inf]], size=1), "mesh_curve", "points", None),
    (lambda: t.mesh_line(P2, sizes=[1, 1, np.inf, 1]), "mesh_line", "sizes", None),
    (lambda: t.mesh_line(P2, metrics=[[1, 0, np.nan]] * 4), "mesh_line", "metrics", None),
    (lambda: t.mesh_line(P2, sizes=[1, 1, 1]), "mesh_line", "sizes", None),
    (lambda: t.mesh_line(P2, sizes=[1] * 4, params=[0, 1]), "mesh_line", "params", None),
    (lambda: t.mesh_line([0.0, 1.0], sizes=[1, 1]), "mesh_line", "points", None),
    (lambda: t.mesh_line([[0, 0], [1, 0, 2]], sizes=[1, 1]), "mesh_line", "points", None),
    (lambda: t.mesh_line(P2, sizes=[1] * 4, nmax=2**32), "mesh_line", "nmax", None),
    (lambda: t.mesh_line(P2, sizes=[1] * 4, nmin=-1), "mesh_line", "nmin", None),
    (lambda: t.mesh_line(P2, sizes=[1] * 4, chordal=np.nan), "mesh_line", "chordal", None),
    (lambda: t.mesh_line(P2, sizes=[1] * 4, hmin=np.inf), "mesh_line", "hmin", None),
    (lambda: t.extrude_translate(P2, 0, [1, 0], count=2**32), "extrude_translate", "count", None),
    (lambda: t.convert_into_high_order(P2, [[0, 1]], -1), "convert_into_high_order", "k", None),
    (lambda: t.length(P2, [0, -1]), "length", "chain", None),
    (lambda: t.length(P2, np.array([0, 2**32], dtype=np.uint64)), "length", "chain", None),
    (lambda: t.flip([[0, -3]]), "flip", "edges", None),
    (lambda: t.sort([0.0, np.nan]), "sort", "values", None),
    (lambda: t.subdivide([0, 1], [1]), "subdivide", "sizes", None),
    (lambda: t.metrics_gen_aniso2d(P2, E, metrics=[[1, 0, 1]]), "metrics_gen_aniso2d", "metrics", None),
    (lambda: t.mesh_spline(P2, sizes=[1] * 4, background=0, gradation=1.5), "mesh_spline", "background", None),
    (lambda: t.mesh_spline(P2, sizes=[1] * 4, gradation=0.5), "mesh_spline", "gradation", None),
    (lambda: t.mesh_curves([P2], sizes=[]), "mesh_curves", "sizes", None),
    (lambda: t.mesh_curves([P2], size=1, threads=0), "mesh_curves", "threads", None),
]


@pytest.mark.parametrize("refusal", REFUSALS, ids=[f"{r[1]}-{r[2]}-{r[3]}" for r in REFUSALS])
def test_refusal_names_function_argument_and_code(refusal):
    assert_refused(*refusal)


# (call, exception, start of its message): wrong types, options that clash, values refused with
# their argument and where they went wrong.
MESSAGES = [
    (lambda: t.length("abc"), TypeError, "length: points"),
    (lambda: t.length(P2, [0.0, 1.0]), TypeError, "length: chain must hold integers"),
    (lambda: t.length(P2, [True, False]), TypeError, "length: chain must hold integers"),
    (lambda: t.length([[1 + 1j, 0], [0, 0]]), TypeError, "length: points must hold real numbers"),
    (lambda: t.curvatures(None), TypeError, "curvatures: points is required"),
    (lambda: t.mesh_line(P2, sizes=[1] * 4, nmin=1.5), TypeError, "mesh_line: nmin must be an integer"),
    (lambda: t.mesh_line(P2, sizes=[1] * 4, chordal="x"), TypeError, "mesh_line: chordal must be a real number"),
    (lambda: t.mesh_line(P2), TypeError, "mesh_line: give exactly one of sizes, metrics"),
    (lambda: t.mesh_curve(P2, size=1, sizes=[1] * 4), TypeError, "mesh_curve: give exactly one of sizes, size, metrics"),
    (lambda: t.mesh_curves([P2], size=1, colour=1), TypeError, "mesh_curves: unknown option 'colour'"),
    (lambda: t.extrude_translate(P2, 0, [1, 0]), TypeError, "extrude_translate: give count, or both h0 and h1"),
    (lambda: t.extrude_rotate(P2, 0, [0, 0], [1, 2], count=1), Tessora1dError, "extrude_rotate: rotation must be an angle"),
    (lambda: t.mesh_spline(P2, sizes=[1] * 4, background=1), TypeError, "mesh_spline: background needs gradation"),
    (lambda: t.length(P2, [0, 1], edges=[[0, 1]]), TypeError, "length: give chain or edges"),
    (lambda: t.laws.geometric(2.5, 1.1), TypeError, "laws.geometric: count must be an integer"),
    (lambda: t.laws.solve_ratio(1.0, 3, "x"), TypeError, "laws.solve_ratio: first must be a real number"),
    (lambda: t.mesh_curve([[0, 0], [1]], size=1), Tessora1dError, "mesh_curve: points cannot be read as an array"),
    (lambda: t.length([[0, 0], [1, 0], [1, np.inf]]), Tessora1dError, "length: points must hold finite values, not inf at [2, 1]"),
]


@pytest.mark.parametrize("refusal", MESSAGES, ids=[r[2] for r in MESSAGES])
def test_messages_name_function_and_argument(refusal):
    call, kind, start = refusal
    with pytest.raises(kind) as info:
        call()
    assert str(info.value).startswith(start)
    assert kind is TypeError or info.value.argument == start.split()[1]


def test_exceptions_survive_pickling():
    for error in (Tessora1dError("m", -4, "mesh_line", "sizes"), Tessora1dMemoryError("m", -199, "sort")):
        copy = pickle.loads(pickle.dumps(error))
        assert type(copy) is type(error) and str(copy) == "m" and vars(copy) == vars(error)


@pytest.mark.parametrize("threads", [1, 2, 3])
def test_failure_in_mesh_curves_names_the_first_failing_curve(threads):
    flat = [[0, 0], [0, 0]]
    with pytest.raises(Tessora1dError) as info:
        t.mesh_curves([P2] * 5 + [flat] + [P2] * 20 + [flat], size=0.5, threads=threads)
    assert info.value.code == -2 and info.value.__notes__ == ["mesh_curves: raised by curve 5"]


# (call, whether the library itself reports memory codes for it)
MEMORY = [
    (lambda: t.mesh_line(P2, sizes=[0.05] * 4, chordal=-0.01), True),
    (lambda: t.mesh_line(P2, metrics=[[100, 0, 100]] * 4, params=[0, 1, 2, 3]), True),
    (lambda: t.mesh_spline(P2, sizes=[0.1] * 4, gradation=1.2, background=0.3), False),
    (lambda: t.extrude_rotate(None, [1, 0, 0], [0, 0, 0], [0, 0, 3], h0=0.1, h1=0.2), True),
    (lambda: t.sort(np.arange(100.0)[::-1]), True),
    (lambda: t.convert_into_high_order(P2, E, 3), True),
    (lambda: t.metrics_gen_aniso3d(np.c_[np.asarray(P2), np.ones(4)], E, 0.1, 0.2), True),
    (lambda: t.laws.tanh_stretching(50, 0.01, 0.05), True),
    (lambda: t.laws.geometric_ends(0.01, 0.2), True),
    (lambda: t.laws.place_on_polyline(P2, np.linspace(0, 1, 9), [3, 1, 0]), True),
    (lambda: t.laws.extrude(P2, 2, [0, 1], np.linspace(0, 1, 9)), True),
]


@pytest.mark.parametrize("call, library_codes", MEMORY)
def test_out_of_memory_at_every_allocation_is_a_memory_error(call, library_codes):
    # The allocations from the k-th on fail, for every k until the call needs fewer: each call
    # fails cleanly with a MemoryError (or, where the library says so, keeps a shorter result).
    expected = call()
    codes = set()
    for k in range(10000):
        _core._fail_allocations_after(k)
        try:
            call()
        except Tessora1dMemoryError as error:
            assert error.code in (None, -2, -198, -199) and error.function and "ran out of memory" in str(error)
            codes.add(error.code)
            continue
        finally:
            _core._allow_all_allocations()
        break
    assert codes
    if library_codes:
        assert codes & {-198, -199}
    result = call()
    if isinstance(result, tuple):
        assert all(np.array_equal(a, b) for a, b in zip(result, expected))
    else:
        assert np.array_equal(result, expected)
