# Type stubs of tessora1d. Shapes are in the docstrings: points (n, dim), chains (n,),
# edges (E, 2) or (E, k + 2), sizes (n,), metrics (n, 3) or (n, 6).
from typing import Any, List, NamedTuple, Optional, Sequence, Union

import numpy as np
import numpy.typing as npt

from ._errors import Tessora1dError as Tessora1dError
from ._errors import Tessora1dMemoryError as Tessora1dMemoryError

_Reals = npt.ArrayLike
_Indices = npt.ArrayLike
_Float64 = npt.NDArray[np.float64]
_Int64 = npt.NDArray[np.int64]
_Real = Union[float, int, np.floating[Any], np.integer[Any]]
_Count = Union[int, np.integer[Any]]

__all__: List[str]

class HighOrder(NamedTuple):
    new_points: _Float64
    edges: _Int64

class Reoriented(NamedTuple):
    edges: _Int64
    neighbors: _Int64
    turned: int

class NewChain(NamedTuple):
    new_points: _Float64
    chain: _Int64

class MeshLineSizes(NamedTuple):
    new_points: _Float64
    chain: _Int64
    params: _Float64
    sizes: _Float64

class MeshLineMetrics(NamedTuple):
    new_points: _Float64
    chain: _Int64
    params: _Float64
    metrics: _Float64

class MeshSplineSizes(NamedTuple):
    new_points: _Float64
    chain: _Int64
    params: _Float64
    sizes: _Float64
    deviation: float

class MeshSplineMetrics(NamedTuple):
    new_points: _Float64
    chain: _Int64
    params: _Float64
    metrics: _Float64
    deviation: float

class Sorted(NamedTuple):
    values: _Float64
    ids: _Int64

class Subdivision(NamedTuple):
    new_abscissas: _Float64
    new_sizes: _Float64
    chain: _Int64

def version() -> str: ...
def indices_to_connect_e2(chain: _Indices) -> _Int64: ...
def indices_to_connect_e3(chain: _Indices) -> _Int64: ...
def split_into_linear(edges: _Indices) -> _Int64: ...
def convert_into_linear(edges: _Indices) -> _Int64: ...
def flip(edges: _Indices) -> _Int64: ...
def convert_into_high_order(points: _Reals, edges: _Indices, k: _Count) -> HighOrder: ...
def convert_into_quadratic(points: _Reals, edges: _Indices) -> HighOrder: ...
def mesh_reorient(
    edges: _Indices, *, neighbors: Optional[_Indices] = None, start: _Count = 0, all_components: bool = False
) -> Reoriented: ...
def extrude_translate(
    points: Optional[_Reals],
    start: Union[_Count, _Reals],
    vector: _Reals,
    *,
    count: Optional[_Count] = None,
    h0: Optional[_Real] = None,
    h1: Optional[_Real] = None,
    even: bool = False,
) -> NewChain: ...
def extrude_rotate(
    points: Optional[_Reals],
    start: Union[_Count, _Reals],
    center: _Reals,
    rotation: Union[_Real, _Reals],
    *,
    count: Optional[_Count] = None,
    h0: Optional[_Real] = None,
    h1: Optional[_Real] = None,
    even: bool = False,
) -> NewChain: ...
def mesh_line(
    points: _Reals,
    *,
    sizes: Optional[_Reals] = None,
    metrics: Optional[_Reals] = None,
    params: Optional[_Reals] = None,
    even: bool = False,
    nmin: _Count = 1,
    nmax: Optional[_Count] = None,
    chordal: _Real = 0.0,
    hmin: _Real = 0.0,
) -> Union[MeshLineSizes, MeshLineMetrics]: ...
def mesh_curve(
    points: _Reals,
    *,
    sizes: Optional[_Reals] = None,
    size: Optional[_Real] = None,
    metrics: Optional[_Reals] = None,
    even: bool = False,
    nmin: _Count = 1,
    nmax: Optional[_Count] = None,
    chordal: _Real = 0.0,
    hmin: _Real = 0.0,
) -> _Float64: ...
def mesh_curves(
    curves: Sequence[_Reals],
    *,
    sizes: Optional[Sequence[_Reals]] = None,
    size: Optional[_Real] = None,
    metrics: Optional[Sequence[_Reals]] = None,
    threads: Optional[int] = None,
    **options: Any,
) -> List[_Float64]: ...
def mesh_straight(
    points: _Reals,
    chain: Optional[_Indices] = None,
    *,
    sizes: Optional[_Reals] = None,
    metrics: Optional[_Reals] = None,
    count: Optional[_Count] = None,
    even: bool = False,
) -> NewChain: ...
def spline_point(points: _Reals, nodes: _Indices, t: Union[_Real, _Reals]) -> _Float64: ...
def mesh_spline(
    points: _Reals,
    chain: Optional[_Indices] = None,
    *,
    sizes: Optional[_Reals] = None,
    metrics: Optional[_Reals] = None,
    even: bool = False,
    nmin: _Count = 1,
    nmax: Optional[_Count] = None,
    chordal: _Real = 0.0,
    hmin: _Real = 0.0,
    background: Optional[_Real] = None,
    gradation: Optional[_Real] = None,
) -> Union[MeshSplineSizes, MeshSplineMetrics]: ...
def length(points: _Reals, chain: Optional[_Indices] = None, *, edges: Optional[_Indices] = None) -> float: ...
def interpolate_coordinates(points: _Reals, chain: _Indices, params: _Reals, new_params: _Reals) -> _Float64: ...
def curvatures(points: _Reals, chain: Optional[_Indices] = None) -> _Float64: ...
def normals(points: _Reals, edges: _Indices, *, power: _Real = 0.0, normalize: bool = True) -> _Float64: ...
def parametric_curvatures(params: _Reals, edges: _Indices, derivatives: _Reals) -> _Float64: ...
def interpolate_metrics(
    params: _Reals, queries: _Reals, *, sizes: Optional[_Reals] = None, metrics: Optional[_Reals] = None
) -> _Float64: ...
def metrics_gen_aniso2d(
    points: _Reals, edges: _Indices, cross: _Real = 0.0, *, metrics: Optional[_Reals] = None
) -> _Float64: ...
def metrics_gen_aniso2d_directions(
    directions: _Reals, nodes: _Indices, h_dir: _Real, h_cross: _Real, *, metrics: Optional[_Reals] = None
) -> _Float64: ...
def metrics_gen_aniso3d(
    points: _Reals,
    edges: _Indices,
    cross: _Real = 0.0,
    cross_out: Optional[_Real] = None,
    *,
    metrics: Optional[_Reals] = None,
) -> _Float64: ...
def sort(values: _Reals, ids: Optional[_Indices] = None) -> Sorted: ...
def subdivide(
    abscissas: _Reals,
    sizes: _Reals,
    chain: Optional[_Indices] = None,
    *,
    force_fine: bool = False,
    even: bool = False,
    nmin: _Count = 1,
    nmax: Optional[_Count] = None,
) -> Subdivision: ...

from . import laws as laws
