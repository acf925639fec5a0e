"""Mesh a planar curve with a graded size field and draw the chain to a PNG.

The polyline is drawn in grey, the chain over it with every node coloured by its
target size, so the grading towards the refinement point can be read off the colour bar::

    python3 mesh_and_plot.py [output.png]
"""

import argparse
import sys

import matplotlib

matplotlib.use("Agg")  # files only, no display needed
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402

import tessora1d  # noqa: E402

# Sizes near the refinement point and far from it, and the radius over which they blend.
# The point sits between the two turns, so both are graded.
REFINE_AT = (0.0, 1.5)
H_NEAR, H_FAR, BLEND_RADIUS = 0.03, 0.3, 2.0


def sample_curve(nodes=400):
    """A two-turn spiral and a size per node that grows away from REFINE_AT.

    Parameters
    ----------
    nodes : int, optional
        Polyline nodes.

    Returns
    -------
    points : ndarray, (nodes, 2)
    sizes : ndarray, (nodes,)
    """
    t = np.linspace(0.0, 4.0 * np.pi, nodes)
    radius = 0.3 + 0.25 * t
    points = np.column_stack([radius * np.cos(t), radius * np.sin(t)])
    distance = np.hypot(points[:, 0] - REFINE_AT[0], points[:, 1] - REFINE_AT[1])
    sizes = H_NEAR + (H_FAR - H_NEAR) * np.minimum(1.0, distance / BLEND_RADIUS)
    return points, sizes


def mesh_chain(points, sizes):
    """Mesh the polyline and return the coordinates and sizes of the chain's nodes.

    Parameters
    ----------
    points : ndarray, (n, 2)
    sizes : ndarray, (n,)

    Returns
    -------
    chain_points : ndarray, (m, 2)
    chain_sizes : ndarray, (m,)
    """
    result = tessora1d.mesh_line(points, sizes=sizes)
    every_point = np.vstack([points, result.new_points])  # the chain indexes these
    return every_point[result.chain], np.asarray(result.sizes)


def plot_chain(path, points, chain_points, chain_sizes):
    """Draw the polyline and the coloured chain into an image file.

    Parameters
    ----------
    path : str
        Output file; the format follows its extension.
    points : ndarray, (n, 2)
        The polyline.
    chain_points : ndarray, (m, 2)
    chain_sizes : ndarray, (m,)
    """
    figure, axes = plt.subplots(figsize=(7.0, 6.0), dpi=120)
    axes.plot(points[:, 0], points[:, 1], color="0.75", linewidth=3.0, label="polyline", zorder=1)
    axes.plot(chain_points[:, 0], chain_points[:, 1], color="0.2", linewidth=0.6, zorder=2)
    nodes = axes.scatter(
        chain_points[:, 0], chain_points[:, 1], c=chain_sizes, cmap="viridis", s=12, zorder=3, label="chain nodes"
    )
    axes.plot(*REFINE_AT, marker="+", color="crimson", markersize=12, linestyle="none", label="refinement point")
    figure.colorbar(nodes, ax=axes, label="target size")
    axes.set_aspect("equal")
    axes.set_title(f"{len(points)} polyline nodes meshed into {len(chain_points) - 1} elements")
    axes.legend(loc="upper center", bbox_to_anchor=(0.5, -0.06), ncol=3, frameon=False)
    figure.savefig(path, bbox_inches="tight")
    plt.close(figure)


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("output", nargs="?", default="mesh_and_plot.png", help="image file (default mesh_and_plot.png)")
    args = parser.parse_args(argv)
    points, sizes = sample_curve()
    chain_points, chain_sizes = mesh_chain(points, sizes)
    plot_chain(args.output, points, chain_points, chain_sizes)
    print(f"{len(chain_points) - 1} elements drawn to {args.output}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
