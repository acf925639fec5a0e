// distribution_laws_demo: the named node distributions of tessora1d at work. It builds a
// boundary layer above a curved wall (first cell 1e-4, growth 1.2, answered by the layer
// calculator), a curved edge with two-sided tanh stretching, and a strip per law, prints the
// figures a user would check, and draws everything into one SVG file.
//
//   distribution_laws_demo [output.svg]
//
// Every call is checked; a failed call is reported with its code and the program exits with 1.
#include <vx4/tessora1d.h>
#include <vx4/tessora1d_laws.h>

#include "svg_writer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using vx4::dense1D;
using vx4::dense2D;
namespace laws = vx4::tessora1d::laws;

constexpr double pi = 3.14159265358979323846;

bool failed = false;

bool check(int code, const char* what) {
    if (code == 0) return true;
    std::fprintf(stderr, "%s failed with code %d\n", what, code);
    failed = true;
    return false;
}

std::string format(const char* fmt, double a, double b = 0.0, double c = 0.0) {
    char buf[160];
    std::snprintf(buf, sizeof buf, fmt, a, b, c);
    return buf;
}

demo::point2 column(const dense2D<double>& c, unsigned j) { return {c(0, j), c(1, j)}; }

// Boundary layer above the arc y = 0.15 sin(pi x), x in [0, 1]: at every wall node a wall-normal
// line of the layer calculator's count and ratio, extruded with the geometric law.
struct layer_mesh {
    std::vector<std::vector<demo::point2>> normals; // one chain per wall node
    unsigned count = 0;
    double ratio = 0.0, first_cell = 0.0;
};

layer_mesh boundary_layer(double thickness, double first, double max_ratio) {
    layer_mesh out;
    if (!check(laws::layers_to_thickness(thickness, first, max_ratio, out.count, out.ratio), "layers_to_thickness"))
        return out;
    dense1D<double> x, h;
    if (!check(laws::geometric_first(out.count, first / thickness, x, h), "geometric_first")) return out;
    out.first_cell = x[1] * thickness;
    const unsigned wall_nodes = 25;
    for (unsigned k = 0; k < wall_nodes; ++k) {
        const double s = static_cast<double>(k) / (wall_nodes - 1);
        const double slope = 0.15 * pi * std::cos(pi * s), len = std::sqrt(1 + slope * slope);
        dense2D<double> coords(2, 1);
        coords(0, 0) = s;
        coords(1, 0) = 0.15 * std::sin(pi * s);
        dense1D<unsigned> chain;
        const dense1D<double> normal{-slope / len * thickness, thickness / len};
        if (!check(laws::extrude(coords, 0, normal, x, chain), "extrude")) return out;
        std::vector<demo::point2> line;
        for (unsigned i = 0; i < chain.size(); ++i) line.push_back(column(coords, chain[i]));
        out.normals.push_back(line);
    }
    return out;
}

// A two-sided tanh edge along an S-shaped polyline, nodes at the law's arc-length fractions.
struct tanh_edge {
    std::vector<demo::point2> polyline, chain;
    std::vector<double> sizes;
    double length = 0.0, first = 0.0, last = 0.0;
};

tanh_edge tanh_curve(unsigned count, double first, double last) {
    tanh_edge out;
    const unsigned samples = 200;
    dense2D<double> pos(2, samples + 1);
    dense1D<unsigned> line(samples + 1);
    for (unsigned k = 0; k <= samples; ++k) {
        const double t = static_cast<double>(k) / samples;
        pos(0, k) = t;
        pos(1, k) = 0.12 * std::sin(2 * pi * t);
        line[k] = k;
        out.polyline.push_back(column(pos, k));
    }
    if (!check(vx4::tessora1d::length(pos, line, out.length), "length")) return out;
    dense1D<double> x, h;
    if (!check(laws::tanh_stretching(count, first / out.length, last / out.length, x, h), "tanh_stretching"))
        return out;
    dense1D<unsigned> chain;
    if (!check(laws::place_on_polyline(pos, line, x, chain), "place_on_polyline")) return out;
    for (unsigned i = 0; i < chain.size(); ++i) {
        out.chain.push_back(column(pos, chain[i]));
        out.sizes.push_back(h[i] * out.length);
    }
    out.first = x[1] * out.length;
    out.last = (1.0 - x[count - 1]) * out.length;
    return out;
}

struct strip {
    std::string label;
    std::vector<double> fractions;
};

std::vector<strip> law_strips(unsigned n) {
    std::vector<strip> out;
    auto add = [&](const std::string& label, int code, const dense1D<double>& x) {
        if (!check(code, label.c_str())) return;
        out.push_back({label, std::vector<double>(x.begin(), x.end())});
    };
    dense1D<double> x, h;
    unsigned ends_count = 0;
    add("uniform", laws::uniform(n, x, h), x);
    add("arithmetic_first 0.01", laws::arithmetic_first(n, 0.01, x, h), x);
    add("geometric ratio 1.15", laws::geometric(n, 1.15, x, h), x);
    add("geometric_first 0.005", laws::geometric_first(n, 0.005, x, h), x);
    const int ends_code = laws::geometric_ends(0.01, 0.08, ends_count, x, h);
    add("geometric_ends 0.01, 0.08 (n " + std::to_string(ends_count) + ")", ends_code, x);
    add("bump 0.1", laws::bump(n, 0.1, x, h), x);
    add("beta_law 1.05", laws::beta_law(n, 1.05, x, h), x);
    add("beta_law_two_sided 1.05", laws::beta_law_two_sided(n, 1.05, x, h), x);
    add("tanh_stretching 0.005, 0.02", laws::tanh_stretching(n, 0.005, 0.02, x, h), x);
    return out;
}

// The geometric law's end sizes given to mesh_straight rebuild the law: the largest gap, relative.
double mesh_straight_agreement(unsigned n, double ratio) {
    dense1D<double> x, h;
    if (!check(laws::geometric(n, ratio, x, h), "geometric")) return 0.0;
    dense2D<double> coords(2, 2, 0.0);
    coords(0, 1) = 1.0;
    dense1D<unsigned> chain;
    if (!check(vx4::tessora1d::mesh_straight(coords, 0u, 1u, h[0], h[n], false, chain), "mesh_straight")) return 0.0;
    if (chain.size() != n + 1) {
        std::fprintf(stderr, "mesh_straight made %u elements instead of %u\n", chain.size() - 1, n);
        failed = true;
        return 0.0;
    }
    double worst = 0.0;
    for (unsigned i = 1; i <= n; ++i) worst = std::max(worst, std::fabs(coords(0, chain[i]) - x[i]) / (x[i] - x[i - 1]));
    return worst;
}

void draw(const std::string& path, const layer_mesh& layer, const tanh_edge& edge, const std::vector<strip>& strips,
          double thickness) {
    demo::svg_canvas svg(1000, 1040);
    svg.text(20, 30, "tessora1d distribution laws", 18, "start", true);

    // Panel 1: the boundary layer, whole and zoomed on the wall.
    const demo::rect whole{20, 60, 460, 300}, zoom{520, 60, 460, 300};
    svg.text(whole.x, whole.y - 8,
             format("Boundary layer: first cell %.0e, ratio <= %.1f, thickness %.2f", layer.first_cell, 1.2,
                    thickness),
             12);
    svg.text(zoom.x, zoom.y - 8, "Near the wall at x = 0.5 (" + std::to_string(layer.count) + " layers, ratio " +
                                  format("%.4f)", layer.ratio),
             12);
    for (int panel = 0; panel < 2; ++panel) {
        const demo::rect& r = panel == 0 ? whole : zoom;
        const demo::frame f = panel == 0 ? demo::frame(-0.02, 1.02, -0.02, 0.22, r)
                                         : demo::frame(0.495, 0.505, 0.149, 0.157, r);
        svg.rectangle(r, "none", "#bbb", 0.6);
        svg.begin_clip(r);
        for (const auto& n : layer.normals) {
            std::vector<demo::point2> p;
            for (const auto& q : n) p.push_back(f(q));
            svg.polyline(p, "#888", 0.6);
        }
        for (std::size_t i = 0; !layer.normals.empty() && i < layer.normals[0].size(); ++i) {
            std::vector<demo::point2> p;
            for (const auto& n : layer.normals) p.push_back(f(n[i]));
            svg.polyline(p, demo::to_hex(demo::ramp_colour(static_cast<double>(i) / layer.normals[0].size())),
                         i == 0 ? 2.0 : 0.8);
        }
        svg.end_clip();
    }

    // Panel 2: the tanh edge, nodes coloured by their size.
    const demo::rect er{20, 410, 960, 260};
    svg.text(er.x, er.y - 8,
             format("Two-sided tanh edge: first %.4f, last %.4f (asked 0.002, 0.02), length %.3f", edge.first,
                    edge.last, edge.length),
             12);
    svg.rectangle(er, "none", "#bbb", 0.6);
    const demo::frame ef(-0.02, 1.02, -0.16, 0.16, er);
    std::vector<demo::point2> poly;
    for (const auto& q : edge.polyline) poly.push_back(ef(q));
    svg.polyline(poly, "#ccc", 3.0);
    if (!edge.sizes.empty()) {
        const auto [lo, hi] = std::minmax_element(edge.sizes.begin(), edge.sizes.end());
        const demo::size_scale scale(*lo, *hi);
        for (std::size_t i = 0; i < edge.chain.size(); ++i)
            svg.circle(ef(edge.chain[i]), 3.0, demo::to_hex(demo::ramp_colour(scale(edge.sizes[i]))), "#333", 0.4);
        svg.legend({700, er.y + 20, 240, 10}, scale, "node size");
    }

    // Panel 3: one strip per law, 30 elements each.
    const double top = 720, row = 34, left = 240, width = 720;
    svg.text(20, top - 12, "The laws on 30 elements unless noted (node ticks along [0, 1])", 12, "start", true);
    for (std::size_t k = 0; k < strips.size(); ++k) {
        const double y = top + row * k + 14;
        svg.text(left - 10, y + 4, strips[k].label, 11, "end");
        svg.polyline({{left, y}, {left + width, y}}, "#999", 0.8);
        for (double t : strips[k].fractions)
            svg.polyline({{left + width * t, y - 8}, {left + width * t, y + 8}}, "#234", 1.0);
    }
    if (!svg.save(path)) {
        std::fprintf(stderr, "cannot write %s\n", path.c_str());
        failed = true;
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::string path = argc > 1 ? argv[1] : "distribution_laws_demo.svg";
    const double thickness = 0.05;

    const layer_mesh layer = boundary_layer(thickness, 1e-4, 1.2);
    std::printf("boundary layer to %.3g: %u layers, ratio %.6f (<= 1.2), first cell %.6e (asked 1e-4)\n", thickness,
                layer.count, layer.ratio, layer.first_cell);

    const tanh_edge edge = tanh_curve(48, 0.002, 0.02);
    std::printf("tanh edge of length %.4f in 48 elements: first %.6e (asked 2e-3), last %.6e (asked 2e-2)\n",
                edge.length, edge.first, edge.last);

    unsigned n = 0;
    double r = 0.0, t = 0.0;
    if (check(laws::solve_count(2e-3, 1e-5, 1.15, n), "solve_count"))
        std::printf("layers of 1e-5 growing by 1.15 that reach 2 mm: %u\n", n);
    if (check(laws::solve_ratio(1.0, 30, 1e-5, r), "solve_ratio"))
        std::printf("ratio giving a first cell of 1e-5 in 30 cells: %.6f\n", r);
    if (check(laws::layers_to_size(1e-5, 1e-3, 1.2, n, r, t), "layers_to_size"))
        std::printf("from 1e-5 to 1e-3 at ratio <= 1.2: %u layers, ratio %.6f, thickness %.6e\n", n, r, t);
    std::printf("geometric sizes given to mesh_straight: nodes within %.1e of an element of the law\n",
                mesh_straight_agreement(24, 1.18));

    draw(path, layer, edge, law_strips(30), thickness);
    if (!failed) std::printf("SVG written to %s\n", path.c_str());
    return failed ? 1 : 0;
}
