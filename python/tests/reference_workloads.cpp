// Runs fixed workloads of every exported family through the C++ API of the shared library and
// writes, for each, its inputs in the Python module's conventions (points as (n, dim) rows,
// indices as int64, -1 for "none") and the results the Python call must reproduce bit for bit.
//
// Output: <dir>/manifest.txt, one line per case "name|function|positional|keywords|outputs"
// (names separated by commas), and <dir>/<name>.<argument>.npy, <dir>/<name>.out.<field>.npy.
#include <vx4/tessora.h>
#include <vx4/tessora1d.h>
#include <vx4/tessora1d_laws.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using vx4::dense1D;
using vx4::dense2D;
using ids = dense1D<unsigned>;
using reals = dense1D<double>;
using v2 = vx4::vector_fixed<double, 2>;
using v3 = vx4::vector_fixed<double, 3>;
namespace t1 = vx4::tessora1d;

constexpr unsigned none = 4294967295u;
constexpr double largest = std::numeric_limits<double>::max();
const double pi = std::acos(-1.0);

std::string directory;
std::ofstream manifest;
int failures = 0;

// A value as Python sees it: dtype, shape and bytes in C order.
struct value {
    const char* descr;
    std::vector<std::size_t> shape;
    std::vector<char> bytes;
};

template <class T>
value make(const char* descr, std::vector<std::size_t> shape, const std::vector<T>& v) {
    value r{descr, std::move(shape), std::vector<char>(v.size() * sizeof(T))};
    if (!v.empty()) std::memcpy(r.bytes.data(), v.data(), r.bytes.size());
    return r;
}
// Points, metrics: columns [first, end) as rows (`rows` for an empty matrix).
value v(const dense2D<double>& X, unsigned rows, unsigned first = 0) {
    std::vector<double> out;
    const unsigned cols = X.empty() ? 0 : X.cols();
    rows = X.empty() ? rows : X.rows();
    for (unsigned j = first; j < cols; ++j)
        for (unsigned r = 0; r < rows; ++r) out.push_back(X(r, j));
    return make("<f8", {cols - first, rows}, out);
}
value v(const dense2D<double>& X) { return v(X, X.rows()); }
// Connectivities: one row per element; entries not below `none_from` become -1.
value v(const dense2D<unsigned>& C, unsigned rows, unsigned none_from = none) {
    std::vector<std::int64_t> out;
    const unsigned cols = C.empty() ? 0 : C.cols();
    rows = C.empty() ? rows : C.rows();
    for (unsigned j = 0; j < cols; ++j)
        for (unsigned r = 0; r < rows; ++r) out.push_back(C(r, j) >= none_from ? -1 : std::int64_t(C(r, j)));
    return make("<i8", {cols, rows}, out);
}
value v(const reals& x, unsigned first = 0) {
    return make("<f8", {x.size() - first}, std::vector<double>(x.begin() + first, x.end()));
}
value v(const ids& x) { return make("<i8", {x.size()}, std::vector<std::int64_t>(x.begin(), x.end())); }
value real(double x) { return make("<f8", {}, std::vector<double>{x}); }
value integer(long long x) { return make("<i8", {}, std::vector<std::int64_t>{x}); }
value flag(bool x) { return make("|b1", {}, std::vector<char>{static_cast<char>(x)}); }

void write_npy(const std::string& file, const value& x) {
    std::string header = std::string("{'descr': '") + x.descr + "', 'fortran_order': False, 'shape': (";
    for (std::size_t k = 0; k < x.shape.size(); ++k) header += std::to_string(x.shape[k]) + ",";
    header += "), }";
    while ((10 + header.size() + 1) % 64 != 0) header += ' ';
    header += '\n';
    std::ofstream out(directory + "/" + file, std::ios::binary);
    out.write("\x93NUMPY\x01\x00", 8);
    out.put(static_cast<char>(header.size() & 0xff)).put(static_cast<char>(header.size() >> 8)) << header;
    out.write(x.bytes.data(), static_cast<std::streamsize>(x.bytes.size()));
}

// One case: inputs (positional in order, then keywords) and expected outputs.
class case_writer {
public:
    case_writer(std::string name, std::string function) : name_(std::move(name)), function_(std::move(function)) {}
    ~case_writer() {
        manifest << name_ << '|' << function_ << '|' << join(args_) << '|' << join(kws_) << '|' << join(outs_) << '\n';
    }
    case_writer& arg(const std::string& a, const value& x) { return put(args_, a, x, ""); }
    case_writer& kw(const std::string& a, const value& x) { return put(kws_, a, x, ""); }
    case_writer& out(const std::string& a, const value& x) { return put(outs_, a, x, "out."); }
    // A library call that must succeed for the reference to mean anything.
    case_writer& expect(int rc) {
        if (rc < 0) std::fprintf(stderr, "%s: library code %d\n", name_.c_str(), rc), ++failures;
        return *this;
    }

private:
    case_writer& put(std::vector<std::string>& names, const std::string& a, const value& x, const char* prefix) {
        names.push_back(a);
        write_npy(name_ + "." + prefix + a + ".npy", x);
        return *this;
    }
    static std::string join(const std::vector<std::string>& names) {
        std::string s;
        for (const std::string& n : names) s += (s.empty() ? "" : ",") + n;
        return s;
    }
    std::string name_, function_;
    std::vector<std::string> args_, kws_, outs_;
};

// ---- inputs --------------------------------------------------------------------------------------

struct lcg { // a fixed pseudo-random sequence in [0, 1)
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
        X(0, i) = dim == 2 ? x : std::cos(x);
        X(1, i) = dim == 2 ? 0.3 * std::sin(2.0 * x) + 0.01 * g.next() : std::sin(x);
        if (dim == 3) X(2, i) = 0.2 * x + 0.01 * g.next();
    }
    return X;
}

reals random_sizes(unsigned n, double lo, double hi, std::uint64_t seed) {
    lcg g{seed};
    reals h(n);
    for (unsigned i = 0; i < n; ++i) h[i] = lo + (hi - lo) * g.next();
    return h;
}

// Metrics of size s along a random direction in the xy plane, 3 s across it and 5 s along z.
dense2D<double> random_metrics(unsigned dim, unsigned n, double h, std::uint64_t seed) {
    lcg g{seed};
    dense2D<double> M(dim == 2 ? 3 : 6, n, 0.0);
    for (unsigned i = 0; i < n; ++i) {
        const double a = 2.0 * pi * g.next(), s = h * (0.5 + g.next()), c = std::cos(a), d = std::sin(a);
        const double l0 = 1.0 / (s * s), l1 = l0 / 9.0;
        M(0, i) = l0 * c * c + l1 * d * d, M(1, i) = (l0 - l1) * c * d, M(2, i) = l0 * d * d + l1 * c * c;
        if (dim == 3) M(5, i) = l0 / 25.0;
    }
    return M;
}

ids iota(unsigned n, unsigned from = 0) {
    ids x(n);
    for (unsigned i = 0; i < n; ++i) x[i] = from + i;
    return x;
}

template <class T>
dense2D<T> columns(unsigned rows, std::initializer_list<T> entries) {
    dense2D<T> C(rows, static_cast<unsigned>(entries.size()) / rows);
    unsigned k = 0;
    for (T x : entries) C(k % rows, k / rows) = x, ++k;
    return C;
}

template <class T>
dense2D<T> copy(const dense2D<T>& X) {
    dense2D<T> Y;
    Y.copy(X);
    return Y;
}

// Cases whose call appends points to (a copy of) X and fills a chain.
template <class Call>
void appending(case_writer& c, const dense2D<double>& X, Call call) {
    dense2D<double> Y = copy(X);
    ids chain;
    c.expect(call(Y, chain)).out("new_points", v(Y, X.rows(), X.cols())).out("chain", v(chain));
}

// ---- cases ---------------------------------------------------------------------------------------

void connectivity_cases() {
    const ids chain{4, 9, 2, 7, 0, 3, 8, 1, 5};
    dense2D<unsigned> e2, e3, split;
    case_writer("e2", "indices_to_connect_e2")
        .expect(t1::indices_to_connectE2(chain, e2))
        .arg("chain", v(chain))
        .out("result", v(e2, 2));
    case_writer("e3", "indices_to_connect_e3")
        .expect(t1::indices_to_connectE3(chain, e3))
        .arg("chain", v(chain))
        .out("result", v(e3, 3));
    case_writer("split", "split_into_linear")
        .expect(t1::split_into_linear(e3, split))
        .arg("edges", v(e3, 3))
        .out("result", v(split, 2));
    dense2D<unsigned> C = columns<unsigned>(4, {0, 3, 1, 2, 3, 6, 4, 5, 6, 9, 7, 8}), F = copy(e3);
    case_writer("linear", "convert_into_linear")
        .arg("edges", v(C, 4))
        .expect(t1::convert_into_linear(C))
        .out("result", v(C, 2));
    case_writer("flip", "flip").arg("edges", v(F, 3)).expect(t1::flip(F)).out("result", v(F, 3));

    // High-order conversion: the out form, the in-place form (Python has one form) and quadratic.
    const dense2D<double> X = curve(2, 6, 11), X3 = curve(3, 4, 12);
    const dense2D<unsigned> E = columns<unsigned>(2, {0, 1, 1, 2, 3, 2, 4, 5}),
                            E3 = columns<unsigned>(2, {0, 1, 2, 1, 2, 3});
    for (const unsigned k : {3u, 2u}) {
        dense2D<double> Y = copy(X);
        dense2D<unsigned> in = copy(E), out;
        case_writer c(k == 3 ? "high_order" : "high_order_in_place", "convert_into_high_order");
        c.expect(k == 3 ? t1::convert_into_high_order(Y, in, k, out) : t1::convert_into_high_order(Y, in, k));
        c.arg("points", v(X)).arg("edges", v(E, 2)).arg("k", integer(k));
        c.out("new_points", v(Y, 2, 6)).out("edges", v(k == 3 ? out : in, k + 2));
    }
    dense2D<double> Y3 = copy(X3);
    dense2D<unsigned> Q = copy(E3);
    case_writer("quadratic", "convert_into_quadratic")
        .arg("points", v(X3))
        .arg("edges", v(E3, 2))
        .expect(t1::convert_into_quadratic(Y3, Q))
        .out("new_points", v(Y3, 3, 4))
        .out("edges", v(Q, 3));

    // Reorientation of two chains: given neighbours from element 1; computed ones, all components.
    const dense2D<unsigned> R = columns<unsigned>(2, {0, 1, 2, 1, 2, 3, 5, 4, 5, 6, 7, 6});
    for (const bool given : {true, false}) {
        // Any index >= E means no neighbour (99 here); Python writes -1 for all of them.
        dense2D<unsigned> C2 = copy(R), N = columns<unsigned>(2, {1, none, 0, 2, 99, 1, none, 4, 5, 3, 4, none});
        if (!given) vx4::tessora::get_neighbors(R, vx4::edge2, false, N);
        case_writer c(given ? "reorient" : "reorient_all", "mesh_reorient");
        c.arg("edges", v(R, 2));
        if (given)
            c.kw("neighbors", v(N, 2)).kw("start", integer(1));
        else
            c.kw("all_components", flag(true));
        const int turned = t1::mesh_reorient(C2, N, given ? 1 : 0, given ? 0 : 1);
        c.expect(turned).out("edges", v(C2, 2)).out("neighbors", v(N, 2, 6)).out("turned", integer(turned));
    }
}

void extrusion_cases() {
    const dense2D<double> X2 = curve(2, 3, 21), X3 = curve(3, 3, 22);
    {
        case_writer c("translate_node_count", "extrude_translate");
        c.arg("points", v(X2)).arg("start", integer(1)).arg("vector", v(reals{0.3, -1.7})).kw("count", integer(7));
        appending(c, X2, [](dense2D<double>& Y, ids& ch) {
            return t1::extrude_translate(Y, 1u, v2{0.3, -1.7}, 7u, ch);
        });
    }
    {
        case_writer c("translate_point_sizes", "extrude_translate");
        c.arg("points", v(X3)).arg("start", v(reals{0.1, 0.2, 0.3})).arg("vector", v(reals{1.0, -2.0, 0.5}));
        c.kw("h0", real(0.05)).kw("h1", real(0.4)).kw("even", flag(true));
        appending(c, X3, [](dense2D<double>& Y, ids& ch) {
            return t1::extrude_translate(Y, v3{0.1, 0.2, 0.3}, v3{1.0, -2.0, 0.5}, 0.05, 0.4, true, ch);
        });
    }
    {
        case_writer c("rotate_node_sizes", "extrude_rotate");
        c.arg("points", v(X2)).arg("start", integer(2)).arg("center", v(reals{0.5, 0.5})).arg("rotation", real(-2.5));
        c.kw("h0", real(0.02)).kw("h1", real(0.2));
        appending(c, X2, [](dense2D<double>& Y, ids& ch) {
            return t1::extrude_rotate(Y, 2u, v2{0.5, 0.5}, -2.5, 0.02, 0.2, false, ch);
        });
    }
    {
        case_writer c("rotate_point_count", "extrude_rotate");
        c.arg("points", v(X3)).arg("start", v(reals{1.0, 0.0, 0.2})).arg("center", v(reals{0.0, 0.1, 0.0}));
        c.arg("rotation", v(reals{0.3, 0.4, 2.0})).kw("count", integer(9));
        appending(c, X3, [](dense2D<double>& Y, ids& ch) {
            return t1::extrude_rotate(Y, v3{1.0, 0.0, 0.2}, v3{0.0, 0.1, 0.0}, v3{0.3, 0.4, 2.0}, 9u, ch);
        });
    }
    {
        case_writer c("rotate_point_alone", "extrude_rotate");
        c.arg("points", v(dense2D<double>(), 2)).arg("start", v(reals{1.0, 0.0})).arg("center", v(reals{0.0, 0.0}));
        c.arg("rotation", real(pi / 2)).kw("count", integer(5));
        appending(c, dense2D<double>(), [](dense2D<double>& Y, ids& ch) {
            return t1::extrude_rotate(Y, v2{1.0, 0.0}, v2{0.0, 0.0}, pi / 2, 5u, ch);
        });
    }
}

// Chord-length parameters in [0, 1], as the overloads without parameters build them.
reals chord_params(const dense2D<double>& X) {
    reals p(X.cols(), 0.0);
    for (unsigned i = 1; i < X.cols(); ++i) {
        double sq = 0.0;
        for (unsigned r = 0; r < X.rows(); ++r) sq += (X(r, i) - X(r, i - 1)) * (X(r, i) - X(r, i - 1));
        p[i] = p[i - 1] + std::sqrt(sq);
    }
    const double total = p[X.cols() - 1];
    for (double& x : p) x /= total;
    return p;
}

// mesh_line on all points in order; `with_params` passes chord-length parameters explicitly.
template <class Field>
void line_case(const char* name, const dense2D<double>& X, const Field& field, bool with_params, bool even,
               unsigned nmin, unsigned nmax, double chordal, double hmin) {
    const unsigned n = X.cols(), width = X.rows() == 2 ? 3 : 6;
    constexpr bool metric = std::is_same<Field, dense2D<double>>::value;
    dense2D<double> Y = copy(X);
    ids chain;
    reals params, P = chord_params(X);
    Field out;
    case_writer c(name, "mesh_line");
    c.expect(with_params ? t1::mesh_line(Y, iota(n), P, field, even, nmin, nmax, chordal, hmin, chain, params, out)
                         : t1::mesh_line(Y, iota(n), field, even, nmin, nmax, chordal, hmin, chain, params, out));
    c.arg("points", v(X)).kw(metric ? "metrics" : "sizes", v(field)).kw("even", flag(even)).kw("nmin", integer(nmin));
    c.kw("chordal", real(chordal)).kw("hmin", real(hmin));
    if (with_params) c.kw("params", v(P));
    if (nmax != none) c.kw("nmax", integer(nmax));
    c.out("new_points", v(Y, X.rows(), n)).out("chain", v(chain)).out("params", v(params));
    if constexpr (metric)
        c.out("metrics", v(out, width));
    else
        c.out("sizes", v(out));
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
    const reals h = random_sizes(60, 0.05, 0.1, 8);
    dense2D<double> Y = copy(A);
    ids chain;
    reals params, sizes;
    case_writer c("curve", "mesh_curve");
    c.expect(t1::mesh_line(Y, iota(60), h, false, 1, none, 0.0, 0.0, chain, params, sizes));
    dense2D<double> pts(2, chain.size());
    for (unsigned k = 0; k < chain.size(); ++k) pts(0, k) = Y(0, chain[k]), pts(1, k) = Y(1, chain[k]);
    c.arg("points", v(A)).kw("sizes", v(h)).out("result", v(pts));
}

void straight_and_spline_cases() {
    const dense2D<double> X = columns<double>(2, {0, 0, 1, 0, 1.5, 0.8, 0.2, 1.1, -0.5, 0.4});
    const dense2D<double> M = random_metrics(2, 2, 0.1, 9);
    const reals h{0.1, 0.3, 0.05, 0.2, 0.15};
    const struct {
        const char* name;
        ids chain;
        const char* field;
        value given;
        bool even;
        std::function<int(dense2D<double>&, ids&)> call;
    } cases[] = {
        {"straight_sizes", iota(5), "sizes", v(h), true,
         [&](dense2D<double>& Y, ids& o) { return t1::mesh_straight(Y, iota(5), h, true, o); }},
        {"straight_count",
         {4, 2, 0},
         "count",
         integer(13),
         false,
         [](dense2D<double>& Y, ids& o) {
             return t1::mesh_straight(Y, ids{4, 2, 0}, 13u, false, o);
         }},
        {"straight_metrics",
         {1, 3},
         "metrics",
         v(M),
         false,
         [&](dense2D<double>& Y, ids& o) {
             return t1::mesh_straight(Y, ids{1, 3}, M, false, o);
         }},
        // The node-pair overloads, reached from Python through chains of 2 or 3 indices.
        {"straight_pair_count",
         {3, 1},
         "count",
         integer(6),
         false,
         [](dense2D<double>& Y, ids& o) { return t1::mesh_straight(Y, 3u, 1u, 6u, o); }},
        {"straight_triple_count",
         {0, 2, 4},
         "count",
         integer(11),
         false,
         [](dense2D<double>& Y, ids& o) { return t1::mesh_straight(Y, 0u, 2u, 4u, 11u, o); }},
        {"straight_pair_sizes",
         {2, 4},
         "sizes",
         v(reals{0.02, 0.3}),
         true,
         [](dense2D<double>& Y, ids& o) { return t1::mesh_straight(Y, 2u, 4u, 0.02, 0.3, true, o); }},
    };
    for (const auto& s : cases) {
        case_writer c(s.name, "mesh_straight");
        c.arg("points", v(X)).arg("chain", v(s.chain)).kw(s.field, s.given).kw("even", flag(s.even));
        appending(c, X, s.call);
    }
    // Spline points and meshes.
    const reals t{-0.25, 0.0, 0.1, 0.37, 0.5, 0.99, 1.0, 1.5};
    for (const unsigned dim : {2u, 3u}) {
        const dense2D<double> S = curve(dim, 8, 40 + dim);
        const ids nodes = dim == 2 ? ids{3, 4, 5, 7} : ids{4, 4, 5, 6};
        dense2D<double> P(dim, t.size());
        case_writer c(dim == 2 ? "spline_point2d" : "spline_point3d", "spline_point");
        for (unsigned k = 0; k < t.size(); ++k) {
            v3 q{};
            if (dim == 2) {
                v2 q2;
                c.expect(t1::spline_point(S, nodes[0], nodes[1], nodes[2], nodes[3], t[k], q2));
                q = v3{q2[0], q2[1], 0.0};
            } else {
                c.expect(t1::spline_point(S, nodes[0], nodes[1], nodes[2], nodes[3], t[k], q));
            }
            for (unsigned r = 0; r < dim; ++r) P(r, k) = q[r];
        }
        c.arg("points", v(S)).arg("nodes", v(nodes)).arg("t", v(t)).out("result", v(P));
    }
    {
        const dense2D<double> S = curve(2, 12, 51);
        const ids chain{0, 0, 2, 3, 5, 6, 8, 9, 11, 11};
        const reals hs = random_sizes(10, 0.05, 0.2, 10);
        dense2D<double> Y = copy(S);
        ids out;
        reals params, sizes;
        double deviation = 0.0;
        case_writer c("spline_sizes", "mesh_spline");
        c.expect(t1::mesh_spline(Y, chain, hs, false, 1, none, 0.001, 0.01, 0.0, 0.0, out, params, sizes, deviation));
        c.arg("points", v(S))
            .arg("chain", v(chain))
            .kw("sizes", v(hs))
            .kw("chordal", real(0.001))
            .kw("hmin", real(0.01));
        c.out("new_points", v(Y, 2, 12)).out("chain", v(out)).out("params", v(params)).out("sizes", v(sizes));
        c.out("deviation", real(deviation));
    }
    {
        const dense2D<double> S = curve(3, 9, 52), MS = random_metrics(3, 9, 0.3, 11);
        dense2D<double> Y = copy(S), metrics;
        ids out;
        reals params;
        double deviation = 0.0;
        case_writer c("spline_metrics", "mesh_spline");
        c.expect(t1::mesh_spline(Y, iota(9), MS, true, 4, 60, -0.05, 0.0, 0.2, 1.5, out, params, metrics, deviation));
        c.arg("points", v(S))
            .kw("metrics", v(MS))
            .kw("even", flag(true))
            .kw("nmin", integer(4))
            .kw("nmax", integer(60));
        c.kw("chordal", real(-0.05)).kw("background", real(0.2)).kw("gradation", real(1.5));
        c.out("new_points", v(Y, 3, 9)).out("chain", v(out)).out("params", v(params)).out("metrics", v(metrics, 6));
        c.out("deviation", real(deviation));
    }
}

void geometry_cases() {
    const dense2D<double> A = curve(2, 30, 61), B = curve(3, 25, 62);
    const ids chain{3, 7, 1, 8, 20, 2};
    const dense2D<unsigned> E = columns<unsigned>(2, {0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 7, 6, 6, 5, 9, 8, 29, 3});
    double len = 0.0, len_edges = 0.0;
    case_writer("length_chain", "length")
        .expect(t1::length(B, chain, len))
        .arg("points", v(B))
        .arg("chain", v(chain))
        .out("result", real(len));
    case_writer("length_edges", "length")
        .expect(t1::length(A, E, len_edges))
        .arg("points", v(A))
        .kw("edges", v(E, 2))
        .out("result", real(len_edges));
    {
        const reals params{0.0, 0.1, 0.1, 0.4, 0.9, 1.0}, queries{-0.5, 0.0, 0.05, 0.1, 0.33, 0.95, 1.0, 2.0};
        dense2D<double> Y = copy(B);
        Y.resize(3, 25 + queries.size(), 0.0);
        case_writer c("interpolate_coordinates", "interpolate_coordinates");
        c.expect(t1::interpolate_coordinates(Y, chain, params, iota(queries.size(), 25), queries));
        c.arg("points", v(B))
            .arg("chain", v(chain))
            .arg("params", v(params))
            .arg("new_params", v(queries))
            .out("result", v(Y, 3, 25));
    }
    reals curv2, curv3;
    case_writer("curvatures2d", "curvatures")
        .expect(t1::curvatures(A, iota(30), curv2))
        .arg("points", v(A))
        .out("result", v(curv2));
    case_writer("curvatures3d", "curvatures")
        .expect(t1::curvatures(B, chain, curv3))
        .arg("points", v(B))
        .arg("chain", v(chain))
        .out("result", v(curv3));
    const struct {
        const char* name;
        double p, python_p;
        bool normalize;
    } normal_cases[] = {{"normals_mean", 0.0, 0.0, true},
                        {"normals_length", 1.0, 1.0, false},
                        {"normals_power", -1.5, -1.5, true},
                        {"normals_longest", largest, HUGE_VAL, true},
                        {"normals_shortest", -largest, -HUGE_VAL, true}};
    for (const auto& nc : normal_cases) {
        dense2D<double> N;
        case_writer(nc.name, "normals")
            .expect(t1::normals(A, E, nc.p, nc.normalize, N))
            .arg("points", v(A))
            .arg("edges", v(E, 2))
            .kw("power", real(nc.python_p))
            .kw("normalize", flag(nc.normalize))
            .out("result", v(N));
    }
    const reals params = random_sizes(10, 0.0, 3.0, 12);
    const dense2D<unsigned> PE = columns<unsigned>(2, {0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 9, 8});
    const dense2D<double> D = curve(3, 10, 63);
    reals pc;
    case_writer("parametric_curvatures", "parametric_curvatures")
        .expect(t1::parametric_curvatures(params, PE, D, pc))
        .arg("params", v(params))
        .arg("edges", v(PE, 2))
        .arg("derivatives", v(D))
        .out("result", v(pc));
}

void metric_cases() {
    const reals params{0.0, 0.2, 0.2, 0.5, 1.0, 3.0}, queries{0.0, 0.1, 0.2, 0.2, 0.3, 0.75, 2.0, 3.0};
    const reals h{0.1, 0.5, 0.2, 0.3, 0.05, 1.0};
    reals hq;
    case_writer("interpolate_sizes", "interpolate_metrics")
        .expect(t1::interpolate_metrics(params, h, queries, hq))
        .arg("params", v(params))
        .arg("queries", v(queries))
        .kw("sizes", v(h))
        .out("result", v(hq));
    for (const unsigned dim : {2u, 3u}) {
        dense2D<double> out;
        const dense2D<double> M = random_metrics(dim, 6, 0.2, 13 + dim);
        case_writer(dim == 2 ? "interpolate_metrics2d" : "interpolate_metrics3d", "interpolate_metrics")
            .expect(t1::interpolate_metrics(params, M, queries, out))
            .arg("params", v(params))
            .arg("queries", v(queries))
            .kw("metrics", v(M))
            .out("result", v(out));
    }
    const dense2D<double> A = curve(2, 12, 71), B = curve(3, 12, 72), M0 = random_metrics(2, 12, 0.3, 14);
    dense2D<unsigned> E(2, 11);
    for (unsigned e = 0; e < 11; ++e) E(0, e) = e, E(1, e) = e + 1;
    const ids nodes{0, 3, 3, 11, 6};
    dense2D<double> M = copy(M0), Md(3, 12, 0.0), M3(6, 12, 0.0), M3b(6, 12, 0.0);
    case_writer("gen2d", "metrics_gen_aniso2d")
        .expect(t1::metrics_gen_aniso2d(A, E, -0.3, M))
        .arg("points", v(A))
        .arg("edges", v(E, 2))
        .arg("cross", real(-0.3))
        .kw("metrics", v(M0))
        .out("result", v(M));
    case_writer("gen2d_directions", "metrics_gen_aniso2d_directions")
        .expect(t1::metrics_gen_aniso2d(A, nodes, 0.4, 0.07, Md))
        .arg("directions", v(A))
        .arg("nodes", v(nodes))
        .arg("h_dir", real(0.4))
        .arg("h_cross", real(0.07))
        .out("result", v(Md));
    case_writer("gen3d", "metrics_gen_aniso3d")
        .expect(t1::metrics_gen_aniso3d(B, E, 0.05, M3))
        .arg("points", v(B))
        .arg("edges", v(E, 2))
        .arg("cross", real(0.05))
        .out("result", v(M3));
    case_writer("gen3d_bent", "metrics_gen_aniso3d")
        .expect(t1::metrics_gen_aniso3d(B, E, 0.02, 0.08, M3b))
        .arg("points", v(B))
        .arg("edges", v(E, 2))
        .arg("cross", real(0.02))
        .arg("cross_out", real(0.08))
        .out("result", v(M3b));

    reals values{0.5, -0.0, 0.1, 0.0, 0.3, 0.1, -7.0, 0.5};
    ids id{7, 8, 9, 3, 1, 2, 5, 0};
    case_writer("sort", "sort")
        .arg("values", v(values))
        .arg("ids", v(id))
        .expect(t1::sort(values, id))
        .out("values", v(values))
        .out("ids", v(id));
    reals x{0.0, 10.0, 5.0, 2.0, 7.5}, hx{1.0, 0.5, 2.0, 0.2, 0.7};
    const ids chain{0, 3, 2, 4, 1};
    ids out;
    case_writer c("subdivide", "subdivide");
    c.arg("abscissas", v(x))
        .arg("sizes", v(hx))
        .arg("chain", v(chain))
        .kw("force_fine", flag(true))
        .kw("nmax", integer(40));
    c.expect(t1::subdivide(x, hx, chain, true, false, 1, 40, out))
        .out("new_abscissas", v(x, 5))
        .out("new_sizes", v(hx, 5))
        .out("chain", v(out));
    const std::string version = t1::version();
    case_writer("version", "version")
        .out("result", make("|u1", {version.size()}, std::vector<char>(version.begin(), version.end())));
}

// The laws, with parameters that reach their harder branches: a ratio within 1e-12 of 1, strong
// clustering, a tanh law with unequal ends, an odd bump; then the solvers and the bridge.
void law_cases() {
    namespace laws = t1::laws;
    const struct {
        const char* name;
        const char* function;
        const char* parameter;
        unsigned count;
        double value;
        int (*law)(unsigned, double, reals&, reals&);
    } one_parameter[] = {
        {"law_arithmetic_first", "arithmetic_first", "first", 12, 0.02, laws::arithmetic_first},
        {"law_arithmetic_last", "arithmetic_last", "last", 7, 0.25, laws::arithmetic_last},
        {"law_geometric", "geometric", "ratio", 40, 1.1, laws::geometric},
        {"law_geometric_near_one", "geometric", "ratio", 1000, 1.0 + 1e-12, laws::geometric},
        {"law_geometric_first", "geometric_first", "first", 30, 1e-4, laws::geometric_first},
        {"law_bump", "bump", "ratio", 17, 0.1, laws::bump},
        {"law_beta", "beta_law", "beta", 25, 1.01, laws::beta_law},
        {"law_beta_two_sided", "beta_law_two_sided", "beta", 24, 1.2, laws::beta_law_two_sided},
    };
    for (const auto& l : one_parameter) {
        reals x, h;
        case_writer c(l.name, std::string("laws.") + l.function);
        c.expect(l.law(l.count, l.value, x, h)).arg("count", integer(l.count)).arg(l.parameter, real(l.value));
        c.out("fractions", v(x)).out("sizes", v(h));
    }
    {
        reals x, h;
        case_writer c("law_uniform", "laws.uniform");
        c.expect(laws::uniform(9, x, h)).arg("count", integer(9)).out("fractions", v(x)).out("sizes", v(h));
    }
    {
        reals x, h;
        case_writer c("law_tanh", "laws.tanh_stretching");
        c.expect(laws::tanh_stretching(33, 1e-3, 0.05, x, h)).arg("count", integer(33));
        c.arg("first", real(1e-3)).arg("last", real(0.05)).out("fractions", v(x)).out("sizes", v(h));
    }
    {
        reals x, h;
        unsigned n = 0;
        case_writer c("law_geometric_ends", "laws.geometric_ends");
        c.expect(laws::geometric_ends(0.01, 0.2, n, x, h)).arg("first", real(0.01)).arg("last", real(0.2));
        c.out("fractions", v(x)).out("sizes", v(h)).out("count", integer(n));
    }
    double ratio = 0.0, thickness = 0.0;
    unsigned count = 0;
    case_writer("law_solve_ratio", "laws.solve_ratio")
        .expect(laws::solve_ratio(2.5, 20, 0.01, ratio))
        .arg("length", real(2.5))
        .arg("count", integer(20))
        .arg("first", real(0.01))
        .out("result", real(ratio));
    case_writer("law_solve_count", "laws.solve_count")
        .expect(laws::solve_count(2.5, 0.01, 1.15, count))
        .arg("length", real(2.5))
        .arg("first", real(0.01))
        .arg("ratio", real(1.15))
        .out("result", integer(count));
    case_writer("law_layers_to_thickness", "laws.layers_to_thickness")
        .expect(laws::layers_to_thickness(0.3, 1e-5, 1.2, count, ratio))
        .arg("thickness", real(0.3))
        .arg("first", real(1e-5))
        .kw("max_ratio", real(1.2))
        .out("count", integer(count))
        .out("ratio", real(ratio));
    case_writer("law_layers_to_size", "laws.layers_to_size")
        .expect(laws::layers_to_size(1e-5, 0.02, 1.25, count, ratio, thickness))
        .arg("first", real(1e-5))
        .arg("last", real(0.02))
        .arg("max_ratio", real(1.25))
        .out("count", integer(count))
        .out("ratio", real(ratio))
        .out("thickness", real(thickness));

    // The bridge: a geometric law along a curved 3-D polyline given by a chain, and along a vector.
    reals x, h;
    laws::geometric(14, 1.2, x, h);
    const dense2D<double> B = curve(3, 10, 81), A = curve(2, 4, 82);
    const ids polyline{1, 2, 4, 5, 9, 7};
    {
        case_writer c("law_place_on_polyline", "laws.place_on_polyline");
        c.arg("points", v(B)).arg("fractions", v(x)).kw("polyline", v(polyline));
        appending(c, B, [&](dense2D<double>& Y, ids& ch) { return laws::place_on_polyline(Y, polyline, x, ch); });
    }
    {
        case_writer c("law_place_on_points", "laws.place_on_polyline");
        c.arg("points", v(A)).arg("fractions", v(x));
        appending(c, A, [&](dense2D<double>& Y, ids& ch) { return laws::place_on_polyline(Y, iota(4), x, ch); });
    }
    {
        const reals direction{0.4, -1.3};
        case_writer c("law_extrude", "laws.extrude");
        c.arg("points", v(A)).arg("start", integer(2)).arg("direction", v(direction)).arg("fractions", v(x));
        appending(c, A, [&](dense2D<double>& Y, ids& ch) { return laws::extrude(Y, 2u, direction, x, ch); });
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
    law_cases();
    return failures == 0 ? 0 : 1;
}
