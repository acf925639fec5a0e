// The inline core of the metric algebra: sizes, eigenvalues, the closed-form 2-D eigen-analysis
// and simultaneous reduction, and the rebuild of a metric in a common frame. metric_algebra.cpp
// exports them; the line core reads them here so that the compiler can fuse the steps of one
// interpolation (and pair the independent divisions and roots of its two directions).
// Every routine keeps the exact order of operations of its exported counterpart.
#pragma once

#include "geometry/kernels.h"
#include "metrics/metric_algebra.h"

#include <cfloat>
#include <cmath>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vx4 {
namespace tessora1d {
namespace detail {
namespace metric_kernels {

// DBL_MAX stands both for an infinitely fine eigenvalue and for an infinite size.
constexpr double largest = DBL_MAX;
// Beyond these, h * h under- or overflows.
constexpr double sqrt_of_smallest = 1.4916681462400413e-154;
constexpr double sqrt_of_largest = 1.3407807929942596e154;
constexpr double relative_tolerance = 1e-12;
constexpr double degeneracy_tolerance = 1e-24;

// Two quotients a[k] / b[k] and two roots sqrt(a[k]) (a[k] not negative), by one SSE2
// instruction for both where the target has it. Each lane is the same correctly rounded IEEE
// operation as the scalar one, so the bits do not depend on the path; what changes is that the
// shared divide and root unit, the bottleneck of the reductions, is used once instead of twice.
inline void divide_two(const double* a, const double* b, double* q) {
#if defined(__SSE2__)
    _mm_storeu_pd(q, _mm_div_pd(_mm_loadu_pd(a), _mm_loadu_pd(b)));
#else
    q[0] = a[0] / b[0];
    q[1] = a[1] / b[1];
#endif
}
inline void sqrt_two(const double* a, double* r) {
#if defined(__SSE2__)
    _mm_storeu_pd(r, _mm_sqrt_pd(_mm_loadu_pd(a)));
#else
    r[0] = std::sqrt(a[0]);
    r[1] = std::sqrt(a[1]);
#endif
}

constexpr unsigned packed_size(unsigned dim) { return dim * (dim + 1) / 2; }
// Index of entry (row, col), row <= col, in the packed upper triangle.
constexpr unsigned packed_index(unsigned row, unsigned col) { return col * (col + 1) / 2 + row; }
// Entry (row, col) of a packed symmetric matrix, either triangle.
inline double packed_entry(const double* packed, unsigned row, unsigned col) {
    return row <= col ? packed[packed_index(row, col)] : packed[packed_index(col, row)];
}

template <unsigned Dim>
inline void metric_from_eigen(const double* vectors, const double* values, double* packed) {
    for (unsigned i = 0; i < Dim; ++i)
        for (unsigned j = 0; j <= i; ++j) {
            double sum = 0.0;
            for (unsigned k = 0; k < Dim; ++k) sum += values[k] * vectors[k * Dim + i] * vectors[k * Dim + j];
            packed[packed_index(j, i)] = sum;
        }
}

// The scans keep the first value unless a later one is strictly smaller (larger), so a NaN in
// front fails the test while the sentinels behave as plain numbers.
template <unsigned Dim>
inline double first_smallest(const double* values) {
    double smallest = values[0];
    for (unsigned k = 1; k < Dim; ++k)
        if (values[k] < smallest) smallest = values[k];
    return smallest;
}
template <unsigned Dim>
inline double first_largest(const double* values) {
    double biggest = values[0];
    for (unsigned k = 1; k < Dim; ++k)
        if (values[k] > biggest) biggest = values[k];
    return biggest;
}

template <unsigned Dim>
inline bool are_valid_eigenvalues(const double* values) {
    if (!(0.0 < first_smallest<Dim>(values))) return false;
    return first_largest<Dim>(values) < largest;
}

// h = 1 / sqrt(lambda) for eigenvalues already known to be valid.
template <unsigned Dim>
inline void valid_eigenvalues_to_sizes(const double* values, double* sizes) {
    if constexpr (Dim == 2) {
        const double ones[2] = {1.0, 1.0};
        double roots[2];
        sqrt_two(values, roots);
        divide_two(ones, roots, sizes);
    } else {
        for (unsigned k = 0; k < Dim; ++k) sizes[k] = 1.0 / std::sqrt(values[k]);
    }
}

template <unsigned Dim>
inline void eigenvalues_to_sizes(const double* values, double* sizes) {
    if (are_valid_eigenvalues<Dim>(values)) {
        valid_eigenvalues_to_sizes<Dim>(values, sizes);
        return;
    }
    // The sentinels map onto each other; a negative value yields a NaN that callers must see.
    for (unsigned k = 0; k < Dim; ++k) {
        if (values[k] == 0.0) sizes[k] = largest;
        else if (values[k] == largest) sizes[k] = 0.0;
        else sizes[k] = 1.0 / std::sqrt(values[k]);
    }
}

template <unsigned Dim>
inline void sizes_to_eigenvalues(const double* sizes, double* values) {
    if (first_smallest<Dim>(sizes) > sqrt_of_smallest && first_largest<Dim>(sizes) < sqrt_of_largest) {
        if constexpr (Dim == 2) {
            const double ones[2] = {1.0, 1.0};
            const double squares[2] = {sizes[0] * sizes[0], sizes[1] * sizes[1]};
            divide_two(ones, squares, values);
        } else {
            for (unsigned k = 0; k < Dim; ++k) values[k] = 1.0 / (sizes[k] * sizes[k]);
        }
        return;
    }
    for (unsigned k = 0; k < Dim; ++k) {
        if (sizes[k] < sqrt_of_smallest) values[k] = largest;
        else if (sizes[k] > sqrt_of_largest) values[k] = 0.0;
        else values[k] = 1.0 / (sizes[k] * sizes[k]);
    }
}

// Divides each of the `count` vectors by its length unless it is null. A unit vector is divided
// by exactly 1, which changes no bit, so every vector takes the same path and the divisions of
// the vectors can run side by side.
template <unsigned Dim, unsigned Count>
inline void normalize_unless_null(double* vectors) {
    double norm2[Count], length[Count];
    for (unsigned k = 0; k < Count; ++k) {
        const double* v = vectors + k * Dim;
        norm2[k] = 0.0;
        for (unsigned i = 0; i < Dim; ++i) norm2[k] += v[i] * v[i];
    }
    if constexpr (Dim == 2 && Count == 2) {
        sqrt_two(norm2, length);
        for (unsigned k = 0; k < Count; ++k)
            if (norm2[k] == 0.0) length[k] = 1.0;
        const double first[2] = {length[0], length[0]}, second[2] = {length[1], length[1]};
        divide_two(vectors, first, vectors);
        divide_two(vectors + 2, second, vectors + 2);
    } else {
        for (unsigned k = 0; k < Count; ++k) length[k] = norm2[k] == 0.0 ? 1.0 : std::sqrt(norm2[k]);
        for (unsigned k = 0; k < Count; ++k)
            for (unsigned i = 0; i < Dim; ++i) vectors[k * Dim + i] /= length[k];
    }
}

// v^T M v summed entry by entry over the full matrix (both off-diagonal products), the order
// the reduced eigenvalues have always been computed in; kernels.h's quadratic_form rounds
// differently.
template <unsigned Dim>
inline double full_quadratic_form(const double* packed, const double* v) {
    double sum = 0.0;
    for (unsigned i = 0; i < Dim; ++i)
        for (unsigned j = 0; j < Dim; ++j) sum += packed_entry(packed, i, j) * v[i] * v[j];
    return sum;
}

inline bool eigenvalues_sym_2d(double a, double b, double c, double values[2]) {
    const double det = a * c - b * b;
    const double r = std::sqrt(4.0 * b * b + (a - c) * (a - c));
    double lambda1 = ((a + c) - r) * 0.5;
    double lambda2 = lambda1 + r;
    // The eigenvalue of small magnitude loses its digits to cancellation; the determinant
    // (their product) gives it back.
    if (std::fabs(lambda2) * relative_tolerance > std::fabs(lambda1)) lambda1 = det / lambda2;
    else if (std::fabs(lambda2) < std::fabs(lambda1) * relative_tolerance) lambda2 = det / lambda1;
    values[0] = lambda1;
    values[1] = lambda2;
    return std::isfinite(lambda1) && std::isfinite(lambda2);
}

inline bool eigen_sym_2d(double a, double b, double c, bool normalize, double values[2], double vectors[4]) {
    if (!eigenvalues_sym_2d(a, b, c, values)) return false;
    const double lambda1 = values[0];
    // Of the two rows of M - lambda1 I, take the one whose null vector is better conditioned.
    double x = b, y = lambda1 - a;
    if ((lambda1 - a) * (lambda1 - a) < (lambda1 - c) * (lambda1 - c)) {
        x = lambda1 - c;
        y = b;
    }
    const double norm2 = x * x + y * y;
    const double scale2 = a * a > c * c ? a * a : c * c;
    if (scale2 * degeneracy_tolerance < norm2) {
        if (normalize) {
            const double length = std::sqrt(norm2);
            x /= length;
            y /= length;
        }
        vectors[0] = x;
        vectors[1] = y;
        vectors[2] = -y;
        vectors[3] = x;
    } else {
        // A multiple of the identity: every direction is an eigenvector.
        vectors[0] = 1.0;
        vectors[1] = 0.0;
        vectors[2] = -0.0;
        vectors[3] = 1.0;
    }
    return true;
}

inline bool simultaneous_reduction_2d(const double A[3], const double B[3], bool normalize, double mu[2],
                                      double vectors[4]) {
    const double a = A[0], b = A[1], c = A[2];
    const double D = a * c - b * b;
    if (a == 0.0 || !(D > 0.0)) return false;
    const double s = std::sqrt(D);
    // C = X^T B X with X = [[s, -b], [0, a]], which turns A into a D I.
    const double C00 = B[0] * D;
    const double C01 = (B[1] * a - B[0] * b) * s;
    const double C11 = a * a * B[2] - (2.0 * B[1] * a - B[0] * b) * b;
    // The eigen-analysis writes its values even when it fails; keep them off the outputs.
    double values[2], w[4];
    if (!eigen_sym_2d(C00, C01, C11, false, values, w)) return false;
    const double scale = 1.0 / (D * a);
    for (unsigned k = 0; k < 2; ++k) {
        mu[k] = values[k] * scale;
        const double w0 = w[2 * k], w1 = w[2 * k + 1];
        vectors[2 * k] = w0 * s - w1 * b;
        vectors[2 * k + 1] = w1 * a;
    }
    if (normalize) normalize_unless_null<2, 2>(vectors);
    return true;
}

// Inverse of the matrix whose columns are the directions P (stored one after the other); its
// rows come out as the stored vectors of Q, the frame in which a reduced metric is rebuilt.
template <unsigned Dim>
inline void invert_directions(const double* P, double* Q) {
    if constexpr (Dim == 2) {
        const double det = P[0] * P[3] - P[2] * P[1];
        if (det == 0.0) {
            // No frame to rebuild in; a zero Q makes any rebuilt metric null instead of garbage.
            for (unsigned i = 0; i < 4; ++i) Q[i] = 0.0;
            return;
        }
        const double numerators[4] = {P[3], -P[2], -P[1], P[0]}, dets[2] = {det, det};
        divide_two(numerators, dets, Q);
        divide_two(numerators + 2, dets, Q + 2);
    } else {
        double det = 0.0;
        invert_3x3(P, Q, det);
    }
}

template <unsigned Dim>
inline bool reduce_metric_pair(const double* M0, const double* M1, double* Q, double* lambda0, double* lambda1) {
    double mu[Dim];
    double P[Dim * Dim];
    bool reduced;
    if constexpr (Dim == 2) reduced = simultaneous_reduction_2d(M0, M1, true, mu, P);
    else reduced = simultaneous_reduction_3d(M0, M1, true, mu, P);
    if (!reduced) return false;
    invert_directions<Dim>(P, Q);
    for (unsigned k = 0; k < Dim; ++k) {
        lambda0[k] = full_quadratic_form<Dim>(M0, P + k * Dim);
        lambda1[k] = mu[k] * lambda0[k];
    }
    return true;
}

// The sizes of both metrics along the common directions; false (sizes unwritten) when either
// set of eigenvalues is unusable.
template <unsigned Dim>
inline bool common_frame_sizes(const double* lambda0, const double* lambda1, double* h0, double* h1) {
    if (!are_valid_eigenvalues<Dim>(lambda0) || !are_valid_eigenvalues<Dim>(lambda1)) return false;
    valid_eigenvalues_to_sizes<Dim>(lambda0, h0);
    valid_eigenvalues_to_sizes<Dim>(lambda1, h1);
    return true;
}

// Interpolates linearly in size between the sizes h0 and h1 along the common directions and
// rebuilds the metric in Q.
template <unsigned Dim>
inline bool interpolate_sizes_in_frame(const double* Q, const double* h0, const double* h1, double t, double* out) {
    double h[Dim];
    for (unsigned k = 0; k < Dim; ++k) h[k] = h0[k] + t * (h1[k] - h0[k]);
    // Only extrapolation can drive a size to zero or below.
    if ((t < 0.0 || t > 1.0) && !are_valid_eigenvalues<Dim>(h)) {
        for (unsigned i = 0; i < packed_size(Dim); ++i) out[i] = 0.0;
        return false;
    }
    double lambda[Dim];
    sizes_to_eigenvalues<Dim>(h, lambda);
    metric_from_eigen<Dim>(Q, lambda, out);
    return true;
}

template <unsigned Dim>
inline bool interpolate_in_common_frame(const double* Q, const double* lambda0, const double* lambda1, double t,
                                        double* out) {
    double h0[Dim], h1[Dim];
    if (!common_frame_sizes<Dim>(lambda0, lambda1, h0, h1)) return false;
    return interpolate_sizes_in_frame<Dim>(Q, h0, h1, t, out);
}

} // namespace metric_kernels
} // namespace detail
} // namespace tessora1d
} // namespace vx4
