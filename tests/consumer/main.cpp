// Builds a chain, turns it into edges and meshes a segment through the installed package.
#include <vx4/tessora1d.h>

#include <cstdio>
#include <cstring>

int main() {
    namespace t1d = vx4::tessora1d;
    if (std::strcmp(t1d::version(), "5.3.0.0") != 0) return 1;
    vx4::dense1D<unsigned> chain{0, 1, 2};
    vx4::dense2D<unsigned> edges;
    if (t1d::indices_to_connectE2(chain, edges) != 0 || edges.cols() != 2) return 2;
    vx4::dense2D<double> coords;
    vx4::dense1D<unsigned> nodes;
    if (t1d::extrude_translate(coords, vx4::vector_fixed<double, 2>{0.0, 0.0}, vx4::vector_fixed<double, 2>{1.0, 0.0},
                               4u, nodes) != 0 || nodes.size() != 5)
        return 3;
    std::printf("consumer ok: version %s, %u nodes\n", t1d::version(), coords.cols());
    return 0;
}
