#include "line/size_model.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace vx4::tessora1d::detail;

TEST(MetricLength, MeasuresAnEdgeUnderALinearSize) {
    EXPECT_DOUBLE_EQ(metric_length_1d(1.0, 1.0, 1.0, false), 1.0);
    EXPECT_NEAR(metric_length_1d(1.0, 1.0, 2.0, false), std::log(2.0), 1e-15);
    EXPECT_DOUBLE_EQ(metric_length_1d(1.0, 2.0, 1.0, false), metric_length_1d(1.0, 1.0, 2.0, false));
    EXPECT_EQ(metric_length_1d(1.0, 0.0, 0.0, false), 0.0);
}

TEST(MetricLength, QualityIsTheRatioToTheMeanSize) {
    EXPECT_DOUBLE_EQ(metric_length_1d(2.0, 1.0, 1.0, true), 0.5);
    EXPECT_DOUBLE_EQ(metric_length_1d(0.5, 1.0, 1.0, true), 0.5);
}

TEST(MetricLength, SeriesAndLogarithmAgreeAtTheSwitch) {
    // d = 0.09 takes the series, d = 0.1 the logarithm.
    const double below = metric_length_1d(1.0, 1.0, 1.0 + 0.1 * (1.0 - 1e-12), false);
    const double above = metric_length_1d(1.0, 1.0, 1.1, false);
    EXPECT_NEAR(below, above, 2.5e-7 * above); // the series' first omitted term, 3 d^5 / 160
    const double exact = std::log(1.09) / 0.09;
    EXPECT_NEAR(metric_length_1d(1.0, 1.0, 1.09, false), exact, 1e-7);
    // For nearly equal sizes the series keeps full precision where ln(1 + d) cancels.
    EXPECT_NEAR(logarithmic_mean(1.0, 1.0 + 1e-10), 1.0 + 0.5e-10, 1e-16);
}

TEST(SegmentCount, RoundsAtTheGeometricMean) {
    EXPECT_EQ(segment_count(0.0, 1), 0u);
    EXPECT_EQ(segment_count(0.01, 1), 1u);
    EXPECT_EQ(segment_count(2.4, 1), 2u);
    EXPECT_EQ(segment_count(2.5, 1), 3u);
    EXPECT_EQ(segment_count(std::sqrt(6.0), 1), 2u); // equality keeps the smaller count
    EXPECT_EQ(segment_count(5.0, 2), 6u);
    EXPECT_EQ(segment_count(4.8, 2), 4u);
    EXPECT_EQ(segment_count(9.0, 2), 10u);
    EXPECT_EQ(segment_count(3.0, 0), 0u);
    EXPECT_EQ(segment_count(std::nan(""), 1), 0u);
}

TEST(SegmentCount, CountPastThe32BitRangeSaturatesAtTheLargestMultipleOfTheStep) {
    constexpr unsigned most = 4294967295u;
    EXPECT_EQ(segment_count(1e10, 1), most);
    EXPECT_EQ(segment_count(1e10, 2), most - 1);
    EXPECT_EQ(segment_count(1e300, 3), most);  // 4294967295 is a multiple of 3
    EXPECT_EQ(segment_count(HUGE_VAL, 1), most);
    // Just below 2^32 the larger candidate itself would wrap to 0.
    EXPECT_EQ(segment_count(4294967295.5, 1), most);
    EXPECT_EQ(segment_count(4294967294.5, 2), most - 1);
    // Below that both candidates fit and the (wrapped) rounding is unchanged.
    EXPECT_EQ(segment_count(4294967293.0, 2), most - 1);
    EXPECT_EQ(segment_count(4294967294.0, 1), most);
}

TEST(SegmentCount, ProductIsFormedIn32Bits) {
    // k1 = 70000, k2 = 70001: their product wraps, so the threshold is far below the length.
    const unsigned wrapped = 70000u * 70001u;
    const double length = 70000.4;
    EXPECT_EQ(segment_count(length, 1), length * length > double(wrapped) ? 70001u : 70000u);
}

TEST(ProgressionFraction, InvertsTheMetricAbscissa) {
    EXPECT_DOUBLE_EQ(progression_fraction(0.5, 1.0, 4.0), 1.0 / 3.0);
    EXPECT_EQ(progression_fraction(0.0, 1.0, 4.0), 0.0);
    EXPECT_EQ(progression_fraction(1.0, 1.0, 4.0), 1.0);
    EXPECT_DOUBLE_EQ(progression_fraction(1.5, 1.0, 4.0), 7.0 / 3.0); // unclamped outside [0, 1]
    EXPECT_EQ(progression_fraction(-2.0, 3.0, 3.0), -2.0);
}

TEST(ProgressionFraction, SeriesMatchesClosedFormNearEqualSizes) {
    for (double t : {0.1, 0.37, 0.5, 0.9}) {
        const double r = 1.0005;
        const double closed = (std::pow(r, t) - 1.0) / (r - 1.0);
        EXPECT_NEAR(progression_fraction(t, 1.0, r), closed, 1e-12);
    }
    // At the edge of the series band (r = 1.001 inclusive) the series still matches the closed form.
    EXPECT_NEAR(progression_fraction(0.5, 1.0, 1.001), (std::sqrt(1.001) - 1.0) / 0.001, 1e-12);
}

TEST(ProgressionFraction, PlacementHasEqualMetricSteps) {
    // Nodes at equal metric steps carry sizes in geometric progression.
    const double h0 = 0.1, h1 = 0.8;
    double previous = 0.0;
    for (int k = 1; k <= 4; ++k) {
        const double x = progression_fraction(k / 4.0, h0, h1);
        const double step_metric = metric_length_1d(x - previous, h0 + (h1 - h0) * previous, h0 + (h1 - h0) * x, false);
        EXPECT_NEAR(step_metric, metric_length_1d(1.0, h0, h1, false) / 4.0, 1e-12);
        previous = x;
    }
}
