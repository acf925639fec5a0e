"""The Python surface: signatures equal to the stubs, documentation, fresh results, threads."""

import ast
import doctest
import inspect
import pathlib
import sys
import threading

import numpy as np
import pytest

import tessora1d as t

PACKAGE = pathlib.Path(t.__file__).parent
# The package and its submodule of laws, each with its stub file.
MODULES = {"__init__": t, "laws": t.laws}
FUNCTIONS = [(m, name) for m, module in MODULES.items() for name in module.__all__ if name[0].islower()]
RESULTS = [
    (m, name) for m, module in MODULES.items() for name in module.__all__ if name[0].isupper() and "Error" not in name
]
IDS = lambda entries: [f"{m}.{name}" for m, name in entries]  # noqa: E731


def stub_tree(module="__init__"):
    return ast.parse((PACKAGE / f"{module}.pyi").read_text())


@pytest.mark.parametrize("module", MODULES)
def test_package_ships_stubs_and_marker(module):
    assert (PACKAGE / "py.typed").exists()
    stubbed = {node.name for node in stub_tree(module).body if isinstance(node, (ast.FunctionDef, ast.ClassDef))}
    assert {name for m, name in FUNCTIONS + RESULTS if m == module} <= stubbed


@pytest.mark.parametrize("module, name", FUNCTIONS, ids=IDS(FUNCTIONS))
def test_stub_signature_matches_the_function(module, name):
    stub = next(n for n in stub_tree(module).body if isinstance(n, ast.FunctionDef) and n.name == name)
    a = stub.args
    positional = [(p.arg, inspect.Parameter.POSITIONAL_OR_KEYWORD) for p in a.args]
    keywords = [(p.arg, inspect.Parameter.KEYWORD_ONLY) for p in a.kwonlyargs]
    defaults = [None] * (len(a.args) - len(a.defaults)) + [ast.literal_eval(d) for d in a.defaults]
    defaults += [None if d is None else ast.literal_eval(d) for d in a.kw_defaults]
    expected = [(n, k, d) for (n, k), d in zip(positional + keywords, defaults)]
    if a.kwarg:
        expected.append((a.kwarg.arg, inspect.Parameter.VAR_KEYWORD, None))
    actual = [
        (p.name, p.kind, None if p.default is inspect.Parameter.empty else p.default)
        for p in inspect.signature(getattr(MODULES[module], name)).parameters.values()
    ]
    assert actual == expected


@pytest.mark.parametrize("module, name", RESULTS, ids=IDS(RESULTS))
def test_stub_result_fields_match(module, name):
    stub = next(n for n in stub_tree(module).body if isinstance(n, ast.ClassDef) and n.name == name)
    fields = tuple(s.target.id for s in stub.body if isinstance(s, ast.AnnAssign))
    assert getattr(MODULES[module], name)._fields == fields


@pytest.mark.parametrize("module, name", FUNCTIONS, ids=IDS(FUNCTIONS))
def test_numpydoc_documents_every_parameter(module, name):
    function = getattr(MODULES[module], name)
    doc = inspect.getdoc(function)
    assert "Returns\n-------" in doc
    parameters = [p for p in inspect.signature(function).parameters if p != "options"]
    if parameters:
        section = doc.split("Parameters\n----------\n")[1].split("\n\n")[0]
        documented = {n.strip() for line in section.splitlines() if not line.startswith(" ") for n in line.split(":")[0].split(",")}
        assert set(parameters) <= documented, section


@pytest.mark.parametrize("module", MODULES)
def test_docstring_examples_run(module):
    assert doctest.testmod(MODULES[module]).failed == 0


def test_results_are_fresh_writable_arrays():
    points = np.array([[0.0, 0.0], [1.0, 0.0], [2.0, 1.0]])
    sizes = np.array([0.1, 0.2, 0.1])
    line = t.mesh_line(points, sizes=sizes)
    for array in line:
        assert array.flags.c_contiguous and array.flags.writeable and array.flags.owndata
        assert not np.shares_memory(array, points) and not np.shares_memory(array, sizes)
    assert line.chain.dtype == np.int64 and line.new_points.dtype == np.float64
    everything = np.concatenate([points, line.new_points])[line.chain]
    assert np.array_equal(everything, t.mesh_curve(points, sizes=sizes))


def test_integer_and_float32_inputs_are_converted():
    exact = t.mesh_curve(np.array([[0.0, 0.0], [4.0, 0.0]]), size=0.5)
    assert np.array_equal(t.mesh_curve(np.array([[0, 0], [4, 0]], dtype=np.int16), size=0.5), exact)
    assert np.array_equal(t.mesh_curve(np.array([[0, 0], [4, 0]], dtype=np.float32), size=np.float32(0.5)), exact)


CURVES = [np.c_[np.linspace(0, 1, 5 + k), np.sin(np.linspace(0, 1 + k, 5 + k))] for k in range(12)]


@pytest.mark.parametrize("threads", [None, 1, 3])
def test_mesh_curves_equals_mesh_curve_in_order(threads):
    sizes = [np.full(len(c), 0.05 + 0.01 * k) for k, c in enumerate(CURVES)]
    out = t.mesh_curves(CURVES, sizes=sizes, threads=threads, even=True)
    assert len(out) == len(CURVES)
    for curve, size, mesh in zip(CURVES, sizes, out):
        assert np.array_equal(mesh, t.mesh_curve(curve, sizes=size, even=True))
    metrics = [np.tile([400.0, 0.0, 100.0], (len(c), 1)) for c in CURVES]
    by_metric = t.mesh_curves(CURVES, metrics=metrics, threads=threads)
    assert all(np.array_equal(m, t.mesh_curve(c, metrics=x)) for c, x, m in zip(CURVES, metrics, by_metric))
    assert t.mesh_curves([], size=1.0) == []


# Calls whose library part is long (tens of ms) next to the conversions around it; the inputs
# are made beforehand, since NumPy itself may release the GIL while making them.
RANDOM = np.random.default_rng(1).random(1_000_000)
QUERIES = np.linspace(0, 1, 1_000_000)
HEAVY = {
    "mesh_line": lambda: t.mesh_line([[0, 0], [1, 0], [1, 1]], sizes=[1e-6, 1e-5, 1e-6]),
    "mesh_curve": lambda: t.mesh_curve([[0, 0, 0], [1, 0, 0], [1, 1, 1]], metrics=[[1e12, 0, 1e12, 0, 0, 1e12]] * 3),
    "mesh_straight": lambda: t.mesh_straight([[0, 0], [1, 0], [1, 1]], count=2_000_000),
    "mesh_spline": lambda: t.mesh_spline([[0, 0], [0, 0], [1, 0], [1, 1], [1, 1]], sizes=[2e-6] * 5),
    "extrude_rotate": lambda: t.extrude_rotate(None, [1, 0], [0, 0], 6.0, h0=1e-6, h1=1e-5),
    "convert_into_high_order": lambda: t.convert_into_high_order([[0, 0], [1, 1]], [[0, 1]], 2_000_000),
    "sort": lambda: t.sort(RANDOM),
    "subdivide": lambda: t.subdivide([0.0, 1.0], [1e-6, 1e-6]),
    "interpolate_metrics": lambda: t.interpolate_metrics([0, 1], QUERIES, metrics=[[1, 0, 2], [2, 0, 1]]),
    "laws.geometric": lambda: t.laws.geometric(2_000_000, 1.000001),
    "laws.tanh_stretching": lambda: t.laws.tanh_stretching(2_000_000, 1e-7, 1e-6),
    # Real inputs: NumPy may release the GIL while casting integers, which would hide a call that keeps it.
    "laws.place_on_polyline": lambda: t.laws.place_on_polyline([[0.0, 0.0], [1.0, 0.0], [1.0, 1.0]], QUERIES),
    "laws.extrude": lambda: t.laws.extrude([[0.0, 0.0, 0.0]], 0, [0.0, 0.0, 1.0], QUERIES),
}


@pytest.mark.parametrize("name", HEAVY)
def test_the_library_runs_without_the_gil(name):
    # With a switch interval of minutes the main thread gets the GIL back from the worker only
    # when the worker releases it, which it does inside the library call, before `done` is set.
    # Waking up may take longer than the call on a loaded machine, hence a few tries; a call
    # that kept the GIL could never pass.
    def attempt():
        done = []

        def work():
            HEAVY[name]()
            done.append(True)

        worker = threading.Thread(target=work)
        worker.start()
        ran_during_the_call = not done
        worker.join()
        return ran_during_the_call

    interval = sys.getswitchinterval()
    sys.setswitchinterval(600)
    try:
        assert any(attempt() for _ in range(5))
    finally:
        sys.setswitchinterval(interval)
