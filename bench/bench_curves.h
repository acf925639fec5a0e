// The curves of the line-meshing benchmarks: a sine in the plane, a helix in space, sampled with
// n nodes, with isotropic sizes or metrics whose frame matches or turns along the curve.
#pragma once

#include <vx4/math1.h>

#include <cmath>

namespace bench {

using vx4::dense1D;
using vx4::dense2D;

constexpr unsigned kNoBound = 4294967295u;
inline const double kPi = std::acos(-1.0);

enum class field { iso, aniso_matching, aniso_rotated };

// The polyline of one workload with its parameters and its sizes or metrics.
struct workload {
    unsigned dim = 2;
    field kind = field::iso;
    dense2D<double> pos;
    dense1D<unsigned> indices;
    dense1D<double> params;
    dense1D<double> sizes;
    dense2D<double> metrics;
};

inline double size_at(double x) { return 0.01 + 0.04 * (0.5 + 0.5 * std::cos(2.0 * kPi * x / 10.0)); }

// The packed metric of sizes h0, h1 (h2) along a frame that turns with the abscissa.
inline void rotated_metric(unsigned dim, double x, double h, double* m) {
    if (dim == 2) {
        const double c = std::cos(x), s = std::sin(x);
        const double a = 1.0 / (h * h), b = 1.0 / (25.0 * h * h);
        m[0] = a * c * c + b * s * s;
        m[1] = (a - b) * c * s;
        m[2] = a * s * s + b * c * c;
        return;
    }
    // Frame: a turn about z by x, then about x by 0.5.
    const double cz = std::cos(x), sz = std::sin(x), cx = std::cos(0.5), sx = std::sin(0.5);
    const double Q[3][3] = {{cz, -sz, 0.0}, {sz * cx, cz * cx, -sx}, {sz * sx, cz * sx, cx}};
    const double lambda[3] = {1.0 / (h * h), 1.0 / (9.0 * h * h), 1.0 / (25.0 * h * h)};
    double full[3][3] = {};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < 3; ++k) full[i][j] += Q[i][k] * lambda[k] * Q[j][k];
    m[0] = full[0][0];
    m[1] = full[0][1];
    m[2] = full[1][1];
    m[3] = full[0][2];
    m[4] = full[1][2];
    m[5] = full[2][2];
}

// n samples of the curve (sine in 2-D, helix in 3-D) with the size field scaled by `scale`.
inline workload sample_curve(unsigned dim, field kind, unsigned n, double scale) {
    workload w;
    w.dim = dim;
    w.kind = kind;
    w.pos = dense2D<double>(dim, n);
    w.indices = dense1D<unsigned>(n);
    w.params = dense1D<double>(n);
    w.sizes = dense1D<double>(n);
    const unsigned width = dim == 2 ? 3 : 6;
    if (kind != field::iso) w.metrics = dense2D<double>(width, n);
    for (unsigned i = 0; i < n; ++i) {
        const double x = 10.0 * i / (n - 1);
        if (dim == 2) {
            w.pos(0, i) = x;
            w.pos(1, i) = 0.2 * std::sin(6.0 * kPi * x);
        } else {
            w.pos(0, i) = 0.2 * std::cos(6.0 * kPi * x);
            w.pos(1, i) = 0.2 * std::sin(6.0 * kPi * x);
            w.pos(2, i) = x;
        }
        w.indices[i] = i;
        const double h = scale * size_at(x);
        w.sizes[i] = h;
        if (kind == field::aniso_matching) {
            for (unsigned r = 0; r < width; ++r) w.metrics(r, i) = 0.0;
            w.metrics(0, i) = w.metrics(2, i) = 1.0 / (h * h);
            if (dim == 3) w.metrics(5, i) = 1.0 / (h * h);
        } else if (kind == field::aniso_rotated) {
            rotated_metric(dim, x, h, &w.metrics(0, i));
        }
    }
    // Chord-length parameters, as the overloads without parameters would build them.
    w.params[0] = 0.0;
    for (unsigned i = 1; i < n; ++i) {
        double sq = 0.0;
        for (unsigned r = 0; r < dim; ++r) sq += (w.pos(r, i) - w.pos(r, i - 1)) * (w.pos(r, i) - w.pos(r, i - 1));
        w.params[i] = w.params[i - 1] + std::sqrt(sq);
    }
    for (unsigned i = 0; i < n; ++i) w.params[i] /= w.params[n - 1];
    return w;
}

} // namespace bench
