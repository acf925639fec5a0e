"""tessora1d.laws: named node distributions along an edge, and the solvers users ask of them.

A law gives, for a count of elements n, the n + 1 node fractions of an edge (0 first, 1 last,
strictly increasing) and the size at every node (the law's local spacing). Fractions and sizes
are relative to the edge length: multiply by the length for length units. The names are those
of the C++ laws (``vx4::tessora1d::laws``) and every result equals the C++ one bit for bit.

The end sizes of :func:`geometric` given to :func:`tessora1d.mesh_straight` rebuild the same
nodes; :func:`place_on_polyline` and :func:`extrude` turn fractions into new points and a chain.
Refusals raise :class:`tessora1d.Tessora1dError` naming ``laws.<function>`` and the argument.

Examples
--------
>>> from tessora1d import laws
>>> law = laws.geometric_first(5, 0.1)
>>> law.fractions[0], law.fractions[-1], round(float(law.fractions[1]), 12)
(0.0, 1.0, 0.1)
>>> layers = laws.layers_to_thickness(1.0, 0.01, max_ratio=1.2)
>>> layers.count, bool(layers.ratio <= 1.2)
(17, True)
"""

from __future__ import annotations

from typing import NamedTuple

import numpy as np

from . import NewChain, _core

__all__ = [
    "Distribution",
    "GeometricEnds",
    "Layers",
    "LayersToSize",
    "uniform",
    "arithmetic_first",
    "arithmetic_last",
    "geometric",
    "geometric_first",
    "geometric_ends",
    "bump",
    "beta_law",
    "beta_law_two_sided",
    "tanh_stretching",
    "solve_ratio",
    "solve_count",
    "layers_to_thickness",
    "layers_to_size",
    "place_on_polyline",
    "extrude",
]

_laws = _core.laws


# ----------------------------------------------------------------------------------------------
# Results
# ----------------------------------------------------------------------------------------------


class Distribution(NamedTuple):
    """Result of every law but :func:`geometric_ends`."""

    fractions: np.ndarray
    """(count + 1,) float64: node fractions of the edge length, 0 first, 1 last, increasing."""
    sizes: np.ndarray
    """(count + 1,) float64: the law's node sizes, as fractions of the edge length."""


class GeometricEnds(NamedTuple):
    """Result of :func:`geometric_ends`: a distribution and the count that came out."""

    fractions: np.ndarray
    """(count + 1,) float64: node fractions, 0 first, 1 last, increasing."""
    sizes: np.ndarray
    """(count + 1,) float64: node sizes, as fractions of the edge length."""
    count: int
    """Number of elements."""


class Layers(NamedTuple):
    """Result of :func:`layers_to_thickness`."""

    count: int
    """Number of layers."""
    ratio: float
    """Growth ratio that fills the thickness exactly, not above ``max_ratio``."""


class LayersToSize(NamedTuple):
    """Result of :func:`layers_to_size`."""

    count: int
    """Number of layers, the first and the last included."""
    ratio: float
    """Constant growth ratio from ``first`` to ``last``, not above ``max_ratio``."""
    thickness: float
    """Sum of the layers (length units of ``first``)."""


# ----------------------------------------------------------------------------------------------
# Laws
# ----------------------------------------------------------------------------------------------

def uniform(count):
    """Evenly spaced nodes.

    Parameters
    ----------
    count : int
        Number of elements, >= 1.

    Returns
    -------
    Distribution
        ``fractions`` i / count and ``sizes`` 1 / count, shape (count + 1,) each.

    Raises
    ------
    Tessora1dError
        ``count`` 0 or 2**32 - 1 (code -1).
    """
    return Distribution(*_laws.uniform(count))


def arithmetic_first(count, first):
    """Elements growing (or shrinking) by a constant difference, the first one given.

    Parameters
    ----------
    count : int
        Number of elements, >= 1.
    first : float
        First element's size as a fraction of the edge length, in (0, 2 / count); the last is
        then 2 / count - first. 1 when count is 1.

    Returns
    -------
    Distribution
        ``fractions`` and ``sizes``, shape (count + 1,) float64 each, relative to the edge
        length; ``fractions`` starts at 0, ends at 1 and increases strictly.
        The sizes are the end elements at the ends and the mean of the two adjacent elements
        inside.

    Raises
    ------
    Tessora1dError
        ``count`` (code -1), ``first`` outside its range (code -2).
    """
    return Distribution(*_laws.arithmetic_first(count, first))


def arithmetic_last(count, last):
    """Elements in arithmetic progression, the last one given: :func:`arithmetic_first` mirrored.

    Parameters
    ----------
    count : int
        Number of elements, >= 1.
    last : float
        Last element's size as a fraction of the edge length, in (0, 2 / count); 1 when count is 1.

    Returns
    -------
    Distribution
        ``fractions`` and ``sizes``, shape (count + 1,) float64 each, relative to the edge
        length; ``fractions`` starts at 0, ends at 1 and increases strictly.

    Raises
    ------
    Tessora1dError
        ``count`` (code -1), ``last`` outside its range (code -2).
    """
    return Distribution(*_laws.arithmetic_last(count, last))


def geometric(count, ratio):
    """Elements in geometric progression: each one ``ratio`` times the one before.

    Parameters
    ----------
    count : int
        Number of elements, >= 1.
    ratio : float
        Size of an element over the size of the one before, > 0 (1: uniform).

    Returns
    -------
    Distribution
        ``fractions`` and ``sizes``, shape (count + 1,) float64 each, relative to the edge
        length; ``fractions`` starts at 0, ends at 1 and increases strictly.
        The sizes grow by the same ratio; the end sizes, times the edge length, are those that
        make :func:`tessora1d.mesh_straight` rebuild these nodes.

    Raises
    ------
    Tessora1dError
        ``count`` (code -1), ``ratio`` not positive (code -2).
    """
    return Distribution(*_laws.geometric(count, ratio))


def geometric_first(count, first):
    """Geometric progression whose first element is given, the ratio being solved.

    Parameters
    ----------
    count : int
        Number of elements, >= 1.
    first : float
        First element's size as a fraction of the edge length, in (0, 1); 1 when count is 1.

    Returns
    -------
    Distribution
        ``fractions`` and ``sizes``, shape (count + 1,) float64 each, relative to the edge
        length; ``fractions`` starts at 0, ends at 1 and increases strictly.
        ``fractions[1]`` equals ``first`` to about 1e-14 relative.

    Raises
    ------
    Tessora1dError
        ``count`` (code -1), ``first`` outside its range (code -2).
    """
    return Distribution(*_laws.geometric_first(count, first))


def geometric_ends(first, last):
    """Geometric progression from a first and a last element size, the count following from them.

    The count of the progression that starts at ``first``, ends at ``last`` and fills the edge
    is rounded to the nearest integer (at least 1) and the ratio solved again for it, so the
    first element is exact and the last one close to ``last``.

    Parameters
    ----------
    first : float
        First element's size as a fraction of the edge length, in (0, 1).
    last : float
        Last element's size as a fraction of the edge length, in (0, 1).

    Returns
    -------
    GeometricEnds
        ``fractions`` and ``sizes``, shape (count + 1,) float64 each, and ``count``.

    Raises
    ------
    Tessora1dError
        ``first`` outside (0, 1) or so small that the count would reach 2**32 - 1 (code -1),
        ``last`` outside (0, 1) (code -2).
    """
    fractions, sizes, count = _laws.geometric_ends(first, last)
    return GeometricEnds(fractions, sizes, count)


def bump(count, ratio):
    """Refined (or coarsened) at both ends: geometric growth from each end to the middle, symmetric.

    Parameters
    ----------
    count : int
        Number of elements, >= 1.
    ratio : float
        Node size at the ends over node size at the middle, > 0: below 1 clusters the nodes at
        both ends, above 1 in the middle, 1 is uniform.

    Returns
    -------
    Distribution
        ``fractions`` and ``sizes``, shape (count + 1,) float64 each, relative to the edge
        length; ``fractions`` starts at 0, ends at 1 and increases strictly.
        ``fractions[count - i] == 1 - fractions[i]`` exactly; ``sizes[0] / sizes[count // 2]``
        is ``ratio`` for an even count.

    Raises
    ------
    Tessora1dError
        ``count`` (code -1), ``ratio`` not positive (code -2).
    """
    return Distribution(*_laws.bump(count, ratio))


def beta_law(count, beta):
    """Boundary-layer clustering at the start: x = 1 - beta tanh(c (1 - xi)), tanh(c) = 1 / beta.

    Parameters
    ----------
    count : int
        Number of elements, >= 1.
    beta : float
        Clustering parameter, > 1: close to 1 clusters strongly at the start, large values
        tend to uniform spacing.

    Returns
    -------
    Distribution
        ``fractions`` and ``sizes``, shape (count + 1,) float64 each, relative to the edge
        length; ``fractions`` starts at 0, ends at 1 and increases strictly.
        The sizes increase along the edge.

    Raises
    ------
    Tessora1dError
        ``count`` (code -1), ``beta`` not above 1 (code -2).
    """
    return Distribution(*_laws.beta_law(count, beta))


def beta_law_two_sided(count, beta):
    """Boundary-layer clustering at both ends: the beta law on each half, mirrored.

    Parameters
    ----------
    count : int
        Number of elements, >= 1.
    beta : float
        Clustering parameter, > 1 (close to 1: strong clustering at both ends).

    Returns
    -------
    Distribution
        ``fractions`` and ``sizes``, shape (count + 1,) float64 each, relative to the edge
        length; ``fractions`` starts at 0, ends at 1 and increases strictly.
        Symmetric: ``fractions[count - i] == 1 - fractions[i]`` exactly.

    Raises
    ------
    Tessora1dError
        ``count`` (code -1), ``beta`` not above 1 (code -2).
    """
    return Distribution(*_laws.beta_law_two_sided(count, beta))


def tanh_stretching(count, first, last):
    """Two-sided hyperbolic-tangent stretching with given first and last elements.

    Parameters
    ----------
    count : int
        Number of elements, >= 3 (fewer cannot honour two end sizes).
    first : float
        First element's size as a fraction of the edge length, in (0, 1).
    last : float
        Last element's size as a fraction of the edge length, in (0, 1 - first).

    Returns
    -------
    Distribution
        ``fractions`` and ``sizes``, shape (count + 1,) float64 each, relative to the edge
        length; ``fractions`` starts at 0, ends at 1 and increases strictly.
        The first and last elements equal ``first`` and ``last`` to about 1e-13 relative
        (a last element below about 1e-6 only to an absolute 1e-16); equal sizes give a law
        symmetric to the last bit.

    Raises
    ------
    Tessora1dError
        ``count`` below 3 (code -1), ``first`` outside (0, 1) (code -2), ``last`` outside
        (0, 1 - first) or the two sizes not reachable at this count (code -3).
    """
    return Distribution(*_laws.tanh_stretching(count, first, last))


# ----------------------------------------------------------------------------------------------
# Solvers
# ----------------------------------------------------------------------------------------------


def solve_ratio(length, count, first):
    """The ratio of ``count`` geometric elements that start with ``first`` and sum to ``length``.

    Parameters
    ----------
    length : float
        Total length (length units), > 0.
    count : int
        Number of elements, >= 1.
    first : float
        First element's size (length units), in (0, length); equal to ``length`` when count is 1.

    Returns
    -------
    float
        The ratio; 1 when count is 1 or first is length / count.

    Raises
    ------
    Tessora1dError
        ``length`` (code -1), ``count`` (code -2), ``first`` outside its range (code -3).
    """
    return _laws.solve_ratio(length, count, first)


def solve_count(length, first, ratio):
    """The fewest geometric elements, starting at ``first`` and growing by ``ratio``, that reach ``length``.

    Parameters
    ----------
    length : float
        Length to reach (length units), > 0.
    first : float
        First element's size (length units), > 0; first >= length gives 1.
    ratio : float
        Growth ratio, > 0; below 1 the whole series must still reach the length.

    Returns
    -------
    int
        The count; :func:`solve_ratio` then gives the ratio that fits the length exactly.

    Raises
    ------
    Tessora1dError
        ``length`` (code -1), ``first`` not positive or so small that the count would reach
        2**32 - 1 (code -2), ``ratio`` not positive or below 1 and unable to reach (code -3).
    """
    return _laws.solve_count(length, first, ratio)


def layers_to_thickness(thickness, first, max_ratio):
    """The fewest layers from ``first``, growing by at most ``max_ratio``, that fill ``thickness`` exactly.

    Parameters
    ----------
    thickness : float
        Total thickness (length units), > 0.
    first : float
        First layer's size (length units), > 0; first >= thickness gives one layer.
    max_ratio : float
        Largest allowed growth ratio, > 0.

    Returns
    -------
    Layers
        ``count`` (as :func:`solve_count`) and ``ratio`` (as :func:`solve_ratio` for that
        count, not above ``max_ratio``; 1 for one layer).

    Raises
    ------
    Tessora1dError
        ``thickness`` (code -1), ``first`` (code -2), ``max_ratio`` not positive or below 1 and
        unable to fill the thickness (code -3).
    """
    count, ratio = _laws.layers_to_thickness(thickness, first, max_ratio)
    return Layers(count, ratio)


def layers_to_size(first, last, max_ratio):
    """The fewest layers growing from ``first`` to ``last`` at a constant ratio of at most ``max_ratio``.

    Parameters
    ----------
    first : float
        First layer's size (length units), > 0.
    last : float
        Last layer's size (length units), >= first.
    max_ratio : float
        Largest allowed growth ratio; above 1 unless ``last`` equals ``first``.

    Returns
    -------
    LayersToSize
        ``count`` = 1 + ceil(ln(last / first) / ln(max_ratio)) (1 when last equals first),
        ``ratio`` = (last / first) ** (1 / (count - 1)) and ``thickness``, the sum of the layers.

    Raises
    ------
    Tessora1dError
        ``first`` (code -1), ``last`` below ``first`` (code -2), ``max_ratio`` not above 1 while
        last exceeds first, or so close to 1 that the count would reach 2**32 - 1 (code -3).
    """
    count, ratio, thickness = _laws.layers_to_size(first, last, max_ratio)
    return LayersToSize(count, ratio, thickness)


# ----------------------------------------------------------------------------------------------
# Bridge to the meshing functions
# ----------------------------------------------------------------------------------------------


def place_on_polyline(points, fractions, polyline=None):
    """Place nodes at given fractions of the arc length of a polyline.

    Parameters
    ----------
    points : array_like of float, shape (n, dim)
        Coordinates, dim 2 or 3.
    fractions : array_like of float, shape (m,)
        Node fractions of a law: 0 first, 1 last, strictly increasing, m >= 2.
    polyline : array_like of int, shape (p,), optional
        Node indices of the polyline, p >= 2, of positive length; all points in order when not
        given.

    Returns
    -------
    NewChain
        ``new_points`` (m - 2, dim), interpolated linearly along the polyline at the inner
        fractions of its arc length; ``chain`` (m,): polyline[0], n, n + 1, ..., n + m - 3,
        polyline[-1], indices into ``points`` followed by ``new_points``.

    Raises
    ------
    Tessora1dError
        ``points`` of another dimension (code -1); ``polyline`` (or ``points`` when it is not
        given) shorter than 2, out of range or of zero length (code -2); ``fractions`` not as
        described (code -3).
    """
    new_points, chain = _laws.place_on_polyline(points, fractions, polyline)
    return NewChain(new_points, chain)


def extrude(points, start, direction, fractions):
    """Extrude a node along a vector with nodes at a law's fractions.

    Parameters
    ----------
    points : array_like of float, shape (n, dim)
        Coordinates, dim 2 or 3.
    start : int
        Index of the start node, below n.
    direction : array_like of float, shape (dim,)
        The extrusion vector (length units), not zero: the last node is start + direction.
    fractions : array_like of float, shape (m,)
        Node fractions of a law: 0 first, 1 last, strictly increasing, m >= 2.

    Returns
    -------
    NewChain
        ``new_points`` (m - 1, dim): points[start] + fractions[k] * direction for k >= 1;
        ``chain`` (m,): start, n, n + 1, ..., n + m - 2.

    Raises
    ------
    Tessora1dError
        ``points`` of another dimension (code -1), ``start`` >= n (code -2), ``direction`` of
        another size or zero (code -3), ``fractions`` not as described (code -4).
    """
    new_points, chain = _laws.extrude(points, start, direction, fractions)
    return NewChain(new_points, chain)

