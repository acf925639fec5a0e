#include <vx4/tessora.h>
#include <vx4/tessora1d.h>

#include <cfloat>
#include <cmath>

namespace vx4 {
namespace tessora1d {

namespace {

// How the normals of the edges at a node are combined: a length-weighted mean, or the normal
// of the node's longest or shortest edge.
enum class normal_mode { weighted, longest, shortest };

normal_mode mode_of_exponent(double p) {
    if (p >= DBL_MAX) return normal_mode::longest;
    if (p <= -DBL_MAX) return normal_mode::shortest;
    return normal_mode::weighted;
}

// Adds the normal n of an edge of length L (weight w) into node j. In the selection modes an
// edge that does not win is still summed in, and counts 1 in W: callers rely on that blend.
void add_edge_normal(normal_mode mode, double L, double w, const double n[2], dense2D<double>& N,
                     dense1D<double>& W, unsigned j) {
    double& weight = W[j];
    bool take = false;
    switch (mode) {
    case normal_mode::weighted:
        weight += w;
        N(0, j) += w * n[0];
        N(1, j) += w * n[1];
        return;
    case normal_mode::longest:
        take = L > weight;
        break;
    case normal_mode::shortest:
        take = weight > L || weight == 0.0;
        break;
    }
    if (take) {
        weight = L;
        N(0, j) = n[0];
        N(1, j) = n[1];
    } else {
        weight += 1.0;
        N(0, j) += n[0];
        N(1, j) += n[1];
    }
}

} // namespace

int normals(const dense2D<double>& coords, const dense2D<unsigned>& connectE2, double p, bool normalize,
            dense2D<double>& normals) {
    normals.clear();
    if (coords.empty() || connectE2.empty()) return 0;
    if (coords.rows() != 2) return -1;
    if (connectE2.rows() < 2 || !tessora::check_IDs(connectE2, edge2, coords.cols())) return -2;
    const unsigned nn = coords.cols();
    dense1D<double> W;
    if (!normals.resize(2, nn, 0.0) || !W.resize(nn, 0.0)) {
        normals.clear();
        return -199;
    }

    const normal_mode mode = mode_of_exponent(p);
    for (unsigned e = 0; e < connectE2.cols(); ++e) {
        const unsigned a = connectE2(0, e), b = connectE2(1, e);
        double u[2] = {coords(0, b) - coords(0, a), coords(1, b) - coords(1, a)};
        const double sq = u[0] * u[0] + u[1] * u[1];
        if (sq == 0.0) continue;
        const double L = std::sqrt(sq);
        if (sq != 1.0) {
            u[0] /= L;
            u[1] /= L;
        }
        const double n[2] = {-u[1], u[0]};
        const double w = mode == normal_mode::weighted ? std::pow(L, p) : 1.0;
        add_edge_normal(mode, L, w, n, normals, W, a);
        add_edge_normal(mode, L, w, n, normals, W, b);
    }

    if (mode != normal_mode::weighted) return 0;
    for (unsigned j = 0; j < nn; ++j) {
        double x = normals(0, j), y = normals(1, j);
        if (W[j] != 0.0) {
            x /= W[j];
            y /= W[j];
        }
        const double sq = x * x + y * y;
        if (normalize && sq != 0.0 && sq != 1.0) {
            const double len = std::sqrt(sq);
            x /= len;
            y /= len;
        }
        normals(0, j) = x;
        normals(1, j) = y;
    }
    return 0;
}

} // namespace tessora1d
} // namespace vx4
