// The size model shared by every routine that counts, measures or places nodes between two
// sizes: the physical element size varies linearly along an edge.
#pragma once

namespace vx4 {
namespace tessora1d {
namespace detail {

// Mean size of an edge whose size varies linearly between h0 and h1,
// (hmax - hmin) / ln(hmax / hmin), by a series when the sizes are within 10% of each other.
double logarithmic_mean(double h0, double h1);

// Metric length a / M of an edge of physical length a (M the logarithmic mean of h0 and h1);
// with `quality`, min(a / M, M / a). 0 when M is not positive.
double metric_length_1d(double a, double h0, double h1, bool quality);

// A metric length rounded to a multiple of `step`, the threshold at the geometric mean of the
// two candidates (32-bit unsigned arithmetic throughout).
unsigned segment_count(double length, unsigned step);

// Position, as a fraction of the edge's length, of the point at normalized metric abscissa t
// when the size varies linearly from h0 to h1; clamped to [0, 1] only for t in [0, 1].
double progression_fraction(double t, double h0, double h1);

} // namespace detail
} // namespace tessora1d
} // namespace vx4
