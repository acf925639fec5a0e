// mesh_curves_demo: meshes a handful of built-in curves with tessora1d, prints how well each
// chain follows its size field and its geometry, and draws all of them into one SVG file.
//
//   mesh_curves_demo [output.svg]
//
// Every library call is checked; a failed call is reported with its code, the panels that
// exist are still drawn, and the program then exits with status 1. The picture depends on the
// results alone, so two runs write the same file byte for byte; the timings go to the console.
#include <vx4/tessora1d.h>

#include "svg_writer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

namespace {

using vx4::dense1D;
using vx4::dense2D;
using vx4::vector_fixed;
namespace t1d = vx4::tessora1d;

constexpr double pi = 3.14159265358979323846;

struct point3 {
    double x, y, z;
};

point3 operator-(const point3& a, const point3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
double dot(const point3& a, const point3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
double norm(const point3& a) { return std::sqrt(dot(a, a)); }

enum class view { plan, oblique };

// A view slightly from above, so that a helix about z shows its turns as stacked ellipses.
demo::point2 project(const point3& p, view v) {
    if (v == view::plan) return {p.x, p.y};
    return {p.x, p.z + 0.3 * p.y};
}

struct box {
    double xmin, xmax, ymin, ymax;
};

// One curve: what was meshed, what came out, and the figures of its table row.
struct curve_result {
    std::string name;
    std::string call;  // the library call that made the chains, as the panel's heading
    std::string title;
    view projection = view::plan;
    std::vector<std::vector<point3>> reference; // drawn in grey; deviations are measured from its nodes
    std::vector<std::vector<point3>> chains;    // usually one
    std::vector<std::vector<double>> chain_sizes; // the size at each node of each chain
    std::vector<point3> markers;                 // coarse input nodes, drawn as squares
    struct glyph {
        point3 centre;
        double h_major, h_minor, angle;
    };
    std::vector<glyph> metric_glyphs;            // unit ellipses of an anisotropic size field
    bool has_zoom = false;
    box zoom{};
    std::string size_label = "size";
    unsigned reference_nodes = 0;
    std::vector<double> element_metric;          // each element's length in the size field
    double min_metric = 0.0, max_metric = 0.0, max_deviation = 0.0, ms = 0.0;
    std::string failure;
};

class stopwatch {
public:
    void start() { t0_ = std::chrono::steady_clock::now(); }
    void stop(double& total_ms) {
        total_ms += std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0_).count();
    }

private:
    std::chrono::steady_clock::time_point t0_;
};

bool succeeded(curve_result& c, const std::string& call, int code) {
    if (code == 0) return true;
    c.failure = call + " returned " + std::to_string(code);
    std::fprintf(stderr, "%s: %s\n", c.name.c_str(), c.failure.c_str());
    return false;
}

// ---------------------------------------------------------------------------------------------
// Measurements
// ---------------------------------------------------------------------------------------------

// Mean size of an edge whose size varies linearly from a to b: (b - a) / ln(b / a).
double logarithmic_mean(double a, double b) {
    if (a > b) std::swap(a, b);
    if (!(a > 0.0)) return 0.0;
    const double d = (b - a) / a;
    return d < 1e-12 ? a : (b - a) / std::log1p(d);
}

double iso_metric_length(double length, double h0, double h1) {
    const double m = logarithmic_mean(h0, h1);
    return m > 0.0 ? length / m : 0.0;
}

// Length of v measured in a packed metric: sqrt(v^T M v), 3 entries in 2-D, 6 in 3-D.
double metric_norm(const double* m, unsigned rows, const point3& v) {
    double q = m[0] * v.x * v.x + 2.0 * m[1] * v.x * v.y + m[2] * v.y * v.y;
    if (rows == 6) q += 2.0 * m[3] * v.x * v.z + 2.0 * m[4] * v.y * v.z + m[5] * v.z * v.z;
    return q > 0.0 ? std::sqrt(q) : 0.0;
}

// The edge's lengths l0, l1 in its two end metrics stand for sizes |v|/l0 and |v|/l1 varying
// linearly along it, which gives the metric length l0 l1 / logmean(l0, l1).
double aniso_metric_length(const double* m0, const double* m1, unsigned rows, const point3& v) {
    const double l0 = metric_norm(m0, rows, v), l1 = metric_norm(m1, rows, v);
    const double m = logarithmic_mean(l0, l1);
    return m > 0.0 ? l0 * l1 / m : 0.0;
}

double distance_to_segment(const point3& p, const point3& a, const point3& b) {
    const point3 e = b - a, w = p - a;
    const double ee = dot(e, e);
    double t = ee > 0.0 ? dot(w, e) / ee : 0.0;
    t = std::min(1.0, std::max(0.0, t));
    const point3 q{a.x + t * e.x, a.y + t * e.y, a.z + t * e.z};
    return norm(p - q);
}

// Largest distance from a reference node to its nearest chain element. Quadratic, which is
// fine for the few hundred nodes of these curves.
double largest_deviation(const std::vector<std::vector<point3>>& reference, const std::vector<point3>& chain) {
    double worst = 0.0;
    if (chain.size() < 2) return worst;
    for (const auto& line : reference)
        for (const point3& p : line) {
            double nearest = std::numeric_limits<double>::max();
            for (std::size_t k = 0; k + 1 < chain.size(); ++k)
                nearest = std::min(nearest, distance_to_segment(p, chain[k], chain[k + 1]));
            worst = std::max(worst, nearest);
        }
    return worst;
}

std::vector<point3> chain_points(const dense2D<double>& pos, const dense1D<unsigned>& chain) {
    std::vector<point3> pts;
    pts.reserve(chain.size());
    for (unsigned k = 0; k < chain.size(); ++k) {
        const unsigned j = chain[k];
        if (j >= pos.cols()) break;
        pts.push_back({pos(0, j), pos(1, j), pos.rows() > 2 ? pos(2, j) : 0.0});
    }
    return pts;
}

void set_metric_range(curve_result& c, const std::vector<double>& element_metric) {
    c.element_metric = element_metric;
    if (element_metric.empty()) return;
    const auto mm = std::minmax_element(element_metric.begin(), element_metric.end());
    c.min_metric = *mm.first;
    c.max_metric = *mm.second;
}

std::size_t element_count(const curve_result& c) {
    std::size_t count = 0;
    for (const auto& chain : c.chains) count += chain.empty() ? 0 : chain.size() - 1;
    return count;
}

// Metric lengths of the chains' elements from isotropic sizes at their nodes. With one chain the
// deviation is measured from every reference line; with several, reference line i belongs to
// chain i and further reference lines (a wall, say) are only drawn.
void measure_iso(curve_result& c) {
    std::vector<double> ml;
    for (std::size_t i = 0; i < c.chains.size() && i < c.chain_sizes.size(); ++i) {
        const std::vector<point3>& chain = c.chains[i];
        const std::vector<double>& sizes = c.chain_sizes[i];
        for (std::size_t k = 0; k + 1 < chain.size() && k + 1 < sizes.size(); ++k)
            ml.push_back(iso_metric_length(norm(chain[k + 1] - chain[k]), sizes[k], sizes[k + 1]));
    }
    set_metric_range(c, ml);
    c.max_deviation = 0.0;
    if (c.chains.size() == 1) c.max_deviation = largest_deviation(c.reference, c.chains.front());
    for (std::size_t i = 0; c.chains.size() > 1 && i < c.reference.size() && i < c.chains.size(); ++i)
        c.max_deviation = std::max(c.max_deviation, largest_deviation({c.reference[i]}, c.chains[i]));
}

// Metric lengths from the chain's node metrics; each node is coloured by its size along the
// chain, the one that sets the spacing there.
void measure_aniso(curve_result& c, const dense2D<double>& metrics) {
    const unsigned rows = metrics.rows();
    const std::vector<point3>& chain = c.chains.front();
    const std::size_t n = std::min<std::size_t>(chain.size(), metrics.cols());
    std::vector<double> ml;
    for (std::size_t k = 0; k + 1 < n; ++k)
        ml.push_back(aniso_metric_length(&metrics(0, static_cast<unsigned>(k)),
                                         &metrics(0, static_cast<unsigned>(k + 1)), rows, chain[k + 1] - chain[k]));
    set_metric_range(c, ml);
    std::vector<double> sizes;
    for (std::size_t k = 0; k < n && n >= 2; ++k) {
        const point3 tangent = chain[std::min(k + 1, n - 1)] - chain[k > 0 ? k - 1 : 0];
        const double l = metric_norm(&metrics(0, static_cast<unsigned>(k)), rows, tangent);
        sizes.push_back(l > 0.0 ? norm(tangent) / l : 0.0);
    }
    c.chain_sizes = {sizes};
    c.max_deviation = largest_deviation(c.reference, chain);
}

// ---------------------------------------------------------------------------------------------
// The curves
// ---------------------------------------------------------------------------------------------

// Half-thickness of a symmetric four-digit profile of relative thickness t, with the closed
// trailing-edge coefficient so that both surfaces meet at x = 1.
double profile_half_thickness(double x, double t) {
    return 5.0 * t * (0.2969 * std::sqrt(x) - 0.1260 * x - 0.3516 * x * x + 0.2843 * x * x * x - 0.1036 * x * x * x * x);
}

// Closed profile, trailing edge -> upper surface -> leading edge -> lower surface -> trailing
// edge; the polyline ends on its first node, so the chain closes on the same node. Cosine
// spacing packs the polyline nodes where the curvature is.
curve_result airfoil(const std::string& name, const std::string& call, const std::string& title, double chordal,
                     double hmin) {
    curve_result c;
    c.name = name;
    c.call = call;
    c.title = title;
    c.has_zoom = true;
    c.zoom = {-0.012, 0.088, -0.04, 0.04};

    const unsigned per_side = 200;
    const unsigned nodes = 2 * per_side - 2;
    dense2D<double> pos;
    dense1D<unsigned> polyline;
    dense1D<double> sizes;
    if (!pos.resize(2, nodes) || !polyline.resize(nodes + 1) || !sizes.resize(nodes + 1)) {
        succeeded(c, "allocating the profile", -199);
        return c;
    }
    for (unsigned k = 0; k < nodes; ++k) {
        const bool upper = k < per_side;
        const unsigned i = upper ? k : k - per_side + 1;
        const double beta = pi * i / (per_side - 1);
        const double x = upper ? 0.5 * (1.0 + std::cos(beta)) : 0.5 * (1.0 - std::cos(beta));
        pos(0, k) = x;
        pos(1, k) = (upper ? 1.0 : -1.0) * profile_half_thickness(x, 0.12);
    }
    for (unsigned k = 0; k <= nodes; ++k) {
        const unsigned j = k < nodes ? k : 0;
        polyline[k] = j;
        sizes[k] = 0.005 + 0.045 * pos(0, j); // fine at the leading edge, coarse at the trailing edge
    }
    c.reference.push_back(chain_points(pos, polyline));
    c.reference_nodes = polyline.size();

    dense1D<unsigned> out;
    dense1D<double> params, out_sizes;
    stopwatch clock;
    clock.start();
    const int rc =
        t1d::mesh_line(pos, polyline, sizes, false, 1, t1d::no_count_bound, chordal, hmin, out, params, out_sizes);
    clock.stop(c.ms);
    if (!succeeded(c, "mesh_line", rc)) return c;
    c.chains = {chain_points(pos, out)};
    c.chain_sizes = {std::vector<double>(out_sizes.data(), out_sizes.data() + out_sizes.size())};
    measure_iso(c);
    return c;
}

// A sine wave under one constant metric that allows long elements along 30 degrees and short
// ones across: the spacing follows the local slope of the wave.
curve_result wavy_anisotropic() {
    curve_result c;
    c.name = "wave, anisotropic 2-D";
    c.call = "mesh_line(pos, polyline, metrics, ...)";
    c.title = "Wave under one metric: size 0.25 along 30 deg, 0.025 across";

    const double angle = pi / 6.0, h_along = 0.25, h_across = 0.025;
    const double ca = std::cos(angle), sa = std::sin(angle);
    const double l_along = 1.0 / (h_along * h_along), l_across = 1.0 / (h_across * h_across);
    const double m00 = l_along * ca * ca + l_across * sa * sa;
    const double m01 = (l_along - l_across) * ca * sa;
    const double m11 = l_along * sa * sa + l_across * ca * ca;

    const unsigned n = 401;
    dense2D<double> pos, metrics;
    dense1D<unsigned> polyline;
    if (!pos.resize(2, n) || !metrics.resize(3, n) || !polyline.resize(n)) {
        succeeded(c, "allocating the wave", -199);
        return c;
    }
    for (unsigned k = 0; k < n; ++k) {
        const double x = 2.0 * k / (n - 1);
        pos(0, k) = x;
        pos(1, k) = 0.25 * std::sin(1.5 * pi * x);
        polyline[k] = k;
        metrics(0, k) = m00;
        metrics(1, k) = m01;
        metrics(2, k) = m11;
    }
    c.reference.push_back(chain_points(pos, polyline));
    c.reference_nodes = n;
    for (double x = 0.25; x < 2.0; x += 0.5)
        c.metric_glyphs.push_back({{x, -0.42, 0.0}, h_along, h_across, angle});

    dense1D<unsigned> out;
    dense1D<double> params;
    dense2D<double> out_metrics;
    stopwatch clock;
    clock.start();
    const int rc =
        t1d::mesh_line(pos, polyline, metrics, false, 1, t1d::no_count_bound, 0.0, 0.0, out, params, out_metrics);
    clock.stop(c.ms);
    if (!succeeded(c, "mesh_line (metrics)", rc)) return c;
    c.chains = {chain_points(pos, out)};
    c.size_label = "size along chain";
    measure_aniso(c, out_metrics);
    return c;
}

// Three turns of a helix with sizes growing upwards and an absolute chordal tolerance, which
// refines the coarse top turns until every polyline node lies within 0.01 of the chain.
curve_result helix() {
    curve_result c;
    c.name = "helix 3-D, chordal 0.01";
    c.call = "mesh_line(pos, polyline, sizes, ..., chordal = 0.01, ...)";
    c.title = "Helix in 3-D, sizes 0.08 -> 0.4 upwards";
    c.projection = view::oblique;

    const unsigned n = 601;
    const double turns = 3.0, height = 1.5;
    dense2D<double> pos;
    dense1D<unsigned> polyline;
    dense1D<double> sizes;
    if (!pos.resize(3, n) || !polyline.resize(n) || !sizes.resize(n)) {
        succeeded(c, "allocating the helix", -199);
        return c;
    }
    for (unsigned k = 0; k < n; ++k) {
        const double s = static_cast<double>(k) / (n - 1);
        const double a = 2.0 * pi * turns * s;
        pos(0, k) = std::cos(a);
        pos(1, k) = std::sin(a);
        pos(2, k) = height * s;
        polyline[k] = k;
        sizes[k] = 0.08 + 0.32 * s;
    }
    c.reference.push_back(chain_points(pos, polyline));
    c.reference_nodes = n;

    dense1D<unsigned> out;
    dense1D<double> params, out_sizes;
    stopwatch clock;
    clock.start();
    const int rc =
        t1d::mesh_line(pos, polyline, sizes, false, 1, t1d::no_count_bound, 0.01, 0.0, out, params, out_sizes);
    clock.stop(c.ms);
    if (!succeeded(c, "mesh_line (3-D)", rc)) return c;
    c.chains = {chain_points(pos, out)};
    c.chain_sizes = {std::vector<double>(out_sizes.data(), out_sizes.data() + out_sizes.size())};
    measure_iso(c);
    return c;
}

// The extrusions return no sizes; the size the extrusion was asked for at a node is the
// linear model between the end sizes, at the node's fraction of the extruded length.
std::vector<double> extrusion_sizes(const std::vector<double>& fractions, double h0, double h1) {
    std::vector<double> sizes;
    for (double f : fractions) sizes.push_back(h0 + (h1 - h0) * f);
    return sizes;
}

// Wall-normal lines around a cylinder, each graded from a fine first cell at the wall to coarse
// cells at the outer edge: one extrude_translate from every wall node along its normal.
curve_result boundary_layer() {
    curve_result c;
    c.name = "boundary layer (translate)";
    c.call = "extrude_translate(pos, wall_node, V, h0, h1, false, chain)";
    c.title = "Wall-normal lines around a cylinder, sizes 0.002 -> 0.2";
    c.has_zoom = true;
    c.zoom = {-0.1, 0.1, 0.28, 0.38};

    const double radius = 0.3, thickness = 0.7, h0 = 0.002, h1 = 0.2;
    const unsigned lines = 13;
    dense2D<double> coords;
    if (!coords.resize(2, lines)) {
        succeeded(c, "allocating the wall", -199);
        return c;
    }
    std::vector<point3> wall;
    for (int i = 0; i <= 90; ++i) wall.push_back({radius * std::cos(pi * i / 90), radius * std::sin(pi * i / 90), 0.0});
    for (unsigned k = 0; k < lines; ++k) {
        const double a = pi * k / (lines - 1);
        coords(0, k) = radius * std::cos(a);
        coords(1, k) = radius * std::sin(a);
        c.reference.push_back({{coords(0, k), coords(1, k), 0.0},
                               {(radius + thickness) * std::cos(a), (radius + thickness) * std::sin(a), 0.0}});
    }
    c.reference.push_back(wall);
    c.reference_nodes = lines;

    stopwatch clock;
    for (unsigned k = 0; k < lines; ++k) {
        const double a = pi * k / (lines - 1);
        const vector_fixed<double, 2> normal{thickness * std::cos(a), thickness * std::sin(a)};
        dense1D<unsigned> chain;
        clock.start();
        const int rc = t1d::extrude_translate(coords, k, normal, h0, h1, false, chain);
        clock.stop(c.ms);
        if (!succeeded(c, "extrude_translate (sizes)", rc)) return c;
        c.chains.push_back(chain_points(coords, chain));
        std::vector<double> fractions;
        for (const point3& p : c.chains.back()) fractions.push_back((std::hypot(p.x, p.y) - radius) / thickness);
        c.chain_sizes.push_back(extrusion_sizes(fractions, h0, h1));
    }
    measure_iso(c);
    return c;
}

curve_result quarter_arc() {
    curve_result c;
    c.name = "quarter arc (rotate)";
    c.call = "extrude_rotate(pos, start, C, angle, h0, h1, false, chain)";
    c.title = "Quarter circle, sizes 0.01 -> 0.1";

    const double h0 = 0.01, h1 = 0.1, angle = 0.5 * pi;
    const vector_fixed<double, 2> start{1.0, 0.0}, centre{0.0, 0.0};
    std::vector<point3> arc;
    for (int i = 0; i <= 180; ++i) arc.push_back({std::cos(angle * i / 180), std::sin(angle * i / 180), 0.0});
    c.reference.push_back(arc);
    c.reference_nodes = static_cast<unsigned>(arc.size());

    dense2D<double> coords;
    dense1D<unsigned> chain;
    stopwatch clock;
    clock.start();
    const int rc = t1d::extrude_rotate(coords, start, centre, angle, h0, h1, false, chain);
    clock.stop(c.ms);
    if (!succeeded(c, "extrude_rotate (sizes)", rc)) return c;
    c.chains = {chain_points(coords, chain)};
    std::vector<double> fractions;
    for (const point3& p : c.chains.front()) fractions.push_back(std::atan2(p.y, p.x) / angle);
    c.chain_sizes = {extrusion_sizes(fractions, h0, h1)};
    measure_iso(c);
    return c;
}

// A closed spline through 12 nodes of an ellipse. The chain is wrapped (last node first, the
// first two last) so that the end tangents match and the meshed curve closes smoothly.
curve_result ellipse_spline(double& curve_to_coarse_chords) {
    curve_result c;
    c.name = "ellipse spline";
    c.call = "mesh_spline(..., chordal = -0.005, ..., gradation = 1.3, ...)";
    c.title = "Closed smooth curve through 12 nodes of an ellipse";

    const unsigned nodes = 12;
    const double a = 1.5, b = 0.8;
    dense2D<double> coords;
    dense1D<unsigned> chain;
    dense1D<double> sizes;
    if (!coords.resize(2, nodes) || !chain.resize(nodes + 3) || !sizes.resize(nodes + 3, 0.3)) {
        succeeded(c, "allocating the ellipse", -199);
        return c;
    }
    for (unsigned k = 0; k < nodes; ++k) {
        coords(0, k) = a * std::cos(2.0 * pi * k / nodes);
        coords(1, k) = b * std::sin(2.0 * pi * k / nodes);
        c.markers.push_back({coords(0, k), coords(1, k), 0.0});
    }
    chain[0] = nodes - 1;
    for (unsigned k = 0; k <= nodes + 1; ++k) chain[k + 1] = k % nodes;

    // The smooth curve itself, segment by segment, for drawing and for the deviation column.
    std::vector<point3> curve;
    vector_fixed<double, 2> p{};
    const unsigned samples = 24;
    for (unsigned k = 0; k + 3 < chain.size(); ++k)
        for (unsigned i = 0; i <= samples; ++i) {
            if (i == samples && k + 4 < chain.size()) break;
            const int rc = t1d::spline_point(coords, chain[k], chain[k + 1], chain[k + 2], chain[k + 3],
                                             static_cast<double>(i) / samples, p);
            if (!succeeded(c, "spline_point", rc)) return c;
            curve.push_back({p[0], p[1], 0.0});
        }
    c.reference.push_back(curve);
    c.reference_nodes = static_cast<unsigned>(curve.size());

    dense1D<unsigned> out;
    dense1D<double> params, out_sizes;
    double deviation = 0.0;
    stopwatch clock;
    clock.start();
    const int rc = t1d::mesh_spline(coords, chain, sizes, false, 1, t1d::no_count_bound, -0.005, 0.01, 0.0, 1.3, out,
                                    params, out_sizes, deviation);
    clock.stop(c.ms);
    curve_to_coarse_chords = deviation;
    if (!succeeded(c, "mesh_spline (sizes)", rc)) return c;
    c.chains = {chain_points(coords, out)};
    c.chain_sizes = {std::vector<double>(out_sizes.data(), out_sizes.data() + out_sizes.size())};
    measure_iso(c);
    return c;
}

// ---------------------------------------------------------------------------------------------
// Drawing
// ---------------------------------------------------------------------------------------------

box bounds(const curve_result& c) {
    box bb{std::numeric_limits<double>::max(), -std::numeric_limits<double>::max(),
           std::numeric_limits<double>::max(), -std::numeric_limits<double>::max()};
    auto grow = [&](const point3& p) {
        const demo::point2 q = project(p, c.projection);
        bb.xmin = std::min(bb.xmin, q.x);
        bb.xmax = std::max(bb.xmax, q.x);
        bb.ymin = std::min(bb.ymin, q.y);
        bb.ymax = std::max(bb.ymax, q.y);
    };
    for (const auto& line : c.reference)
        for (const point3& p : line) grow(p);
    for (const auto& chain : c.chains)
        for (const point3& p : chain) grow(p);
    for (const point3& p : c.markers) grow(p);
    for (const auto& g : c.metric_glyphs) {
        grow({g.centre.x - 0.5 * g.h_major, g.centre.y - 0.5 * g.h_major, 0.0});
        grow({g.centre.x + 0.5 * g.h_major, g.centre.y + 0.5 * g.h_major, 0.0});
    }
    if (bb.xmin > bb.xmax) bb = {0.0, 1.0, 0.0, 1.0};
    return bb;
}

// Circles shrink where the nodes crowd on screen, so that the chain's lines stay visible.
double node_radius(const std::vector<demo::point2>& pts) {
    if (pts.size() < 2) return 3.0;
    std::vector<double> gaps;
    for (std::size_t k = 0; k + 1 < pts.size(); ++k)
        gaps.push_back(std::hypot(pts[k + 1].x - pts[k].x, pts[k + 1].y - pts[k].y));
    std::nth_element(gaps.begin(), gaps.begin() + gaps.size() / 2, gaps.end());
    return std::min(3.2, std::max(1.3, 0.4 * gaps[gaps.size() / 2]));
}

void draw_view(demo::svg_canvas& svg, const demo::rect& area, const box& world, const curve_result& c,
               const demo::size_scale& scale) {
    const demo::rect inner{area.x + 8, area.y + 8, area.w - 16, area.h - 16};
    const demo::frame f(world.xmin, world.xmax, world.ymin, world.ymax, inner);
    auto to_screen = [&](const point3& p) { return f(project(p, c.projection)); };

    svg.begin_clip(area);
    for (const auto& line : c.reference) {
        std::vector<demo::point2> pts;
        for (const point3& p : line) pts.push_back(to_screen(p));
        svg.polyline(pts, "#c4c4c4", 4.0);
    }
    for (const auto& g : c.metric_glyphs)
        svg.ellipse(to_screen(g.centre), 0.5 * g.h_major * f.scale(), 0.5 * g.h_minor * f.scale(),
                    -g.angle * 180.0 / pi, "#6a8fd0", 1.0);
    for (std::size_t i = 0; i < c.chains.size(); ++i) {
        std::vector<demo::point2> chain;
        for (const point3& p : c.chains[i]) chain.push_back(to_screen(p));
        svg.polyline(chain, "#1b1b1b", 1.1);
        const double r = node_radius(chain);
        const std::vector<double> none;
        const std::vector<double>& sizes = i < c.chain_sizes.size() ? c.chain_sizes[i] : none;
        for (std::size_t k = 0; k < chain.size(); ++k) {
            const double h = k < sizes.size() ? sizes[k] : scale.lo;
            svg.circle(chain[k], r, demo::to_hex(demo::ramp_colour(scale(h))), "#333", 0.35);
        }
    }
    for (const point3& p : c.markers) svg.square(to_screen(p), 4.5, "#c0392b", 1.4);
    svg.end_clip();
}

void draw_panel(demo::svg_canvas& svg, const demo::rect& panel, const curve_result& c) {
    svg.rectangle(panel, "#fcfcfc", "#d0d0d0", 1.0);
    svg.monospace(panel.x + 10, panel.y + 20, c.call, 12, true, "#1f3f7a");
    svg.text(panel.x + 10, panel.y + 37, c.title, 12, "start", true);
    char line[200];
    if (c.failure.empty())
        std::snprintf(line, sizeof line, "%zu elements, metric lengths %.3f .. %.3f, deviation %.2e",
                      element_count(c), c.min_metric, c.max_metric, c.max_deviation);
    else
        std::snprintf(line, sizeof line, "FAILED: %s", c.failure.c_str());
    svg.text(panel.x + 10, panel.y + 53, line, 11, "start", false, c.failure.empty() ? "#555" : "#c0392b");

    const double heading = 60, legend = 40;
    const demo::rect plot{panel.x + 6, panel.y + heading, panel.w - 12, panel.h - heading - legend};
    double lo = std::numeric_limits<double>::max(), hi = 0.0;
    for (const auto& sizes : c.chain_sizes)
        for (double h : sizes)
            if (h > 0.0) lo = std::min(lo, h), hi = std::max(hi, h);
    const demo::size_scale scale = hi > 0.0 ? demo::size_scale(lo, hi) : demo::size_scale(1.0, 1.0);

    const box world = bounds(c);
    if (!c.has_zoom) {
        draw_view(svg, plot, world, c, scale);
    } else {
        // Wide curves get a strip on top, as high as the whole curve needs at full width (at most
        // half the plot), and the zoom below; tall ones share side by side the same way.
        const double dx = world.xmax - world.xmin, dy = world.ymax - world.ymin, margin = 16;
        const bool wide = dx > dy;
        const double strip = wide ? std::min(0.5 * plot.h, std::max(60.0, (plot.w - margin) * dy / dx + margin))
                                  : std::min(0.5 * plot.w, std::max(60.0, (plot.h - margin) * dx / dy + margin));
        const demo::rect main = wide ? demo::rect{plot.x, plot.y, plot.w, strip}
                                     : demo::rect{plot.x, plot.y, strip, plot.h};
        const demo::rect zoom = wide ? demo::rect{plot.x, plot.y + strip, plot.w, plot.h - strip}
                                     : demo::rect{plot.x + strip, plot.y, plot.w - strip, plot.h};
        draw_view(svg, main, world, c, scale);
        // Outline the zoomed window in the overview, at least a few pixels across.
        const demo::frame f(world.xmin, world.xmax, world.ymin, world.ymax,
                            {main.x + 8, main.y + 8, main.w - 16, main.h - 16});
        const demo::point2 a = f({c.zoom.xmin, c.zoom.ymax}), b = f({c.zoom.xmax, c.zoom.ymin});
        const double w = std::max(b.x - a.x, 6.0), h = std::max(b.y - a.y, 6.0);
        svg.rectangle({0.5 * (a.x + b.x) - 0.5 * w, 0.5 * (a.y + b.y) - 0.5 * h, w, h}, "none", "#e67e22", 1.2);
        svg.rectangle(zoom, "#ffffff", "#e67e22", 1.0);
        draw_view(svg, zoom, c.zoom, c, scale);
        svg.text(zoom.x + 6, zoom.y + 14, "zoom", 10, "start", false, "#e67e22");
    }
    if (hi > 0.0) svg.legend({panel.x + panel.w - 230, panel.y + panel.h - 30, 200, 9}, scale, c.size_label);
}

const char* const table_header = "curve                           polyline  elements   min mlen   max mlen      max dev";
const char* const time_header = "        ms";

// One row of the table; the time column only on the console, so that the picture stays the same
// from run to run.
std::string table_row(const curve_result& c, bool with_time) {
    char line[200];
    if (!c.failure.empty())
        std::snprintf(line, sizeof line, "%-30s %9u   FAILED: %s", c.name.c_str(), c.reference_nodes,
                      c.failure.c_str());
    else if (with_time)
        std::snprintf(line, sizeof line, "%-30s %9u %9zu %10.4f %10.4f %12.3e %9.3f", c.name.c_str(),
                      c.reference_nodes, element_count(c), c.min_metric, c.max_metric, c.max_deviation, c.ms);
    else
        std::snprintf(line, sizeof line, "%-30s %9u %9zu %10.4f %10.4f %12.3e", c.name.c_str(), c.reference_nodes,
                      element_count(c), c.min_metric, c.max_metric, c.max_deviation);
    return line;
}

const char* const table_notes[] = {
    "mlen: element length in the size field (1 is a perfect fit); max dev: largest distance from a",
    "polyline node (sampled curve for the extrusions and the spline) to the nearest chain element.",
};

// Every element's metric length, one row of dots per curve on a common axis, in the rest of the
// summary panel: how closely each chain fits its size field (1 is a perfect fit).
void draw_metric_strips(demo::svg_canvas& svg, const demo::rect& at, const demo::rect& panel,
                        const std::vector<curve_result>& curves) {
    const double lo = 0.5, hi = 1.5, label_width = 200;
    const double bottom = panel.y + panel.h - 28;
    const double row = std::min(18.0, (bottom - at.y - 24) / std::max<std::size_t>(curves.size(), 1));
    if (row < 6.0) return;
    const double x0 = at.x + label_width, x1 = at.x + at.w - 10;
    auto to_x = [&](double m) { return x0 + (std::min(hi, std::max(lo, m)) - lo) / (hi - lo) * (x1 - x0); };
    svg.text(at.x, at.y, "Element lengths in the size field", 11, "start", true);
    double y = at.y + 18;
    for (const curve_result& c : curves) {
        svg.text(at.x, y + 4, c.name, 10, "start", false, "#444");
        svg.polyline({{x0, y}, {x1, y}}, "#e4e4e4", 1.0);
        for (double m : c.element_metric) svg.circle({to_x(m), y}, 2.2, "#1f3f7a", "none", 0.0);
        y += row;
    }
    for (double m = lo; m <= hi + 1e-9; m += 0.25) {
        const double x = to_x(m);
        svg.polyline({{x, at.y + 10}, {x, y - row + 6}}, m == 1.0 ? "#e67e22" : "#cccccc", 0.8, m != 1.0);
        svg.text(x, y + 6, demo::svg_canvas::number(m), 10, "middle", false, "#555");
    }
}

// The table and a key to the drawing, in the free cells of the last row.
void draw_summary(demo::svg_canvas& svg, const demo::rect& panel, const std::vector<curve_result>& curves) {
    svg.rectangle(panel, "#fcfcfc", "#d0d0d0", 1.0);
    svg.text(panel.x + 10, panel.y + 20, "Summary", 13, "start", true);
    double y = panel.y + 42;
    svg.monospace(panel.x + 10, y, table_header, 11, true);
    for (const curve_result& c : curves) svg.monospace(panel.x + 10, y += 16, table_row(c, false), 11, false,
                                                       c.failure.empty() ? "#222" : "#c0392b");
    y += 10;
    for (const char* note : table_notes) svg.text(panel.x + 10, y += 15, note, 11, "start", false, "#555");
    const double table_bottom = y;

    // The key, in a column of its own right of the table when the panel is wide enough for both.
    const double key_width = 340, table_width = 600;
    const bool beside = panel.w >= table_width + key_width;
    const double x = beside ? panel.x + panel.w - key_width : panel.x + 16;
    y = beside ? panel.y + 42 : y + 30;
    svg.text(x, y, "Key", 11, "start", true);
    y += 20;
    svg.polyline({{x, y}, {x + 30, y}}, "#c4c4c4", 4.0);
    svg.text(x + 40, y + 4, "input polyline, or the exact curve (extrusions, spline)", 11);
    svg.polyline({{x, y += 20}, {x + 30, y}}, "#1b1b1b", 1.1);
    svg.circle({x + 15, y}, 3.0, demo::to_hex(demo::ramp_colour(0.5)), "#333", 0.35);
    svg.text(x + 40, y + 4, "chain; node colour = size at the node (legend per panel)", 11);
    svg.square({x + 15, y += 20}, 4.5, "#c0392b", 1.4);
    svg.text(x + 40, y + 4, "coarse nodes the spline passes through", 11);
    svg.ellipse({x + 15, y += 20}, 14, 4, -30, "#6a8fd0", 1.0);
    svg.text(x + 40, y + 4, "unit ellipse of the metric (half-axes = half the sizes)", 11);
    svg.rectangle({x + 5, (y += 20) - 6, 20, 12}, "none", "#e67e22", 1.2);
    svg.text(x + 40, y + 4, "window shown enlarged in the zoom", 11);

    draw_metric_strips(svg, {panel.x + 10, std::max(y, table_bottom) + 30, panel.w - 20, 0.0}, panel, curves);
}

void print_table(const std::vector<curve_result>& curves) {
    std::printf("%s%s\n", table_header, time_header);
    for (const curve_result& c : curves) std::printf("%s\n", table_row(c, true).c_str());
    std::printf("\n");
    for (const char* note : table_notes) std::printf("%s\n", note);
}

bool write_svg(const std::string& path, const std::vector<curve_result>& curves) {
    const int columns = 3;
    const double pw = 470, ph = 400, gap = 14, top = 46;
    // One more cell than curves: the summary takes the rest of the last row, at least one cell.
    const int cells = static_cast<int>(curves.size()) + 1;
    const int rows = (cells + columns - 1) / columns;
    demo::svg_canvas svg(columns * pw + (columns + 1) * gap, top + rows * (ph + gap) + gap);
    svg.text(gap, 30, std::string("tessora1d ") + t1d::version() +
                          ": input in grey, chain in black, nodes coloured by their size", 17, "start", true);
    auto cell = [&](std::size_t i) {
        return demo::point2{gap + static_cast<double>(i % columns) * (pw + gap),
                            top + static_cast<double>(i / columns) * (ph + gap)};
    };
    for (std::size_t i = 0; i < curves.size(); ++i) draw_panel(svg, {cell(i).x, cell(i).y, pw, ph}, curves[i]);
    const std::size_t free_cells = columns - curves.size() % columns;
    const demo::point2 at = cell(curves.size());
    draw_summary(svg, {at.x, at.y, free_cells * pw + (free_cells - 1) * gap, ph}, curves);
    return svg.save(path);
}

} // namespace

int main(int argc, char** argv) {
    const std::string path = argc > 1 ? argv[1] : "mesh_curves_demo.svg";

    double spline_chord_deviation = 0.0;
    std::vector<curve_result> curves;
    curves.push_back(airfoil("airfoil, graded sizes", "mesh_line(pos, polyline, sizes, ...)",
                             "Airfoil t=0.12, sizes 0.005 (leading edge) -> 0.05 (trailing edge)", 0.0, 0.0));
    curves.push_back(airfoil("airfoil, chordal -0.002", "mesh_line(..., chordal = -0.002, hmin = 1e-4, ...)",
                             "Same sizes, capped by the curvature", -0.002, 1e-4));
    curves.push_back(wavy_anisotropic());
    curves.push_back(helix());
    curves.push_back(boundary_layer());
    curves.push_back(quarter_arc());
    curves.push_back(ellipse_spline(spline_chord_deviation));

    std::printf("tessora1d %s\n\n", t1d::version());
    print_table(curves);
    if (curves.back().failure.empty())
        std::printf("mesh_spline reports %.3e between the spline and its coarse chords.\n", spline_chord_deviation);

    bool ok = true;
    for (const curve_result& c : curves) ok = ok && c.failure.empty();
    if (!write_svg(path, curves)) {
        std::fprintf(stderr, "cannot write %s\n", path.c_str());
        return 1;
    }
    std::printf("\nSVG written to %s\n", path.c_str());
    return ok ? 0 : 1;
}
