#include <vx4/tessora1d.h>

#include <cmath>
#include <cstring>

#include "geometry/parameter_search.h"
#include "metrics/metric_algebra.h"

namespace vx4 {
namespace tessora1d {

namespace {

// Parameters closer than this count as one point, and local parameters this close to 0 or 1
// take the end value as is.
constexpr double parameter_tolerance = 1e-12;

bool is_non_decreasing(const double* v, unsigned n) {
    for (unsigned i = 1; i < n; ++i)
        if (v[i] < v[i - 1]) return false;
    return true;
}

bool are_valid_params(const dense1D<double>& params) {
    return params.size() >= 2 && is_non_decreasing(params.data(), params.size());
}

// Queries must stay inside the parameter range, so nothing is ever extrapolated.
bool are_valid_queries(const dense1D<double>& queries, const dense1D<double>& params) {
    const unsigned nq = queries.size();
    return is_non_decreasing(queries.data(), nq) && queries[0] >= params[0] &&
           queries[nq - 1] <= params[params.size() - 1];
}

// The two nodes around a query and its local parameter t between them (t = 0: node a).
struct bracket {
    unsigned a = 0, b = 0;
    double t = 0.0;
};

// Walks sorted queries along sorted parameters, each search resuming where the last one ended.
class bracket_walker {
public:
    explicit bracket_walker(const dense1D<double>& params) : p_(params.data()), n_(params.size()) {}

    bracket next(double s) {
        // Checked queries always find a bracket; only a NaN does not. It is evaluated on the
        // pair where the search stands and does not move the search.
        unsigned i = detail::lower_bound_from(p_, i_, n_, s);
        if (i < n_) i_ = i;
        else i = i_;
        bracket br;
        br.b = i;
        br.a = i > 0 ? i - 1 : 0;
        if (p_[br.a] + parameter_tolerance < p_[br.b]) br.t = (s - p_[br.a]) / (p_[br.b] - p_[br.a]);
        return br;
    }

private:
    const double* p_;
    unsigned n_;
    unsigned i_ = 0;
};

// Isotropic size at t between ha and hb; a non-positive end size leaves the interior undefined (0).
double interpolate_size(double ha, double hb, double t) {
    if (std::fabs(t) < parameter_tolerance) return ha;
    if (std::fabs(1.0 - t) < parameter_tolerance) return hb;
    if (ha > 0.0 && hb > 0.0) return ha + t * (hb - ha);
    return 0.0;
}

// Interpolation of one packed metric of `rows` entries (3 or 6) between two field columns.
bool interpolate_metric_column(unsigned rows, double t, const double* Ma, const double* Mb, double* out) {
    if (rows == 3) return detail::interpolate_metric_2d(t, Ma, Mb, out);
    return detail::interpolate_metric_3d(t, Ma, Mb, out);
}

void copy_column(const dense2D<double>& M, unsigned j, double* out) {
    for (unsigned r = 0; r < M.rows(); ++r) out[r] = M(r, j);
}

} // namespace

int interpolate_metrics(const dense1D<double>& params, const dense1D<double>& sizes, const dense1D<double>& queries,
                        dense1D<double>& out) {
    out.resize(0);
    if (queries.empty()) return 0;
    if (!are_valid_params(params)) return -1;
    if (sizes.size() != params.size()) return -2;
    if (!are_valid_queries(queries, params)) return -3;
    const unsigned nq = queries.size();
    if (!out.resize(nq)) return -199;

    bracket_walker walker(params);
    for (unsigned k = 0; k < nq; ++k) {
        const bracket br = walker.next(queries[k]);
        out[k] = interpolate_size(sizes[br.a], sizes[br.b], br.t);
    }
    return 0;
}

int interpolate_metrics(const dense1D<double>& params, const dense2D<double>& metrics, const dense1D<double>& queries,
                        dense2D<double>& out) {
    out.clear();
    if (queries.empty()) return 0;
    if (!are_valid_params(params)) return -1;
    const unsigned rows = metrics.rows();
    if (metrics.cols() != params.size() || (rows != 0 && rows != 1 && rows != 3 && rows != 6)) return -2;
    if (!are_valid_queries(queries, params)) return -3;
    const unsigned nq = queries.size();
    if (!out.resize(rows, nq)) {
        out.clear();
        return -199;
    }
    if (rows == 0) return 0;

    bracket_walker walker(params);
    if (rows == 1) {
        for (unsigned k = 0; k < nq; ++k) {
            const bracket br = walker.next(queries[k]);
            out(0, k) = interpolate_size(metrics(0, br.a), metrics(0, br.b), br.t);
        }
        return 0;
    }

    // A pair that cannot be reduced repeats the previous query's metric (zeros at first): the
    // field stays usable along the line and the call still succeeds.
    double previous[6] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    double Ma[6], Mb[6], M[6];
    for (unsigned k = 0; k < nq; ++k) {
        const bracket br = walker.next(queries[k]);
        copy_column(metrics, br.a, Ma);
        copy_column(metrics, br.b, Mb);
        if (interpolate_metric_column(rows, br.t, Ma, Mb, M)) std::memcpy(previous, M, sizeof(M));
        for (unsigned r = 0; r < rows; ++r) out(r, k) = previous[r];
    }
    return 0;
}

} // namespace tessora1d
} // namespace vx4
