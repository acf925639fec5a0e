"""tessora1d: one-dimensional mesh tools for NumPy.

Discretises lines in the plane or in space into chains of edge elements whose lengths follow a
size field (an isotropic size per point, or an anisotropic metric tensor per point), and offers
the tools such chains need: straight and spline meshing, extrusion, linear/high-order element
conversion, reorientation, lengths, normals, curvatures, interpolation and metric generation.

Conventions
-----------
- Points are float64 arrays of shape ``(n, dim)``, ``dim`` 2 or 3, one point per row.
- Node lists (chains) are integer arrays of shape ``(n,)``; edges are integer arrays of shape
  ``(E, 2)`` (start, end), high-order edges ``(E, k + 2)`` (start, end, interior nodes).
- Sizes are lengths in the units of the points, shape ``(n,)``. Metrics are packed symmetric
  tensors in 1 / length**2, shape ``(n, 3)`` as (m00, m01, m11) in 2-D or ``(n, 6)`` as
  (m00, m01, m11, m02, m12, m22) in 3-D; a size h is the metric 1 / h**2 in every direction.
- Any array-like is accepted and converted once; results are new arrays (int64 for indices)
  and no argument is ever modified. Functions that create points return them as
  ``new_points`` with indices into "the points you passed followed by the new ones".
- Refused arguments raise :class:`Tessora1dError` (a ValueError) naming the function, the
  argument and the fault; an exhausted memory raises :class:`Tessora1dMemoryError`.
- The GIL is released while the library works, so threads mesh curves in parallel
  (:func:`mesh_curves`). Each thread keeps the buffers of its largest recent inputs (up to
  64 MB each) for the next call, which spares the page faults of fresh memory.
"""

from __future__ import annotations

import itertools
import operator
import os
from concurrent.futures import ThreadPoolExecutor
from typing import NamedTuple

import numpy as np

from . import _core
from ._errors import Tessora1dError, Tessora1dMemoryError

__all__ = [
    "Tessora1dError",
    "Tessora1dMemoryError",
    "HighOrder",
    "Reoriented",
    "NewChain",
    "MeshLineSizes",
    "MeshLineMetrics",
    "MeshSplineSizes",
    "MeshSplineMetrics",
    "Sorted",
    "Subdivision",
    "version",
    "indices_to_connect_e2",
    "indices_to_connect_e3",
    "split_into_linear",
    "convert_into_linear",
    "flip",
    "convert_into_high_order",
    "convert_into_quadratic",
    "mesh_reorient",
    "extrude_translate",
    "extrude_rotate",
    "mesh_line",
    "mesh_curve",
    "mesh_curves",
    "mesh_straight",
    "spline_point",
    "mesh_spline",
    "length",
    "interpolate_coordinates",
    "curvatures",
    "normals",
    "parametric_curvatures",
    "interpolate_metrics",
    "metrics_gen_aniso2d",
    "metrics_gen_aniso2d_directions",
    "metrics_gen_aniso3d",
    "sort",
    "subdivide",
]


# ----------------------------------------------------------------------------------------------
# Results
# ----------------------------------------------------------------------------------------------


class HighOrder(NamedTuple):
    """Result of :func:`convert_into_high_order` and :func:`convert_into_quadratic`."""

    new_points: np.ndarray
    """(E * k, dim) float64: the new interior nodes, edge by edge, from start to end."""
    edges: np.ndarray
    """(E, k + 2) int64: start, end, then the interior nodes from start to end."""


class Reoriented(NamedTuple):
    """Result of :func:`mesh_reorient`."""

    edges: np.ndarray
    """(E, k) int64: the edges, consistently oriented where they were reached."""
    neighbors: np.ndarray
    """(E, k) int64: the adjacency, rows 0 and 1 swapped with their edge; -1 for none."""
    turned: int
    """Number of edges turned around."""


class NewChain(NamedTuple):
    """Result of :func:`extrude_translate`, :func:`extrude_rotate` and :func:`mesh_straight`."""

    new_points: np.ndarray
    """(m, dim) float64: the points created, in order."""
    chain: np.ndarray
    """(c,) int64: the chain, indices into the given points followed by ``new_points``."""


class MeshLineSizes(NamedTuple):
    """Result of :func:`mesh_line` with ``sizes``."""

    new_points: np.ndarray
    """(E - 1, dim) float64: the interior nodes of the chain, in order."""
    chain: np.ndarray
    """(E + 1,) int64: 0, then n, n + 1, ..., n + E - 2, then n - 1 (n points given)."""
    params: np.ndarray
    """(E + 1,) float64: the curve parameter of each chain node."""
    sizes: np.ndarray
    """(E + 1,) float64: the size at each chain node."""


class MeshLineMetrics(NamedTuple):
    """Result of :func:`mesh_line` with ``metrics``."""

    new_points: np.ndarray
    """(E - 1, dim) float64: the interior nodes of the chain, in order."""
    chain: np.ndarray
    """(E + 1,) int64: 0, then n, n + 1, ..., n + E - 2, then n - 1 (n points given)."""
    params: np.ndarray
    """(E + 1,) float64: the curve parameter of each chain node."""
    metrics: np.ndarray
    """(E + 1, 3) or (E + 1, 6) float64: the metric at each chain node."""


class MeshSplineSizes(NamedTuple):
    """Result of :func:`mesh_spline` with ``sizes``."""

    new_points: np.ndarray
    """(E - 1, dim) float64: the interior nodes of the chain, in order."""
    chain: np.ndarray
    """(E + 1,) int64: chain[1] of the input, the new points, chain[-2] of the input."""
    params: np.ndarray
    """(E + 1,) float64: the spline parameter of each chain node, from 0 to 1."""
    sizes: np.ndarray
    """(E + 1,) float64: the size at each chain node."""
    deviation: float
    """Largest distance between the spline and the chords of the input chain."""


class MeshSplineMetrics(NamedTuple):
    """Result of :func:`mesh_spline` with ``metrics``."""

    new_points: np.ndarray
    """(E - 1, dim) float64: the interior nodes of the chain, in order."""
    chain: np.ndarray
    """(E + 1,) int64: chain[1] of the input, the new points, chain[-2] of the input."""
    params: np.ndarray
    """(E + 1,) float64: the spline parameter of each chain node, from 0 to 1."""
    metrics: np.ndarray
    """(E + 1, 3) or (E + 1, 6) float64: the metric at each chain node."""
    deviation: float
    """Largest distance between the spline and the chords of the input chain."""


class Sorted(NamedTuple):
    """Result of :func:`sort`."""

    values: np.ndarray
    """(n,) float64: the values in ascending order."""
    ids: np.ndarray
    """(n,) int64: the identifiers in the same order (ties by identifier)."""


class Subdivision(NamedTuple):
    """Result of :func:`subdivide`."""

    new_abscissas: np.ndarray
    """(K - 1,) float64: the abscissas of the new nodes."""
    new_sizes: np.ndarray
    """(K - 1,) float64: their sizes."""
    chain: np.ndarray
    """(K + 1,) int64: chain[0], the new nodes N, N + 1, ..., chain[-1] (N abscissas given)."""


# ----------------------------------------------------------------------------------------------
# Helpers
# ----------------------------------------------------------------------------------------------


def _one_field(function, **given):
    """The one size field given among the keyword arguments, as (kind, value)."""
    present = [(kind, value) for kind, value in given.items() if value is not None]
    if len(present) != 1:
        names = ", ".join(given)
        raise TypeError(f"{function}: give exactly one of {names}")
    return present[0]


def _count_or_sizes(function, count, h0, h1):
    if count is not None:
        if h0 is not None or h1 is not None:
            raise TypeError(f"{function}: give count, or h0 and h1, not both")
    elif h0 is None or h1 is None:
        raise TypeError(f"{function}: give count, or both h0 and h1")


# ----------------------------------------------------------------------------------------------
# Version and element construction
# ----------------------------------------------------------------------------------------------


def version():
    """The library's version text.

    Returns
    -------
    str
        "5.3.0.0".
    """
    return _core.version()


def indices_to_connect_e2(chain):
    """Linear edges (E2) joining consecutive nodes of a chain.

    Parameters
    ----------
    chain : array_like of int, shape (n,)
        Node indices; n = 0 or n >= 2.

    Returns
    -------
    ndarray of int64, shape (n - 1, 2)
        Edge k is (chain[k], chain[k + 1]); shape (0, 2) for an empty chain.

    Raises
    ------
    Tessora1dError
        ``chain`` with a single index (code -1), or not a 1-D array of indices >= 0.
    """
    return _core.indices_to_connect_e2(chain)


def indices_to_connect_e3(chain):
    """Quadratic edges (E3) along a chain: (chain[2k], chain[2k + 2], chain[2k + 1]).

    Parameters
    ----------
    chain : array_like of int, shape (n,)
        Node indices; n = 0 or n odd and >= 3. Even positions are the edge ends, odd positions
        the mid nodes.

    Returns
    -------
    ndarray of int64, shape ((n - 1) // 2, 3)
        Start, end and mid node of each edge.

    Raises
    ------
    Tessora1dError
        ``chain`` of even length or shorter than 3 (code -1).
    """
    return _core.indices_to_connect_e3(chain)


def split_into_linear(edges):
    """Split each quadratic edge (a, b, m) into the linear edges (a, m) and (m, b).

    Parameters
    ----------
    edges : array_like of int, shape (E, 3)
        E3 edges: start, end, mid node.

    Returns
    -------
    ndarray of int64, shape (2 E, 2)

    Raises
    ------
    Tessora1dError
        ``edges`` without exactly 3 columns (code -1).
    """
    return _core.split_into_linear(edges)


def convert_into_linear(edges):
    """Drop the interior nodes of high-order edges, keeping start and end.

    Parameters
    ----------
    edges : array_like of int, shape (E, k + 2), k >= 1

    Returns
    -------
    ndarray of int64, shape (E, 2)

    Raises
    ------
    Tessora1dError
        ``edges`` with 2 columns or fewer (code -1).
    """
    return _core.convert_into_linear(edges)


def flip(edges):
    """Reverse the order of the nodes within every edge ((a, b, m) becomes (m, b, a)).

    Parameters
    ----------
    edges : array_like of int, shape (E, k)

    Returns
    -------
    ndarray of int64, shape (E, k)
        ``edges[:, ::-1]``, computed by the library.
    """
    return _core.flip(edges)


def convert_into_high_order(points, edges, k):
    """Insert k evenly spaced nodes on the straight segment of every edge.

    Parameters
    ----------
    points : array_like of float, shape (n, dim)
        Coordinates, dim 1, 2 or 3.
    edges : array_like of int, shape (E, j), j >= 2
        Only the first two columns (start, end) are read.
    k : int
        Interior nodes per edge, >= 0.

    Returns
    -------
    HighOrder
        ``new_points`` (E k, dim): node n + e k + i - 1 is the i-th interior node of edge e;
        ``edges`` (E, k + 2): start, end, interior nodes from start to end. k = 0 or no edge
        gives no edge: shape (0, k + 2).

    Raises
    ------
    Tessora1dError
        ``points`` with a column count other than 1, 2, 3 (code -1); ``edges`` naming a node
        >= n (code -2).
    """
    new_points, out = _core.convert_into_high_order(points, edges, k)
    return HighOrder(new_points, out)


def convert_into_quadratic(points, edges):
    """Turn edges into quadratic (E3) edges with a new mid node each.

    The same as ``convert_into_high_order(points, edges, 1)``, through the library's quadratic
    form.

    Parameters
    ----------
    points : array_like of float, shape (n, dim)
        Coordinates, dim 1, 2 or 3.
    edges : array_like of int, shape (E, j), j >= 2

    Returns
    -------
    HighOrder
        ``new_points`` (E, dim), the mid nodes; ``edges`` (E, 3): start, end, mid node.
    """
    new_points, out = _core.convert_into_quadratic(points, edges)
    return HighOrder(new_points, out)


def mesh_reorient(edges, *, neighbors=None, start=0, all_components=False):
    """Orient edges consistently: the end node of one edge is the start node of the next.

    Walks breadth-first from edge ``start`` (the reference) and turns around (swaps start and
    end of) every edge that points the wrong way. Interior nodes of high-order edges stay.

    Parameters
    ----------
    edges : array_like of int, shape (E, k), k >= 2
    neighbors : array_like of int, shape (E, k), optional
        Column 0: the edge across the end node, other columns: the edge across the start node;
        -1 (or any value >= E) for none. Computed from ``edges`` when not given.
    start : int, default 0
        The reference edge.
    all_components : bool, default False
        Also orient the components not connected to ``start``, each from its lowest edge.

    Returns
    -------
    Reoriented
        ``edges``, ``neighbors`` (rows swapped with their edges, -1 for none) and ``turned``,
        the number of edges turned.

    Raises
    ------
    Tessora1dError
        ``neighbors`` of another shape or naming edges that do not share the node (code -2 or
        None); ``start`` >= E (code -3).
    """
    out, nb, turned = _core.mesh_reorient(edges, neighbors, start, bool(all_components))
    return Reoriented(out, nb, turned)


# ----------------------------------------------------------------------------------------------
# Extrusion
# ----------------------------------------------------------------------------------------------


def extrude_translate(points, start, vector, *, count=None, h0=None, h1=None, even=False):
    """Mesh the segment from a start node or point along a vector.

    Parameters
    ----------
    points : array_like of float, shape (n, dim), or None
        Existing coordinates; may be None or empty when ``start`` is a point.
    start : int or array_like of float, shape (dim,)
        A node index into ``points``, or a point (then appended as the first new point).
    vector : array_like of float, shape (dim,)
        The translation, in length units; dim 2 or 3.
    count : int, optional
        Number of elements, evenly spaced (0: nothing is done).
    h0, h1 : float, optional
        Sizes at the start and the end (length units, > 0) instead of ``count``: the count
        follows from the metric length and the spacing is graded.
    even : bool, default False
        With sizes: make the element count even.

    Returns
    -------
    NewChain
        ``new_points`` (the start point first when ``start`` is a point) and ``chain``, from the
        start node to the end, indices into ``points`` followed by ``new_points``.

    Raises
    ------
    Tessora1dError
        ``points`` of another dimension (code -1), ``start`` >= n (code -2), a zero ``vector``
        with sizes (code -3), ``h0`` <= 0 (code -4), ``h1`` <= 0 (code -5).
    TypeError
        Neither or both of ``count`` and (``h0``, ``h1``).
    """
    _count_or_sizes("extrude_translate", count, h0, h1)
    new_points, chain = _core.extrude_translate(points, start, vector, count, h0, h1, bool(even))
    return NewChain(new_points, chain)


def extrude_rotate(points, start, center, rotation, *, count=None, h0=None, h1=None, even=False):
    """Mesh the circular arc swept by a start node or point about a centre (2-D) or axis (3-D).

    Parameters
    ----------
    points : array_like of float, shape (n, dim), or None
        Existing coordinates; may be None or empty when ``start`` is a point.
    start : int or array_like of float, shape (dim,)
        A node index into ``points``, or a point (then appended as the first new point).
    center : array_like of float, shape (dim,)
        The centre (2-D) or a point on the axis (3-D); dim 2 or 3.
    rotation : float or array_like of float, shape (3,)
        2-D: the angle in radians, counter-clockwise positive. 3-D: the rotation vector, whose
        direction is the axis and whose length is the angle in radians (right-handed).
    count : int, optional
        Number of elements, evenly spaced in angle (0: nothing is done).
    h0, h1 : float, optional
        Sizes at the start and the end of the arc (length units, > 0) instead of ``count``.
    even : bool, default False
        With sizes: make the element count even.

    Returns
    -------
    NewChain
        ``new_points`` (the start point first when ``start`` is a point) and ``chain``, indices
        into ``points`` followed by ``new_points``.

    Raises
    ------
    Tessora1dError
        ``points`` of another dimension (code -1), ``start`` >= n (code -2), an arc of zero
        length with sizes (``rotation``, code -3), ``h0`` <= 0 (code -5), ``h1`` <= 0 (code -6).
    TypeError
        Neither or both of ``count`` and (``h0``, ``h1``).
    """
    _count_or_sizes("extrude_rotate", count, h0, h1)
    new_points, chain = _core.extrude_rotate(points, start, center, rotation, count, h0, h1, bool(even))
    return NewChain(new_points, chain)


# ----------------------------------------------------------------------------------------------
# Line meshing
# ----------------------------------------------------------------------------------------------


def mesh_line(
    points,
    *,
    sizes=None,
    metrics=None,
    params=None,
    even=False,
    nmin=1,
    nmax=None,
    chordal=0.0,
    hmin=0.0,
):
    """Mesh the polyline through ``points`` into elements that follow a size field.

    The element count E is the metric length of the polyline rounded, clamped to
    [nmin, nmax] and then made even when ``even``; the E - 1 new nodes lie on the polyline at
    equal metric steps.

    Parameters
    ----------
    points : array_like of float, shape (n, dim)
        The polyline, n >= 2, dim 2 or 3.
    sizes : array_like of float, shape (n,), optional
        Element size at each point (length units, > 0).
    metrics : array_like of float, shape (n, 3) or (n, 6), optional
        Metric at each point (1 / length**2), packed (m00, m01, m11) in 2-D or
        (m00, m01, m11, m02, m12, m22) in 3-D, symmetric positive-definite. Exactly one of
        ``sizes`` and ``metrics`` is required.
    params : array_like of float, shape (n,), optional
        Curve parameter of each point, non-decreasing; chord-length parameters in [0, 1]
        when not given.
    even : bool, default False
        Make the element count even (applied after nmax, so it may exceed an odd nmax by 1).
    nmin : int, default 1
        Smallest element count, >= 1.
    nmax : int, optional
        Largest element count; None for no bound. At most 2**32 - 1.
    chordal : float, default 0.0
        0: off. < 0: cap the size at each point by its curvature, so that the sagitta is at
        most |chordal| times the radius. > 0: refine until every point lies within ``chordal``
        (length units) of the chain, which may exceed ``nmax``.
    hmin : float, default 0.0
        Smallest size the curvature cap of a negative ``chordal`` may impose (length units).

    Returns
    -------
    MeshLineSizes or MeshLineMetrics
        ``new_points`` (E - 1, dim); ``chain`` (E + 1,), indices into ``points`` followed by
        ``new_points`` (0, n, ..., n + E - 2, n - 1); ``params`` (E + 1,); and ``sizes``
        (E + 1,) or ``metrics`` (E + 1, 3 or 6) at the chain nodes.

    Raises
    ------
    Tessora1dError
        Names the argument at fault: ``points`` (dimension, fewer than 2, zero length),
        ``params`` (decreasing), ``sizes``/``metrics`` (not positive or not definite),
        ``nmin``/``nmax``; non-finite values and counts beyond 2**32 - 1 are refused before the
        call (code None).
    TypeError
        Neither or both of ``sizes`` and ``metrics``.

    Examples
    --------
    >>> import numpy as np, tessora1d
    >>> line = tessora1d.mesh_line([[0, 0], [1, 0]], sizes=[0.25, 0.25])
    >>> line.chain
    array([0, 2, 3, 4, 1])
    """
    kind, field = _one_field("mesh_line", sizes=sizes, metrics=metrics)
    new_points, chain, out_params, out_field = _core.mesh_line(
        points, kind, field, params, bool(even), nmin, nmax, chordal, hmin
    )
    result = MeshLineMetrics if kind == "metrics" else MeshLineSizes
    return result(new_points, chain, out_params, out_field)


def mesh_curve(
    points,
    *,
    sizes=None,
    size=None,
    metrics=None,
    even=False,
    nmin=1,
    nmax=None,
    chordal=0.0,
    hmin=0.0,
):
    """Mesh a curve given by its points and return the meshed points directly.

    :func:`mesh_line` with chord-length parameters, keeping only the chain's coordinates.

    Parameters
    ----------
    points : array_like of float, shape (n, dim)
        The curve as a polyline, n >= 2, dim 2 or 3.
    sizes : array_like of float, shape (n,), optional
        Element size at each point (length units, > 0).
    size : float, optional
        One size for the whole curve (length units, > 0).
    metrics : array_like of float, shape (n, 3) or (n, 6), optional
        Metric at each point, as in :func:`mesh_line`. Exactly one of ``sizes``, ``size`` and
        ``metrics`` is required.
    even, nmin, nmax, chordal, hmin
        As in :func:`mesh_line`.

    Returns
    -------
    ndarray of float64, shape (E + 1, dim)
        The chain's points in order, from ``points[0]`` to ``points[-1]``.

    Raises
    ------
    Tessora1dError, TypeError
        As :func:`mesh_line` (``size`` <= 0 is reported against ``size``).

    Examples
    --------
    >>> import numpy as np, tessora1d
    >>> t = np.linspace(0, np.pi, 50)
    >>> mesh = tessora1d.mesh_curve(np.c_[np.cos(t), np.sin(t)], size=0.1)
    >>> mesh.shape
    (32, 2)
    """
    kind, field = _one_field("mesh_curve", sizes=sizes, size=size, metrics=metrics)
    return _core.mesh_curve(points, kind, field, bool(even), nmin, nmax, chordal, hmin)


_CURVE_OPTIONS = ("even", "nmin", "nmax", "chordal", "hmin")


def mesh_curves(curves, *, sizes=None, size=None, metrics=None, threads=None, **options):
    """Mesh many curves in parallel threads; :func:`mesh_curve` on each.

    Parameters
    ----------
    curves : sequence of array_like, each of shape (n_i, dim)
    sizes : sequence of array_like, optional
        One size array per curve, parallel to ``curves``.
    size : float, optional
        One size for every curve.
    metrics : sequence of array_like, optional
        One metric array per curve, parallel to ``curves``. Exactly one of ``sizes``, ``size``
        and ``metrics`` is required.
    threads : int, optional
        Worker threads; None means ``os.cpu_count()``, 1 meshes in the calling thread.
    **options
        ``even``, ``nmin``, ``nmax``, ``chordal``, ``hmin``, as in :func:`mesh_line`, for every
        curve.

    Returns
    -------
    list of ndarray
        The meshed points of each curve, in the order of ``curves``.

    Raises
    ------
    Tessora1dError, TypeError
        As :func:`mesh_curve`, for the first failing curve in order (its index is in the
        exception's notes); also for field lists of another length than ``curves``.
    """
    unknown = sorted(set(options) - set(_CURVE_OPTIONS))
    if unknown:
        raise TypeError(f"mesh_curves: unknown option {unknown[0]!r}; options are {', '.join(_CURVE_OPTIONS)}")
    kind, field = _one_field("mesh_curves", sizes=sizes, size=size, metrics=metrics)
    curves = list(curves)
    if kind == "size":
        fields = [field] * len(curves)
    else:
        fields = list(field)
        if len(fields) != len(curves):
            raise Tessora1dError(
                f"mesh_curves: {kind} must hold one entry per curve: {len(curves)}, not {len(fields)}",
                None,
                "mesh_curves",
                kind,
            )
    if threads is None:
        threads = os.cpu_count() or 1
    else:
        threads = operator.index(threads)
        if threads < 1:
            raise Tessora1dError(
                f"mesh_curves: threads must be at least 1, not {threads}", None, "mesh_curves", "threads"
            )

    def one(i):
        try:
            return mesh_curve(curves[i], **{kind: fields[i]}, **options)
        except Exception as error:
            if hasattr(error, "add_note"):
                error.add_note(f"mesh_curves: raised by curve {i}")
            raise

    if threads == 1 or len(curves) <= 1:
        return [one(i) for i in range(len(curves))]
    # Each worker takes the next curve from a shared counter (next() on it is atomic under the
    # GIL): no future per curve, so the GIL-held share of a call stays small. After a failure no
    # later curve is started, and every earlier one still runs, so the error raised is the one
    # of the first failing curve in order.
    results = [None] * len(curves)
    order = itertools.count()
    errors = {}
    first_failure = [len(curves)]

    def work():
        for i in order:
            if i >= first_failure[0]:
                return
            try:
                results[i] = one(i)
            except Exception as error:
                errors[i] = error
                first_failure[0] = min(first_failure[0], i)

    workers = min(threads, len(curves))
    with ThreadPoolExecutor(max_workers=workers) as pool:
        for running in [pool.submit(work) for _ in range(workers)]:
            running.result()
    if errors:
        raise errors[min(errors)]
    return results


def mesh_straight(points, chain=None, *, sizes=None, metrics=None, count=None, even=False):
    """Mesh every straight segment of a chain of points and stitch the pieces.

    Parameters
    ----------
    points : array_like of float, shape (n, dim)
        Coordinates, dim 2 or 3.
    chain : array_like of int, shape (c,), optional
        Node indices, c >= 2; all points in order when not given.
    sizes : array_like of float, shape (c,), optional
        Size at each chain entry (length units, > 0).
    metrics : array_like of float, shape (2, 3) or (2, 6), optional
        Metric at each end of a single segment (the metric form meshes one segment: c = 2).
    count : int, optional
        Number of elements: a uniform size, the chain's length divided by ``count``
        (0: nothing is done). Exactly one of ``sizes``, ``metrics`` and ``count`` is required.
    even : bool, default False
        Make the element count of every segment even.

    Returns
    -------
    NewChain
        ``new_points`` and ``chain``, the stitched chain (each shared node once), indices into
        ``points`` followed by ``new_points``.

    Raises
    ------
    Tessora1dError
        ``chain`` too short or out of range (code -2); invalid ``sizes``/``metrics`` or a chain
        of zero length with ``count`` (code -3); metrics with more than one segment (code -4).
    """
    kind, field = _one_field("mesh_straight", sizes=sizes, metrics=metrics, count=count)
    new_points, out = _core.mesh_straight(points, chain, kind, field, bool(even))
    return NewChain(new_points, out)


def spline_point(points, nodes, t):
    """Points of the cubic from node p1 to node p2 whose end tangents come from p0 and p3.

    Parameters
    ----------
    points : array_like of float, shape (n, dim)
        Coordinates, dim 2 or 3.
    nodes : array_like of int, shape (4,)
        (p0, p1, p2, p3); pass p0 = p1 or p3 = p2 for an end without neighbour.
    t : float or array_like of float, shape (m,)
        Parameters; 0 gives p1, 1 gives p2; not clamped.

    Returns
    -------
    ndarray of float64, shape (dim,) for a scalar ``t``, else (m, dim)

    Raises
    ------
    Tessora1dError
        ``points`` of another dimension (code -1); ``nodes`` out of range (codes -2 to -5).
    """
    scalar = np.ndim(t) == 0
    out = _core.spline_point(points, nodes, np.atleast_1d(t) if scalar else t)
    return out[0] if scalar else out


def mesh_spline(
    points,
    chain=None,
    *,
    sizes=None,
    metrics=None,
    even=False,
    nmin=1,
    nmax=None,
    chordal=0.0,
    hmin=0.0,
    background=None,
    gradation=None,
):
    """Mesh the smooth cubic spline through a chain of points.

    The curve runs from chain[1] to chain[-2]; chain[0] and chain[-1] only shape the end
    tangents (repeat the ends for free ends). Sizes combine the given field, the chordal size,
    ``hmin``, and the ``background`` size with the ``gradation`` limit.

    Parameters
    ----------
    points : array_like of float, shape (n, dim)
        Coordinates, dim 2 or 3.
    chain : array_like of int, shape (c,), optional
        Node indices, c >= 4; all points in order when not given.
    sizes : array_like of float, shape (c,), optional
        Size at each chain entry (length units, > 0).
    metrics : array_like of float, shape (c, 3) or (c, 6), optional
        Metric at each chain entry, as in :func:`mesh_line`. Exactly one of ``sizes`` and
        ``metrics`` is required.
    even, nmin, nmax
        As in :func:`mesh_line`.
    chordal : float, default 0.0
        0: none. > 0: largest distance between the spline and its elements (length units).
        < 0: that distance relative to the local radius of curvature.
    hmin : float, default 0.0
        Smallest size (length units, >= 0).
    background : float, optional
        A size for the whole curve, refined near the chain nodes by their sizes under the
        gradation limit; requires ``gradation``.
    gradation : float, optional
        Largest growth of the size per unit of length (>= 1): h_b <= h_a + (g - 1) |ab|.

    Returns
    -------
    MeshSplineSizes or MeshSplineMetrics
        ``new_points``, ``chain`` (chain[1], the new points, chain[-2], as indices into
        ``points`` followed by ``new_points``), ``params`` in [0, 1], ``sizes`` or ``metrics``
        at the chain nodes, and ``deviation``.

    Raises
    ------
    Tessora1dError
        ``points`` (code -1), ``chain`` (code -2), ``sizes``/``metrics`` (code -3),
        ``nmin``/``nmax`` (code -5), ``hmin`` < 0 (code -8).
    TypeError
        Neither or both of ``sizes`` and ``metrics``; ``background`` without ``gradation``.
    """
    kind, field = _one_field("mesh_spline", sizes=sizes, metrics=metrics)
    if background is not None and gradation is None:
        raise TypeError("mesh_spline: background needs gradation (the library ignores it alone)")
    new_points, out, params, out_field, deviation = _core.mesh_spline(
        points, chain, kind, field, bool(even), nmin, nmax, chordal, hmin, background, gradation
    )
    result = MeshSplineMetrics if kind == "metrics" else MeshSplineSizes
    return result(new_points, out, params, out_field, deviation)


# ----------------------------------------------------------------------------------------------
# Geometry
# ----------------------------------------------------------------------------------------------


def length(points, chain=None, *, edges=None):
    """Length of a chain of points, or the summed length of edges.

    Parameters
    ----------
    points : array_like of float, shape (n, dim)
        Coordinates, dim 2 or 3.
    chain : array_like of int, shape (c,), optional
        Node indices, c >= 2; all points in order when neither ``chain`` nor ``edges`` is given.
    edges : array_like of int, shape (E, 2), optional
        Edges whose lengths are summed, instead of ``chain``.

    Returns
    -------
    float
        In length units.

    Raises
    ------
    Tessora1dError
        ``points`` of another dimension (code -1); ``chain`` or ``edges`` out of range or a
        chain shorter than 2 (code -2).
    """
    if chain is not None and edges is not None:
        raise TypeError("length: give chain or edges, not both")
    return _core.length(points, chain, edges)


def interpolate_coordinates(points, chain, params, new_params):
    """Points at given parameters along a chain, by linear interpolation.

    Parameters
    ----------
    points : array_like of float, shape (n, dim)
    chain : array_like of int, shape (c,)
        Node indices of the chain.
    params : array_like of float, shape (c,)
        Parameter of each chain node, non-decreasing.
    new_params : array_like of float, shape (m,)
        Query parameters, non-decreasing. Below the first parameter the first node is
        returned, past the last the last node.

    Returns
    -------
    ndarray of float64, shape (m, dim)

    Raises
    ------
    Tessora1dError
        ``chain`` out of range or empty (code -2), ``params`` decreasing (code -3),
        ``new_params`` decreasing (code -5), ``params`` of another length (code None).
    """
    return _core.interpolate_coordinates(points, chain, params, new_params)


def curvatures(points, chain=None):
    """Discrete curvature at each chain position: 2 sin(theta / 2) over the mean segment length.

    Parameters
    ----------
    points : array_like of float, shape (n, dim)
        Coordinates, dim 2 or 3.
    chain : array_like of int, shape (c,), optional
        Node indices; all points in order when not given.

    Returns
    -------
    ndarray of float64, shape (c,)
        In 1 / length units; the ends copy their neighbours.

    Raises
    ------
    Tessora1dError
        ``points`` of another dimension (code -1), ``chain`` out of range (code -2).
    """
    return _core.curvatures(points, chain)


def normals(points, edges, *, power=0.0, normalize=True):
    """2-D node normals averaged over the incident edges.

    The normal of an edge is its unit direction turned a quarter turn counter-clockwise.

    Parameters
    ----------
    points : array_like of float, shape (n, 2)
    edges : array_like of int, shape (E, 2)
    power : float, default 0.0
        Each edge weighs L**power (L its length): 0 gives the plain mean, 1 weighs by length.
        ``inf`` takes the normal of the longest incident edge, ``-inf`` of the shortest (and
        adds, unnormalised, the normals of the edges met after it, as the library does).
    normalize : bool, default True
        Scale the averaged normals to unit length (finite ``power`` only).

    Returns
    -------
    ndarray of float64, shape (n, 2)
        (0, 0) for a point on no edge.

    Raises
    ------
    Tessora1dError
        ``points`` not 2-D (code -1), ``edges`` out of range (code -2), ``power`` NaN.
    """
    return _core.normals(points, edges, power, bool(normalize))


def parametric_curvatures(params, edges, derivatives):
    """Node curvatures of a parametric curve from its derivative vectors at the nodes.

    Parameters
    ----------
    params : array_like of float, shape (n,)
        Curve parameter of each node.
    edges : array_like of int, shape (E, 2)
        Edges between nodes (indices into ``params``).
    derivatives : array_like of float, shape (n, 2) or (n, 3)
        Derivative of the curve with respect to its parameter at each node.

    Returns
    -------
    ndarray of float64, shape (n,)
        |r' x r''| / |r'|**3 (1 / length units), 0 at a node on no edge.

    Raises
    ------
    Tessora1dError
        ``edges`` out of range (code -2), ``derivatives`` of another shape (code -3).
    """
    return _core.parametric_curvatures(params, edges, derivatives)


# ----------------------------------------------------------------------------------------------
# Metric fields
# ----------------------------------------------------------------------------------------------


def interpolate_metrics(params, queries, *, sizes=None, metrics=None):
    """Sizes or metrics at query parameters along a line.

    Sizes are interpolated linearly (0 where a bracketing size is not positive); metrics
    linearly in size along the common eigen-directions of the bracketing metrics.

    Parameters
    ----------
    params : array_like of float, shape (n,)
        Parameter of each node, n >= 2, non-decreasing.
    queries : array_like of float, shape (q,)
        Non-decreasing, within [params[0], params[-1]].
    sizes : array_like of float, shape (n,), optional
    metrics : array_like of float, shape (n, 3) or (n, 6), optional
        Exactly one of ``sizes`` and ``metrics`` is required.

    Returns
    -------
    ndarray of float64, shape (q,) for sizes, (q, 3) or (q, 6) for metrics

    Raises
    ------
    Tessora1dError
        ``params`` too short or decreasing (code -1), ``metrics`` of another width (code -2),
        ``queries`` decreasing or out of range (code -3).
    """
    kind, field = _one_field("interpolate_metrics", sizes=sizes, metrics=metrics)
    return _core.interpolate_metrics(params, queries, kind, field)


def metrics_gen_aniso2d(points, edges, cross=0.0, *, metrics=None):
    """2-D metrics from edges: size along each edge its length, across it ``cross``.

    The metric of every edge is intersected (the finer size in every direction) into the
    metrics of both its end points.

    Parameters
    ----------
    points : array_like of float, shape (n, dim), dim >= 2
        Only the first two coordinates are used.
    edges : array_like of int, shape (E, 2)
    cross : float, default 0.0
        Size across the edge: 0 the edge length, > 0 this size (length units), < 0 |cross|
        times the edge length.
    metrics : array_like of float, shape (n, 3), optional
        Metrics to intersect with (zeros: no constraint, the default).

    Returns
    -------
    ndarray of float64, shape (n, 3)
        Packed (m00, m01, m11) per point; zeros for a point on no edge.

    Raises
    ------
    Tessora1dError
        ``points`` with fewer than 2 columns (code -1), ``edges`` out of range (code -2).
    """
    return _core.metrics_gen_aniso2d(points, edges, cross, metrics)


def metrics_gen_aniso2d_directions(directions, nodes, h_dir, h_cross, *, metrics=None):
    """2-D metrics of size ``h_dir`` along a direction and ``h_cross`` across it, at listed nodes.

    Parameters
    ----------
    directions : array_like of float, shape (n, 2)
        A direction per node, used as given (a non-unit vector scales both sizes).
    nodes : array_like of int, shape (k,)
        The nodes to treat.
    h_dir, h_cross : float
        Sizes along and across the direction (length units, > 0).
    metrics : array_like of float, shape (n, 3), optional
        Metrics to intersect with (zeros: no constraint, the default).

    Returns
    -------
    ndarray of float64, shape (n, 3)

    Raises
    ------
    Tessora1dError
        ``nodes`` out of range (code -2), ``h_dir`` <= 0 (code -3), ``h_cross`` <= 0 (code -4).
    """
    return _core.metrics_gen_aniso2d_directions(directions, nodes, h_dir, h_cross, metrics)


def metrics_gen_aniso3d(points, edges, cross=0.0, cross_out=None, *, metrics=None):
    """3-D metrics from edges: size along each edge its length, across it ``cross``.

    Parameters
    ----------
    points : array_like of float, shape (n, 3)
    edges : array_like of int, shape (E, 2)
    cross : float, default 0.0
        Size across the edge: 0 the edge length, > 0 this size, < 0 |cross| times the length.
        With ``cross_out``: the size across the edge within the plane in which the line bends.
    cross_out : float, optional
        The size across the edge out of the bending plane (the larger of the two is used both
        ways where the line runs straight).
    metrics : array_like of float, shape (n, 6), optional
        Metrics to intersect with (zeros: no constraint, the default).

    Returns
    -------
    ndarray of float64, shape (n, 6)
        Packed (m00, m01, m11, m02, m12, m22) per point.

    Raises
    ------
    Tessora1dError
        ``points`` with fewer than 3 columns (code -1), ``edges`` out of range (code -2).
    """
    return _core.metrics_gen_aniso3d(points, edges, cross, cross_out, metrics)


# ----------------------------------------------------------------------------------------------
# Sorting and subdivision
# ----------------------------------------------------------------------------------------------


def sort(values, ids=None):
    """Sort values ascending together with identifiers (ties by identifier).

    Parameters
    ----------
    values : array_like of float, shape (n,)
        No NaN.
    ids : array_like of int, shape (n,), optional
        Identifiers; 0 .. n - 1 when not given.

    Returns
    -------
    Sorted
        ``values`` and ``ids`` in the sorted order.

    Raises
    ------
    Tessora1dError
        ``ids`` of another length (code -1), NaN in ``values`` (code None).
    """
    out_values, out_ids = _core.sort(values, ids)
    return Sorted(out_values, out_ids)


def subdivide(abscissas, sizes, chain=None, *, force_fine=False, even=False, nmin=1, nmax=None):
    """Re-mesh the interval from chain[0] to chain[-1] of a line given in abscissas.

    The count K is the metric length under sizes varying linearly between chain nodes,
    clamped to [nmin, nmax], raised by one with ``force_fine`` when below the metric length,
    then made even when ``even``.

    Parameters
    ----------
    abscissas : array_like of float, shape (N,)
    sizes : array_like of float, shape (N,)
        Size at each abscissa (length units).
    chain : array_like of int, shape (c,), optional
        Node indices, c >= 2; all nodes in order when not given.
    force_fine : bool, default False
    even : bool, default False
    nmin : int, default 1
    nmax : int, optional
        None for no bound.

    Returns
    -------
    Subdivision
        ``new_abscissas`` and ``new_sizes`` of the K - 1 new nodes (numbered N, N + 1, ...)
        and ``chain``: chain[0], the new nodes, chain[-1].

    Raises
    ------
    Tessora1dError
        ``chain`` too short or out of range (code -2), ``nmin``/``nmax`` (code -6).
    """
    new_abscissas, new_sizes, out = _core.subdivide(
        abscissas, sizes, chain, bool(force_fine), bool(even), nmin, nmax
    )
    return Subdivision(new_abscissas, new_sizes, out)


# The laws use NewChain, so their submodule is imported once everything above is defined.
from . import laws  # noqa: E402
