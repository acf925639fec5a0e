// One mesh_line call in a fresh process, as a user's program makes it: the heap has nothing to
// recycle, so every byte the call touches costs its first-touch page fault. Each workload runs in
// a child process of its own, which builds its inputs, makes the one call, then repeats it warm
// and reports:
//   one-shot ms     time of the first call
//   warm ms         median of the repeated calls (the heap recycles the same blocks)
//   fresh B/node    peak resident size during the first call minus the resident size before it
//   alloc B/node    bytes the first call allocated
// per polyline node (dense input, 10^6 nodes) or per output node (dense output, 10 polyline nodes
// cut into about 10^6 elements). The overloads without parameters are called, with coordinates
// that have no spare columns.
//
// Usage: mesh_line_one_shot            every workload, one child process each
//        mesh_line_one_shot NAME SCALE one workload in this process (what the children run)
#include <vx4/tessora1d.h>

#include "bench_curves.h"
#include "heap_counter.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace bench;
using vx4::tessora1d::mesh_line;

constexpr unsigned kDenseInputNodes = 1000000;
constexpr unsigned kDenseOutputNodes = 10;
constexpr double kDenseOutputElements = 1e6;
constexpr int kWarmCalls = 3;

struct workload_kind {
    const char* name;
    bool dense_input;
    unsigned dim;
    field kind;
};

const workload_kind kWorkloads[] = {
    {"input-iso-2d", true, 2, field::iso},
    {"input-iso-3d", true, 3, field::iso},
    {"input-aniso-2d", true, 2, field::aniso_rotated},
    {"input-aniso-3d", true, 3, field::aniso_rotated},
    {"output-iso-2d", false, 2, field::iso},
    {"output-iso-3d", false, 3, field::iso},
    {"output-aniso-2d", false, 2, field::aniso_rotated},
    {"output-aniso-3d", false, 3, field::aniso_rotated},
};

// A workload's inputs with exactly the polyline's columns.
workload inputs(const workload_kind& k, double scale) {
    return sample_curve(k.dim, k.kind, k.dense_input ? kDenseInputNodes : kDenseOutputNodes, scale);
}

// One call of the overload without parameters into fresh outputs; the element count, 0 on failure.
unsigned call(workload& w) {
    dense1D<unsigned> out;
    dense1D<double> out_params;
    int rc;
    if (w.kind == field::iso) {
        dense1D<double> out_sizes;
        rc = mesh_line(w.pos, w.indices, w.sizes, false, 1, kNoBound, 0.0, 0.0, out, out_params, out_sizes);
    } else {
        dense2D<double> out_metrics;
        rc = mesh_line(w.pos, w.indices, w.metrics, false, 1, kNoBound, 0.0, 0.0, out, out_params, out_metrics);
    }
    return rc == 0 ? out.size() - 1 : 0;
}

// A field of /proc/self/status in bytes (VmRSS, VmHWM).
long long status_bytes(const char* key) {
    FILE* f = std::fopen("/proc/self/status", "r");
    if (!f) return -1;
    char line[256];
    long long kib = -1;
    const std::size_t len = std::strlen(key);
    while (std::fgets(line, sizeof line, f))
        if (std::strncmp(line, key, len) == 0 && line[len] == ':') kib = std::atoll(line + len + 1);
    std::fclose(f);
    return kib < 0 ? -1 : kib * 1024;
}

// Forgets the peak resident size so far, so that VmHWM measures what comes next.
bool reset_peak() {
    FILE* f = std::fopen("/proc/self/clear_refs", "w");
    if (!f) return false;
    const bool ok = std::fputs("5", f) >= 0;
    return std::fclose(f) == 0 && ok;
}

double milliseconds_since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

int run_child(const workload_kind& k, double scale) {
    // A small call first, so that the code's own pages are in and only data is measured.
    workload small = sample_curve(k.dim, k.kind, 100, 1.0);
    call(small);
    workload w = inputs(k, scale);
    const unsigned columns = w.pos.cols();
    if (!reset_peak()) {
        std::fprintf(stderr, "cannot reset the peak resident size\n");
        return 1;
    }
    const long long resident = status_bytes("VmRSS");
    const long long allocated = heap::total_bytes.load();
    const auto start = std::chrono::steady_clock::now();
    const unsigned elements = call(w);
    const double once = milliseconds_since(start);
    const long long fresh = status_bytes("VmHWM") - resident;
    const long long bytes = heap::total_bytes.load() - allocated;
    if (elements == 0) {
        std::fprintf(stderr, "%s: mesh_line failed\n", k.name);
        return 1;
    }

    std::vector<double> warm;
    for (int r = 0; r < kWarmCalls; ++r) {
        w.pos.resize(w.dim, columns);
        const auto again = std::chrono::steady_clock::now();
        call(w);
        warm.push_back(milliseconds_since(again));
    }
    std::sort(warm.begin(), warm.end());
    const double nodes = k.dense_input ? columns : elements;
    std::printf("%-16s %9u %11.2f %9.2f %8.1f %13.2f %13.2f\n", k.name, elements, once, warm[kWarmCalls / 2],
                once / warm[kWarmCalls / 2], fresh / nodes, bytes / nodes);
    return 0;
}

// The size scale that gives a dense-output workload about kDenseOutputElements elements.
double output_scale(const workload_kind& k) {
    workload trial = inputs(k, 1.0);
    const unsigned base = call(trial);
    return base / kDenseOutputElements;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3) {
        for (const workload_kind& k : kWorkloads)
            if (std::strcmp(argv[1], k.name) == 0) return run_child(k, std::atof(argv[2]));
        std::fprintf(stderr, "unknown workload %s\n", argv[1]);
        return 1;
    }
    std::printf("%-16s %9s %11s %9s %8s %13s %13s\n", "workload", "elements", "one-shot ms", "warm ms", "ratio",
                "fresh B/node", "alloc B/node");
    std::fflush(stdout);
    int failures = 0;
    for (const workload_kind& k : kWorkloads) {
        const std::string scale = std::to_string(k.dense_input ? 1.0 : output_scale(k));
        const pid_t child = fork();
        if (child == 0) {
            execl("/proc/self/exe", argv[0], k.name, scale.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        int status = 0;
        if (child < 0 || waitpid(child, &status, 0) < 0 || !WIFEXITED(status) || WEXITSTATUS(status) != 0) ++failures;
    }
    return failures == 0 ? 0 : 1;
}
