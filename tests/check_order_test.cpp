#include <vx4/tessora1d.h>

#include "test_support.h"

#include <gtest/gtest.h>

#include <functional>

using namespace vx4;
using namespace vx4::tessora1d;
using vx4test::columns;
using vx4test::iota;
using ids = dense1D<unsigned>;
using reals = dense1D<double>;
using V2 = vector_fixed<double, 2>;
using V3 = vector_fixed<double, 3>;

// Every call below gets two or three bad arguments; the code is that of the check made first, which
// is the lowest argument place except where a contract orders its checks otherwise. Every caller
// container must keep its content, bar the outputs that a contract empties on failure.
TEST(Codes, FirstFailingCheckWinsWhenSeveralArgumentsAreBad) {
    dense2D<double> X = columns<double>(2, {0, 0, 1, 0, 2, 0}), X3(3, 3, 1.0), X4(4, 3, 1.0), dot(2, 3, 1.0);
    const ids line = iota(3), bad_line{0, 7, 1}, two{0, 1}, chain4{0, 0, 1, 2};
    const reals params{0, 0.5, 1}, falling{1, 0.5, 0}, h(3, 0.1), bad_h{0.1, -1, 0.1};
    const dense2D<double> M = columns<double>(3, {100, 0, 100, 100, 0, 100, 100, 0, 100, 100, 0, 100});
    const dense2D<double> few = columns<double>(3, {100, 0, 100});
    const dense2D<unsigned> far = columns<unsigned>(2, {0, 9});
    const V2 O2{{0, 0}}, P2{{1, 0}};
    const V3 O3{{0, 0, 0}}, Z3{{0, 0, 1}};
    ids out{5};
    reals out_params, out_sizes{3}, out_values{3};
    dense2D<double> out_m = columns<double>(3, {1, 0, 1}), wrong(6, 1, 1.0);
    dense2D<unsigned> connect = columns<unsigned>(3, {0, 1, 2}), edges = columns<unsigned>(2, {0, 1});
    dense2D<double> out_n(2, 1, 3.0);
    double scalar = 7.0; // deviation or length
    V2 point{{7, 7}};

    // The outputs that a failure empties (or, for the scalar, sets to 0); all others are kept.
    enum : unsigned { P = 1, V = 2, N = 4, S = 8 };
    struct row {
        int code;
        unsigned cleared;
        const char* what;
        std::function<int()> call;
    };
    const row rows[] = {
        // Polyline meshing: dimension, nodes, parameters, field, counts, output field.
        {-1, P, "mesh_line: dimension, nodes, parameters",
         [&] { return mesh_line(X4, bad_line, falling, M, false, 1, 9, 0.0, 0.0, out, out_params, out_m); }},
        {-2, P, "mesh_line: nodes, parameters, counts",
         [&] { return mesh_line(X, bad_line, falling, M, false, 0, 9, 0.0, 0.0, out, out_params, out_m); }},
        {-3, P, "mesh_line: parameters, sizes",
         [&] { return mesh_line(X, line, falling, bad_h, false, 0, 9, 0.0, 0.0, out, out_params, out_sizes); }},
        {-4, P, "mesh_line: metrics, counts, output metrics",
         [&] { return mesh_line(X, line, params, few, false, 0, 9, 0.0, 0.0, out, out_params, wrong); }},
        {-6, P, "mesh_line: counts, output metrics",
         [&] { return mesh_line(X, line, params, M, false, 2, 1, 0.0, 0.0, out, out_params, wrong); }},
        {-2, 0, "mesh_line by chord length: zero length, metrics, counts",
         [&] { return mesh_line(dot, line, few, false, 0, 9, 0.0, 0.0, out, out_params, out_m); }},
        {-3, P, "mesh_line by chord length: sizes, counts",
         [&] { return mesh_line(X, line, bad_h, false, 0, 9, 0.0, 0.0, out, out_params, out_sizes); }},
        {-5, P, "mesh_line by chord length: counts, output metrics",
         [&] { return mesh_line(X, line, M, false, 0, 9, 0.0, 0.0, out, out_params, wrong); }},
        // Straight meshing leaves the dimension to mesh_line, after its own checks.
        {-2, 0, "mesh_straight: chain before dimension", [&] { return mesh_straight(X4, bad_line, M, false, out); }},
        {-3, 0, "mesh_straight: metrics before dimension", [&] { return mesh_straight(X4, line, few, false, out); }},
        {-3, 0, "mesh_straight: sizes before dimension", [&] { return mesh_straight(X4, line, bad_h, false, out); }},
        {-3, 0, "mesh_straight: b, ha, hb", [&] { return mesh_straight(X, 0u, 9u, -1.0, -1.0, false, out); }},
        {-2, 0, "mesh_straight: a, b", [&] { return mesh_straight(X, 8u, 9u, 4u, out); }},
        {-3, 0, "mesh_straight: b, d", [&] { return mesh_straight(X, 0u, 8u, 9u, 4u, out); }},
        {-2, S, "mesh_spline: chain, metrics, counts",
         [&] {
             return mesh_spline(X, line, few, false, 0, 9, 0.0, 0.0, 0.0, 0.0, out, out_values, out_m, scalar);
         }},
        {-5, S, "mesh_spline: counts, hmin, output metrics",
         [&] {
             return mesh_spline(X, chain4, M, false, 0, 9, 0.0, -1.0, 0.0, 0.0, out, out_values, wrong, scalar);
         }},
        {-8, S, "mesh_spline: hmin, output metrics",
         [&] {
             return mesh_spline(X, chain4, M, false, 1, 9, 0.0, -1.0, 0.0, 0.0, out, out_values, wrong, scalar);
         }},
        {-3, S, "mesh_spline: sizes, counts",
         [&] {
             return mesh_spline(X, chain4, reals{1, 1}, false, 2, 1, 0.0, 0.0, 0.0, 0.0, out, out_values, out_sizes,
                                scalar);
         }},
        // Extrusions: the start, then the path's length, then the sizes.
        {-2, 0, "extrude_translate: start, V, h0",
         [&] { return extrude_translate(X, 9u, V2{{0, 0}}, -1.0, 1.0, false, out); }},
        {-3, 0, "extrude_translate: V, h0, h1", [&] { return extrude_translate(X, P2, O2, -1.0, -1.0, false, out); }},
        {-4, 0, "extrude_translate: h0, h1", [&] { return extrude_translate(X3, 0u, Z3, 0.0, 0.0, false, out); }},
        {-1, 0, "extrude_translate: dimension, V, h0",
         [&] { return extrude_translate(X3, P2, O2, -1.0, 1.0, false, out); }},
        {-3, 0, "extrude_rotate: zero angle, h0, h1",
         [&] { return extrude_rotate(X, P2, O2, 0.0, -1.0, 0.0, false, out); }},
        {-5, 0, "extrude_rotate: h0, h1", [&] { return extrude_rotate(X, 1u, O2, -1.0, 0.0, -1.0, false, out); }},
        {-3, 0, "extrude_rotate: start on the axis, h0",
         [&] { return extrude_rotate(X3, O3, O3, Z3, 0.0, 1.0, false, out); }},
        {-1, 0, "extrude_rotate: dimension, start",
         [&] { return extrude_rotate(X, 9u, O3, Z3, 1.0, 1.0, false, out); }},
        // Connectivity.
        {-1, 0, "indices_to_connectE2: chain, output", [&] { return indices_to_connectE2(ids{1}, connect); }},
        {-1, 0, "indices_to_connectE3: chain, output", [&] { return indices_to_connectE3(ids{0, 1}, edges); }},
        {-1, 0, "split_into_linear: input, output", [&] { return split_into_linear(edges, connect); }},
        {-1, 0, "convert_into_high_order: dimension, edges",
         [&] { return convert_into_high_order(X4, far, 1u, connect); }},
        {-1, 0, "convert_into_high_order in place: dimension, edges",
         [&] {
             dense2D<unsigned> e = far;
             const int code = convert_into_high_order(X4, e, 1u);
             EXPECT_TRUE(e.rows() == 2 && e.cols() == 1 && e(1, 0) == 9);
             return code;
         }},
        {-1, 0, "mesh_reorient: edges, adjacency, start",
         [&] {
             dense2D<unsigned> one_row(1, 1, 0u), adjacency(2, 3, 0u);
             return mesh_reorient(one_row, adjacency, 5u, 1);
         }},
        {-2, 0, "mesh_reorient: adjacency, start",
         [&] {
             dense2D<unsigned> adjacency(2, 3, 0u);
             return mesh_reorient(connect, adjacency, 5u, 1);
         }},
        // Geometry queries.
        {-1, 0, "spline_point: dimension, P0", [&] { return spline_point(X3, 9u, 0u, 1u, 2u, 0.5, point); }},
        {-3, 0, "spline_point: P1, P3", [&] { return spline_point(X, 0u, 8u, 1u, 9u, 0.5, point); }},
        {-1, S, "length: dimension, nodes", [&] { return length(X4, ids{0}, scalar); }},
        {-1, V, "curvatures: dimension, nodes", [&] { return curvatures(X4, bad_line, out_values); }},
        {-1, N, "normals: dimension, edges", [&] { return normals(X3, far, 1.0, true, out_n); }},
        {-2, V, "parametric_curvatures: edges, derivatives",
         [&] { return parametric_curvatures(params, far, X4, out_values); }},
        {-2, 0, "interpolate_coordinates: chain sizes, query sizes",
         [&] { return interpolate_coordinates(X, two, params, two, params); }},
        // The chain's content is checked only once the lists are known sound, as the contract orders.
        {-5, 0, "interpolate_coordinates: query order before chain content",
         [&] { return interpolate_coordinates(X, bad_line, params, line, falling); }},
        {-2, 0, "interpolate_coordinates: chain content before query content",
         [&] { return interpolate_coordinates(X, bad_line, params, ids{0, 9, 9}, params); }},
        // Metrics.
        {-1, V, "interpolate_metrics: parameters, sizes, queries",
         [&] { return interpolate_metrics(falling, h, reals{0, 2}, out_values); }},
        {-2, V, "interpolate_metrics: sizes, queries",
         [&] { return interpolate_metrics(params, reals{1}, reals{2}, out_values); }},
        {-2, N, "interpolate_metrics: metrics, queries",
         [&] { return interpolate_metrics(params, few, reals{2}, out_n); }},
        {-1, 0, "metrics_gen_aniso2d: directions, nodes, h_dir",
         [&] { return metrics_gen_aniso2d(X3, bad_line, -1.0, 1.0, out_m); }},
        {-3, 0, "metrics_gen_aniso2d: h_dir, h_cross, metrics",
         [&] { return metrics_gen_aniso2d(X, line, 0.0, 0.0, wrong); }},
        {-4, 0, "metrics_gen_aniso2d: h_cross, metrics",
         [&] { return metrics_gen_aniso2d(X, line, 1.0, -1.0, wrong); }},
        {-2, 0, "metrics_gen_aniso2d from edges: edges, metrics",
         [&] { return metrics_gen_aniso2d(X, connect, 0.0, wrong); }},
        {-1, 0, "metrics_gen_aniso3d: dimension, edges, metrics",
         [&] { return metrics_gen_aniso3d(X, far, 0.0, out_m); }},
        {-2, 0, "metrics_gen_aniso3d with two sizes: edges, metrics",
         [&] { return metrics_gen_aniso3d(X3, far, 0.0, 0.0, out_m); }},
        // Sorting and subdivision.
        {-2, 0, "subdivide: chain, counts",
         [&] {
             reals abscissas{0, 1}, sizes{1, 1};
             return subdivide(abscissas, sizes, ids{0, 5}, false, false, 0, 9, out);
         }},
    };
    for (const row& r : rows) {
        out_params = reals{7};
        out_values = reals{3};
        out_n = dense2D<double>(2, 1, 3.0);
        scalar = 7.0;
        EXPECT_EQ(r.call(), r.code) << r.what;
        EXPECT_EQ(out_params.size(), r.cleared & P ? 0u : 1u) << r.what;
        EXPECT_EQ(out_values.size(), r.cleared & V ? 0u : 1u) << r.what;
        EXPECT_EQ(out_n.cols(), r.cleared & N ? 0u : 1u) << r.what;
        EXPECT_EQ(scalar, r.cleared & S ? 0.0 : 7.0) << r.what;
        EXPECT_TRUE(X.cols() == 3 && X3.cols() == 3 && X4.cols() == 3 && dot.cols() == 3) << r.what;
        EXPECT_TRUE(out.size() == 1 && out[0] == 5 && out_sizes.size() == 1 && out_m.cols() == 1 && wrong.cols() == 1)
            << r.what;
        EXPECT_TRUE(connect.rows() == 3 && connect.cols() == 1 && edges.cols() == 1) << r.what;
        EXPECT_TRUE(point[0] == 7 && point[1] == 7) << r.what;
    }
}
