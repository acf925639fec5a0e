"""Write a meshed chain to a mesh file with meshio and read it back.

The chain becomes a mesh of two-node "line" cells joining consecutive chain nodes, with
the target size of every node as point data "size". Coordinates are padded to 3-D, as
most mesh formats store three. The format follows the extension (.vtu, .msh, ...)::

    python3 write_mesh.py [chain.vtu] [chain.msh ...]
"""

import argparse
import os
import sys

import meshio
import numpy as np

import tessora1d


def sample_curve(nodes=200):
    """A planar arc of a sine wave with a size that shrinks towards its right end.

    Returns
    -------
    points : ndarray, (nodes, 2)
    sizes : ndarray, (nodes,)
    """
    x = np.linspace(0.0, 2.0, nodes)
    points = np.column_stack([x, 0.2 * np.sin(3.0 * np.pi * x)])
    sizes = 0.15 - 0.12 * x / 2.0
    return points, sizes


def chain_mesh(points, sizes):
    """Mesh a polyline and describe the chain as a meshio mesh.

    Parameters
    ----------
    points : ndarray, (n, 2) or (n, 3)
    sizes : ndarray, (n,)

    Returns
    -------
    meshio.Mesh
        The chain's nodes in chain order, padded to 3-D, one "line" cell per element,
        and point data "size".
    """
    result = tessora1d.mesh_line(points, sizes=sizes)
    every_point = np.vstack([points, result.new_points])  # the chain indexes these
    nodes = every_point[result.chain]
    # Keep only the chain's nodes: interior polyline nodes carry geometry, not elements.
    padded = np.zeros((len(nodes), 3))
    padded[:, : nodes.shape[1]] = nodes
    order = np.arange(len(nodes))
    cells = np.column_stack([order[:-1], order[1:]])
    return meshio.Mesh(padded, [("line", cells)], point_data={"size": np.asarray(result.sizes, dtype=np.float64)})


# ".msh" is claimed by more than one format in meshio; these files are meant for gmsh.
FORMATS = {".msh": "gmsh"}


def write_and_read(mesh, path):
    """Write `mesh` to `path` and return what meshio reads back from it."""
    file_format = FORMATS.get(os.path.splitext(path)[1].lower())
    meshio.write(path, mesh, file_format=file_format)
    return meshio.read(path, file_format=file_format)


def line_cells(mesh):
    """The "line" connectivity of a mesh read from a file, as one array."""
    return np.vstack([block.data for block in mesh.cells if block.type == "line"])


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("outputs", nargs="*", default=["chain.vtu"], help="mesh files to write (default chain.vtu)")
    args = parser.parse_args(argv)
    mesh = chain_mesh(*sample_curve())
    for path in args.outputs:
        back = write_and_read(mesh, path)
        same_cells = np.array_equal(line_cells(back), mesh.cells[0].data)
        error = np.abs(back.points - mesh.points).max()
        size_error = np.abs(back.point_data["size"] - mesh.point_data["size"]).max()
        print(
            f"{path}: {len(back.points)} nodes, {len(line_cells(back))} line cells, "
            f"cells {'identical' if same_cells else 'DIFFERENT'}, largest coordinate change {error:.1e}, "
            f"largest size change {size_error:.1e}"
        )
    return 0


if __name__ == "__main__":
    sys.exit(main())
