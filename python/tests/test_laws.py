"""tessora1d.laws: refusals by argument name and code, the result types, and the properties users
rely on (nodes from 0 to 1 in order, solved ratios that reproduce the first cell). Equality with
the C++ laws, bit for bit, is checked with the other families in test_reference.py; the laws'
own shapes (mirroring, end sizes, layer counts, the bridge) by the C++ tests."""

import numpy as np
import pytest
from hypothesis import given
from hypothesis import strategies as st

import tessora1d as t
from conftest import assert_refused
from tessora1d import laws

P2 = [[0.0, 0.0], [1.0, 0.0], [1.0, 1.0]]
F = [0.0, 0.25, 1.0]

# (call, function, argument, library code or None when the binding refuses before the call)
REFUSALS = [
    (lambda: laws.uniform(0), "laws.uniform", "count", -1),
    (lambda: laws.uniform(2**32 - 1), "laws.uniform", "count", -1),
    (lambda: laws.uniform(-1), "laws.uniform", "count", None),
    (lambda: laws.arithmetic_first(4, 0.5), "laws.arithmetic_first", "first", -2),
    (lambda: laws.arithmetic_first(1, 0.5), "laws.arithmetic_first", "first", -2),
    (lambda: laws.arithmetic_last(0, 0.1), "laws.arithmetic_last", "count", -1),
    (lambda: laws.arithmetic_last(4, 0.0), "laws.arithmetic_last", "last", -2),
    (lambda: laws.geometric(3, 0.0), "laws.geometric", "ratio", -2),
    (lambda: laws.geometric(3, np.inf), "laws.geometric", "ratio", None),
    (lambda: laws.geometric_first(3, 1.0), "laws.geometric_first", "first", -2),
    (lambda: laws.geometric_first(3, np.nan), "laws.geometric_first", "first", None),
    (lambda: laws.geometric_ends(0.0, 0.5), "laws.geometric_ends", "first", -1),
    (lambda: laws.geometric_ends(1e-12, 2e-12), "laws.geometric_ends", "first", -1),
    (lambda: laws.geometric_ends(0.1, 1.0), "laws.geometric_ends", "last", -2),
    (lambda: laws.bump(0, 0.5), "laws.bump", "count", -1),
    (lambda: laws.bump(4, -0.5), "laws.bump", "ratio", -2),
    (lambda: laws.beta_law(4, 1.0), "laws.beta_law", "beta", -2),
    (lambda: laws.beta_law_two_sided(4, 0.5), "laws.beta_law_two_sided", "beta", -2),
    (lambda: laws.tanh_stretching(2, 0.1, 0.1), "laws.tanh_stretching", "count", -1),
    (lambda: laws.tanh_stretching(5, 1.0, 0.1), "laws.tanh_stretching", "first", -2),
    (lambda: laws.tanh_stretching(5, 0.6, 0.4), "laws.tanh_stretching", "last", -3),
    (lambda: laws.solve_ratio(0.0, 3, 0.1), "laws.solve_ratio", "length", -1),
    (lambda: laws.solve_ratio(1.0, 0, 0.1), "laws.solve_ratio", "count", -2),
    (lambda: laws.solve_ratio(1.0, 3, 1.5), "laws.solve_ratio", "first", -3),
    (lambda: laws.solve_count(-1.0, 0.1, 1.1), "laws.solve_count", "length", -1),
    (lambda: laws.solve_count(1.0, 0.0, 1.1), "laws.solve_count", "first", -2),
    (lambda: laws.solve_count(1.0, 0.1, 0.5), "laws.solve_count", "ratio", -3),
    (lambda: laws.layers_to_thickness(0.0, 0.1, 1.2), "laws.layers_to_thickness", "thickness", -1),
    (lambda: laws.layers_to_thickness(1.0, -0.1, 1.2), "laws.layers_to_thickness", "first", -2),
    (lambda: laws.layers_to_thickness(1.0, 0.1, 0.0), "laws.layers_to_thickness", "max_ratio", -3),
    (lambda: laws.layers_to_size(0.0, 1.0, 1.2), "laws.layers_to_size", "first", -1),
    (lambda: laws.layers_to_size(0.1, 0.05, 1.2), "laws.layers_to_size", "last", -2),
    (lambda: laws.layers_to_size(0.1, 1.0, 1.0), "laws.layers_to_size", "max_ratio", -3),
    (lambda: laws.place_on_polyline([[0, 0, 0, 0], [1, 0, 0, 0]], F), "laws.place_on_polyline", "points", -1),
    (lambda: laws.place_on_polyline(P2, F, [0, 3]), "laws.place_on_polyline", "polyline", -2),
    (lambda: laws.place_on_polyline(P2, F, [1, 1]), "laws.place_on_polyline", "polyline", -2),
    (lambda: laws.place_on_polyline([[1, 1], [1, 1]], F), "laws.place_on_polyline", "points", -2),
    (lambda: laws.place_on_polyline(P2, [0.0, 0.5, 0.5, 1.0]), "laws.place_on_polyline", "fractions", -3),
    (lambda: laws.place_on_polyline(P2, [[0.0, 1.0]]), "laws.place_on_polyline", "fractions", None),
    (lambda: laws.place_on_polyline(P2, F, [0, -1]), "laws.place_on_polyline", "polyline", None),
    (lambda: laws.extrude([[0.0], [1.0]], 0, [1.0], F), "laws.extrude", "points", -1),
    (lambda: laws.extrude(P2, 3, [1, 0], F), "laws.extrude", "start", -2),
    (lambda: laws.extrude(P2, 0, [1, 0, 0], F), "laws.extrude", "direction", -3),
    (lambda: laws.extrude(P2, 0, [1, 0], [0.0, 0.9]), "laws.extrude", "fractions", -4),
    (lambda: laws.extrude(P2, 0, [1, np.nan], F), "laws.extrude", "direction", None),
]


@pytest.mark.parametrize("refusal", REFUSALS, ids=[f"{r[1]}-{r[2]}-{r[3]}" for r in REFUSALS])
def test_refusal_names_law_argument_and_code(refusal):
    assert_refused(*refusal)


# Each law over a range where its smallest element stays far above the rounding of 1 (below
# that, documented, fractions next to 1 stop increasing strictly).
LAWS = {
    "uniform": lambda n, a, b: laws.uniform(n),
    "arithmetic_first": lambda n, a, b: laws.arithmetic_first(n, 2.0 / n * a if n > 1 else 1.0),
    "arithmetic_last": lambda n, a, b: laws.arithmetic_last(n, 2.0 / n * a if n > 1 else 1.0),
    "geometric": lambda n, a, b: laws.geometric(n, 0.8 + 0.45 * b),
    "geometric_first": lambda n, a, b: laws.geometric_first(n, 2.0 / (n + 1) * a if n > 1 else 1.0),
    "bump": lambda n, a, b: laws.bump(n, 0.05 + 4 * b),
    "beta_law": lambda n, a, b: laws.beta_law(n, 1.0 + a),
    "beta_law_two_sided": lambda n, a, b: laws.beta_law_two_sided(n, 1.0 + a),
    "tanh_stretching": lambda n, a, b: laws.tanh_stretching(n + 2, a / (n + 2), b / (n + 2)),
}
unit = st.floats(0.001, 0.999)


@pytest.mark.parametrize("name", LAWS)
@given(n=st.integers(1, 120), a=unit, b=unit)
def test_fractions_run_from_0_to_1_strictly_increasing(name, n, a, b):
    law = LAWS[name](n, a, b)
    assert isinstance(law, laws.Distribution)
    count = len(law.fractions) - 1
    assert law.fractions.shape == law.sizes.shape == (count + 1,) and law.fractions.dtype == np.float64
    assert law.fractions[0] == 0.0 and law.fractions[-1] == 1.0
    assert np.all(np.diff(law.fractions) > 0) and np.all(law.sizes > 0)


@given(n=st.integers(2, 2000), first=st.floats(1e-6, 0.999), length=st.floats(1e-3, 1e3))
def test_solved_ratio_reproduces_the_first_cell(n, first, length):
    first = min(first, 1.0 - 1e-3)
    ratio = laws.solve_ratio(length, n, first * length)
    # The n cells first * ratio**i fill the length.
    cells = first * length * ratio ** np.arange(n)
    assert cells.sum() == pytest.approx(length, rel=1e-9)
    law = laws.geometric_first(n, first)
    assert law.fractions[1] == pytest.approx(first, rel=1e-12)
    assert np.allclose(laws.geometric(n, ratio).fractions, law.fractions, rtol=1e-9, atol=1e-15)


def test_results_come_in_their_named_types():
    assert isinstance(laws.geometric_ends(0.01, 0.2), laws.GeometricEnds)
    assert isinstance(laws.layers_to_thickness(0.3, 1e-4, 1.2), laws.Layers)
    assert isinstance(laws.layers_to_size(1e-4, 0.02, 1.25), laws.LayersToSize)
    assert isinstance(laws.place_on_polyline(P2, F), t.NewChain)
    assert isinstance(laws.extrude(P2, 0, [1, 0], F), t.NewChain)
