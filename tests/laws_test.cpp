#include <vx4/tessora1d_laws.h>

#include "test_support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

using vx4::dense1D;
using vx4::dense2D;
namespace laws = vx4::tessora1d::laws;

namespace {

using law_call = std::function<int(dense1D<double>&, dense1D<double>&)>;

// Every law's promise: count + 1 finite fractions from exactly 0 to exactly 1, strictly increasing,
// and finite positive sizes.
void expect_valid_law(const dense1D<double>& x, const dense1D<double>& h, unsigned count, const std::string& what) {
    ASSERT_EQ(x.size(), count + 1) << what;
    ASSERT_EQ(h.size(), count + 1) << what;
    EXPECT_EQ(x[0], 0.0) << what;
    EXPECT_EQ(x[count], 1.0) << what;
    unsigned bad_order = 0, bad_size = 0;
    for (unsigned i = 1; i <= count; ++i)
        if (!(x[i] > x[i - 1])) ++bad_order;
    for (unsigned i = 0; i <= count; ++i)
        if (!(h[i] > 0.0 && std::isfinite(h[i]))) ++bad_size;
    EXPECT_EQ(bad_order, 0u) << what;
    EXPECT_EQ(bad_size, 0u) << what;
}

double rel(double a, double b) { return std::fabs(a - b) / std::fabs(b); }

// Vinokur's two-sided stretching as printed, for end slopes t0, t1 per cell; the root of
// sinh(y)/y = B (or sin(y)/y = B) by plain bisection.
double textbook_vinokur(double xi, unsigned n, double t0, double t1) {
    const double A = std::sqrt(t1 / t0), B = 1.0 / (n * std::sqrt(t0 * t1));
    const bool hyperbolic = B > 1.0;
    double lo = 1e-9, hi = hyperbolic ? 700.0 : 3.14159265358979;
    for (int k = 0; k < 200; ++k) {
        const double y = 0.5 * (lo + hi);
        const double f = (hyperbolic ? std::sinh(y) : std::sin(y)) / y - B;
        ((f > 0.0) == hyperbolic ? hi : lo) = y;
    }
    const double y = 0.5 * (lo + hi);
    const double u = hyperbolic ? 0.5 + std::tanh(y * (xi - 0.5)) / (2.0 * std::tanh(0.5 * y))
                                : 0.5 + std::tan(y * (xi - 0.5)) / (2.0 * std::tan(0.5 * y));
    return u / (A + (1.0 - A) * u);
}

// Independent geometric sum, term by term.
double geometric_sum(double first, double ratio, unsigned n) {
    double s = 0.0, t = first;
    for (unsigned i = 0; i < n; ++i, t *= ratio) s += t;
    return s;
}

} // namespace

TEST(GeometricLaw, FractionsAreTheClosedFormPartialSums) {
    for (double r : {1.3, 0.7, 1.0005}) {
        dense1D<double> x, h;
        ASSERT_EQ(laws::geometric(10, r, x, h), 0);
        for (unsigned i = 0; i <= 10; ++i)
            EXPECT_NEAR(x[i], (std::pow(r, i) - 1) / (std::pow(r, 10) - 1), 1e-12) << r << ' ' << i;
        // Element ratio and node-size ratio are both r.
        EXPECT_NEAR((x[6] - x[5]) / (x[5] - x[4]), r, 1e-12);
        EXPECT_NEAR(h[7] / h[6], r, 1e-12);
    }
}

TEST(GeometricLaw, SolvedRatioReproducesFirstCell) {
    struct { unsigned n; double first; } cases[] = {{30, 1e-5}, {30, 0.2}, {5, 0.1999}, {1000000, 1e-9}, {40, 1e-12}};
    for (const auto& c : cases) {
        dense1D<double> x, h;
        ASSERT_EQ(laws::geometric_first(c.n, c.first, x, h), 0);
        EXPECT_LT(rel(x[1], c.first), 1e-12) << c.n << ' ' << c.first;
        double r = 0.0;
        ASSERT_EQ(laws::solve_ratio(2.0, c.n, 2.0 * c.first, r), 0);
        if (c.n <= 1000) {
            EXPECT_LT(rel(geometric_sum(2.0 * c.first, r, c.n), 2.0), 1e-12) << c.n;
        }
    }
    double r = 0.0;
    ASSERT_EQ(laws::solve_ratio(1.0, 4, 0.25, r), 0);
    EXPECT_EQ(r, 1.0);
}

TEST(GeometricLaw, RatiosWithinRoundingOfOneStayAccurate) {
    for (double r : {1.0 + 1e-12, 1.0 - 1e-12}) {
        dense1D<double> x, h;
        ASSERT_EQ(laws::geometric(1000, r, x, h), 0);
        expect_valid_law(x, h, 1000, "ratio 1 +- 1e-12");
        // x_i = i/n (1 + (i - n) e / 2) to first order in e = r - 1.
        const double e = r - 1.0;
        for (unsigned i : {1u, 10u, 500u, 999u})
            EXPECT_NEAR(x[i], i / 1000.0 * (1.0 + (i - 1000.0) * e / 2.0), 1e-15) << i;
    }
}

TEST(GeometricLaw, EndSizesLetMeshStraightRebuildTheNodes) {
    dense1D<double> x, h;
    ASSERT_EQ(laws::geometric(12, 1.25, x, h), 0);
    dense2D<double> coords = vx4test::columns<double>(2, {0, 0, 3, 0});
    dense1D<unsigned> chain;
    ASSERT_EQ(vx4::tessora1d::mesh_straight(coords, 0u, 1u, 3.0 * h[0], 3.0 * h[12], false, chain), 0);
    ASSERT_EQ(chain.size(), 13u);
    for (unsigned i = 0; i <= 12; ++i) EXPECT_NEAR(coords(0, chain[i]), 3.0 * x[i], 1e-12) << i;
}

TEST(GeometricLaw, EndsGiveTheCountAndKeepTheFirstCell) {
    // 1 = 0.01 (r^n - 1) / (r - 1) with last 0.01 r^(n-1) = 0.05 for r = 0.99 / 0.95.
    dense1D<double> x, h;
    unsigned n = 0;
    ASSERT_EQ(laws::geometric_ends(0.01, 0.05, n, x, h), 0);
    const double r = 0.99 / 0.95, exact = 1.0 + std::log(5.0) / std::log(r);
    EXPECT_EQ(n, static_cast<unsigned>(std::lround(exact)));
    EXPECT_LT(rel(x[1], 0.01), 1e-12);
    EXPECT_NEAR(1.0 - x[n - 1], 0.05, 0.05 * r);
    // 1 + ln 5 / ln(0.98 / 0.9) = 19.9 elements: rounded to the nearest count.
    unsigned m = 0;
    ASSERT_EQ(laws::geometric_ends(0.1, 0.1, n, x, h) + laws::geometric_ends(0.02, 0.1, m, x, h), 0);
    EXPECT_EQ(n, 10u);
    EXPECT_EQ(m, 20u);
}

TEST(ArithmeticLaw, ElementsDifferByAConstantAndMirror) {
    dense1D<double> x, h, y, g;
    ASSERT_EQ(laws::arithmetic_first(8, 0.05, x, h), 0);
    const double d = (2.0 / 8 - 0.1) / 7;
    for (unsigned i = 0; i < 8; ++i) EXPECT_NEAR(x[i + 1] - x[i], 0.05 + i * d, 1e-15) << i;
    EXPECT_DOUBLE_EQ(h[0], 0.05);
    EXPECT_DOUBLE_EQ(h[8], 0.2);
    EXPECT_NEAR(h[3], 0.5 * ((x[3] - x[2]) + (x[4] - x[3])), 1e-15);
    ASSERT_EQ(laws::arithmetic_last(8, 0.05, y, g), 0);
    for (unsigned i = 0; i <= 8; ++i) EXPECT_NEAR(y[i], 1.0 - x[8 - i], 1e-15) << i;
}

TEST(SymmetricLaws, TwoSidedLawsMirrorExactly) {
    const std::vector<std::pair<std::string, law_call>> laws_under_test = {
        {"bump", [](auto& x, auto& h) { return laws::bump(41, 0.05, x, h); }},
        {"bump even", [](auto& x, auto& h) { return laws::bump(40, 20.0, x, h); }},
        {"beta", [](auto& x, auto& h) { return laws::beta_law_two_sided(40, 1.05, x, h); }},
        {"tanh", [](auto& x, auto& h) { return laws::tanh_stretching(40, 1e-3, 1e-3, x, h); }},
    };
    for (const auto& [name, call] : laws_under_test) {
        dense1D<double> x, h;
        ASSERT_EQ(call(x, h), 0) << name;
        const unsigned n = x.size() - 1;
        for (unsigned i = 0; 2 * i <= n; ++i) {
            EXPECT_EQ(x[n - i], 1.0 - x[i]) << name << ' ' << i;
            EXPECT_EQ(h[n - i], h[i]) << name << ' ' << i;
        }
    }
}

TEST(BumpAndBetaLaws, EndOverMiddleSizeIsTheRatioAndTwoSidedBetaIsTheOneSidedOnEachHalf) {
    dense1D<double> x, h, one, h1, two, h2;
    ASSERT_EQ(laws::bump(40, 0.1, x, h), 0);
    EXPECT_NEAR(h[0] / h[20], 0.1, 1e-14);
    EXPECT_LT(x[1], 0.3 / 40); // refined at the ends
    EXPECT_EQ(x[20], 0.5);
    ASSERT_EQ(laws::bump(40, 1.0, x, h), 0);
    EXPECT_NEAR(x[13], 13.0 / 40, 1e-15);
    ASSERT_EQ(laws::beta_law(10, 1.1, one, h1), 0);
    ASSERT_EQ(laws::beta_law_two_sided(20, 1.1, two, h2), 0);
    for (unsigned i = 0; i <= 10; ++i) EXPECT_NEAR(two[i], 0.5 * one[i], 1e-15) << i;
}

TEST(BetaLaw, NodesFollowTheDensityIntegral) {
    // The beta law's node density dxi/dx = (1/c) / (beta (1 - ((1 - x)/beta)^2)), tanh(c) = 1/beta:
    // its integral over every element is 1/n (5-point Gauss-Legendre on each element).
    const double gx[] = {0.0, -0.5384693101056831, 0.5384693101056831, -0.9061798459386640, 0.9061798459386640};
    const double gw[] = {0.5688888888888889, 0.4786286704993665, 0.4786286704993665, 0.2369268850561891,
                         0.2369268850561891};
    for (double beta : {1.01, 1.2, 3.0}) {
        const double c = std::atanh(1.0 / beta);
        auto density = [&](double x) { const double q = (1.0 - x) / beta; return 1.0 / (c * beta * (1.0 - q * q)); };
        dense1D<double> x, h;
        ASSERT_EQ(laws::beta_law(20, beta, x, h), 0);
        for (unsigned i = 0; i < 20; ++i) {
            const double mid = 0.5 * (x[i] + x[i + 1]), half = 0.5 * (x[i + 1] - x[i]);
            double integral = 0.0;
            for (int k = 0; k < 5; ++k) integral += gw[k] * half * density(mid + half * gx[k]);
            EXPECT_NEAR(integral, 1.0 / 20, 1e-9) << beta << ' ' << i;
        }
    }
}

TEST(TanhLaw, EndElementsEqualTheRequestedSizesAndNodesFollowVinokursFormula) {
    // Both branches: B > 1 (ends finer than uniform, tanh) and B < 1 (ends coarser, tan). The end
    // sizes are the slopes t0, t1 of the printed formula: rebuilding it from them gives the nodes.
    const struct { unsigned n; double s0, s1; } cases[] = {
        {40, 1e-4, 1e-2}, {30, 1e-5, 0.2}, {100, 1e-3, 1e-3}, {10, 0.3, 0.3}, {3, 0.45, 0.45},
        {5, 0.05, 0.5}, {1000, 1e-12, 1e-3}, {1000000, 1e-9, 1e-5}, {20, 0.05, 0.049}, {25, 0.03, 0.08},
        {12, 0.2, 0.05}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.n << ' ' << c.s0 << ' ' << c.s1);
        dense1D<double> x, h;
        ASSERT_EQ(laws::tanh_stretching(c.n, c.s0, c.s1, x, h), 0);
        EXPECT_LT(rel(x[1], c.s0), 1e-10);
        EXPECT_LT(rel(1.0 - x[c.n - 1], c.s1), 1e-10);
        if (c.n <= 1000) expect_valid_law(x, h, c.n, "tanh");
        for (unsigned i = 0; c.n <= 1000 && i <= c.n; ++i)
            EXPECT_NEAR(x[i], textbook_vinokur(static_cast<double>(i) / c.n, c.n, h[0], h[c.n]), 1e-9) << i;
    }
}

TEST(AllLaws, SizesAreTheLocalSpacing) {
    // The size at an interior node is the law's slope: close to the central difference of fractions.
    const std::vector<std::pair<std::string, law_call>> smooth = {
        {"geometric", [](auto& x, auto& h) { return laws::geometric(200, 1.02, x, h); }},
        {"geometric_first", [](auto& x, auto& h) { return laws::geometric_first(200, 1e-4, x, h); }},
        {"bump", [](auto& x, auto& h) { return laws::bump(200, 0.1, x, h); }},
        {"beta", [](auto& x, auto& h) { return laws::beta_law(200, 1.05, x, h); }},
        {"beta2", [](auto& x, auto& h) { return laws::beta_law_two_sided(200, 1.05, x, h); }},
        {"tanh", [](auto& x, auto& h) { return laws::tanh_stretching(200, 1e-4, 1e-2, x, h); }},
        {"tan", [](auto& x, auto& h) { return laws::tanh_stretching(200, 0.01, 0.02, x, h); }},
        {"arithmetic", [](auto& x, auto& h) { return laws::arithmetic_first(200, 1e-4, x, h); }},
    };
    for (const auto& [name, call] : smooth) {
        dense1D<double> x, h;
        ASSERT_EQ(call(x, h), 0) << name;
        for (unsigned i = 1; i < 200; i += 7)
            EXPECT_LT(rel(h[i], 0.5 * (x[i + 1] - x[i - 1])), 2e-3) << name << ' ' << i;
    }
}

TEST(AllLaws, ExtremeParametersStayMonotoneWithoutNaN) {
    const unsigned big = 1000000;
    const std::vector<std::pair<std::string, law_call>> extreme = {
        {"geometric 1+1e-12", [](auto& x, auto& h) { return laws::geometric(1000000, 1.0 + 1e-12, x, h); }},
        {"geometric 1-1e-12", [](auto& x, auto& h) { return laws::geometric(1000000, 1.0 - 1e-12, x, h); }},
        {"geometric first 1e-12", [](auto& x, auto& h) { return laws::geometric_first(1000000, 1e-12, x, h); }},
        {"arithmetic first 1e-12", [](auto& x, auto& h) { return laws::arithmetic_first(1000000, 1e-12, x, h); }},
        {"bump", [](auto& x, auto& h) { return laws::bump(1000000, 1e-6, x, h); }},
        {"beta 1+1e-12", [](auto& x, auto& h) { return laws::beta_law(1000000, 1.0 + 1e-12, x, h); }},
        {"beta2 1+1e-6", [](auto& x, auto& h) { return laws::beta_law_two_sided(1000000, 1.0 + 1e-6, x, h); }},
        {"beta huge", [](auto& x, auto& h) { return laws::beta_law(1000000, 1e300, x, h); }},
        {"tanh 1e-12", [](auto& x, auto& h) { return laws::tanh_stretching(1000000, 1e-12, 1e-12, x, h); }},
        {"tanh coarse ends", [](auto& x, auto& h) { return laws::tanh_stretching(1000000, 1e-3, 1e-3, x, h); }},
        {"uniform", [](auto& x, auto& h) { return laws::uniform(1000000, x, h); }},
    };
    for (const auto& [name, call] : extreme) {
        dense1D<double> x, h;
        ASSERT_EQ(call(x, h), 0) << name;
        expect_valid_law(x, h, big, name);
    }
}

TEST(LawsAndSolvers, RefusalsCarryTheArgumentPositionAndLeaveEveryOutputAlone) {
    dense1D<double> x, h;
    unsigned n = 99;
    double r = 99.0, t = 99.0;
    const double nan = std::nan("");
    const std::vector<std::pair<int, std::function<int()>>> refusals = {
        {-1, [&] { return laws::uniform(0, x, h); }},
        {-1, [&] { return laws::geometric(vx4::tessora1d::no_count_bound, 1.1, x, h); }},
        {-2, [&] { return laws::geometric(10, 0.0, x, h); }},
        {-2, [&] { return laws::geometric(10, nan, x, h); }},
        {-2, [&] { return laws::geometric_first(10, 1.0, x, h); }},
        {-2, [&] { return laws::geometric_first(1, 0.5, x, h); }},
        {-2, [&] { return laws::arithmetic_first(10, 0.2, x, h); }},
        {-2, [&] { return laws::arithmetic_last(10, -0.01, x, h); }},
        {-1, [&] { return laws::geometric_ends(1.5, 0.1, n, x, h); }},
        {-2, [&] { return laws::geometric_ends(0.1, 0.0, n, x, h); }},
        {-2, [&] { return laws::bump(10, -1.0, x, h); }},
        {-2, [&] { return laws::beta_law(10, 1.0, x, h); }},
        {-2, [&] { return laws::beta_law_two_sided(10, nan, x, h); }},
        {-1, [&] { return laws::tanh_stretching(2, 0.4, 0.4, x, h); }},
        {-2, [&] { return laws::tanh_stretching(10, 0.0, 0.4, x, h); }},
        {-3, [&] { return laws::tanh_stretching(10, 0.6, 0.4, x, h); }},
        {-199, [&] { vx4test::failing_allocations fail; return laws::tanh_stretching(50, 0.01, 0.02, x, h); }},
        {-1, [&] { return laws::solve_ratio(-1.0, 5, 0.1, r); }},
        {-2, [&] { return laws::solve_ratio(1.0, 0, 0.1, r); }},
        {-3, [&] { return laws::solve_ratio(1.0, 5, 1.5, r); }},
        {-3, [&] { return laws::solve_ratio(1.0, 1, 0.5, r); }},
        {-3, [&] { return laws::solve_count(1.0, 0.1, 0.5, n); }},       // the whole series is 0.2
        {-2, [&] { return laws::solve_count(1e3, 1e-12, 1.0, n); }},     // 10^15 elements
        {-3, [&] { return laws::layers_to_thickness(1.0, 0.1, 0.0, n, r); }},
        {-3, [&] { return laws::layers_to_size(1e-5, 1e-3, 1.0, n, r, t); }}, // ratio 1, sizes differ
        {-2, [&] { return laws::layers_to_size(1e-3, 1e-5, 1.2, n, r, t); }},
    };
    for (std::size_t k = 0; k < refusals.size(); ++k) {
        x = dense1D<double>{7.0};
        h = dense1D<double>{8.0};
        EXPECT_EQ(refusals[k].second(), refusals[k].first) << "case " << k;
        EXPECT_TRUE(x.size() == 1 && h[0] == 8.0 && n == 99 && r == 99.0 && t == 99.0) << "case " << k;
    }
}

TEST(Solvers, CountIsTheFirstPartialSumReachingTheLength) {
    // First cell 1e-5 growing by 1.15 up to 2 mm: count checked by summing the layers.
    unsigned n = 0;
    ASSERT_EQ(laws::solve_count(2e-3, 1e-5, 1.15, n), 0);
    EXPECT_LT(geometric_sum(1e-5, 1.15, n - 1), 2e-3);
    EXPECT_GE(geometric_sum(1e-5, 1.15, n), 2e-3);
    ASSERT_EQ(laws::solve_count(1.0, 0.1, 0.95, n), 0);
    EXPECT_GE(geometric_sum(0.1, 0.95, n), 1.0 - 1e-12);
    EXPECT_LT(geometric_sum(0.1, 0.95, n - 1), 1.0);
    // Exact fits are not pushed one layer on by rounding (0.9 / 0.3 rounds to 3 + 4e-16).
    const struct { double length, first, ratio; unsigned n; } exact[] = {
        {geometric_sum(1e-3, 1.2, 17), 1e-3, 1.2, 17}, {geometric_sum(1e-3, 1.2, 17) * (1 + 1e-13), 1e-3, 1.2, 17},
        {1.0, 0.1, 1.0, 10}, {0.9, 0.3, 1.0, 3}, {1.0, 2.0, 1.3, 1}};
    for (const auto& c : exact) {
        ASSERT_EQ(laws::solve_count(c.length, c.first, c.ratio, n), 0) << c.length;
        EXPECT_EQ(n, c.n) << c.length << ' ' << c.first;
    }
}

TEST(Solvers, BoundaryLayerCalculatorHonoursTheRatioBound) {
    unsigned n = 0;
    double r = 0.0, t = 0.0;
    ASSERT_EQ(laws::layers_to_thickness(0.01, 1e-5, 1.2, n, r), 0);
    EXPECT_LE(r, 1.2);
    EXPECT_LT(rel(geometric_sum(1e-5, r, n), 0.01), 1e-12);
    EXPECT_LT(geometric_sum(1e-5, 1.2, n - 1), 0.01); // one layer fewer cannot make it at 1.2
    ASSERT_EQ(laws::layers_to_size(1e-5, 1e-3, 1.2, n, r, t), 0);
    EXPECT_EQ(n, 27u); // 1 + ceil(ln 100 / ln 1.2) = 1 + ceil(25.26)
    EXPECT_NEAR(1e-5 * std::pow(r, 26), 1e-3, 1e-15);
    EXPECT_LT(rel(t, geometric_sum(1e-5, r, 27)), 1e-12);
    ASSERT_EQ(laws::layers_to_size(1e-5, 1e-5 * std::pow(1.2, 5), 1.2, n, r, t), 0);
    EXPECT_EQ(n, 6u);
}

TEST(LawBridge, PolylineNodesSitAtArcLengthFractions) {
    // An L of legs 3 and 1: fraction 0.875 lies at arc length 3.5, half-way up the second leg.
    dense2D<double> pos = vx4test::columns<double>(2, {0, 0, 3, 0, 3, 1});
    dense1D<unsigned> line{0, 1, 2}, chain{42};
    dense1D<double> f{0.0, 0.25, 0.875, 1.0};
    ASSERT_EQ(laws::place_on_polyline(pos, line, f, chain), 0);
    ASSERT_EQ(pos.cols(), 5u);
    EXPECT_EQ(vx4test::entries(pos)[6], 1.0);
    EXPECT_NEAR(pos(0, 4), 3.0, 1e-15);
    EXPECT_NEAR(pos(1, 4), 0.5, 1e-15);
    const std::vector<unsigned> expected{42, 0, 3, 4, 2};
    EXPECT_EQ(std::vector<unsigned>(chain.begin(), chain.end()), expected);
    dense1D<double> unordered{0.0, 0.6, 0.5, 1.0};
    EXPECT_EQ(laws::place_on_polyline(pos, line, unordered, chain), -3);
    EXPECT_EQ(laws::place_on_polyline(pos, line, dense1D<double>{0.0, 0.5, 0.9}, chain), -3);
    EXPECT_EQ(laws::place_on_polyline(pos, dense1D<unsigned>{0, 9}, f, chain), -2);
    EXPECT_EQ(pos.cols(), 5u);
    EXPECT_EQ(chain.size(), 5u);
}

TEST(LawBridge, ExtrusionAppendsTheLawAlongTheVector) {
    dense2D<double> coords = vx4test::columns<double>(3, {9, 9, 9, 1, 2, 3});
    dense1D<double> x, h;
    ASSERT_EQ(laws::geometric_first(6, 1e-4, x, h), 0);
    dense1D<unsigned> ids;
    ASSERT_EQ(laws::extrude(coords, 1, dense1D<double>{0.0, 0.0, 2.0}, x, ids), 0);
    ASSERT_EQ(ids.size(), 7u);
    EXPECT_EQ(ids[0], 1u);
    for (unsigned i = 1; i <= 6; ++i) {
        EXPECT_EQ(ids[i], i + 1);
        EXPECT_EQ(coords(0, i + 1), 1.0);
        EXPECT_NEAR(coords(2, i + 1) - 3.0, 2.0 * x[i], 1e-15);
    }
    EXPECT_EQ(laws::extrude(coords, 0, dense1D<double>{0.0, 2.0}, x, ids), -3);
    EXPECT_EQ(laws::extrude(coords, 8, dense1D<double>{0.0, 0.0, 2.0}, x, ids), -2);
    EXPECT_EQ(laws::extrude(coords, 0, dense1D<double>{0.0, 0.0, 0.0}, x, ids), -3);
    EXPECT_EQ(coords.cols(), 8u);
    EXPECT_EQ(ids.size(), 7u);
}
