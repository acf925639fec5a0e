// A minimal SVG writer for the demo: a canvas of absolute-pixel primitives, a frame that maps
// world coordinates into a screen rectangle at equal scale, and a colour ramp for node sizes.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace demo {

struct point2 {
    double x, y;
};

struct rgb {
    int r, g, b;
};

inline std::string to_hex(const rgb& c) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "#%02x%02x%02x", c.r & 0xff, c.g & 0xff, c.b & 0xff);
    return buf;
}

// A perceptually ordered ramp (dark violet, blue, teal, green, yellow); u is clamped to [0, 1].
inline rgb ramp_colour(double u) {
    static const rgb stops[] = {{68, 1, 84}, {59, 82, 139}, {33, 145, 140}, {94, 201, 98}, {253, 231, 37}};
    const int last = static_cast<int>(sizeof stops / sizeof stops[0]) - 1;
    if (!(u > 0.0)) u = 0.0;
    if (u > 1.0) u = 1.0;
    const double s = u * last;
    const int k = std::min(static_cast<int>(s), last - 1);
    const double f = s - k;
    auto mix = [f](int a, int b) { return static_cast<int>(std::lround(a + (b - a) * f)); };
    return {mix(stops[k].r, stops[k + 1].r), mix(stops[k].g, stops[k + 1].g), mix(stops[k].b, stops[k + 1].b)};
}

// Maps a size range onto [0, 1], logarithmically when the range spans more than a factor of
// two (graded meshes), so that small and large sizes both get distinct colours.
struct size_scale {
    double lo = 1.0, hi = 1.0;
    bool log = false;

    size_scale() = default;
    size_scale(double low, double high) : lo(low), hi(high), log(low > 0.0 && high > 2.0 * low) {}

    double operator()(double h) const {
        if (!(hi > lo)) return 0.5;
        if (log) return std::log(h / lo) / std::log(hi / lo);
        return (h - lo) / (hi - lo);
    }
    double value_at(double u) const { return log ? lo * std::pow(hi / lo, u) : lo + (hi - lo) * u; }
};

struct rect {
    double x, y, w, h;
};

// World-to-screen map with one scale for both axes, the world box centred in the screen box,
// y pointing up in the world and down on screen.
class frame {
public:
    frame(double xmin, double xmax, double ymin, double ymax, const rect& screen) : screen_(screen) {
        double dx = xmax - xmin, dy = ymax - ymin;
        const double extent = std::max({dx, dy, 1e-12});
        if (dx < 1e-9 * extent) dx = 1e-9 * extent;
        if (dy < 1e-9 * extent) dy = 1e-9 * extent;
        scale_ = std::min(screen.w / dx, screen.h / dy);
        cx_ = 0.5 * (xmin + xmax);
        cy_ = 0.5 * (ymin + ymax);
    }
    point2 operator()(const point2& p) const {
        return {screen_.x + 0.5 * screen_.w + (p.x - cx_) * scale_, screen_.y + 0.5 * screen_.h - (p.y - cy_) * scale_};
    }
    double scale() const { return scale_; }

private:
    rect screen_;
    double scale_ = 1.0, cx_ = 0.0, cy_ = 0.0;
};

inline std::string xml_escape(const std::string& s) {
    std::string out;
    out.reserve(s.size());
    for (char c : s) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        default: out += c;
        }
    }
    return out;
}

class svg_canvas {
public:
    svg_canvas(double width, double height) : width_(width), height_(height) {
        body_.precision(2);
        body_ << std::fixed;
    }

    void rectangle(const rect& r, const std::string& fill, const std::string& stroke, double stroke_width = 1.0) {
        body_ << "<rect x=\"" << r.x << "\" y=\"" << r.y << "\" width=\"" << r.w << "\" height=\"" << r.h
              << "\" fill=\"" << fill << "\" stroke=\"" << stroke << "\" stroke-width=\"" << stroke_width << "\"/>\n";
    }

    void polyline(const std::vector<point2>& pts, const std::string& stroke, double width, bool dashed = false) {
        if (pts.size() < 2) return;
        body_ << "<polyline fill=\"none\" stroke=\"" << stroke << "\" stroke-width=\"" << width
              << "\" stroke-linejoin=\"round\" stroke-linecap=\"round\"";
        if (dashed) body_ << " stroke-dasharray=\"4 3\"";
        body_ << " points=\"";
        for (const point2& p : pts) body_ << p.x << ',' << p.y << ' ';
        body_ << "\"/>\n";
    }

    void circle(const point2& c, double r, const std::string& fill, const std::string& stroke, double width) {
        body_ << "<circle cx=\"" << c.x << "\" cy=\"" << c.y << "\" r=\"" << r << "\" fill=\"" << fill
              << "\" stroke=\"" << stroke << "\" stroke-width=\"" << width << "\"/>\n";
    }

    void square(const point2& c, double half, const std::string& stroke, double width) {
        rectangle({c.x - half, c.y - half, 2 * half, 2 * half}, "none", stroke, width);
    }

    // An ellipse with half-axes rx, ry, its rx axis turned by `degrees` (clockwise on screen).
    void ellipse(const point2& c, double rx, double ry, double degrees, const std::string& stroke, double width) {
        body_ << "<ellipse cx=\"" << c.x << "\" cy=\"" << c.y << "\" rx=\"" << rx << "\" ry=\"" << ry
              << "\" transform=\"rotate(" << degrees << ' ' << c.x << ' ' << c.y << ")\" fill=\"none\" stroke=\""
              << stroke << "\" stroke-width=\"" << width << "\"/>\n";
    }

    // anchor: "start", "middle" or "end".
    void text(double x, double y, const std::string& s, double size, const char* anchor = "start",
              bool bold = false, const std::string& fill = "#222") {
        body_ << "<text x=\"" << x << "\" y=\"" << y << "\" font-family=\"sans-serif\" font-size=\"" << size
              << "\" text-anchor=\"" << anchor << "\" fill=\"" << fill << "\"" << (bold ? " font-weight=\"bold\"" : "")
              << ">" << xml_escape(s) << "</text>\n";
    }

    // Fixed-width text, for tables whose columns must line up.
    void monospace(double x, double y, const std::string& s, double size, bool bold = false,
                   const std::string& fill = "#222") {
        body_ << "<text x=\"" << x << "\" y=\"" << y << "\" font-family=\"monospace\" font-size=\"" << size
              << "\" fill=\"" << fill << "\" xml:space=\"preserve\"" << (bold ? " font-weight=\"bold\"" : "")
              << ">" << xml_escape(s) << "</text>\n";
    }

    // Everything drawn until end_clip() is cut to r; returns nothing, ids are numbered internally.
    void begin_clip(const rect& r) {
        const int id = clips_++;
        body_ << "<clipPath id=\"clip" << id << "\"><rect x=\"" << r.x << "\" y=\"" << r.y << "\" width=\"" << r.w
              << "\" height=\"" << r.h << "\"/></clipPath>\n<g clip-path=\"url(#clip" << id << ")\">\n";
    }
    void end_clip() { body_ << "</g>\n"; }

    // A horizontal colour bar with its end values and the midpoint value below it.
    void legend(const rect& bar, const size_scale& scale, const std::string& label) {
        const int steps = 48;
        for (int i = 0; i < steps; ++i) {
            const rect cell{bar.x + bar.w * i / steps, bar.y, bar.w / steps + 0.5, bar.h};
            rectangle(cell, to_hex(ramp_colour((i + 0.5) / steps)), "none", 0.0);
        }
        rectangle(bar, "none", "#444", 0.6);
        const double ty = bar.y + bar.h + 11;
        text(bar.x, ty, number(scale.value_at(0.0)), 10, "start");
        text(bar.x + 0.5 * bar.w, ty, number(scale.value_at(0.5)), 10, "middle");
        text(bar.x + bar.w, ty, number(scale.value_at(1.0)), 10, "end");
        text(bar.x - 6, bar.y + bar.h - 1, label + (scale.log ? " (log)" : ""), 10, "end");
    }

    static std::string number(double v) {
        char buf[32];
        std::snprintf(buf, sizeof buf, "%.3g", v);
        return buf;
    }

    bool save(const std::string& path) const {
        std::ofstream out(path);
        if (!out) return false;
        out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width_ << "\" height=\"" << height_
            << "\" viewBox=\"0 0 " << width_ << ' ' << height_ << "\">\n"
            << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
            << body_.str() << "</svg>\n";
        return static_cast<bool>(out);
    }

private:
    double width_, height_;
    std::ostringstream body_;
    int clips_ = 0;
};

} // namespace demo
