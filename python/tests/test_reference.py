"""Every family through Python equals the C++ API on the same input, bit for bit, whatever the
memory layout or integer type of the inputs, and no input is modified."""

import functools

import numpy as np
import pytest

import tessora1d
from conftest import as_argument, load, reference_cases, same_bits

CASES = reference_cases()
if not CASES:
    pytest.skip("TESSORA1D_REFERENCE_DIR is not set (CTest sets it)", allow_module_level=True)

IDS = [case[0] for case in CASES]


def relayout(array, layout):
    """The same values in another layout: Fortran order, a strided view, a list, other dtypes."""
    if array.ndim == 0:
        return array
    if layout == "fortran":
        out = np.asfortranarray(array)
        return out.astype(np.int32) if out.dtype.kind == "i" else out
    if layout == "strided":
        shape = tuple(2 * s + 1 for s in array.shape)
        big = np.full(shape, -1 if array.dtype.kind == "i" else np.nan, dtype=array.dtype)
        view = big[tuple(slice(1, None, 2) for _ in shape)][::-1][::-1]
        view[...] = array
        return view.astype(np.uint32) if array.dtype.kind == "i" and (array >= 0).all() else view
    if layout == "readonly":
        out = array.copy()
        out.setflags(write=False)
        return out
    if layout == "list":
        return array.tolist()
    return np.ascontiguousarray(array)


def call(case, layout="c"):
    name, function, positional, keywords, _ = case
    args = [as_argument(relayout(load(name, a), layout)) for a in positional]
    kwargs = {k: as_argument(relayout(load(name, k), layout)) for k in keywords}
    # Functions of submodules are named with their path, as in "laws.geometric".
    target = functools.reduce(getattr, function.split("."), tessora1d)
    return target(*args, **kwargs), args, kwargs


def check(case, result):
    name, _, _, _, outputs = case
    for field in outputs:
        expected = load(name, "out." + field)
        actual = result if field == "result" else getattr(result, field)
        if isinstance(actual, str):
            actual = np.frombuffer(actual.encode(), dtype=np.uint8)
        assert same_bits(actual, expected), f"{name}: {field}\n{actual!r}\n!=\n{expected!r}"


@pytest.mark.parametrize("layout", ["c", "fortran", "strided", "readonly", "list"])
@pytest.mark.parametrize("case", CASES, ids=IDS)
def test_equals_the_cpp_call_in_every_layout(case, layout):
    result, args, kwargs = call(case, layout)
    check(case, result)
    # The arguments still hold what was read from disk.
    for value, item in zip(args + list(kwargs.values()), case[2] + case[3]):
        expected = load(case[0], item)
        assert same_bits(np.asarray(value, dtype=expected.dtype).reshape(expected.shape), expected), item


def test_every_exported_family_and_law_has_a_reference_case():
    exported = {
        "indices_to_connect_e2", "indices_to_connect_e3", "split_into_linear", "convert_into_linear", "flip",
        "convert_into_high_order", "convert_into_quadratic", "mesh_reorient", "extrude_translate",
        "extrude_rotate", "mesh_line", "mesh_curve", "mesh_straight", "spline_point", "mesh_spline", "length",
        "interpolate_coordinates", "curvatures", "normals", "parametric_curvatures", "interpolate_metrics",
        "metrics_gen_aniso2d", "metrics_gen_aniso2d_directions", "metrics_gen_aniso3d", "sort", "subdivide",
        "version",
    }
    assert exported == {case[1] for case in CASES if "." not in case[1]}
    assert exported | {"mesh_curves"} == {f for f in tessora1d.__all__ if f[0].islower()}
    laws = {f for f in tessora1d.laws.__all__ if f[0].islower()}
    assert {f"laws.{f}" for f in laws} == {case[1] for case in CASES if "." in case[1]}
