// Runs fixed workloads of every exported family through the C++ API of the shared library and
// writes, for each, its inputs in the Python module's conventions (points as (n, dim) rows,
// indices as int64, -1 for "none") and the results the Python call must reproduce bit for bit.
//
// Output: <dir>/manifest.txt, one line per case "name|function|positional|keywords|outputs"
// (names separated by commas), and <dir>/<name>.<argument>.npy, <dir>/<name>.out.<field>.npy.
#include <vx4/tessora.h>
#include <vx4/tessora1d.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using vx4::dense1D;
using vx4::dense2D;
namespace t1 = vx4::tessora1d;

constexpr unsigned none = 4294967295u;
constexpr double largest = std::numeric_limits<double>::max();
const double pi = std::acos(-1.0);

std::string directory;
std::ofstream manifest;
int failures = 0;

// ---- npy writing -------------------------------------------------------------------------------

void write_npy(const std::string& file, const char* descr, const std::vector<std::size_t>& shape, const void* data,
               std::size_t bytes) {
    std::string header = std::string("{'descr': '") + descr + "', 'fortran_order': False, 'shape': (";
    for (std::size_t k = 0; k < shape.size(); ++k) header += std::to_string(shape[k]) + (shape.size() == 1 ? "," : k + 1 < shape.size() ? ", " : "");
    header += "), }";
    while ((10 + header.size() + 1) % 64 != 0) header += ' ';
    header += '\n';
    std::ofstream out(directory + "/" + file, std::ios::binary);
    out.write("\x93NUMPY\x01\x00", 8);
    const unsigned short length = static_cast<unsigned short>(header.size());
    out.put(static_cast<char>(length & 0xff)).put(static_cast<char>(length >> 8));
    out << header;
    out.write(static_cast<const char*>(data), static_cast<std::streamsize>(bytes));
}

// A value as the Python side sees it: its dtype, shape and bytes in C order.
struct value {
    const char* descr;
    std::vector<std::size_t> shape;
    std::vector<char> bytes;

    template <class T>
    static value of(const char* descr, std::vector<std::size_t> shape, const std::vector<T>& v) {
        value r{descr, std::move(shape), {}};
        r.bytes.resize(v.size() * sizeof(T));
        if (!v.empty()) std::memcpy(r.bytes.data(), v.data(), r.bytes.size());
        return r;
    }
};

// Points, metrics: one row per column of the matrix (`rows` given for an empty matrix).
value rows_of(const dense2D<double>& X, unsigned rows, unsigned first = 0, unsigned count = none) {
    const unsigned cols = X.empty() ? 0 : X.cols();
    if (count == none) count = cols - first;
    if (!X.empty()) rows = X.rows();
    std::vector<double> v;
    for (unsigned j = first; j < first + count; ++j)
        for (unsigned r = 0; r < rows; ++r) v.push_back(X(r, j));
    return value::of("<f8", {count, rows}, v);
}
// Connectivities: one row per element; entries not below `none_from` become -1.
value rows_of(const dense2D<unsigned>& C, unsigned rows, unsigned none_from = none) {
    const unsigned cols = C.empty() ? 0 : C.cols();
    if (!C.empty()) rows = C.rows();
    std::vector<std::int64_t> v;
    for (unsigned j = 0; j < cols; ++j)
        for (unsigned r = 0; r < rows; ++r) v.push_back(C(r, j) >= none_from ? -1 : std::int64_t(C(r, j)));
    return value::of("<i8", {cols, rows}, v);
}
value list(const dense1D<double>& x, unsigned first = 0) {
    return value::of("<f8", {x.size() - first}, std::vector<double>(x.begin() + first, x.end()));
}
value list(const dense1D<unsigned>& x) {
    return value::of("<i8", {x.size()}, std::vector<std::int64_t>(x.begin(), x.end()));
}
value list(std::initializer_list<double> x) { return value::of("<f8", {x.size()}, std::vector<double>(x)); }
value real(double x) { return value::of("<f8", {}, std::vector<double>{x}); }
value integer(long long x) { return value::of("<i8", {}, std::vector<std::int64_t>{x}); }
value flag(bool x) { return value::of("|b1", {}, std::vector<char>{static_cast<char>(x)}); }

// One case: inputs (positional in order, then keywords) and expected outputs.
class case_writer {
public:
    case_writer(std::string name, std::string function) : name_(std::move(name)), function_(std::move(function)) {}
    ~case_writer() {
        manifest << name_ << '|' << function_ << '|' << join(positional_) << '|' << join(keywords_) << '|'
                 << join(outputs_) << '\n';
    }
    case_writer& arg(const std::string& a, const value& v) { return put(positional_, a, v, ""); }
    case_writer& kw(const std::string& a, const value& v) { return put(keywords_, a, v, ""); }
    case_writer& out(const std::string& a, const value& v) { return put(outputs_, a, v, "out."); }
    // A library call that must succeed for the reference to mean anything.
    void expect(int rc) {
        if (rc < 0) {
            std::fprintf(stderr, "%s: library code %d\n", name_.c_str(), rc);
            ++failures;
        }
    }

private:
    case_writer& put(std::vector<std::string>& names, const std::string& a, const value& v, const char* prefix) {
        names.push_back(a);
        write_npy(name_ + "." + prefix + a + ".npy", v.descr, v.shape, v.bytes.data(), v.bytes.size());
        return *this;
    }
    static std::string join(const std::vector<std::string>& names) {
        std::string s;
        for (const std::string& n : names) s += (s.empty() ? "" : ",") + n;
        return s;
    }
    std::string name_, function_;
    std::vector<std::string> positional_, keywords_, outputs_;
};

// ---- inputs --------------------------------------------------------------------------------------

// A fixed pseudo-random sequence in [0, 1).
struct lcg {
    std::uint64_t s;
    double next() {
        s = s * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<double>(s >> 11) * (1.0 / 9007199254740992.0);
    }
};

// n points of a wavy curve with jittered spacing: a sine in 2-D, a helix in 3-D.
dense2D<double> curve(unsigned dim, unsigned n, std::uint64_t seed) {
    lcg g{seed};
    dense2D<double> X(dim, n);
    double x = 0.0;
    for (unsigned i = 0; i < n; ++i) {
        x += 0.05 + 0.1 * g.next();
        if (dim == 2) {
            X(0, i) = x;
            X(1, i) = 0.3 * std::sin(2.0 * x) + 0.01 * g.next();
        } else {
            X(0, i) = std::cos(x);
            X(1, i) = std::sin(x);
            X(2, i) = 0.2 * x + 0.01 * g.next();
        }
    }
    return X;
}

dense1D<double> random_sizes(unsigned n, double lo, double hi, std::uint64_t seed) {
    lcg g{seed};
    dense1D<double> h(n);
    for (unsigned i = 0; i < n; ++i) h[i] = lo + (hi - lo) * g.next();
    return h;
}

// Anisotropic metrics of sizes h along a turning frame and 3 h (and 5 h) across it.
dense2D<double> random_metrics(unsigned dim, unsigned n, double h, std::uint64_t seed) {
    lcg g{seed};
    dense2D<double> M(dim == 2 ? 3 : 6, n);
    for (unsigned i = 0; i < n; ++i) {
        const double a = 2.0 * pi * g.next(), s = h * (0.5 + g.next());
        const double c = std::cos(a), d = std::sin(a);
        const double l0 = 1.0 / (s * s), l1 = 1.0 / (9.0 * s * s), l2 = 1.0 / (25.0 * s * s);
        if (dim == 2) {
            M(0, i) = l0 * c * c + l1 * d * d;
            M(1, i) = (l0 - l1) * c * d;
            M(2, i) = l0 * d * d + l1 * c * c;
        } else {
            // Frame: the 2-D turn about z, then z kept: Q = [[c, -d, 0], [d, c, 0], [0, 0, 1]].
            const double Q[3][3] = {{c, -d, 0.0}, {d, c, 0.0}, {0.0, 0.0, 1.0}}, L[3] = {l0, l1, l2};
            double F[3][3] = {};
            for (int r = 0; r < 3; ++r)
                for (int q = 0; q < 3; ++q)
                    for (int k = 0; k < 3; ++k) F[r][q] += Q[r][k] * L[k] * Q[q][k];
            M(0, i) = F[0][0], M(1, i) = F[0][1], M(2, i) = F[1][1], M(3, i) = F[0][2], M(4, i) = F[1][2],
                  M(5, i) = F[2][2];
        }
    }
    return M;
}

dense1D<unsigned> iota(unsigned n, unsigned from = 0) {
    dense1D<unsigned> v(n);
    for (unsigned i = 0; i < n; ++i) v[i] = from + i;
    return v;
}

dense2D<unsigned> chain_edges(unsigned n) {
    dense2D<unsigned> C(2, n - 1);
    for (unsigned e = 0; e + 1 < n; ++e) C(0, e) = e, C(1, e) = e + 1;
    return C;
}

dense2D<unsigned> connect(unsigned rows, std::initializer_list<unsigned> entries) {
    dense2D<unsigned> C(rows, static_cast<unsigned>(entries.size()) / rows);
    unsigned k = 0;
    for (unsigned v : entries) C(k % rows, k / rows) = v, ++k;
    return C;
}

dense2D<double> points(unsigned dim, std::initializer_list<double> entries) {
    dense2D<double> X(dim, static_cast<unsigned>(entries.size()) / dim);
    unsigned k = 0;
    for (double v : entries) X(k % dim, k / dim) = v, ++k;
    return X;
}

dense2D<double> copy(const dense2D<double>& X) {
    dense2D<double> Y;
    Y.copy(X);
    return Y;
}

// Chord-length parameters in [0, 1], as the overloads without parameters build them.
dense1D<double> chord_params(const dense2D<double>& X) {
    const unsigned n = X.cols();
    dense1D<double> p(n);
    p[0] = 0.0;
    for (unsigned i = 1; i < n; ++i) {
        double sq = 0.0;
        for (unsigned r = 0; r < X.rows(); ++r) sq += (X(r, i) - X(r, i - 1)) * (X(r, i) - X(r, i - 1));
        p[i] = p[i - 1] + std::sqrt(sq);
    }
    for (unsigned i = 0; i < n; ++i) p[i] /= p[n - 1];
    return p;
}

// ---- cases ---------------------------------------------------------------------------------------

void connectivity_cases() {
    const dense1D<unsigned> chain{4, 9, 2, 7, 0, 3, 8, 1, 5};
    {
        dense2D<unsigned> out;
        case_writer c("e2", "indices_to_connect_e2");
        c.expect(t1::indices_to_connectE2(chain, out));
        c.arg("chain", list(chain)).out("result", rows_of(out, 2));
    }
    {
        dense2D<unsigned> out;
        case_writer c("e3", "indices_to_connect_e3");
        c.expect(t1::indices_to_connectE3(chain, out));
        c.arg("chain", list(chain)).out("result", rows_of(out, 3));
    }
    const dense2D<unsigned> e3 = connect(3, {0, 2, 1, 2, 4, 3, 4, 6, 5, 9, 7, 8});
    {
        dense2D<unsigned> out;
        case_writer c("split", "split_into_linear");
        c.expect(t1::split_into_linear(e3, out));
        c.arg("edges", rows_of(e3, 3)).out("result", rows_of(out, 2));
    }
    {
        dense2D<unsigned> C = connect(4, {0, 3, 1, 2, 3, 6, 4, 5, 6, 9, 7, 8});
        case_writer c("linear", "convert_into_linear");
        c.arg("edges", rows_of(C, 4));
        c.expect(t1::convert_into_linear(C));
        c.out("result", rows_of(C, 2));
    }
    {
        dense2D<unsigned> C = e3;
        case_writer c("flip", "flip");
        c.arg("edges", rows_of(C, 3));
        dense2D<unsigned> F;
        F.copy(C);
        c.expect(t1::flip(F));
        c.out("result", rows_of(F, 3));
    }
    // High-order conversion: the out form, the in-place form (Python has one form) and quadratic.
    const dense2D<double> X = curve(2, 6, 11);
    const dense2D<unsigned> E = connect(2, {0, 1, 1, 2, 3, 2, 4, 5});
    for (const unsigned k : {3u, 2u}) {
        dense2D<double> Y = copy(X);
        dense2D<unsigned> C, out;
        C.copy(E);
        case_writer c(k == 3 ? "high_order" : "high_order_in_place", "convert_into_high_order");
        c.expect(k == 3 ? t1::convert_into_high_order(Y, C, k, out) : t1::convert_into_high_order(Y, C, k));
        c.arg("points", rows_of(X, 2)).arg("edges", rows_of(E, 2)).arg("k", integer(k));
        c.out("new_points", rows_of(Y, 2, 6)).out("edges", rows_of(k == 3 ? out : C, k + 2));
    }
    {
        const dense2D<double> X3 = curve(3, 4, 12);
        dense2D<double> Y = copy(X3);
        dense2D<unsigned> C = connect(2, {0, 1, 2, 1, 2, 3});
        case_writer c("quadratic", "convert_into_quadratic");
        c.arg("points", rows_of(X3, 3)).arg("edges", rows_of(C, 2));
        c.expect(t1::convert_into_quadratic(Y, C));
        c.out("new_points", rows_of(Y, 3, 4)).out("edges", rows_of(C, 3));
    }
    // Reorientation: two chains, given neighbours from element 1; computed ones, all components.
    const dense2D<unsigned> R = connect(2, {0, 1, 2, 1, 2, 3, 5, 4, 5, 6, 7, 6});
    {
        dense2D<unsigned> C, N = connect(2, {1, none, 0, 2, none, 1, none, 4, 5, 3, 4, none});
        C.copy(R);
        case_writer c("reorient", "mesh_reorient");
        c.arg("edges", rows_of(C, 2)).kw("neighbors", rows_of(N, 2, 6)).kw("start", integer(1));
        const int turned = t1::mesh_reorient(C, N, 1, 0);
        c.expect(turned);
        c.out("edges", rows_of(C, 2)).out("neighbors", rows_of(N, 2, 6)).out("turned", integer(turned));
    }
    {
        dense2D<unsigned> C, N;
        C.copy(R);
        vx4::tessora::get_neighbors(C, vx4::edge2, false, N);
        case_writer c("reorient_all", "mesh_reorient");
        c.arg("edges", rows_of(C, 2)).kw("all_components", flag(true));
        const int turned = t1::mesh_reorient(C, N, 0, 1);
        c.expect(turned);
        c.out("edges", rows_of(C, 2)).out("neighbors", rows_of(N, 2, 6)).out("turned", integer(turned));
    }
}

void extrusion_cases() {
    const dense2D<double> X2 = curve(2, 3, 21), X3 = curve(3, 3, 22);
    {
        dense2D<double> Y = copy(X2);
        dense1D<unsigned> chain;
        case_writer c("translate_node_count", "extrude_translate");
        c.expect(t1::extrude_translate(Y, 1u, vx4::vector_fixed<double, 2>{0.3, -1.7}, 7u, chain));
        c.arg("points", rows_of(X2, 2)).arg("start", integer(1)).arg("vector", list({0.3, -1.7})).kw("count", integer(7));
        c.out("new_points", rows_of(Y, 2, 3)).out("chain", list(chain));
    }
    {
        dense2D<double> Y = copy(X3);
        dense1D<unsigned> chain;
        case_writer c("translate_point_sizes", "extrude_translate");
        c.expect(t1::extrude_translate(Y, vx4::vector_fixed<double, 3>{0.1, 0.2, 0.3},
                                       vx4::vector_fixed<double, 3>{1.0, -2.0, 0.5}, 0.05, 0.4, true, chain));
        c.arg("points", rows_of(X3, 3)).arg("start", list({0.1, 0.2, 0.3})).arg("vector", list({1.0, -2.0, 0.5}));
        c.kw("h0", real(0.05)).kw("h1", real(0.4)).kw("even", flag(true));
        c.out("new_points", rows_of(Y, 3, 3)).out("chain", list(chain));
    }
    {
        dense2D<double> Y = copy(X2);
        dense1D<unsigned> chain;
        case_writer c("rotate_node_sizes", "extrude_rotate");
        c.expect(t1::extrude_rotate(Y, 2u, vx4::vector_fixed<double, 2>{0.5, 0.5}, -2.5, 0.02, 0.2, false, chain));
        c.arg("points", rows_of(X2, 2)).arg("start", integer(2)).arg("center", list({0.5, 0.5})).arg("rotation", real(-2.5));
        c.kw("h0", real(0.02)).kw("h1", real(0.2));
        c.out("new_points", rows_of(Y, 2, 3)).out("chain", list(chain));
    }
    {
        dense2D<double> Y = copy(X3);
        dense1D<unsigned> chain;
        case_writer c("rotate_point_count", "extrude_rotate");
        c.expect(t1::extrude_rotate(Y, vx4::vector_fixed<double, 3>{1.0, 0.0, 0.2},
                                    vx4::vector_fixed<double, 3>{0.0, 0.1, 0.0},
                                    vx4::vector_fixed<double, 3>{0.3, 0.4, 2.0}, 9u, chain));
        c.arg("points", rows_of(X3, 3)).arg("start", list({1.0, 0.0, 0.2})).arg("center", list({0.0, 0.1, 0.0}));
        c.arg("rotation", list({0.3, 0.4, 2.0})).kw("count", integer(9));
        c.out("new_points", rows_of(Y, 3, 3)).out("chain", list(chain));
    }
    {
        dense2D<double> Y;
        dense1D<unsigned> chain;
        case_writer c("rotate_point_alone", "extrude_rotate");
        c.expect(t1::extrude_rotate(Y, vx4::vector_fixed<double, 2>{1.0, 0.0}, vx4::vector_fixed<double, 2>{0.0, 0.0},
                                    pi / 2, 5u, chain));
        c.arg("points", rows_of(dense2D<double>(), 2)).arg("start", list({1.0, 0.0})).arg("center", list({0.0, 0.0}));
        c.arg("rotation", real(pi / 2)).kw("count", integer(5));
        c.out("new_points", rows_of(Y, 2, 0)).out("chain", list(chain));
    }
}

// mesh_line on all points in order; `with_params` passes chord-length parameters explicitly.
template <class Field>
void line_case(const char* name, const dense2D<double>& X, const Field& field, bool with_params, bool even,
               unsigned nmin, unsigned nmax, double chordal, double hmin) {
    const unsigned n = X.cols(), dim = X.rows();
    dense2D<double> Y = copy(X);
    dense1D<unsigned> chain;
    dense1D<double> params;
    Field out;
    const dense1D<double> P = chord_params(X);
    case_writer c(name, "mesh_line");
    c.expect(with_params ? t1::mesh_line(Y, iota(n), P, field, even, nmin, nmax, chordal, hmin, chain, params, out)
                         : t1::mesh_line(Y, iota(n), field, even, nmin, nmax, chordal, hmin, chain, params, out));
    c.arg("points", rows_of(X, dim));
    if constexpr (std::is_same<Field, dense2D<double>>::value) {
        c.kw("metrics", rows_of(field, dim == 2 ? 3 : 6));
        c.out("metrics", rows_of(out, dim == 2 ? 3 : 6));
    } else {
        c.kw("sizes", list(field));
        c.out("sizes", list(out));
    }
    if (with_params) c.kw("params", list(P));
    c.kw("even", flag(even)).kw("nmin", integer(nmin)).kw("chordal", real(chordal)).kw("hmin", real(hmin));
    if (nmax != none) c.kw("nmax", integer(nmax));
    c.out("new_points", rows_of(Y, dim, n)).out("chain", list(chain)).out("params", list(params));
}

void line_cases() {
    const dense2D<double> A = curve(2, 60, 31), B = curve(3, 45, 32);
    line_case("line_iso2d_params", A, random_sizes(60, 0.02, 0.2, 1), true, false, 1, none, 0.0, 0.0);
    line_case("line_iso3d", B, random_sizes(45, 0.05, 0.3, 2), false, true, 1, none, 0.0, 0.0);
    line_case("line_aniso2d_params", A, random_metrics(2, 60, 0.05, 3), true, false, 1, none, 0.0, 0.0);
    line_case("line_aniso3d", B, random_metrics(3, 45, 0.1, 4), false, false, 1, none, 0.0, 0.0);
    line_case("line_curvature_cap", A, random_sizes(60, 0.3, 0.5, 5), false, false, 1, none, -0.01, 0.05);
    line_case("line_refined", A, random_sizes(60, 0.3, 0.5, 6), true, false, 1, none, 0.002, 0.0);
    line_case("line_bounds", B, random_metrics(3, 45, 0.01, 7), false, true, 3, 9, 0.0, 0.0);
    // mesh_curve: the chain's coordinates.
    const dense1D<double> h = random_sizes(60, 0.05, 0.1, 8);
    dense2D<double> Y = copy(A);
    dense1D<unsigned> chain;
    dense1D<double> params, sizes;
    case_writer c("curve", "mesh_curve");
    c.expect(t1::mesh_line(Y, iota(60), h, false, 1, none, 0.0, 0.0, chain, params, sizes));
    dense2D<double> pts(2, chain.size());
    for (unsigned k = 0; k < chain.size(); ++k) pts(0, k) = Y(0, chain[k]), pts(1, k) = Y(1, chain[k]);
    c.arg("points", rows_of(A, 2)).kw("sizes", list(h)).out("result", rows_of(pts, 2));
}

void straight_and_spline_cases() {
    const dense2D<double> X = points(2, {0, 0, 1, 0, 1.5, 0.8, 0.2, 1.1, -0.5, 0.4});
    const dense1D<unsigned> chain{0, 1, 2, 3, 4};
    {
        dense2D<double> Y = copy(X);
        dense1D<unsigned> out;
        const dense1D<double> h{0.1, 0.3, 0.05, 0.2, 0.15};
        case_writer c("straight_sizes", "mesh_straight");
        c.expect(t1::mesh_straight(Y, chain, h, true, out));
        c.arg("points", rows_of(X, 2)).arg("chain", list(chain)).kw("sizes", list(h)).kw("even", flag(true));
        c.out("new_points", rows_of(Y, 2, 5)).out("chain", list(out));
    }
    {
        dense2D<double> Y = copy(X);
        dense1D<unsigned> out;
        case_writer c("straight_count", "mesh_straight");
        c.expect(t1::mesh_straight(Y, dense1D<unsigned>{4, 2, 0}, 13u, false, out));
        c.arg("points", rows_of(X, 2)).arg("chain", list(dense1D<unsigned>{4, 2, 0})).kw("count", integer(13));
        c.out("new_points", rows_of(Y, 2, 5)).out("chain", list(out));
    }
    {
        dense2D<double> Y = copy(X);
        dense1D<unsigned> out;
        const dense2D<double> M = random_metrics(2, 2, 0.1, 9);
        case_writer c("straight_metrics", "mesh_straight");
        c.expect(t1::mesh_straight(Y, dense1D<unsigned>{1, 3}, M, false, out));
        c.arg("points", rows_of(X, 2)).arg("chain", list(dense1D<unsigned>{1, 3})).kw("metrics", rows_of(M, 3));
        c.out("new_points", rows_of(Y, 2, 5)).out("chain", list(out));
    }
    // The node-pair overloads, reached from Python through chains of 2 or 3 indices.
    {
        dense2D<double> Y = copy(X);
        dense1D<unsigned> out;
        case_writer c("straight_pair_count", "mesh_straight");
        c.expect(t1::mesh_straight(Y, 3u, 1u, 6u, out));
        c.arg("points", rows_of(X, 2)).arg("chain", list(dense1D<unsigned>{3, 1})).kw("count", integer(6));
        c.out("new_points", rows_of(Y, 2, 5)).out("chain", list(out));
    }
    {
        dense2D<double> Y = copy(X);
        dense1D<unsigned> out;
        case_writer c("straight_triple_count", "mesh_straight");
        c.expect(t1::mesh_straight(Y, 0u, 2u, 4u, 11u, out));
        c.arg("points", rows_of(X, 2)).arg("chain", list(dense1D<unsigned>{0, 2, 4})).kw("count", integer(11));
        c.out("new_points", rows_of(Y, 2, 5)).out("chain", list(out));
    }
    {
        dense2D<double> Y = copy(X);
        dense1D<unsigned> out;
        case_writer c("straight_pair_sizes", "mesh_straight");
        c.expect(t1::mesh_straight(Y, 2u, 4u, 0.02, 0.3, true, out));
        c.arg("points", rows_of(X, 2)).arg("chain", list(dense1D<unsigned>{2, 4})).kw("sizes", list({0.02, 0.3}));
        c.kw("even", flag(true)).out("new_points", rows_of(Y, 2, 5)).out("chain", list(out));
    }
    // Spline points and meshes.
    for (const unsigned dim : {2u, 3u}) {
        const dense2D<double> S = curve(dim, 8, 40 + dim);
        const dense1D<double> t{-0.25, 0.0, 0.1, 0.37, 0.5, 0.99, 1.0, 1.5};
        dense2D<double> P(dim, t.size());
        case_writer c(dim == 2 ? "spline_point2d" : "spline_point3d", "spline_point");
        for (unsigned k = 0; k < t.size(); ++k) {
            if (dim == 2) {
                vx4::vector_fixed<double, 2> q;
                c.expect(t1::spline_point(S, 3, 4, 5, 7, t[k], q));
                P(0, k) = q[0], P(1, k) = q[1];
            } else {
                vx4::vector_fixed<double, 3> q;
                c.expect(t1::spline_point(S, 4, 4, 5, 6, t[k], q));
                P(0, k) = q[0], P(1, k) = q[1], P(2, k) = q[2];
            }
        }
        c.arg("points", rows_of(S, dim)).arg("nodes", list(dim == 2 ? dense1D<unsigned>{3, 4, 5, 7} : dense1D<unsigned>{4, 4, 5, 6}));
        c.arg("t", list(t)).out("result", rows_of(P, dim));
    }
    {
        const dense2D<double> S = curve(2, 12, 51);
        const dense1D<unsigned> sc{0, 0, 2, 3, 5, 6, 8, 9, 11, 11};
        const dense1D<double> h = random_sizes(10, 0.05, 0.2, 10);
        dense2D<double> Y = copy(S);
        dense1D<unsigned> out;
        dense1D<double> params, sizes;
        double deviation = 0.0;
        case_writer c("spline_sizes", "mesh_spline");
        c.expect(t1::mesh_spline(Y, sc, h, false, 1, none, 0.001, 0.01, 0.0, 0.0, out, params, sizes, deviation));
        c.arg("points", rows_of(S, 2)).arg("chain", list(sc)).kw("sizes", list(h)).kw("chordal", real(0.001));
        c.kw("hmin", real(0.01));
        c.out("new_points", rows_of(Y, 2, 12)).out("chain", list(out)).out("params", list(params));
        c.out("sizes", list(sizes)).out("deviation", real(deviation));
    }
    {
        const dense2D<double> S = curve(3, 9, 52);
        const dense2D<double> M = random_metrics(3, 9, 0.3, 11);
        dense2D<double> Y = copy(S);
        dense1D<unsigned> out;
        dense1D<double> params;
        dense2D<double> metrics;
        double deviation = 0.0;
        case_writer c("spline_metrics", "mesh_spline");
        c.expect(t1::mesh_spline(Y, iota(9), M, true, 4, 60, -0.05, 0.0, 0.2, 1.5, out, params, metrics, deviation));
        c.arg("points", rows_of(S, 3)).kw("metrics", rows_of(M, 6)).kw("even", flag(true)).kw("nmin", integer(4));
        c.kw("nmax", integer(60)).kw("chordal", real(-0.05)).kw("background", real(0.2)).kw("gradation", real(1.5));
        c.out("new_points", rows_of(Y, 3, 9)).out("chain", list(out)).out("params", list(params));
        c.out("metrics", rows_of(metrics, 6)).out("deviation", real(deviation));
    }
}

void geometry_cases() {
    const dense2D<double> A = curve(2, 30, 61), B = curve(3, 25, 62);
    const dense1D<unsigned> chain{3, 7, 1, 8, 20, 2};
    {
        double len = -1.0;
        case_writer c("length_chain", "length");
        c.expect(t1::length(B, chain, len));
        c.arg("points", rows_of(B, 3)).arg("chain", list(chain)).out("result", real(len));
    }
    {
        double len = -1.0;
        const dense2D<unsigned> E = connect(2, {0, 5, 5, 9, 29, 3, 4, 4});
        case_writer c("length_edges", "length");
        c.expect(t1::length(A, E, len));
        c.arg("points", rows_of(A, 2)).kw("edges", rows_of(E, 2)).out("result", real(len));
    }
    {
        dense2D<double> Y = copy(B);
        const dense1D<double> params{0.0, 0.1, 0.1, 0.4, 0.9, 1.0}, queries{-0.5, 0.0, 0.05, 0.1, 0.33, 0.95, 1.0, 2.0};
        Y.resize(3, 25 + queries.size(), 0.0);
        case_writer c("interpolate_coordinates", "interpolate_coordinates");
        c.expect(t1::interpolate_coordinates(Y, chain, params, iota(queries.size(), 25), queries));
        c.arg("points", rows_of(B, 3)).arg("chain", list(chain)).arg("params", list(params)).arg("new_params", list(queries));
        c.out("result", rows_of(Y, 3, 25));
    }
    for (const unsigned dim : {2u, 3u}) {
        dense1D<double> curv;
        case_writer c(dim == 2 ? "curvatures2d" : "curvatures3d", "curvatures");
        if (dim == 2) {
            c.expect(t1::curvatures(A, iota(30), curv));
            c.arg("points", rows_of(A, 2));
        } else {
            c.expect(t1::curvatures(B, chain, curv));
            c.arg("points", rows_of(B, 3)).arg("chain", list(chain));
        }
        c.out("result", list(curv));
    }
    const dense2D<unsigned> E = connect(2, {0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 7, 6, 6, 5, 9, 8});
    const struct { const char* name; double p; bool normalize; } normal_cases[] = {
        {"normals_mean", 0.0, true}, {"normals_length", 1.0, false}, {"normals_longest", largest, true},
        {"normals_shortest", -largest, true}, {"normals_power", -1.5, true}};
    for (const auto& nc : normal_cases) {
        dense2D<double> N;
        case_writer c(nc.name, "normals");
        c.expect(t1::normals(A, E, nc.p, nc.normalize, N));
        const double p = nc.p == largest ? HUGE_VAL : nc.p == -largest ? -HUGE_VAL : nc.p;
        c.arg("points", rows_of(A, 2)).arg("edges", rows_of(E, 2)).kw("power", real(p)).kw("normalize", flag(nc.normalize));
        c.out("result", rows_of(N, 2));
    }
    {
        const dense1D<double> params = random_sizes(10, 0.0, 3.0, 12);
        const dense2D<unsigned> PE = connect(2, {0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 9, 8});
        const dense2D<double> D = curve(3, 10, 63);
        dense1D<double> curv;
        case_writer c("parametric_curvatures", "parametric_curvatures");
        c.expect(t1::parametric_curvatures(params, PE, D, curv));
        c.arg("params", list(params)).arg("edges", rows_of(PE, 2)).arg("derivatives", rows_of(D, 3));
        c.out("result", list(curv));
    }
}

void metric_cases() {
    const dense1D<double> params{0.0, 0.2, 0.2, 0.5, 1.0, 3.0};
    const dense1D<double> queries{0.0, 0.1, 0.2, 0.2, 0.3, 0.75, 2.0, 3.0};
    {
        dense1D<double> out;
        const dense1D<double> h{0.1, 0.5, 0.2, 0.3, 0.05, 1.0};
        case_writer c("interpolate_sizes", "interpolate_metrics");
        c.expect(t1::interpolate_metrics(params, h, queries, out));
        c.arg("params", list(params)).arg("queries", list(queries)).kw("sizes", list(h)).out("result", list(out));
    }
    for (const unsigned dim : {2u, 3u}) {
        dense2D<double> out;
        const dense2D<double> M = random_metrics(dim, 6, 0.2, 13 + dim);
        case_writer c(dim == 2 ? "interpolate_metrics2d" : "interpolate_metrics3d", "interpolate_metrics");
        c.expect(t1::interpolate_metrics(params, M, queries, out));
        c.arg("params", list(params)).arg("queries", list(queries)).kw("metrics", rows_of(M, dim == 2 ? 3 : 6));
        c.out("result", rows_of(out, dim == 2 ? 3 : 6));
    }
    const dense2D<double> A = curve(2, 12, 71), B = curve(3, 12, 72);
    const dense2D<unsigned> E = chain_edges(12);
    {
        const dense2D<double> M0 = random_metrics(2, 12, 0.3, 14);
        dense2D<double> M = copy(M0);
        case_writer c("gen2d", "metrics_gen_aniso2d");
        c.expect(t1::metrics_gen_aniso2d(A, E, -0.3, M));
        c.arg("points", rows_of(A, 2)).arg("edges", rows_of(E, 2)).arg("cross", real(-0.3)).kw("metrics", rows_of(M0, 3));
        c.out("result", rows_of(M, 3));
    }
    {
        dense2D<double> M(3, 12, 0.0);
        const dense1D<unsigned> nodes{0, 3, 3, 11, 6};
        case_writer c("gen2d_directions", "metrics_gen_aniso2d_directions");
        c.expect(t1::metrics_gen_aniso2d(A, nodes, 0.4, 0.07, M));
        c.arg("directions", rows_of(A, 2)).arg("nodes", list(nodes)).arg("h_dir", real(0.4)).arg("h_cross", real(0.07));
        c.out("result", rows_of(M, 3));
    }
    {
        dense2D<double> M(6, 12, 0.0);
        case_writer c("gen3d", "metrics_gen_aniso3d");
        c.expect(t1::metrics_gen_aniso3d(B, E, 0.05, M));
        c.arg("points", rows_of(B, 3)).arg("edges", rows_of(E, 2)).arg("cross", real(0.05)).out("result", rows_of(M, 6));
    }
    {
        dense2D<double> M(6, 12, 0.0);
        case_writer c("gen3d_bent", "metrics_gen_aniso3d");
        c.expect(t1::metrics_gen_aniso3d(B, E, 0.02, 0.08, M));
        c.arg("points", rows_of(B, 3)).arg("edges", rows_of(E, 2)).arg("cross", real(0.02)).arg("cross_out", real(0.08));
        c.out("result", rows_of(M, 6));
    }
    {
        dense1D<double> v{0.5, -0.0, 0.1, 0.0, 0.3, 0.1, -7.0, 0.5};
        dense1D<unsigned> ids{7, 8, 9, 3, 1, 2, 5, 0};
        case_writer c("sort", "sort");
        c.arg("values", list(v)).arg("ids", list(ids));
        c.expect(t1::sort(v, ids));
        c.out("values", list(v)).out("ids", list(ids));
    }
    {
        dense1D<double> x{0.0, 10.0, 5.0, 2.0, 7.5}, h{1.0, 0.5, 2.0, 0.2, 0.7};
        const dense1D<unsigned> sc{0, 3, 2, 4, 1};
        case_writer c("subdivide", "subdivide");
        c.arg("abscissas", list(x)).arg("sizes", list(h)).arg("chain", list(sc)).kw("force_fine", flag(true));
        c.kw("nmax", integer(40));
        dense1D<unsigned> out;
        c.expect(t1::subdivide(x, h, sc, true, false, 1, 40, out));
        c.out("new_abscissas", list(x, 5)).out("new_sizes", list(h, 5)).out("chain", list(out));
    }
    {
        case_writer c("version", "version");
        const std::string v = t1::version();
        c.out("result", value::of("|u1", {v.size()}, std::vector<unsigned char>(v.begin(), v.end())));
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <output folder>\n", argv[0]);
        return 2;
    }
    directory = argv[1];
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    manifest.open(directory + "/manifest.txt");
    if (!manifest) {
        std::fprintf(stderr, "cannot write %s/manifest.txt\n", argv[1]);
        return 1;
    }
    connectivity_cases();
    extrusion_cases();
    line_cases();
    straight_and_spline_cases();
    geometry_cases();
    metric_cases();
    return failures == 0 ? 0 : 1;
}
