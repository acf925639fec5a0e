// Uses the installed package: containers from the header alone (their storage is inline), the
// library's constants and a few calls, allocation failures included.
#include <vx4/tessora1d.h>

#include <cstdio>
#include <cstring>

int main() {
    namespace t1d = vx4::tessora1d;
    if (std::strcmp(t1d::version(), "5.3.0.0") != 0) return 1;
    vx4::dense1D<unsigned> chain{0, 1, 2};
    vx4::dense2D<unsigned> edges;
    if (t1d::indices_to_connectE2(chain, edges) != 0 || edges.cols() != 2) return 2;

    // A fixed element count on a segment from a point: nmin = nmax.
    vx4::dense2D<double> pos;
    vx4::dense1D<unsigned> segment;
    if (t1d::extrude_translate(pos, vx4::vector_fixed<double, 2>{0.0, 0.0}, vx4::vector_fixed<double, 2>{1.0, 0.0},
                               1u, segment) != 0)
        return 3;
    const vx4::dense1D<double> sizes{0.3, 0.3};
    vx4::dense1D<unsigned> out;
    vx4::dense1D<double> params, out_sizes;
    if (t1d::mesh_line(pos, segment, sizes, false, 7, 7, 0.0, 0.0, out, params, out_sizes) != 0 || out.size() != 8)
        return 4;
    if (t1d::mesh_line(pos, segment, sizes, false, 1, t1d::no_count_bound, t1d::no_limit, 0.0, out, params,
                       out_sizes) != 0)
        return 5;

    // The containers' test hook acts on this program's own allocations.
    vx4::math1::fail_allocations_after(0);
    vx4::dense1D<double> refused;
    const bool grew = refused.resize(10);
    vx4::math1::allow_all_allocations();
    if (grew) return 6;

    std::printf("consumer ok: version %s, %u nodes\n", t1d::version(), pos.cols());
    return 0;
}
