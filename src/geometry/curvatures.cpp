#include <vx4/tessora.h>
#include <vx4/tessora1d.h>

#include <cmath>

namespace vx4 {
namespace tessora1d {

namespace {

// One chain segment: its direction made unit and its length. The division is skipped for a
// zero or already unit vector, so a repeated node keeps a zero direction and no NaN.
struct segment {
    double u[3] = {0.0, 0.0, 0.0};
    double length = 0.0;
};

segment chain_segment(const dense2D<double>& X, unsigned a, unsigned b) {
    segment s;
    double sq = 0.0;
    for (unsigned r = 0; r < X.rows(); ++r) {
        s.u[r] = X(r, b) - X(r, a);
        sq += s.u[r] * s.u[r];
    }
    s.length = std::sqrt(sq);
    if (sq != 0.0 && sq != 1.0)
        for (double& c : s.u) c /= s.length;
    return s;
}

} // namespace

int curvatures(const dense2D<double>& coords, const dense1D<unsigned>& nodes, dense1D<double>& curv) {
    curv.resize(0);
    if (nodes.empty()) return 0;
    if (coords.rows() != 2 && coords.rows() != 3) return -1;
    if (!tessora::check_IDs(nodes, coords.cols())) return -2;
    const unsigned n = nodes.size();
    if (!curv.resize(n, 0.0)) return -199;
    if (n <= 2) return 0;

    segment s0 = chain_segment(coords, nodes[0], nodes[1]);
    for (unsigned i = 1; i + 1 < n; ++i) {
        const segment s1 = chain_segment(coords, nodes[i], nodes[i + 1]);
        if (s0.length > 0.0 && s1.length > 0.0) {
            // |u0 - u1| = 2 sin(theta / 2) for unit directions turning by theta.
            const double dx = s0.u[0] - s1.u[0], dy = s0.u[1] - s1.u[1], dz = s0.u[2] - s1.u[2];
            curv[i] = 2.0 * std::sqrt(dx * dx + dy * dy + dz * dz) / (s0.length + s1.length);
        }
        s0 = s1;
    }
    curv[0] = curv[1];
    curv[n - 1] = curv[n - 2];
    return 0;
}

} // namespace tessora1d
} // namespace vx4
