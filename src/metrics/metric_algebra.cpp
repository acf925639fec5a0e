// Metric algebra on packed symmetric tensors: eigen-frames, sizes, Cholesky factors,
// simultaneous reduction of two metrics and interpolation linear in size.
#include "metrics/metric_algebra.h"

#include "geometry/kernels.h"
#include "metrics/metric_kernels.h"

#include <vx4/lapack.h>

#include <cmath>

namespace vx4 {
namespace tessora1d {
namespace detail {

namespace {

using metric_kernels::are_valid_eigenvalues;
using metric_kernels::largest;
using metric_kernels::metric_from_eigen;
using metric_kernels::packed_entry;
using metric_kernels::packed_index;
using metric_kernels::packed_size;

// Cholesky of the 2x2 block (a, b, c) picked out of a larger factor, written back in place.
bool cholesky_of_block(double& a, double& b, double& c) {
    double block[3] = {a, b, c};
    const bool ok = cholesky_2d(block);
    a = block[0];
    b = block[1];
    c = block[2];
    return ok;
}

// Ascending eigenvalues and eigenvectors of a packed metric. The 3-D frame is made right-handed
// (third vector = cross product) so that it is exactly orthonormal for the rebuild.
template <unsigned Dim>
bool eigen_frame(const double* M, double* values, double* vectors) {
    if constexpr (Dim == 2) {
        return eigen_sym_2d(M[0], M[1], M[2], true, values, vectors);
    } else {
        double copy[6];
        for (unsigned i = 0; i < 6; ++i) copy[i] = M[i];
        double work[10] = {};
        long info = 0;
        lapack::dspev('V', 'U', 3, copy, values, vectors, 3, work, info);
        if (info == 0) cross_3d(vectors, vectors + 3, vectors + 6);
        return true;
    }
}

// Eigenvalues alone, the smallest first; false when they could not be had.
template <unsigned Dim>
bool eigenvalues_of(const double* M, double* values) {
    if constexpr (Dim == 2) {
        return eigenvalues_sym_2d(M[0], M[1], M[2], values);
    } else {
        double copy[6];
        for (unsigned i = 0; i < 6; ++i) copy[i] = M[i];
        double work[10] = {};
        long info = 0;
        double unused[1] = {};
        lapack::dspev('N', 'U', 3, copy, values, unused, 1, work, info);
        return info == 0;
    }
}

template <unsigned Dim>
bool bound_metric_sizes(double* M, double hmin, double hmax) {
    // Size bounds become eigenvalue bounds the other way round: hmin caps lambda, hmax floors it.
    const double hi = hmin <= 0.0 ? largest : 1.0 / (hmin * hmin);
    const double lo = hmax <= 0.0 ? 0.0 : 1.0 / (hmax * hmax);
    double values[Dim] = {};
    double vectors[Dim * Dim] = {};
    if (!eigen_frame<Dim>(M, values, vectors)) return false;
    bool moved = false;
    for (unsigned k = 0; k < Dim; ++k) {
        if (values[k] > hi) {
            values[k] = hi;
            moved = true;
        }
        if (values[k] < lo) {
            values[k] = lo;
            moved = true;
        }
    }
    if (!moved) return false;
    if (!are_valid_eigenvalues<Dim>(values)) return false;
    metric_from_eigen<Dim>(vectors, values, M);
    // The rebuild may lose definiteness to rounding when the clamped spread is extreme.
    double check[Dim] = {};
    if (!eigenvalues_of<Dim>(M, check)) return false;
    double smallest = check[0];
    for (unsigned k = 1; k < Dim; ++k) smallest = std::fmin(smallest, check[k]);
    return smallest > 0.0;
}

template <unsigned Dim>
bool is_valid_metric(const double* M) {
    for (unsigned i = 0; i < packed_size(Dim); ++i)
        if (!std::isfinite(M[i])) return false;
    // A strictly positive, finite factor diagonal is definiteness without the semi-definite
    // shortcuts that the Cholesky routines accept.
    if constexpr (Dim == 2) {
        double U[3] = {M[0], M[1], M[2]};
        if (!cholesky_2d(U)) return false;
        return U[0] > 0.0 && U[2] > 0.0 && std::isfinite(U[2]);
    } else {
        double U[9] = {};
        if (!cholesky_3d(M, U)) return false;
        return U[0] > 0.0 && U[4] > 0.0 && U[8] > 0.0 && std::isfinite(U[4]) && std::isfinite(U[8]);
    }
}

} // namespace

void metric_from_eigen_2d(const double vectors[4], const double values[2], double packed[3]) {
    metric_from_eigen<2>(vectors, values, packed);
}
void metric_from_eigen_3d(const double vectors[9], const double values[3], double packed[6]) {
    metric_from_eigen<3>(vectors, values, packed);
}

bool are_valid_eigenvalues_2d(const double values[2]) { return are_valid_eigenvalues<2>(values); }
bool are_valid_eigenvalues_3d(const double values[3]) { return are_valid_eigenvalues<3>(values); }

void eigenvalues_to_sizes_2d(const double values[2], double sizes[2]) {
    metric_kernels::eigenvalues_to_sizes<2>(values, sizes);
}
void eigenvalues_to_sizes_3d(const double values[3], double sizes[3]) {
    metric_kernels::eigenvalues_to_sizes<3>(values, sizes);
}
void sizes_to_eigenvalues_2d(const double sizes[2], double values[2]) {
    metric_kernels::sizes_to_eigenvalues<2>(sizes, values);
}
void sizes_to_eigenvalues_3d(const double sizes[3], double values[3]) {
    metric_kernels::sizes_to_eigenvalues<3>(sizes, values);
}

bool eigenvalues_sym_2d(double a, double b, double c, double values[2]) {
    return metric_kernels::eigenvalues_sym_2d(a, b, c, values);
}

bool eigen_sym_2d(double a, double b, double c, bool normalize, double values[2], double vectors[4]) {
    return metric_kernels::eigen_sym_2d(a, b, c, normalize, values, vectors);
}

bool cholesky_2d(double packed[3]) {
    const double a = packed[0], b = packed[1], c = packed[2];
    if (a == 0.0) {
        if (b == 0.0 && c >= 0.0) {
            packed[2] = std::sqrt(c);
            return true;
        }
        return false;
    }
    if (a > 0.0) {
        // Semi-definite (c' = 0) passes on purpose.
        const double schur = a * c - b * b;
        if (schur < 0.0) return false;
        const double root = std::sqrt(a);
        packed[0] = root;
        packed[1] = b / root;
        packed[2] = std::sqrt(schur) / root;
        return true;
    }
    return false;
}

bool cholesky_3d(const double packed[6], double U[9]) {
    const double m00 = packed[0], m01 = packed[1], m11 = packed[2];
    const double m02 = packed[3], m12 = packed[4], m22 = packed[5];
    U[0] = m00;
    U[1] = m01;
    U[2] = m02;
    U[4] = m11;
    U[5] = m12;
    U[8] = m22;
    // A null first or second row leaves a 2x2 problem in the remaining two.
    if (m00 == 0.0 && m01 == 0.0 && m02 == 0.0) return cholesky_of_block(U[4], U[5], U[8]);
    if (m01 == 0.0 && m11 == 0.0 && m12 == 0.0) return cholesky_of_block(U[0], U[2], U[8]);
    if (!(m00 > 0.0)) return false;
    const double d = m00 * m11 - m01 * m01;
    const double e = m00 * m12 - m02 * m01;
    if (!(d > 0.0)) return false;
    const double s = std::sqrt(m00);
    const double root_d = std::sqrt(d);
    U[0] = s;
    U[1] = m01 / s;
    U[4] = root_d / s;
    U[2] = m02 / s;
    U[5] = (e / root_d) / s;
    const double r = m22 - (U[5] * U[5] + U[2] * U[2]);
    if (r < 0.0) return false;
    U[8] = std::sqrt(r);
    return true;
}

void add_congruence_3d(double w, const double A[6], const double V[9], double out[6]) {
    if (w == 0.0) return;
    double t[9];
    for (unsigned k = 0; k < 3; ++k)
        for (unsigned r = 0; r < 3; ++r) {
            double sum = 0.0;
            for (unsigned c = 0; c < 3; ++c) sum += packed_entry(A, r, c) * V[3 * k + c];
            t[3 * k + r] = w * sum;
        }
    for (unsigned i = 0; i < 3; ++i)
        for (unsigned j = 0; j <= i; ++j)
            out[packed_index(j, i)] += t[3 * i] * V[3 * j] + t[3 * i + 1] * V[3 * j + 1] + t[3 * i + 2] * V[3 * j + 2];
}

bool simultaneous_reduction_2d(const double A[3], const double B[3], bool normalize, double mu[2],
                               double vectors[4]) {
    return metric_kernels::simultaneous_reduction_2d(A, B, normalize, mu, vectors);
}

bool simultaneous_reduction_3d(const double A[6], const double B[6], bool normalize, double mu[3],
                               double vectors[9]) {
    double U[9] = {};
    if (!cholesky_3d(A, U)) return false;
    const double p = U[0] * U[4] * U[8];
    if (p == 0.0) return false;
    // W = p U^-1 in closed form (columns stored one after the other): W^T A W = p^2 I.
    const double W[9] = {U[4] * U[8],
                         0.0,
                         0.0,
                         -U[1] * U[8],
                         U[0] * U[8],
                         0.0,
                         U[1] * U[5] - U[2] * U[4],
                         -U[5] * U[0],
                         U[0] * U[4]};
    double C[6] = {};
    add_congruence_3d(1.0, B, W, C);
    double values[3] = {};
    double Z[9] = {};
    double work[10] = {};
    long info = 0;
    lapack::dspev('V', 'U', 3, C, values, Z, 3, work, info);
    if (info != 0) return false;
    if (normalize) cross_3d(Z, Z + 3, Z + 6);
    const double scale = 1.0 / (p * p);
    for (unsigned k = 0; k < 3; ++k) {
        mu[k] = values[k] * scale;
        double* v = vectors + 3 * k;
        v[0] = v[1] = v[2] = 0.0;
        for (unsigned c = 0; c < 3; ++c)
            for (unsigned r = 0; r < 3; ++r) v[r] += W[3 * c + r] * Z[3 * k + c];
        if (normalize) metric_kernels::normalize_unless_null<3, 1>(v);
    }
    return true;
}

void invert_3x3(const double A[9], double R[9], double& det) {
    // Cofactors by cyclic indices: R_ij = A_(i+1)(j+1) A_(i+2)(j+2) - A_(i+2)(j+1) A_(i+1)(j+2).
    for (unsigned i = 0; i < 3; ++i) {
        const unsigned i1 = (i + 1) % 3, i2 = (i + 2) % 3;
        for (unsigned j = 0; j < 3; ++j) {
            const unsigned j1 = (j + 1) % 3, j2 = (j + 2) % 3;
            R[3 * i + j] = A[3 * i1 + j1] * A[3 * i2 + j2] - A[3 * i2 + j1] * A[3 * i1 + j2];
        }
    }
    det = A[0] * R[0] + A[1] * R[1] + A[2] * R[2];
    if (det == 0.0) return;
    const double inverse = 1.0 / det;
    for (unsigned k = 0; k < 9; ++k) R[k] *= inverse;
}

bool bound_metric_sizes_3d(double M[6], double hmin, double hmax) { return bound_metric_sizes<3>(M, hmin, hmax); }
bool bound_metric_sizes_2d(double M[3], double hmin, double hmax) { return bound_metric_sizes<2>(M, hmin, hmax); }

bool reduce_metric_pair_2d(const double M0[3], const double M1[3], reduced_metric_pair_2d& record) {
    return metric_kernels::reduce_metric_pair<2>(M0, M1, record.Q, record.lambda0, record.lambda1);
}
bool reduce_metric_pair_3d(const double M0[6], const double M1[6], reduced_metric_pair_3d& record) {
    return metric_kernels::reduce_metric_pair<3>(M0, M1, record.Q, record.lambda0, record.lambda1);
}

bool interpolate_reduced_metric_2d(const reduced_metric_pair_2d& record, double t, double out[3]) {
    return metric_kernels::interpolate_in_common_frame<2>(record.Q, record.lambda0, record.lambda1, t, out);
}

bool interpolate_reduced_metric_3d(const reduced_metric_pair_3d& record, double t, double out[6]) {
    return metric_kernels::interpolate_in_common_frame<3>(record.Q, record.lambda0, record.lambda1, t, out);
}

namespace {

// At t within the tolerance of 0 or 1 the interpolation is a plain copy of that end's metric.
template <unsigned Dim>
bool copy_end_metric(double t, const double* M0, const double* M1, double* out) {
    const double* end = std::fabs(t) < metric_end_tolerance         ? M0
                        : std::fabs(1.0 - t) < metric_end_tolerance ? M1
                                                                    : nullptr;
    if (!end) return false;
    for (unsigned i = 0; i < packed_size(Dim); ++i) out[i] = end[i];
    return true;
}

} // namespace

bool interpolate_metric_2d(double t, const double M0[3], const double M1[3], double out[3]) {
    if (copy_end_metric<2>(t, M0, M1, out)) return true;
    reduced_metric_pair_2d record;
    if (!reduce_metric_pair_2d(M0, M1, record)) return false;
    double result[3];
    if (!interpolate_reduced_metric_2d(record, t, result)) return false;
    for (unsigned i = 0; i < 3; ++i) out[i] = result[i];
    return true;
}

bool interpolate_metric_3d(double t, const double M0[6], const double M1[6], double out[6]) {
    if (copy_end_metric<3>(t, M0, M1, out)) return true;
    reduced_metric_pair_3d record;
    if (!reduce_metric_pair_3d(M0, M1, record)) return false;
    return interpolate_reduced_metric_3d(record, t, out);
}

bool is_valid_metric_2d(const double M[3]) { return is_valid_metric<2>(M); }
bool is_valid_metric_3d(const double M[6]) { return is_valid_metric<3>(M); }

void get_metric_column_3d(const dense2D<double>& field, unsigned j, double out[6]) {
    for (unsigned i = 0; i < 6; ++i) out[i] = field(i, j);
}

} // namespace detail
} // namespace tessora1d
} // namespace vx4
