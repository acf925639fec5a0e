// Private toolkit for 2-D and 3-D metric tensors (symmetric positive-definite matrices, upper
// triangle packed by column): eigen-analysis, sizes, Cholesky factors, simultaneous reduction
// of two metrics and interpolation linear in size along their common eigen-directions.
// Everything works on small arrays on the caller's stack; failure is reported by a bool.
// Eigenvectors are stored one after the other (vector k at [k*n, k*n + n)).
#pragma once

#include <vx4/math1.h>

namespace vx4 {
namespace tessora1d {
namespace detail {

// An interpolation at a fraction within this of 0 or 1 copies that end's metric as it is, so that
// a node at an edge's end carries the end's metric bit for bit.
constexpr double metric_end_tolerance = 1e-12;

// Packed output (j, i), j <= i, = sum_k values[k] * v_k[i] * v_k[j]; overwritten in full.
void metric_from_eigen_2d(const double vectors[4], const double values[2], double packed[3]);
void metric_from_eigen_3d(const double vectors[9], const double values[3], double packed[6]);

// 0 < smallest and largest < the largest finite double.
bool are_valid_eigenvalues_2d(const double values[2]);
bool are_valid_eigenvalues_3d(const double values[3]);

// h = 1 / sqrt(lambda); lambda 0 gives the largest double, lambda = largest double gives 0.
void eigenvalues_to_sizes_2d(const double values[2], double sizes[2]);
void eigenvalues_to_sizes_3d(const double values[3], double sizes[3]);
// lambda = 1 / h^2, guarded against underflow and overflow of h * h.
void sizes_to_eigenvalues_2d(const double sizes[2], double values[2]);
void sizes_to_eigenvalues_3d(const double sizes[3], double values[3]);

// Closed-form eigenvalues (ascending) of [[a, b], [b, c]], with cancellation repair.
bool eigenvalues_sym_2d(double a, double b, double c, double values[2]);
// The same with eigenvectors; a multiple of the identity gives (1, 0) and (-0, 1).
bool eigen_sym_2d(double a, double b, double c, bool normalize, double values[2], double vectors[4]);

// Upper Cholesky factor in place: (a, b, c) -> U = [[a, b], [0, c]] with M = U^T U.
bool cholesky_2d(double packed[3]);
// Upper Cholesky factor of a packed 3x3 metric into a full 3x3 array stored row by row.
bool cholesky_3d(const double packed[6], double U[9]);
// out += w * V^T A V, A packed, the three vectors of V its columns.
void add_congruence_3d(double w, const double A[6], const double V[9], double out[6]);

// Common eigenvectors and generalized eigenvalues mu of B p = mu A p (ascending); the outputs
// are left untouched when the pair cannot be reduced.
bool simultaneous_reduction_2d(const double A[3], const double B[3], bool normalize, double mu[2],
                               double vectors[4]);
bool simultaneous_reduction_3d(const double A[6], const double B[6], bool normalize, double mu[3],
                               double vectors[9]);

// R = inverse of the transpose of A (both row by row), det its determinant; with det = 0, R
// holds the unscaled cofactors.
void invert_3x3(const double A[9], double R[9], double& det);

// Clamps the sizes of a 3-D metric into [hmin, hmax] (hmin <= 0: none; hmax <= 0: none).
// True only when the metric changed and is still positive definite; M is untouched when no
// size moved or the clamped sizes are unusable, but rebuilt (and false) when only rounding
// broke definiteness. hmax wins over hmin.
bool bound_metric_sizes_3d(double M[6], double hmin, double hmax);
// The same for a 2-D metric, through the closed-form eigen-analysis.
bool bound_metric_sizes_2d(double M[3], double hmin, double hmax);

// The working data of one 2-D interpolation: Q, the inverse of the matrix of common
// eigenvectors (two vectors), and the eigenvalues of both metrics in that frame.
struct reduced_metric_pair_2d {
    double Q[4];
    double lambda0[2];
    double lambda1[2];
};
// The same record in 3-D: three common directions.
struct reduced_metric_pair_3d {
    double Q[9];
    double lambda0[3];
    double lambda1[3];
};
// Fills the record of the pair (M0, M1): normalized simultaneous reduction, Q (zeros in 2-D when
// the directions are dependent) and lambda0_k = p_k^T M0 p_k, lambda1_k = mu_k lambda0_k.
// False when the pair cannot be reduced (M0 not positive definite, for instance).
bool reduce_metric_pair_2d(const double M0[3], const double M1[3], reduced_metric_pair_2d& record);
bool reduce_metric_pair_3d(const double M0[6], const double M1[6], reduced_metric_pair_3d& record);
// Metric at t between the two metrics of the record, linear in size along the common directions.
bool interpolate_reduced_metric_2d(const reduced_metric_pair_2d& record, double t, double out[3]);
bool interpolate_reduced_metric_3d(const reduced_metric_pair_3d& record, double t, double out[6]);
// The whole 2-D interpolation: copies at t ~ 0 and t ~ 1, else reduction, record and
// interpolate_reduced_metric_2d. out is left unwritten on failure.
bool interpolate_metric_2d(double t, const double M0[3], const double M1[3], double out[3]);
// The 3-D interpolation, same scheme; out is zeroed when an extrapolation (t outside [0, 1])
// drives a size to zero or below, and left unwritten on any other failure.
bool interpolate_metric_3d(double t, const double M0[6], const double M1[6], double out[6]);

// True when every entry is finite and the metric is strictly positive definite.
bool is_valid_metric_2d(const double M[3]);
bool is_valid_metric_3d(const double M[6]);

// The six packed values of column j of a 6-row metric field.
void get_metric_column_3d(const dense2D<double>& field, unsigned j, double out[6]);

} // namespace detail
} // namespace tessora1d
} // namespace vx4
