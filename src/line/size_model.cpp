#include "line/size_model.h"

#include <cmath>
#include <limits>

namespace vx4 {
namespace tessora1d {
namespace detail {

namespace {

// d / ln(1 + d) for the relative size difference d; below 0.1 the logarithm would lose digits
// to cancellation, so its series is used there (19/45 rounded one unit down, as fixed).
double log_mean_factor(double d) {
    if (d < 0.1) {
        const double u = d / 2.0;
        const double c = 0.42222222222222217;
        return 1.0 + u * (1.0 - u * (1.0 / 3.0 - u * (1.0 / 3.0 - c * u)));
    }
    return d / std::log(1.0 + d);
}

} // namespace

double logarithmic_mean(double h0, double h1) {
    const double hmin = h1 < h0 ? h1 : h0;
    const double hmax = h1 < h0 ? h0 : h1;
    const double d = (hmax - hmin) / hmin;
    return hmin * log_mean_factor(d);
}

double metric_length_1d(double a, double h0, double h1, bool quality) {
    const double M = logarithmic_mean(h0, h1);
    if (quality && a > M) return M / a;
    if (M > 0.0) return a / M;
    return 0.0;
}

unsigned segment_count(double length, unsigned step) {
    // A zero step gives a non-finite quotient: no segment.
    if (step == 0) return 0;
    const double q = length / static_cast<double>(step);
    // A count whose next candidate would not fit 32 bits saturates at the largest multiple of
    // step, so that the callers' clamps and allocation checks still see a huge count.
    const unsigned most_steps = std::numeric_limits<unsigned>::max() / step;
    if (q >= static_cast<double>(most_steps)) return most_steps * step;
    // The quotient is truncated; a negative or NaN one counts as no whole step.
    const unsigned whole = q >= 0.0 ? static_cast<unsigned>(q) : 0u;
    const unsigned k1 = whole * step;
    const unsigned k2 = k1 + step;
    const unsigned product = k1 * k2; // deliberately 32-bit; wraps only above 65535 segments
    return length * length > static_cast<double>(product) ? k2 : k1;
}

double progression_fraction(double t, double h0, double h1) {
    if (h1 == h0) return t;
    const double r = h1 / h0;
    double x;
    if (!(r < 0.999 || r > 1.001)) {
        // Nearly equal sizes (or a NaN ratio): third-order series in e = r - 1.
        const double e = r - 1.0;
        x = t * (1.0 + (t - 1.0) * e / 2.0 + (t - 1.0) * (t - 2.0) * e * e / 6.0 +
                 (t - 1.0) * (t - 2.0) * (t - 3.0) * e * e * e / 24.0);
    } else {
        x = (std::pow(r, t) - 1.0) / (r - 1.0);
    }
    if (t >= 0.0 && t <= 1.0) {
        if (x < 0.0) x = 0.0;
        else if (x > 1.0) x = 1.0;
    }
    return x;
}

} // namespace detail
} // namespace tessora1d
} // namespace vx4
