// tessora1d laws: named node distributions along an edge, and the solvers that answer the
// questions users ask of them ("what ratio gives this first cell?", "how many layers reach
// this thickness?").
//
// Header-only: every function is inline, so nothing here enters libvx4tessora1d.so. The
// bridge functions call the library (interpolate_coordinates), so a program that uses them
// links vx4::tessora1d as usual.
#pragma once

#include <vx4/tessora1d.h>

#include <cmath>
#include <limits>
#include <utility>

namespace vx4 {
namespace tessora1d {

/// Named node distributions (geometric, bump, beta, tanh, ...) and their solvers.
///
/// A law gives, for a count of elements n, the n + 1 node fractions of an edge (0 first, 1 last,
/// strictly increasing) and the size at every node. Sizes and element lengths are fractions of
/// the edge length. The size at a node is the law's local spacing, the derivative of the
/// fraction with respect to the node number; for a geometric progression it is exactly the size
/// that the library's linear size model needs to place the same nodes, so the end sizes of a
/// geometric law given to `mesh_straight` rebuild it. Every function returns 0 on success, -k
/// when its k-th argument (counted from 1, outputs included) is invalid, and -199 when an output
/// cannot be grown; outputs are left untouched on failure.
namespace laws {

/// Relative slack under which a requested size is taken as met exactly (count 1, fits that
/// reach a length "exactly" despite rounding).
inline constexpr double fit_tolerance = 1e-12;

/// Largest number of safeguarded Newton steps any solver of this module takes.
inline constexpr int max_solver_steps = 200;

/// @cond INTERNAL
namespace detail {

inline constexpr double eps = std::numeric_limits<double>::epsilon();
inline constexpr double pi = 3.14159265358979323846;
// Newton stops once a step moves the root by less than this many ulps.
inline constexpr double root_tolerance = 4 * eps;
// Below this |n a| the mean index of a geometric sum comes from its series: the closed form
// cancels, the series' first dropped term is (n a)^3 / 360 relative.
inline constexpr double mean_index_series_limit = 1e-4;
// Below this argument sinh(y)/y and sin(y)/y come from their series (no 0/0 at y = 0).
inline constexpr double sinc_series_limit = 1e-4;
// Relative step of the finite-difference Jacobian of the tanh end fit (in log sizes).
inline constexpr double fit_jacobian_step = 1e-7;
// The tanh end fit stops at this residual (log of the size ratio); the promise is 1e-10.
inline constexpr double tanh_fit_target = 1e-13;
inline constexpr double tanh_fit_accept = 1e-11;
inline constexpr int tanh_fit_steps = 60;

inline bool is_finite_positive(double v) { return v > 0.0 && v <= no_limit; }

// A count n of elements with n + 1 nodes that still fit an unsigned index.
inline bool is_valid_count(unsigned n) { return n >= 1 && n < no_count_bound; }

// Sizes both outputs to n + 1 entries, or leaves both as they were.
inline bool size_outputs(unsigned n, dense1D<double>& fractions, dense1D<double>& sizes) {
    if (!fractions.reserve(n + 1) || !sizes.reserve(n + 1)) return false;
    fractions.resize(n + 1);
    sizes.resize(n + 1);
    return true;
}

// Fills nodes 0 .. n from a half-law: `left(i)` gives (fraction, size) of node i measured from
// the start, `right(j)` the same measured from the end for node n - j. Each node comes from the
// nearer end, so small end cells keep their relative accuracy at both ends and a symmetric law
// is symmetric to the last bit; `symmetric` also pins its middle node of an even count to 1/2.
template <class Left, class Right>
inline void fill_from_both_ends(unsigned n, dense1D<double>& fractions, dense1D<double>& sizes, Left left,
                                Right right, bool symmetric = false) {
    double* x = fractions.data();
    double* h = sizes.data();
    for (unsigned i = 0; 2 * static_cast<unsigned long long>(i) <= n; ++i) {
        const auto v = left(i);
        x[i] = v.first;
        h[i] = v.second;
    }
    for (unsigned j = 0; 2 * static_cast<unsigned long long>(j) < n; ++j) {
        const auto v = right(j);
        x[n - j] = 1.0 - v.first;
        h[n - j] = v.second;
    }
    x[0] = 0.0;
    x[n] = 1.0;
    if (symmetric && n % 2 == 0) x[n / 2] = 0.5;
}

// Continuous geometric map of [0, 1] onto itself whose slope grows by e^mu from t = 0 to t = 1:
// G(t) = (e^(mu t) - 1) / (e^mu - 1), written without overflow or cancellation for any mu.
// Returns G(t) and dG/dt, sharing the exponential between them.
inline std::pair<double, double> geo(double t, double mu) {
    if (mu == 0.0) return {t, 1.0};
    if (mu > 0.0) {
        const double e = std::exp((t - 1.0) * mu), scale = 1.0 / -std::expm1(-mu);
        return {e * -std::expm1(-t * mu) * scale, mu * e * scale};
    }
    const double m = std::expm1(t * mu), scale = 1.0 / std::expm1(mu);
    // 1 + m keeps its relative accuracy while e^(t mu) stays above 1/2.
    const double e = m > -0.5 ? 1.0 + m : std::exp(t * mu);
    return {m * scale, mu * e * scale};
}

// ln(sum_{i<n} e^(i lam)): the log of a geometric sum of n terms of ratio e^lam, without overflow.
inline double log_geometric_sum(unsigned n, double lam) {
    if (lam == 0.0) return std::log(static_cast<double>(n));
    if (lam > 0.0) return (n - 1.0) * lam + std::log(std::expm1(-(n * lam)) / std::expm1(-lam));
    return std::log(std::expm1(n * lam) / std::expm1(lam));
}

// d/dlam of log_geometric_sum: the mean index under weights e^(i lam), in [0, n - 1].
inline double mean_index(unsigned n, double lam) {
    if (lam > 0.0) return (n - 1.0) - mean_index(n, -lam);
    const double a = -lam, na = n * a;
    if (na < mean_index_series_limit) return 0.5 * (n - 1.0) - (static_cast<double>(n) * n - 1.0) * a / 12.0;
    return 1.0 / std::expm1(a) - n / std::expm1(na);
}

// Root of an increasing f on [lo, hi] with f(lo) <= 0 <= f(hi), by Newton steps from hi, a
// bisection whenever a step leaves the bracket or fails to halve |f|. `f(x, slope)` returns the
// value and sets the slope. Converges quadratically near the root; never leaves the bracket.
template <class F>
inline double newton_in_bracket(F f, double lo, double hi) {
    double x = hi, previous = std::numeric_limits<double>::infinity();
    for (int step = 0; step < max_solver_steps; ++step) {
        double slope = 0.0;
        const double v = f(x, slope);
        if (v == 0.0) return x;
        if (v < 0.0) lo = x;
        else hi = x;
        double next = x - v / slope;
        if (!(slope > 0.0) || !(next > lo && next < hi) || std::fabs(v) > 0.5 * previous) next = 0.5 * (lo + hi);
        previous = std::fabs(v);
        if (std::fabs(next - x) <= root_tolerance * std::fabs(x) || hi - lo <= root_tolerance * std::fabs(hi))
            return next;
        x = next;
    }
    return x;
}

// lam = ln(ratio) of n geometric elements whose sum is `target` times the first (1 < target;
// target = n gives 0). ln S(lam) is convex and increasing, so the tangent at 0 and the bound
// S >= e^((n-1) lam) bracket the root from the right, and S < 1 / (1 - e^lam) from the left.
inline double solve_log_ratio(unsigned n, double target) {
    const double goal = std::log(target), uniform = std::log(static_cast<double>(n));
    if (goal == uniform) return 0.0;
    const double tangent = 2.0 * (goal - uniform) / (n - 1.0);
    double lo, hi;
    if (goal > uniform) {
        lo = 0.0;
        hi = std::fmin(tangent, goal / (n - 1.0));
    } else {
        lo = std::log1p(-1.0 / target);
        hi = tangent;
    }
    auto f = [n, goal](double lam, double& slope) {
        slope = mean_index(n, lam);
        return log_geometric_sum(n, lam) - goal;
    };
    return newton_in_bracket(f, lo, hi);
}

// The two Vinokur maps. With y the root of sinh(y)/y = B (B > 1) or sin(y)/y = B (B < 1),
// u(xi) = 1/2 + tanh(y (xi - 1/2)) / (2 tanh(y / 2)) or its tan form; written here as
// sinh(y xi) / (2 sinh(y/2) cosh(y (1/2 - xi))), which has no cancellation near xi = 0.
struct vinokur_map {
    double y = 0.0;
    int branch = 0;        // +1 hyperbolic, -1 trigonometric, 0 uniform (B = 1)
    double value_scale = 0.5, slope_scale = 1.0; // 1 / (2 sinh(y/2)) and y / (2 tanh(y/2)), or sin, tan

    void set(double root, int kind) {
        y = root;
        branch = kind;
        if (kind > 0) {
            value_scale = 0.5 / std::sinh(0.5 * y);
            slope_scale = 0.5 * y / std::tanh(0.5 * y);
        } else if (kind < 0) {
            value_scale = 0.5 / std::sin(0.5 * y);
            slope_scale = 0.5 * y / std::tan(0.5 * y);
        }
    }

    // u(xi) for xi in [0, 1/2], and du/dxi in `slope`.
    double u(double xi, double& slope) const {
        const double c = 0.5 - xi;
        if (branch > 0) {
            const double ch = std::cosh(y * c);
            slope = slope_scale / ch / ch;
            return std::sinh(y * xi) * value_scale / ch;
        }
        if (branch < 0) {
            const double co = std::cos(y * c);
            slope = slope_scale / co / co;
            return std::sin(y * xi) * value_scale / co;
        }
        slope = 1.0;
        return xi;
    }
};

// ln(sinh(y)/y) and its derivative coth(y) - 1/y, convex and increasing on y > 0.
inline double log_sinhc(double y, double& slope) {
    if (y < sinc_series_limit) {
        slope = y / 3.0 - y * y * y / 45.0;
        return y * y / 6.0 - y * y * y * y / 180.0;
    }
    slope = 1.0 / std::tanh(y) - 1.0 / y;
    if (y > 700.0) return y - std::log(2.0 * y); // sinh would overflow; e^-2y is far below rounding
    return std::log(std::sinh(y) / y);
}

// -ln(sin(y)/y) and its derivative 1/y - cot(y), convex and increasing on (0, pi).
inline double log_sinc(double y, double& slope) {
    if (y < sinc_series_limit) {
        slope = y / 3.0 + y * y * y / 45.0;
        return y * y / 6.0 + y * y * y * y / 180.0;
    }
    slope = 1.0 / y - 1.0 / std::tan(y);
    return -std::log(std::sin(y) / y);
}

// Solves sinh(y)/y = B or sin(y)/y = B. Both logs are convex, increasing, 0 at 0 and at most
// (sinh) or at least (sin) y^2 / 6, which gives the bracket; Newton then needs a handful of steps.
inline vinokur_map solve_vinokur(double B) {
    vinokur_map m;
    if (B == 1.0) return m;
    const double goal = std::fabs(std::log(B));
    if (B > 1.0) {
        const double lo = std::sqrt(6.0 * goal);
        double hi = std::fmax(2.0 * lo, 1.0), slope = 0.0;
        while (log_sinhc(hi, slope) < goal) hi *= 2.0;
        m.set(newton_in_bracket([goal](double y, double& s) { return log_sinhc(y, s) - goal; }, lo, hi), 1);
        return m;
    }
    const double top = pi * (1.0 - 4.0 * eps);
    double slope = 0.0;
    if (log_sinc(top, slope) <= goal) {
        // sin(y)/y = B below about 1e-15: y = pi - e with e / (pi - e) = B to within e^3.
        m.set(pi / (1.0 + B), -1);
        return m;
    }
    const double hi = std::fmin(std::sqrt(6.0 * goal), top);
    m.set(newton_in_bracket([goal](double y, double& s) { return log_sinc(y, s) - goal; }, 0.0, hi), -1);
    return m;
}

// Vinokur's two-sided stretching for n cells whose end slopes (sizes per cell) are t0 and t1:
// A = sqrt(t1 / t0), B = 1 / (n sqrt(t0 t1)), s(u) = u / (A + (1 - A) u). The half from the end
// uses the mirrored map: 1 - s(xi; A) = s(1 - xi; 1 / A).
struct vinokur_law {
    unsigned n = 1;
    double A = 1.0;
    vinokur_map map;

    vinokur_law(unsigned cells, double t0, double t1) : n(cells) {
        const double r0 = std::sqrt(t0), r1 = std::sqrt(t1);
        A = r1 / r0;
        map = solve_vinokur(1.0 / (n * r0 * r1));
    }

    // Fraction and size of the node j cells from the start (a = A) or from the end (a = 1 / A).
    std::pair<double, double> node(unsigned j, double a) const {
        double du = 0.0;
        const double u = map.u(static_cast<double>(j) / n, du);
        const double d = a + (1.0 - a) * u;
        return {u / d, a * du / (d * d) / n};
    }
};

// Vinokur's law whose first and last cells (not slopes) are s0 and s1: Newton on the log end
// slopes with a finite-difference Jacobian and backtracking. False when the residual does not
// fall below the acceptance level.
inline bool fit_vinokur(unsigned n, double s0, double s1, vinokur_law& law) {
    const double g0 = std::log(s0), g1 = std::log(s1);
    auto residual = [&](double a, double b, double r[2], vinokur_law& out) {
        out = vinokur_law(n, std::exp(a), std::exp(b));
        r[0] = std::log(out.node(1, out.A).first) - g0;
        r[1] = std::log(out.node(1, 1.0 / out.A).first) - g1;
        const double e = std::fmax(std::fabs(r[0]), std::fabs(r[1]));
        return e == e ? e : std::numeric_limits<double>::infinity();
    };
    double a = g0, b = g1, r[2];
    vinokur_law trial(n, s0, s1);
    double err = residual(a, b, r, law);
    for (int step = 0; step < tanh_fit_steps && err > tanh_fit_target; ++step) {
        double ra[2], rb[2];
        const double h = fit_jacobian_step;
        residual(a + h, b, ra, trial);
        residual(a, b + h, rb, trial);
        const double j00 = (ra[0] - r[0]) / h, j01 = (rb[0] - r[0]) / h;
        const double j10 = (ra[1] - r[1]) / h, j11 = (rb[1] - r[1]) / h;
        const double det = j00 * j11 - j01 * j10;
        if (!(std::fabs(det) > 0.0)) break;
        const double da = -(j11 * r[0] - j01 * r[1]) / det, db = -(j00 * r[1] - j10 * r[0]) / det;
        double scale = 1.0, rt[2], et = 0.0;
        for (; scale > 1e-6; scale *= 0.5) {
            et = residual(a + scale * da, b + scale * db, rt, trial);
            if (et < err) break;
        }
        if (!(et < err)) break; // no further progress at the rounding level
        a += scale * da;
        b += scale * db;
        r[0] = rt[0];
        r[1] = rt[1];
        err = et;
        law = trial;
    }
    return err <= tanh_fit_accept;
}

// Beta law clustered at 0 (Roberts' boundary-layer stretching): x = 1 - beta tanh(c (1 - xi))
// with tanh(c) = 1 / beta, written as beta sinh(c xi) / (cosh(c) cosh(c (1 - xi))) to avoid the
// cancellation next to the wall. Returns the fraction; `slope` gets dx/dxi.
inline double beta_map(double xi, double beta, double c, double& slope) {
    const double ch = std::cosh(c * (1.0 - xi));
    slope = beta * c / ch / ch;
    return beta * std::sinh(c * xi) / (std::cosh(c) * ch);
}

// c = atanh(1 / beta), from beta - 1 (exact for beta <= 2) so that beta close to 1 keeps its digits.
inline double beta_constant(double beta) { return 0.5 * std::log1p(2.0 / (beta - 1.0)); }

inline bool is_valid_fractions(const dense1D<double>& f) {
    const unsigned m = f.size();
    if (m < 2 || f[0] != 0.0 || f[m - 1] != 1.0) return false;
    for (unsigned i = 1; i < m; ++i)
        if (!(f[i] > f[i - 1])) return false;
    return true;
}

// Arithmetic progression from end sizes a0 and a1 (a0 + a1 = 2 / n); each node is summed from
// its nearer end.
inline int arithmetic(unsigned n, double a0, double a1, dense1D<double>& fractions, dense1D<double>& sizes) {
    if (!size_outputs(n, fractions, sizes)) return -199;
    const double d = n > 1 ? (a1 - a0) / (n - 1.0) : 0.0;
    auto from = [=](double end, double step, unsigned i) {
        const double k = i;
        return std::make_pair(k * end + 0.5 * k * (k - 1.0) * step,
                              i == 0 ? end : end + (k - 0.5) * step);
    };
    fill_from_both_ends(
        n, fractions, sizes, [=](unsigned i) { return from(a0, d, i); }, [=](unsigned j) { return from(a1, -d, j); });
    return 0;
}

inline bool is_arithmetic_end(unsigned n, double a) {
    if (n == 1) return std::fabs(a - 1.0) <= fit_tolerance;
    return a > 0.0 && a < 2.0 / n;
}

// Geometric progression of n elements with ln(ratio) = lam.
inline void geometric_fill(unsigned n, double lam, dense1D<double>& fractions, dense1D<double>& sizes) {
    const double mu = n * lam;
    fill_from_both_ends(
        n, fractions, sizes,
        [=](unsigned i) {
            const auto g = geo(static_cast<double>(i) / n, mu);
            return std::make_pair(g.first, g.second / n);
        },
        [=](unsigned j) {
            const auto g = geo(static_cast<double>(j) / n, -mu);
            return std::make_pair(g.first, g.second / n);
        });
}
} // namespace detail
/// @endcond

// ---------------------------------------------------------------------------------------------
// Laws: node fractions and node sizes for a count of elements
// ---------------------------------------------------------------------------------------------

/// Evenly spaced nodes.
///
/// @param[in]  count     Number of elements (>= 1, below no_count_bound).
/// @param[out] fractions Emptied first, then count + 1 node fractions: 0 first, 1 last, strictly increasing.
/// @param[out] sizes     Emptied first, then count + 1 node sizes, all 1 / count.
/// @return 0 on success; -1 when count is 0 or no_count_bound; -199 when an output cannot be grown.
/// @par On failure
/// Outputs untouched.
inline int uniform(unsigned count, dense1D<double>& fractions, dense1D<double>& sizes) {
    if (!detail::is_valid_count(count)) return -1;
    if (!detail::size_outputs(count, fractions, sizes)) return -199;
    const double h = 1.0 / count;
    detail::fill_from_both_ends(
        count, fractions, sizes, [=](unsigned i) { return std::make_pair(static_cast<double>(i) / count, h); },
        [=](unsigned j) { return std::make_pair(static_cast<double>(j) / count, h); });
    return 0;
}

/// Elements growing (or shrinking) by a constant difference, the first one given.
///
/// @param[in]  count     Number of elements (>= 1, below no_count_bound).
/// @param[in]  first     First element's size as a fraction of the length, in (0, 2 / count); the last is
///                       then 2 / count - first. With count = 1 it must be 1 (to fit_tolerance).
/// @param[out] fractions Emptied first, then count + 1 node fractions: 0 first, 1 last, strictly increasing.
/// @param[out] sizes     Emptied first, then count + 1 node sizes: the end elements at the ends, the mean of
///                       the two adjacent elements inside.
/// @return 0 on success; -1 bad count; -2 first outside its range; -199 when an output cannot be grown.
/// @par On failure
/// Outputs untouched.
inline int arithmetic_first(unsigned count, double first, dense1D<double>& fractions, dense1D<double>& sizes) {
    if (!detail::is_valid_count(count)) return -1;
    if (!detail::is_arithmetic_end(count, first)) return -2;
    const double a0 = count == 1 ? 1.0 : first;
    return detail::arithmetic(count, a0, 2.0 / count - a0, fractions, sizes);
}

/// Elements in arithmetic progression, the last one given: arithmetic_first mirrored.
///
/// @param[in]  count     Number of elements (>= 1, below no_count_bound).
/// @param[in]  last      Last element's size as a fraction of the length, in (0, 2 / count) (1 when count = 1).
/// @param[out] fractions Emptied first, then count + 1 node fractions: 0 first, 1 last, strictly increasing.
/// @param[out] sizes     Emptied first, then count + 1 node sizes, as in arithmetic_first.
/// @return 0 on success; -1 bad count; -2 last outside its range; -199 when an output cannot be grown.
/// @par On failure
/// Outputs untouched.
inline int arithmetic_last(unsigned count, double last, dense1D<double>& fractions, dense1D<double>& sizes) {
    if (!detail::is_valid_count(count)) return -1;
    if (!detail::is_arithmetic_end(count, last)) return -2;
    const double a1 = count == 1 ? 1.0 : last;
    return detail::arithmetic(count, 2.0 / count - a1, a1, fractions, sizes);
}





/// Elements in geometric progression: each one `ratio` times the one before.
///
/// @param[in]  count     Number of elements (>= 1, below no_count_bound).
/// @param[in]  ratio     Size of an element over the size of the one before, finite and > 0 (1: uniform).
/// @param[out] fractions Emptied first, then count + 1 node fractions: 0 first, 1 last, strictly increasing.
/// @param[out] sizes     Emptied first, then count + 1 node sizes, in progression of the same ratio; the end
///                       values are the sizes that make mesh_straight rebuild these nodes.
/// @return 0 on success; -1 bad count; -2 bad ratio; -199 when an output cannot be grown.
/// @par On failure
/// Outputs untouched.
/// @par Notes
/// Closed forms with expm1, no running sum: every fraction is accurate to a few ulps of itself (of
/// 1 - itself in the second half), also for ratios of 1 +- 1e-12 and for 10^6 elements. Elements
/// that fall below 1e-308 of the length underflow, and fractions then stop increasing strictly.
inline int geometric(unsigned count, double ratio, dense1D<double>& fractions, dense1D<double>& sizes) {
    if (!detail::is_valid_count(count)) return -1;
    if (!detail::is_finite_positive(ratio)) return -2;
    if (!detail::size_outputs(count, fractions, sizes)) return -199;
    detail::geometric_fill(count, std::log(ratio), fractions, sizes);
    return 0;
}

/// Geometric progression whose first element is given, the ratio being solved (see solve_ratio).
///
/// @param[in]  count     Number of elements (>= 1, below no_count_bound).
/// @param[in]  first     First element's size as a fraction of the length, in (0, 1); 1 (to fit_tolerance)
///                       when count = 1.
/// @param[out] fractions Emptied first, then count + 1 node fractions: 0 first, 1 last, strictly increasing.
///                       fractions[1] equals first to about 1e-14 relative.
/// @param[out] sizes     Emptied first, then count + 1 node sizes, as in geometric.
/// @return 0 on success; -1 bad count; -2 first outside its range; -199 when an output cannot be grown.
/// @par On failure
/// Outputs untouched.
/// @par Notes
/// The solved ratio is used as its logarithm, never rounded to a double ratio in between, so the
/// first element is reproduced to rounding even for 10^6 elements.
inline int geometric_first(unsigned count, double first, dense1D<double>& fractions, dense1D<double>& sizes) {
    if (!detail::is_valid_count(count)) return -1;
    if (count == 1) {
        if (!(std::fabs(first - 1.0) <= fit_tolerance)) return -2;
        return geometric(1, 1.0, fractions, sizes);
    }
    if (!(first > 0.0 && first < 1.0)) return -2;
    if (!detail::size_outputs(count, fractions, sizes)) return -199;
    detail::geometric_fill(count, detail::solve_log_ratio(count, 1.0 / first), fractions, sizes);
    return 0;
}

/// Geometric progression from a first and a last element size, the count following from them.
///
/// The progression that starts at `first`, ends at `last` and sums to the length has ratio
/// (1 - first) / (1 - last) and 1 + ln(last / first) / ln(ratio) elements; that count is rounded
/// to the nearest integer (at least 1) and the ratio solved again for it, so the first element is
/// exact and the last one close to `last`.
///
/// @param[in]  first     First element's size as a fraction of the length, in (0, 1).
/// @param[in]  last      Last element's size as a fraction of the length, in (0, 1).
/// @param[out] count     The number of elements.
/// @param[out] fractions Emptied first, then count + 1 node fractions: 0 first, 1 last, strictly increasing.
/// @param[out] sizes     Emptied first, then count + 1 node sizes, as in geometric.
/// @return 0 on success; -1 first outside (0, 1), or so small that the count would reach
///         no_count_bound; -2 last outside (0, 1); -199 when an output cannot be grown.
/// @par On failure
/// Outputs untouched.
inline int geometric_ends(double first, double last, unsigned& count, dense1D<double>& fractions,
                          dense1D<double>& sizes) {
    if (!(first > 0.0 && first < 1.0)) return -1;
    if (!(last > 0.0 && last < 1.0)) return -2;
    double cells = 1.0 / first;
    if (first != last) {
        // ln(ratio) = ln((1 - first) / (1 - last)) = log1p((last - first) / (1 - last)).
        cells = 1.0 + std::log(last / first) / std::log1p((last - first) / (1.0 - last));
    }
    const double rounded = std::fmax(1.0, std::floor(cells + 0.5));
    if (!(rounded < static_cast<double>(no_count_bound))) return -1;
    const unsigned n = static_cast<unsigned>(rounded);
    const int code = n == 1 ? geometric(1, 1.0, fractions, sizes) : geometric_first(n, first, fractions, sizes);
    if (code == 0) count = n;
    return code == -2 ? -1 : code;
}

/// Refined (or coarsened) at both ends: geometric growth from each end to the middle, symmetric.
///
/// @param[in]  count     Number of elements (>= 1, below no_count_bound).
/// @param[in]  ratio     Node size at the ends over node size at the middle, finite and > 0: below 1 clusters
///                       the nodes at both ends, above 1 in the middle, 1 is uniform.
/// @param[out] fractions Emptied first, then count + 1 node fractions: 0 first, 1 last, strictly increasing,
///                       fractions[count - i] = 1 - fractions[i] exactly.
/// @param[out] sizes     Emptied first, then count + 1 node sizes, symmetric; sizes[0] / sizes[count / 2] is
///                       ratio exactly for an even count.
/// @return 0 on success; -1 bad count; -2 bad ratio; -199 when an output cannot be grown.
/// @par On failure
/// Outputs untouched.
/// @par Notes
/// Each half is the continuous geometric map sampled at the node numbers, so the spacing has no kink
/// at the middle, also for an odd count whose middle element straddles it.
inline int bump(unsigned count, double ratio, dense1D<double>& fractions, dense1D<double>& sizes) {
    if (!detail::is_valid_count(count)) return -1;
    if (!detail::is_finite_positive(ratio)) return -2;
    if (!detail::size_outputs(count, fractions, sizes)) return -199;
    const double mu = -std::log(ratio);
    auto half = [=](unsigned i) {
        const auto g = detail::geo(2.0 * i / count, mu);
        return std::make_pair(0.5 * g.first, g.second / count);
    };
    detail::fill_from_both_ends(count, fractions, sizes, half, half, true);
    return 0;
}

/// Boundary-layer clustering at the start (the beta law of Roberts' stretching).
///
/// x(xi) = 1 - beta tanh(c (1 - xi)) with tanh(c) = 1 / beta, at xi = i / count.
///
/// @param[in]  count     Number of elements (>= 1, below no_count_bound).
/// @param[in]  beta      Clustering parameter, finite and > 1: close to 1 clusters strongly at the start,
///                       large values tend to uniform spacing.
/// @param[out] fractions Emptied first, then count + 1 node fractions: 0 first, 1 last, strictly increasing.
/// @param[out] sizes     Emptied first, then count + 1 node sizes (dx/dxi / count), increasing.
/// @return 0 on success; -1 bad count; -2 beta not above 1 or not finite; -199 when an output cannot be grown.
/// @par On failure
/// Outputs untouched.
inline int beta_law(unsigned count, double beta, dense1D<double>& fractions, dense1D<double>& sizes) {
    if (!detail::is_valid_count(count)) return -1;
    if (!(beta > 1.0 && beta <= no_limit)) return -2;
    if (!detail::size_outputs(count, fractions, sizes)) return -199;
    const double c = detail::beta_constant(beta);
    double* x = fractions.data();
    double* h = sizes.data();
    for (unsigned i = 0; i <= count; ++i) {
        double slope = 0.0;
        x[i] = detail::beta_map(static_cast<double>(i) / count, beta, c, slope);
        h[i] = slope / count;
    }
    x[0] = 0.0;
    x[count] = 1.0;
    return 0;
}

/// Boundary-layer clustering at both ends: the beta law on each half, mirrored.
///
/// x(xi) = 1/2 + (beta / 2) tanh(c (2 xi - 1)) with tanh(c) = 1 / beta.
///
/// @param[in]  count     Number of elements (>= 1, below no_count_bound).
/// @param[in]  beta      Clustering parameter, finite and > 1 (close to 1: strong clustering at both ends).
/// @param[out] fractions Emptied first, then count + 1 node fractions: 0 first, 1 last, strictly increasing,
///                       fractions[count - i] = 1 - fractions[i] exactly.
/// @param[out] sizes     Emptied first, then count + 1 node sizes, symmetric.
/// @return 0 on success; -1 bad count; -2 beta not above 1 or not finite; -199 when an output cannot be grown.
/// @par On failure
/// Outputs untouched.
inline int beta_law_two_sided(unsigned count, double beta, dense1D<double>& fractions, dense1D<double>& sizes) {
    if (!detail::is_valid_count(count)) return -1;
    if (!(beta > 1.0 && beta <= no_limit)) return -2;
    if (!detail::size_outputs(count, fractions, sizes)) return -199;
    const double c = detail::beta_constant(beta);
    auto half = [=](unsigned i) {
        double slope = 0.0;
        const double x = 0.5 * detail::beta_map(2.0 * i / count, beta, c, slope);
        return std::make_pair(x, slope / count);
    };
    detail::fill_from_both_ends(count, fractions, sizes, half, half, true);
    return 0;
}

/// Two-sided hyperbolic-tangent stretching with given first and last elements (Vinokur, 1983).
///
/// With end slopes t0, t1: A = sqrt(t1 / t0), B = 1 / (count sqrt(t0 t1)), y the root of
/// sinh(y) / y = B (or sin(y) / y = B when B < 1, where tan replaces tanh),
/// u(xi) = 1/2 + tanh(y (xi - 1/2)) / (2 tanh(y / 2)) and x = u / (A + (1 - A) u). The slopes are then
/// adjusted so that the first and last elements, not merely the slopes, equal the requested sizes.
///
/// @param[in]  count     Number of elements (>= 3: fewer cannot honour two end sizes; below no_count_bound).
/// @param[in]  first     First element's size as a fraction of the length, in (0, 1).
/// @param[in]  last      Last element's size as a fraction of the length, in (0, 1 - first).
/// @param[out] fractions Emptied first, then count + 1 node fractions: 0 first, 1 last, strictly increasing.
/// @param[out] sizes     Emptied first, then count + 1 node sizes (the law's slope dx/dxi / count).
/// @return 0 on success; -1 count below 3 or no_count_bound; -2 first outside (0, 1); -3 last outside
///         (0, 1 - first), or the two sizes not met to 1e-11 relative; -199 when an output cannot be grown.
/// @par On failure
/// Outputs untouched.
/// @par Notes
/// sinh(y)/y = B and sin(y)/y = B are solved by Newton inside a bracket (their logarithms are convex,
/// so the steps from the right end never overshoot), typically in under 10 steps; the end fit is a
/// 2x2 Newton on the log slopes with backtracking, typically 2 to 8 steps (at most 60), and meets both
/// sizes to about 1e-13 relative. Equal sizes give a law symmetric to the last bit. The last element is measured from the end, before the
/// subtraction 1 - x: fractions next to 1 are spaced by 1.1e-16, so a last element below about 1e-6
/// of the length shows the requested size only to that absolute resolution.
inline int tanh_stretching(unsigned count, double first, double last, dense1D<double>& fractions,
                           dense1D<double>& sizes) {
    if (count < 3 || !detail::is_valid_count(count)) return -1;
    if (!(first > 0.0 && first < 1.0)) return -2;
    if (!(last > 0.0 && last < 1.0 - first)) return -3;
    detail::vinokur_law law(count, first, last);
    if (!detail::fit_vinokur(count, first, last, law)) return -3;
    if (!detail::size_outputs(count, fractions, sizes)) return -199;
    detail::fill_from_both_ends(
        count, fractions, sizes, [&](unsigned i) { return law.node(i, law.A); },
        [&](unsigned j) { return law.node(j, 1.0 / law.A); }, law.A == 1.0);
    return 0;
}

// ---------------------------------------------------------------------------------------------
// Solvers
// ---------------------------------------------------------------------------------------------

/// The ratio of a geometric progression of `count` elements that starts with `first` and sums to `length`.
///
/// @param[in]  length Total length, finite and > 0.
/// @param[in]  count  Number of elements (>= 1, below no_count_bound).
/// @param[in]  first  First element's size, in (0, length); equal to length (to fit_tolerance) when count = 1.
/// @param[out] ratio  The ratio (1 when count = 1 or first = length / count).
/// @return 0 on success; -1 bad length; -2 bad count; -3 first outside its range.
/// @par On failure
/// ratio untouched.
/// @par Notes
/// Solves ln(sum of r^i) = ln(length / first) for ln r by Newton inside a bracket: the left side is
/// convex and increasing in ln r, the tangent at 0 bounds the root, and the iteration converges
/// quadratically, typically in 3 to 8 steps (at most max_solver_steps), to a few ulps of ln r.
inline int solve_ratio(double length, unsigned count, double first, double& ratio) {
    if (!detail::is_finite_positive(length)) return -1;
    if (!detail::is_valid_count(count)) return -2;
    if (count == 1) {
        if (!(std::fabs(first - length) <= fit_tolerance * length)) return -3;
        ratio = 1.0;
        return 0;
    }
    if (!(first > 0.0 && first < length)) return -3;
    ratio = std::exp(detail::solve_log_ratio(count, length / first));
    return 0;
}

/// The smallest count of geometric elements, starting at `first` and growing by `ratio`, that reaches `length`.
///
/// Answers "how many layers reach this thickness?". The count is rounded up: the n-th partial sum is
/// the first one at least length (1 - fit_tolerance), so an exact fit is not pushed one element on by
/// rounding. solve_ratio then gives the ratio that makes the count fit the length exactly.
///
/// @param[in]  length Length to reach, finite and > 0.
/// @param[in]  first  First element's size, finite and > 0 (first >= length gives 1).
/// @param[in]  ratio  Growth ratio, finite and > 0; below 1 the sum must still reach the length.
/// @param[out] count  The count.
/// @return 0 on success; -1 bad length; -2 bad first, or first so small that the count would reach
///         no_count_bound; -3 bad ratio, or a ratio below 1 whose whole series first / (1 - ratio)
///         stays short of the length.
/// @par On failure
/// count untouched.
inline int solve_count(double length, double first, double ratio, unsigned& count) {
    if (!detail::is_finite_positive(length)) return -1;
    if (!detail::is_finite_positive(first)) return -2;
    if (!detail::is_finite_positive(ratio)) return -3;
    const double goal = length * (1.0 - fit_tolerance) / first;
    if (goal <= 1.0) {
        count = 1;
        return 0;
    }
    const double lam = std::log(ratio);
    // n = ln(1 + goal (r - 1)) / ln r, from the sum goal = (r^n - 1) / (r - 1).
    double cells = goal;
    if (lam != 0.0) {
        const double inside = goal * std::expm1(lam);
        if (!(inside > -1.0)) return -3;
        cells = std::log1p(inside) / lam;
    }
    double n = std::ceil(cells);
    // The closed form may land one off at the rounding level: settle on the partial sums.
    const double log_goal = std::log(goal);
    while (n > 1.0 && n - 1.0 < no_count_bound &&
           detail::log_geometric_sum(static_cast<unsigned>(n - 1.0), lam) >= log_goal)
        n -= 1.0;
    if (!(n < static_cast<double>(no_count_bound))) return lam < 0.0 ? -3 : -2;
    while (detail::log_geometric_sum(static_cast<unsigned>(n), lam) < log_goal) n += 1.0;
    if (!(n < static_cast<double>(no_count_bound))) return -2;
    count = static_cast<unsigned>(n);
    return 0;
}

/// Boundary-layer calculator, thickness form: the fewest layers from `first`, growing by at most
/// `max_ratio`, that fill `thickness` exactly, and the ratio that does it.
///
/// @param[in]  thickness Total thickness, finite and > 0.
/// @param[in]  first     First layer's size, finite and > 0 (first >= thickness gives one layer).
/// @param[in]  max_ratio Largest allowed growth ratio, finite and > 0.
/// @param[out] count     Number of layers: solve_count(thickness, first, max_ratio).
/// @param[out] ratio     solve_ratio(thickness, count, first), not above max_ratio (1 for one layer).
/// @return 0 on success; -1 bad thickness; -2 bad first (or a count reaching no_count_bound); -3 bad
///         max_ratio, or one below 1 that cannot fill the thickness.
/// @par On failure
/// count and ratio untouched.
inline int layers_to_thickness(double thickness, double first, double max_ratio, unsigned& count, double& ratio) {
    unsigned n = 0;
    const int code = solve_count(thickness, first, max_ratio, n);
    if (code != 0) return code;
    double r = 1.0;
    if (n > 1) solve_ratio(thickness, n, first, r);
    count = n;
    ratio = std::fmin(r, max_ratio);
    return 0;
}

/// Boundary-layer calculator, last-size form: the fewest layers growing from `first` to `last` at a
/// constant ratio of at most `max_ratio`, that ratio, and the thickness they fill.
///
/// @param[in]  first     First layer's size, finite and > 0.
/// @param[in]  last      Last layer's size, finite and >= first.
/// @param[in]  max_ratio Largest allowed growth ratio, finite; above 1 unless last equals first.
/// @param[out] count     Number of layers: 1 + ceil(ln(last / first) / ln(max_ratio)) (1 when last = first).
/// @param[out] ratio     (last / first)^(1 / (count - 1)), not above max_ratio (1 for one layer).
/// @param[out] thickness Sum of the layers.
/// @return 0 on success; -1 bad first; -2 last below first or not finite; -3 max_ratio not finite, or not
///         above 1 while last exceeds first (no growth can reach it), or so close to 1 that the count
///         would reach no_count_bound.
/// @par On failure
/// count, ratio and thickness untouched.
inline int layers_to_size(double first, double last, double max_ratio, unsigned& count, double& ratio,
                          double& thickness) {
    if (!detail::is_finite_positive(first)) return -1;
    if (!(last >= first && last <= no_limit)) return -2;
    if (!(max_ratio > 0.0 && max_ratio <= no_limit)) return -3;
    if (last == first) {
        count = 1;
        ratio = 1.0;
        thickness = first;
        return 0;
    }
    if (!(max_ratio > 1.0)) return -3;
    const double steps = std::log(last / first) / std::log(max_ratio);
    // A quotient that is whole up to rounding is taken as whole.
    const double whole = std::ceil(steps * (1.0 - fit_tolerance));
    if (!(whole + 1.0 < static_cast<double>(no_count_bound))) return -3;
    const unsigned n = static_cast<unsigned>(whole) + 1;
    const double lam = std::log(last / first) / (n - 1.0);
    count = n;
    ratio = std::fmin(std::exp(lam), max_ratio);
    thickness = first * std::exp(detail::log_geometric_sum(n, lam));
    return 0;
}

// ---------------------------------------------------------------------------------------------
// Bridge to the library: a law turned into a chain of nodes in one call
// ---------------------------------------------------------------------------------------------

/// Places nodes at given fractions of the arc length of a polyline and appends the chain.
///
/// @param[in,out] pos       Coordinates, 2 or 3 rows, one column per node; fractions.size() - 2 new nodes
///                          are appended, interpolated linearly along the polyline.
/// @param[in]     polyline  Node indices of the polyline (>= 2, all below pos.cols(), non-zero length).
/// @param[in]     fractions Node fractions of a law: 0 first, 1 last, strictly increasing (>= 2 entries).
/// @param[out]    chain     Appended to: polyline's first node, the new nodes in order, polyline's last node.
/// @return 0 on success; -1 pos rows not 2 or 3; -2 a polyline shorter than 2 nodes, an index out of range,
///         or zero length; -3 fractions not as described; -199 when pos or chain cannot be grown.
/// @par On failure
/// pos and chain untouched.
/// @par Notes
/// The fractions measure arc length, so on a curved polyline the nodes follow the law along the curve.
inline int place_on_polyline(dense2D<double>& pos, const dense1D<unsigned>& polyline,
                             const dense1D<double>& fractions, dense1D<unsigned>& chain) {
    const unsigned dim = pos.rows(), cols = pos.cols(), m = polyline.size();
    if (dim != 2 && dim != 3) return -1;
    if (m < 2) return -2;
    for (unsigned k = 0; k < m; ++k)
        if (polyline[k] >= cols) return -2;
    if (!detail::is_valid_fractions(fractions)) return -3;
    dense1D<double> params;
    if (!params.resize(m)) return -199;
    params[0] = 0.0;
    for (unsigned k = 1; k < m; ++k) {
        double s = 0.0;
        for (unsigned r = 0; r < dim; ++r) {
            const double d = pos(r, polyline[k]) - pos(r, polyline[k - 1]);
            s += d * d;
        }
        params[k] = params[k - 1] + std::sqrt(s);
    }
    const double total = params[m - 1];
    if (!(total > 0.0 && total <= no_limit)) return -2;
    for (unsigned k = 1; k < m; ++k) params[k] /= total;
    params[m - 1] = 1.0;

    const unsigned inner = fractions.size() - 2;
    if (static_cast<unsigned long long>(cols) + inner >= no_count_bound) return -199;
    dense1D<unsigned> nodes;
    if (!nodes.resize(inner) || !pos.reserve(dim, cols + inner) || !chain.reserve(chain.size() + inner + 2))
        return -199;
    for (unsigned k = 0; k < inner; ++k) nodes[k] = cols + k;
    pos.resize(dim, cols + inner, 0.0);
    const int code = interpolate_coordinates(pos, polyline, params, nodes, fractions.sub_vector(1, inner));
    if (code != 0) {
        pos.resize(dim, cols);
        return code;
    }
    chain.push_back(polyline[0]);
    for (unsigned k = 0; k < inner; ++k) chain.push_back(cols + k);
    chain.push_back(polyline[m - 1]);
    return 0;
}

/// Extrudes a node along a vector with nodes at a law's fractions and appends the chain.
///
/// @param[in,out] coords    Coordinates, 2 or 3 rows; fractions.size() - 1 new nodes start + t direction are
///                          appended, one per fraction t after the first.
/// @param[in]     start     Index of the start node, below coords.cols().
/// @param[in]     direction The extrusion vector, as many finite entries as coords has rows, not all 0.
/// @param[in]     fractions Node fractions of a law: 0 first, 1 last, strictly increasing (>= 2 entries).
/// @param[out]    indices   Appended to: start, then the new nodes in order.
/// @return 0 on success; -1 coords rows not 2 or 3; -2 start out of range; -3 direction of the wrong size,
///         not finite or zero; -4 fractions not as described; -199 when coords or indices cannot be grown.
/// @par On failure
/// coords and indices untouched.
inline int extrude(dense2D<double>& coords, unsigned start, const dense1D<double>& direction,
                   const dense1D<double>& fractions, dense1D<unsigned>& indices) {
    const unsigned dim = coords.rows(), cols = coords.cols();
    if (dim != 2 && dim != 3) return -1;
    if (start >= cols) return -2;
    if (direction.size() != dim) return -3;
    double norm2 = 0.0;
    for (unsigned r = 0; r < dim; ++r) {
        if (!(std::fabs(direction[r]) <= no_limit)) return -3;
        norm2 += direction[r] * direction[r];
    }
    if (!(norm2 > 0.0)) return -3;
    if (!detail::is_valid_fractions(fractions)) return -4;
    const unsigned added = fractions.size() - 1;
    if (static_cast<unsigned long long>(cols) + added >= no_count_bound) return -199;
    if (!coords.reserve(dim, cols + added) || !indices.reserve(indices.size() + added + 1)) return -199;
    coords.resize(dim, cols + added);
    for (unsigned k = 0; k < added; ++k)
        for (unsigned r = 0; r < dim; ++r)
            coords(r, cols + k) = coords(r, start) + direction[r] * fractions[k + 1];
    indices.push_back(start);
    for (unsigned k = 0; k < added; ++k) indices.push_back(cols + k);
    return 0;
}

} // namespace laws
} // namespace tessora1d
} // namespace vx4
