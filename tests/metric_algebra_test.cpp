#include "metrics/metric_algebra.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>

using namespace vx4::tessora1d::detail;

namespace {

double at(const double* m, unsigned i, unsigned j) { return i <= j ? m[j * (j + 1) / 2 + i] : m[i * (i + 1) / 2 + j]; }

template <unsigned Dim>
double quadratic(const double* m, const double* v) {
    double s = 0.0;
    for (unsigned i = 0; i < Dim; ++i)
        for (unsigned j = 0; j < Dim; ++j) s += at(m, i, j) * v[i] * v[j];
    return s;
}

void expect_near(const double* actual, std::initializer_list<double> expected, double tol) {
    unsigned k = 0;
    for (double e : expected) {
        EXPECT_NEAR(actual[k], e, tol) << "entry " << k;
        ++k;
    }
}

// An orthonormal 3-D frame (vectors one after the other) from two angles.
void frame_3d(double a, double b, double v[9]) {
    const double f[9] = {std::cos(a) * std::cos(b), std::sin(a) * std::cos(b), std::sin(b), -std::sin(a), std::cos(a),
                         0.0, -std::cos(a) * std::sin(b), -std::sin(a) * std::sin(b), std::cos(b)};
    for (unsigned k = 0; k < 9; ++k) v[k] = f[k];
}

} // namespace

TEST(MetricAlgebra, EigenSym2dRecoversARotatedFrame) {
    const double c = std::cos(0.3), s = std::sin(0.3), frame[4] = {c, s, -s, c}, lambda[2] = {0.25, 9.0};
    double m[3], values[2], vectors[4];
    metric_from_eigen_2d(frame, lambda, m);
    ASSERT_TRUE(eigen_sym_2d(m[0], m[1], m[2], true, values, vectors));
    expect_near(values, {0.25, 9.0}, 1e-14);
    EXPECT_NEAR(std::fabs(vectors[0] * c + vectors[1] * s), 1.0, 1e-14);
    EXPECT_NEAR(std::fabs(vectors[2] * -s + vectors[3] * c), 1.0, 1e-14);
    EXPECT_FALSE(eigen_sym_2d(INFINITY, 0.0, 1.0, true, values, vectors));
}

TEST(MetricAlgebra, EigenvalueNearZeroKeepsItsDigitsUnderCancellation) {
    // ((a + c) - r) / 2 loses about two digits of 1e-14 here; the determinant restores them.
    double values[2];
    ASSERT_TRUE(eigenvalues_sym_2d(1.0, 0.0, 1e-14, values));
    EXPECT_NEAR(values[0] / 1e-14, 1.0, 1e-14);
    // Mirror case, where the larger eigenvalue is the one near zero.
    ASSERT_TRUE(eigenvalues_sym_2d(-1.0, 0.0, 1e-14, values));
    EXPECT_NEAR(values[1] / 1e-14, 1.0, 1e-14);
}

TEST(MetricAlgebra, CholeskyBranches) {
    double zero_lead[3] = {0.0, 0.0, 9.0}, coupled[3] = {0.0, 1.0, 9.0}, negative[3] = {-1.0, 0.0, 1.0};
    double semi[3] = {4.0, 2.0, 1.0};
    ASSERT_TRUE(cholesky_2d(zero_lead) && cholesky_2d(semi));
    expect_near(zero_lead, {0.0, 0.0, 3.0}, 0.0);
    expect_near(semi, {2.0, 1.0, 0.0}, 0.0);
    EXPECT_FALSE(cholesky_2d(coupled) || cholesky_2d(negative));
    const double m[6] = {4.0, 1.0, 3.0, 0.5, -0.25, 2.0}, indefinite[6] = {1.0, 0.0, 1.0, 0.9, 0.9, 1.0};
    double U[9] = {};
    ASSERT_TRUE(cholesky_3d(m, U));
    for (unsigned i = 0; i < 3; ++i)
        for (unsigned j = i; j < 3; ++j) // (U^T U)_ij
            EXPECT_NEAR(U[i] * U[j] + U[3 + i] * U[3 + j] + U[6 + i] * U[6 + j], at(m, i, j), 1e-14);
    EXPECT_FALSE(cholesky_3d(indefinite, U));
    // A null first (second) row leaves the 2x2 problem of the other two.
    const double first_null[6] = {0.0, 0.0, 4.0, 0.0, 2.0, 5.0}, second_null[6] = {9.0, 0.0, 0.0, 3.0, 0.0, 2.0};
    double V[9] = {}, W[9] = {};
    ASSERT_TRUE(cholesky_3d(first_null, V) && cholesky_3d(second_null, W));
    expect_near(V, {0.0, 0.0, 0.0, 0.0, 2.0, 1.0, 0.0, 0.0, 2.0}, 0.0);
    expect_near(W, {3.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 1.0}, 0.0);
}

TEST(MetricAlgebra, SimultaneousReductionRecoversKnownCommonFrame) {
    double frame[9], A[6], B[6], mu[3], P[9];
    frame_3d(0.4, -0.7, frame);
    const double l0[3] = {1.0, 4.0, 0.5}, l1[3] = {3.0, 2.0, 10.0}, indefinite[6] = {1.0, 0.0, 1.0, 0.9, 0.9, 1.0};
    metric_from_eigen_3d(frame, l0, A);
    metric_from_eigen_3d(frame, l1, B);
    ASSERT_TRUE(simultaneous_reduction_3d(A, B, true, mu, P));
    // Ratios l1 / l0 ascending: 0.5 (frame vector 1), 3 (vector 0), 20 (vector 2).
    expect_near(mu, {0.5, 3.0, 20.0}, 1e-12);
    const unsigned direction_of[3] = {1, 0, 2};
    for (unsigned k = 0; k < 3; ++k) {
        const double* q = frame + 3 * direction_of[k];
        EXPECT_NEAR(std::fabs(P[3 * k] * q[0] + P[3 * k + 1] * q[1] + P[3 * k + 2] * q[2]), 1.0, 1e-12);
    }
    EXPECT_FALSE(simultaneous_reduction_3d(indefinite, B, true, mu, P));
    // An overflowing 2-D pair fails in the closed-form eigen-analysis and must not touch mu.
    const double unit[3] = {1.0, 0.0, 1.0}, huge[3] = {1e300, 1e300, 1e300};
    double mu2[2] = {7.0, 7.0}, P2[4];
    EXPECT_FALSE(simultaneous_reduction_2d(unit, huge, true, mu2, P2));
    expect_near(mu2, {7.0, 7.0}, 0.0);
}

TEST(MetricAlgebra, Invert3x3GivesInverseOfTransposeOrRawCofactors) {
    const double A[9] = {2.0, 1.0, 0.0, 0.5, 3.0, -1.0, 1.0, 0.0, 4.0};
    const double singular[9] = {1.0, 2.0, 3.0, 2.0, 4.0, 6.0, 0.0, 1.0, 1.0};
    double R[9], det;
    invert_3x3(A, R, det);
    EXPECT_DOUBLE_EQ(det, 21.0);
    for (unsigned i = 0; i < 3; ++i)
        for (unsigned j = 0; j < 3; ++j) // (R A^T)_ij
            EXPECT_NEAR(R[3 * i] * A[3 * j] + R[3 * i + 1] * A[3 * j + 1] + R[3 * i + 2] * A[3 * j + 2], i == j, 1e-15);
    invert_3x3(singular, R, det);
    EXPECT_TRUE(det == 0.0 && R[0] == -2.0);
}

TEST(MetricAlgebra, InterpolationIsLinearInSizeAlongTheCommonFrame) {
    // Sizes (1, 2, 0.5) at t = 0 and (4, 1, 0.5) at t = 1 along a rotated frame.
    double frame[9], A[6], B[6], out[6];
    frame_3d(1.1, 0.3, frame);
    const double l0[3] = {1.0, 0.25, 4.0}, l1[3] = {1.0 / 16.0, 1.0, 4.0}, expected[3] = {1.75, 1.75, 0.5};
    metric_from_eigen_3d(frame, l0, A);
    metric_from_eigen_3d(frame, l1, B);
    ASSERT_TRUE(interpolate_metric_3d(0.25, A, B, out));
    for (unsigned k = 0; k < 3; ++k) EXPECT_NEAR(1.0 / std::sqrt(quadratic<3>(out, frame + 3 * k)), expected[k], 1e-12);
}

TEST(MetricAlgebra, InterpolationEndsAndFailures) {
    const double M0[3] = {1.3, 0.2, 0.7}, M1[3] = {0.1, -0.05, 2.0};
    double out[3];
    ASSERT_TRUE(interpolate_metric_2d(1e-13, M0, M1, out));
    expect_near(out, {M0[0], M0[1], M0[2]}, 0.0);
    ASSERT_TRUE(interpolate_metric_2d(1.0 - 1e-13, M0, M1, out));
    expect_near(out, {M1[0], M1[1], M1[2]}, 0.0);
    // Sizes 1 and 2: at t = -2 the size would be -1 (2-D output kept, 3-D output zeroed), at t = 2 it is 3.
    const double I[3] = {1.0, 0.0, 1.0}, quarter[3] = {0.25, 0.0, 0.25}, bad[3] = {1.0, 2.0, 1.0};
    const double N0[6] = {1.0, 0.0, 1.0, 0.0, 0.0, 1.0}, N1[6] = {0.25, 0.0, 0.25, 0.0, 0.0, 0.25};
    double kept[3] = {7.0, 7.0, 7.0}, out3[6] = {7.0, 7.0, 7.0, 7.0, 7.0, 7.0};
    EXPECT_FALSE(interpolate_metric_2d(0.5, bad, quarter, kept) || interpolate_metric_2d(-2.0, I, quarter, kept));
    expect_near(kept, {7.0, 7.0, 7.0}, 0.0);
    EXPECT_FALSE(interpolate_metric_3d(-2.0, N0, N1, out3));
    expect_near(out3, {0.0, 0.0, 0.0, 0.0, 0.0, 0.0}, 0.0);
    ASSERT_TRUE(interpolate_metric_3d(2.0, N0, N1, out3));
    EXPECT_NEAR(out3[0], 1.0 / 9.0, 1e-15);
}

TEST(MetricAlgebra, BoundingClampsEigenvaluesAndReportsChange) {
    double M[6] = {100.0, 0.0, 1.0, 0.0, 0.0, 0.01}, inside[6] = {2.0, 0.1, 1.0, 0.0, 0.2, 0.5};
    ASSERT_TRUE(bound_metric_sizes_3d(M, 0.5, 5.0));
    expect_near(M, {4.0, 0.0, 1.0, 0.0, 0.0, 0.04}, 1e-13);
    EXPECT_FALSE(bound_metric_sizes_3d(inside, 0.5, 5.0) || bound_metric_sizes_3d(inside, 0.0, -1.0));
    expect_near(inside, {2.0, 0.1, 1.0, 0.0, 0.2, 0.5}, 0.0);
}
