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

std::string directory, last = "(none)";
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
// Points, metrics, connectivities: columns [first, end) as rows (`rows` for an empty matrix);
// indices not below `none_from` become -1.
template <class T>
value v(const dense2D<T>& X, unsigned rows, unsigned first = 0, unsigned none_from = none) {
    constexpr bool index = std::is_same<T, unsigned>::value;
    using entry = std::conditional_t<index, std::int64_t, double>;
    std::vector<entry> out;
    const unsigned cols = X.empty() ? 0 : X.cols();
    rows = X.empty() ? rows : X.rows();
    for (unsigned j = first; j < cols; ++j)
        for (unsigned r = 0; r < rows; ++r) out.push_back(index && X(r, j) >= none_from ? entry(-1) : entry(X(r, j)));
    return make(index ? "<i8" : "<f8", {cols - first, rows}, out);
}
value v(const dense2D<double>& X) { return v(X, X.rows()); }
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

std::vector<std::string> names(const std::string& list) { // split at ',' and '|', empty names dropped
    std::vector<std::string> out;
    std::string name;
    for (const char ch : list + ",")
        if (ch != ',' && ch != '|')
            name += ch;
        else if (!name.empty())
            out.push_back(name), name.clear();
    return out;
}

// One case: `inputs` names the positional arguments, then after '|' the keywords ("a,b|k"), and
// `outputs` the fields of the result; the values follow in the same order.
void put(const std::string& name, const std::string& function, std::string inputs, const std::vector<value>& in,
         const std::string& outputs, const std::vector<value>& out) {
    if (inputs.find('|') == std::string::npos) inputs += '|';
    const std::vector<std::string> a = names(inputs), o = names(outputs);
    if (a.size() != in.size() || o.size() != out.size())
        std::fprintf(stderr, "%s: names and values differ in number\n", name.c_str()), ++failures;
    for (std::size_t k = 0; k < a.size() && k < in.size(); ++k) write_npy(name + "." + a[k] + ".npy", in[k]);
    for (std::size_t k = 0; k < o.size() && k < out.size(); ++k) write_npy(name + ".out." + o[k] + ".npy", out[k]);
    manifest << name << '|' << function << '|' << inputs << '|' << outputs << '\n';
    last = name;
}

// A library call that must succeed for the reference to mean anything.
void expect(int rc) {
    if (rc < 0) std::fprintf(stderr, "case after %s: library code %d\n", last.c_str(), rc), ++failures;
}

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

// Cases whose call appends points to (a copy of) X and fills a chain: new_points, chain.
template <class Call>
std::vector<value> appending(const dense2D<double>& X, Call call) {
    dense2D<double> Y = copy(X);
    ids chain;
    expect(call(Y, chain));
    return {v(Y, X.rows(), X.cols()), v(chain)};
}

// ---- cases ---------------------------------------------------------------------------------------

void connectivity_cases() {
    const ids chain{4, 9, 2, 7, 0, 3, 8, 1, 5};
    dense2D<unsigned> e2, e3, split, C = columns<unsigned>(4, {0, 3, 1, 2, 3, 6, 4, 5, 6, 9, 7, 8});
    expect(t1::indices_to_connectE2(chain, e2));
    expect(t1::indices_to_connectE3(chain, e3));
    expect(t1::split_into_linear(e3, split));
    dense2D<unsigned> F = copy(e3);
    const value C_in = v(C, 4), F_in = v(F, 3);
    expect(t1::convert_into_linear(C));
    expect(t1::flip(F));
    put("e2", "indices_to_connect_e2", "chain", {v(chain)}, "result", {v(e2, 2)});
    put("e3", "indices_to_connect_e3", "chain", {v(chain)}, "result", {v(e3, 3)});
    put("split", "split_into_linear", "edges", {v(e3, 3)}, "result", {v(split, 2)});
    put("linear", "convert_into_linear", "edges", {C_in}, "result", {v(C, 2)});
    put("flip", "flip", "edges", {F_in}, "result", {v(F, 3)});

    // High-order conversion: the out form, the in-place form (Python has one form) and quadratic.
    const dense2D<double> X = curve(2, 6, 11), X3 = curve(3, 4, 12);
    const dense2D<unsigned> E = columns<unsigned>(2, {0, 1, 1, 2, 3, 2, 4, 5}),
                            E3 = columns<unsigned>(2, {0, 1, 2, 1, 2, 3});
    for (const unsigned k : {3u, 2u}) {
        dense2D<double> Y = copy(X);
        dense2D<unsigned> in = copy(E), out;
        expect(k == 3 ? t1::convert_into_high_order(Y, in, k, out) : t1::convert_into_high_order(Y, in, k));
        put(k == 3 ? "high_order" : "high_order_in_place", "convert_into_high_order", "points,edges,k",
            {v(X), v(E, 2), integer(k)}, "new_points,edges", {v(Y, 2, 6), v(k == 3 ? out : in, k + 2)});
    }
    dense2D<double> Y3 = copy(X3);
    dense2D<unsigned> Q = copy(E3);
    expect(t1::convert_into_quadratic(Y3, Q));
    put("quadratic", "convert_into_quadratic", "points,edges", {v(X3), v(E3, 2)}, "new_points,edges",
        {v(Y3, 3, 4), v(Q, 3)});

    // Reorientation of two chains: given neighbours from element 1; computed ones, all components.
    const dense2D<unsigned> R = columns<unsigned>(2, {0, 1, 2, 1, 2, 3, 5, 4, 5, 6, 7, 6});
    for (const bool given : {true, false}) {
        // Any index >= E means no neighbour (99 here); Python writes -1 for all of them.
        dense2D<unsigned> C2 = copy(R), N = columns<unsigned>(2, {1, none, 0, 2, 99, 1, none, 4, 5, 3, 4, none});
        if (!given) vx4::tessora::get_neighbors(R, vx4::edge2, false, N);
        const value N_in = v(N, 2);
        const int turned = t1::mesh_reorient(C2, N, given ? 1 : 0, given ? 0 : 1);
        expect(turned);
        const std::vector<value> out{v(C2, 2), v(N, 2, 0, 6), integer(turned)};
        if (given)
            put("reorient", "mesh_reorient", "edges|neighbors,start", {v(R, 2), N_in, integer(1)},
                "edges,neighbors,turned", out);
        else
            put("reorient_all", "mesh_reorient", "edges|all_components", {v(R, 2), flag(true)},
                "edges,neighbors,turned", out);
    }
}

void extrusion_cases() {
    const dense2D<double> X2 = curve(2, 3, 21), X3 = curve(3, 3, 22), none2;
    const std::string chain = "new_points,chain";
    put("translate_node_count", "extrude_translate", "points,start,vector|count",
        {v(X2), integer(1), v(reals{0.3, -1.7}), integer(7)}, chain, appending(X2, [](auto& Y, ids& ch) {
            return t1::extrude_translate(Y, 1u, v2{0.3, -1.7}, 7u, ch);
        }));
    put("translate_point_sizes", "extrude_translate", "points,start,vector|h0,h1,even",
        {v(X3), v(reals{0.1, 0.2, 0.3}), v(reals{1.0, -2.0, 0.5}), real(0.05), real(0.4), flag(true)}, chain,
        appending(X3, [](auto& Y, ids& ch) {
            return t1::extrude_translate(Y, v3{0.1, 0.2, 0.3}, v3{1.0, -2.0, 0.5}, 0.05, 0.4, true, ch);
        }));
    put("rotate_node_sizes", "extrude_rotate", "points,start,center,rotation|h0,h1",
        {v(X2), integer(2), v(reals{0.5, 0.5}), real(-2.5), real(0.02), real(0.2)}, chain,
        appending(X2, [](auto& Y, ids& ch) {
            return t1::extrude_rotate(Y, 2u, v2{0.5, 0.5}, -2.5, 0.02, 0.2, false, ch);
        }));
    put("rotate_point_count", "extrude_rotate", "points,start,center,rotation|count",
        {v(X3), v(reals{1.0, 0.0, 0.2}), v(reals{0.0, 0.1, 0.0}), v(reals{0.3, 0.4, 2.0}), integer(9)}, chain,
        appending(X3, [](auto& Y, ids& ch) {
            return t1::extrude_rotate(Y, v3{1.0, 0.0, 0.2}, v3{0.0, 0.1, 0.0}, v3{0.3, 0.4, 2.0}, 9u, ch);
        }));
    put("rotate_point_alone", "extrude_rotate", "points,start,center,rotation|count",
        {v(none2, 2), v(reals{1.0, 0.0}), v(reals{0.0, 0.0}), real(pi / 2), integer(5)}, chain,
        appending(none2, [](auto& Y, ids& ch) {
            return t1::extrude_rotate(Y, v2{1.0, 0.0}, v2{0.0, 0.0}, pi / 2, 5u, ch);
        }));
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
    const unsigned n = X.cols();
    constexpr bool metric = std::is_same<Field, dense2D<double>>::value;
    const std::string kind = metric ? "metrics" : "sizes";
    dense2D<double> Y = copy(X);
    ids chain;
    reals params, P = chord_params(X);
    Field out;
    expect(with_params ? t1::mesh_line(Y, iota(n), P, field, even, nmin, nmax, chordal, hmin, chain, params, out)
                       : t1::mesh_line(Y, iota(n), field, even, nmin, nmax, chordal, hmin, chain, params, out));
    std::string in = "points|" + kind + ",even,nmin,chordal,hmin";
    std::vector<value> values{v(X), v(field), flag(even), integer(nmin), real(chordal), real(hmin)};
    if (with_params) in += ",params", values.push_back(v(P));
    if (nmax != none) in += ",nmax", values.push_back(integer(nmax));
    value field_out = v(out);
    if constexpr (metric) field_out = v(out, X.rows() == 2 ? 3 : 6);
    put(name, "mesh_line", in, values, "new_points,chain,params," + kind,
        {v(Y, X.rows(), n), v(chain), v(params), field_out});
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
    expect(t1::mesh_line(Y, iota(60), h, false, 1, none, 0.0, 0.0, chain, params, sizes));
    dense2D<double> pts(2, chain.size());
    for (unsigned k = 0; k < chain.size(); ++k) pts(0, k) = Y(0, chain[k]), pts(1, k) = Y(1, chain[k]);
    put("curve", "mesh_curve", "points|sizes", {v(A), v(h)}, "result", {v(pts)});
}

void straight_and_spline_cases() {
    const dense2D<double> X = columns<double>(2, {0, 0, 1, 0, 1.5, 0.8, 0.2, 1.1, -0.5, 0.4});
    const dense2D<double> M = random_metrics(2, 2, 0.1, 9);
    const reals h{0.1, 0.3, 0.05, 0.2, 0.15};
    using call = std::function<int(dense2D<double>&, ids&)>;
    const struct { const char* name; ids chain; const char* field; value given; bool even; call mesh; } cases[] = {
        {"straight_sizes", iota(5), "sizes", v(h), true,
         [&](auto& Y, ids& o) { return t1::mesh_straight(Y, iota(5), h, true, o); }},
        {"straight_count", {4, 2, 0}, "count", integer(13), false,
         [](auto& Y, ids& o) { return t1::mesh_straight(Y, ids{4, 2, 0}, 13u, false, o); }},
        {"straight_metrics", {1, 3}, "metrics", v(M), false,
         [&](auto& Y, ids& o) { return t1::mesh_straight(Y, ids{1, 3}, M, false, o); }},
        // The node-pair overloads, reached from Python through chains of 2 or 3 indices.
        {"straight_pair_count", {3, 1}, "count", integer(6), false,
         [](auto& Y, ids& o) { return t1::mesh_straight(Y, 3u, 1u, 6u, o); }},
        {"straight_triple_count", {0, 2, 4}, "count", integer(11), false,
         [](auto& Y, ids& o) { return t1::mesh_straight(Y, 0u, 2u, 4u, 11u, o); }},
        {"straight_pair_sizes", {2, 4}, "sizes", v(reals{0.02, 0.3}), true,
         [](auto& Y, ids& o) { return t1::mesh_straight(Y, 2u, 4u, 0.02, 0.3, true, o); }},
    };
    for (const auto& s : cases)
        put(s.name, "mesh_straight", std::string("points,chain|") + s.field + ",even",
            {v(X), v(s.chain), s.given, flag(s.even)}, "new_points,chain", appending(X, s.mesh));
    // Spline points and meshes.
    const reals t{-0.25, 0.0, 0.1, 0.37, 0.5, 0.99, 1.0, 1.5};
    for (const unsigned dim : {2u, 3u}) {
        const dense2D<double> S = curve(dim, 8, 40 + dim);
        const ids nodes = dim == 2 ? ids{3, 4, 5, 7} : ids{4, 4, 5, 6};
        dense2D<double> P(dim, t.size());
        const auto at = [&](unsigned k, auto q) { // q: the 2-D or 3-D point
            expect(t1::spline_point(S, nodes[0], nodes[1], nodes[2], nodes[3], t[k], q));
            for (unsigned r = 0; r < dim; ++r) P(r, k) = q[r];
        };
        for (unsigned k = 0; k < t.size(); ++k) dim == 2 ? at(k, v2{}) : at(k, v3{});
        put(dim == 2 ? "spline_point2d" : "spline_point3d", "spline_point", "points,nodes,t", {v(S), v(nodes), v(t)},
            "result", {v(P)});
    }
    const dense2D<double> S2 = curve(2, 12, 51), S3 = curve(3, 9, 52), MS = random_metrics(3, 9, 0.3, 11);
    const ids chain{0, 0, 2, 3, 5, 6, 8, 9, 11, 11};
    const reals hs = random_sizes(10, 0.05, 0.2, 10);
    dense2D<double> Y2 = copy(S2), Y3 = copy(S3), metrics;
    ids out2, out3;
    reals params2, params3, sizes;
    double deviation2 = 0.0, deviation3 = 0.0;
    expect(t1::mesh_spline(Y2, chain, hs, false, 1, none, 0.001, 0.01, 0.0, 0.0, out2, params2, sizes, deviation2));
    expect(t1::mesh_spline(Y3, iota(9), MS, true, 4, 60, -0.05, 0.0, 0.2, 1.5, out3, params3, metrics, deviation3));
    put("spline_sizes", "mesh_spline", "points,chain|sizes,chordal,hmin",
        {v(S2), v(chain), v(hs), real(0.001), real(0.01)}, "new_points,chain,params,sizes,deviation",
        {v(Y2, 2, 12), v(out2), v(params2), v(sizes), real(deviation2)});
    put("spline_metrics", "mesh_spline", "points|metrics,even,nmin,nmax,chordal,background,gradation",
        {v(S3), v(MS), flag(true), integer(4), integer(60), real(-0.05), real(0.2), real(1.5)},
        "new_points,chain,params,metrics,deviation",
        {v(Y3, 3, 9), v(out3), v(params3), v(metrics, 6), real(deviation3)});
}

void geometry_cases() {
    const dense2D<double> A = curve(2, 30, 61), B = curve(3, 25, 62);
    const ids chain{3, 7, 1, 8, 20, 2};
    const dense2D<unsigned> E = columns<unsigned>(2, {0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 7, 6, 6, 5, 9, 8, 29, 3});
    double len = 0.0, len_edges = 0.0;
    expect(t1::length(B, chain, len));
    expect(t1::length(A, E, len_edges));
    put("length_chain", "length", "points,chain", {v(B), v(chain)}, "result", {real(len)});
    put("length_edges", "length", "points|edges", {v(A), v(E, 2)}, "result", {real(len_edges)});
    const reals params{0.0, 0.1, 0.1, 0.4, 0.9, 1.0}, queries{-0.5, 0.0, 0.05, 0.1, 0.33, 0.95, 1.0, 2.0};
    dense2D<double> Y = copy(B);
    Y.resize(3, 25 + queries.size(), 0.0);
    expect(t1::interpolate_coordinates(Y, chain, params, iota(queries.size(), 25), queries));
    put("interpolate_coordinates", "interpolate_coordinates", "points,chain,params,new_params",
        {v(B), v(chain), v(params), v(queries)}, "result", {v(Y, 3, 25)});
    reals curv2, curv3;
    expect(t1::curvatures(A, iota(30), curv2));
    expect(t1::curvatures(B, chain, curv3));
    put("curvatures2d", "curvatures", "points", {v(A)}, "result", {v(curv2)});
    put("curvatures3d", "curvatures", "points,chain", {v(B), v(chain)}, "result", {v(curv3)});
    const struct { const char* name; double p, python_p; bool normalize; } normal_cases[] = {
        {"normals_mean", 0.0, 0.0, true}, {"normals_length", 1.0, 1.0, false}, {"normals_power", -1.5, -1.5, true},
        {"normals_longest", largest, HUGE_VAL, true}, {"normals_shortest", -largest, -HUGE_VAL, true}};
    for (const auto& nc : normal_cases) {
        dense2D<double> N;
        expect(t1::normals(A, E, nc.p, nc.normalize, N));
        put(nc.name, "normals", "points,edges|power,normalize",
            {v(A), v(E, 2), real(nc.python_p), flag(nc.normalize)}, "result", {v(N)});
    }
    const reals pp = random_sizes(10, 0.0, 3.0, 12);
    const dense2D<unsigned> PE = columns<unsigned>(2, {0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 9, 8});
    const dense2D<double> D = curve(3, 10, 63);
    reals pc;
    expect(t1::parametric_curvatures(pp, PE, D, pc));
    put("parametric_curvatures", "parametric_curvatures", "params,edges,derivatives", {v(pp), v(PE, 2), v(D)},
        "result", {v(pc)});
}

void metric_cases() {
    const reals params{0.0, 0.2, 0.2, 0.5, 1.0, 3.0}, queries{0.0, 0.1, 0.2, 0.2, 0.3, 0.75, 2.0, 3.0};
    const reals h{0.1, 0.5, 0.2, 0.3, 0.05, 1.0};
    reals hq;
    expect(t1::interpolate_metrics(params, h, queries, hq));
    put("interpolate_sizes", "interpolate_metrics", "params,queries|sizes", {v(params), v(queries), v(h)}, "result",
        {v(hq)});
    for (const unsigned dim : {2u, 3u}) {
        dense2D<double> out;
        const dense2D<double> M = random_metrics(dim, 6, 0.2, 13 + dim);
        expect(t1::interpolate_metrics(params, M, queries, out));
        put(dim == 2 ? "interpolate_metrics2d" : "interpolate_metrics3d", "interpolate_metrics",
            "params,queries|metrics", {v(params), v(queries), v(M)}, "result", {v(out)});
    }
    const dense2D<double> A = curve(2, 12, 71), B = curve(3, 12, 72), M0 = random_metrics(2, 12, 0.3, 14);
    dense2D<unsigned> E(2, 11);
    for (unsigned e = 0; e < 11; ++e) E(0, e) = e, E(1, e) = e + 1;
    const ids nodes{0, 3, 3, 11, 6};
    dense2D<double> M = copy(M0), Md(3, 12, 0.0), M3(6, 12, 0.0), M3b(6, 12, 0.0);
    expect(t1::metrics_gen_aniso2d(A, E, -0.3, M));
    expect(t1::metrics_gen_aniso2d(A, nodes, 0.4, 0.07, Md));
    expect(t1::metrics_gen_aniso3d(B, E, 0.05, M3));
    expect(t1::metrics_gen_aniso3d(B, E, 0.02, 0.08, M3b));
    put("gen2d", "metrics_gen_aniso2d", "points,edges,cross|metrics", {v(A), v(E, 2), real(-0.3), v(M0)}, "result",
        {v(M)});
    put("gen2d_directions", "metrics_gen_aniso2d_directions", "directions,nodes,h_dir,h_cross",
        {v(A), v(nodes), real(0.4), real(0.07)}, "result", {v(Md)});
    put("gen3d", "metrics_gen_aniso3d", "points,edges,cross", {v(B), v(E, 2), real(0.05)}, "result", {v(M3)});
    put("gen3d_bent", "metrics_gen_aniso3d", "points,edges,cross,cross_out", {v(B), v(E, 2), real(0.02), real(0.08)},
        "result", {v(M3b)});

    reals values{0.5, -0.0, 0.1, 0.0, 0.3, 0.1, -7.0, 0.5};
    ids id{7, 8, 9, 3, 1, 2, 5, 0};
    const std::vector<value> sort_in{v(values), v(id)};
    expect(t1::sort(values, id));
    put("sort", "sort", "values,ids", sort_in, "values,ids", {v(values), v(id)});
    reals x{0.0, 10.0, 5.0, 2.0, 7.5}, hx{1.0, 0.5, 2.0, 0.2, 0.7};
    const ids chain{0, 3, 2, 4, 1};
    const std::vector<value> subdivide_in{v(x), v(hx), v(chain), flag(true), integer(40)};
    ids out;
    expect(t1::subdivide(x, hx, chain, true, false, 1, 40, out));
    put("subdivide", "subdivide", "abscissas,sizes,chain|force_fine,nmax", subdivide_in,
        "new_abscissas,new_sizes,chain", {v(x, 5), v(hx, 5), v(out)});
    const std::string version = t1::version();
    put("version", "version", "", {}, "result",
        {make("|u1", {version.size()}, std::vector<char>(version.begin(), version.end()))});
}

// The laws, with parameters that reach their harder branches: a ratio within 1e-12 of 1, strong
// clustering, a tanh law with unequal ends, an odd bump; then the solvers and the bridge.
void law_cases() {
    namespace laws = t1::laws;
    const struct {
        const char *name, *function, *parameter;
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
    const std::string law = "fractions,sizes";
    reals x, h;
    for (const auto& l : one_parameter) {
        expect(l.law(l.count, l.value, x, h));
        put(l.name, std::string("laws.") + l.function, std::string("count,") + l.parameter,
            {integer(l.count), real(l.value)}, law, {v(x), v(h)});
    }
    expect(laws::uniform(9, x, h));
    put("law_uniform", "laws.uniform", "count", {integer(9)}, law, {v(x), v(h)});
    expect(laws::tanh_stretching(33, 1e-3, 0.05, x, h));
    put("law_tanh", "laws.tanh_stretching", "count,first,last", {integer(33), real(1e-3), real(0.05)}, law,
        {v(x), v(h)});
    double ratio = 0.0, thickness = 0.0;
    unsigned count = 0;
    expect(laws::geometric_ends(0.01, 0.2, count, x, h));
    put("law_geometric_ends", "laws.geometric_ends", "first,last", {real(0.01), real(0.2)}, law + ",count",
        {v(x), v(h), integer(count)});
    expect(laws::solve_ratio(2.5, 20, 0.01, ratio));
    put("law_solve_ratio", "laws.solve_ratio", "length,count,first", {real(2.5), integer(20), real(0.01)}, "result",
        {real(ratio)});
    expect(laws::solve_count(2.5, 0.01, 1.15, count));
    put("law_solve_count", "laws.solve_count", "length,first,ratio", {real(2.5), real(0.01), real(1.15)}, "result",
        {integer(count)});
    expect(laws::layers_to_thickness(0.3, 1e-5, 1.2, count, ratio));
    put("law_layers_to_thickness", "laws.layers_to_thickness", "thickness,first|max_ratio",
        {real(0.3), real(1e-5), real(1.2)}, "count,ratio", {integer(count), real(ratio)});
    expect(laws::layers_to_size(1e-5, 0.02, 1.25, count, ratio, thickness));
    put("law_layers_to_size", "laws.layers_to_size", "first,last,max_ratio", {real(1e-5), real(0.02), real(1.25)},
        "count,ratio,thickness", {integer(count), real(ratio), real(thickness)});

    // The bridge: a geometric law along a curved 3-D polyline given by a chain, and along a vector.
    expect(laws::geometric(14, 1.2, x, h));
    const dense2D<double> B = curve(3, 10, 81), A = curve(2, 4, 82);
    const ids polyline{1, 2, 4, 5, 9, 7};
    const reals direction{0.4, -1.3};
    put("law_place_on_polyline", "laws.place_on_polyline", "points,fractions|polyline", {v(B), v(x), v(polyline)},
        "new_points,chain",
        appending(B, [&](auto& Y, ids& ch) { return laws::place_on_polyline(Y, polyline, x, ch); }));
    put("law_place_on_points", "laws.place_on_polyline", "points,fractions", {v(A), v(x)}, "new_points,chain",
        appending(A, [&](auto& Y, ids& ch) { return laws::place_on_polyline(Y, iota(4), x, ch); }));
    put("law_extrude", "laws.extrude", "points,start,direction,fractions", {v(A), integer(2), v(direction), v(x)},
        "new_points,chain", appending(A, [&](auto& Y, ids& ch) { return laws::extrude(Y, 2u, direction, x, ch); }));
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
