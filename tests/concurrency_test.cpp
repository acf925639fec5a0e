// Calls on distinct outputs may run at once, sharing read-only inputs, and views of one storage
// block may be taken and dropped on many threads: the reference counts are atomic. Run under the
// thread sanitizer (tsan preset) these tests report any race; run plainly they check that every
// thread gets the serial result and that no reference is lost or doubled.
#include <vx4/tessora.h>
#include <vx4/tessora1d.h>

#include "test_support.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>
#include <vector>

using namespace vx4;
using namespace vx4::tessora1d;
using ids = dense1D<unsigned>;
using reals = dense1D<double>;

namespace {

constexpr unsigned kThreads = 4;
constexpr unsigned kNodes = 24;
constexpr unsigned kRounds = 20000; // views taken per thread: enough for lost updates to show

// Read-only inputs shared by every thread. Several are views into one larger storage block, so
// that every thread's copies of them touch the same reference count.
struct shared_inputs {
    dense2D<double> store;      // rows 0-1: a 2-D curve, rows 1-3: a 3-D curve
    dense1D<double> size_store; // the sizes, from entry 2 on
    dense2D<double> coords2, coords3;
    dense1D<double> sizes, params;
    dense2D<double> metrics2, metrics3;
    ids chain;

    shared_inputs() : store(4, kNodes + 1, 0.0), size_store(kNodes + 3, 0.0), metrics2(3, kNodes), metrics3(6, kNodes) {
        for (unsigned j = 0; j < kNodes; ++j) {
            const double a = 0.15 * j;
            store(0, j) = 3.0 * std::cos(a);
            store(1, j) = 2.0 * std::sin(a);
            store(2, j) = 3.0 * std::sin(a);
            store(3, j) = 0.2 * j;
            size_store[j + 2] = 0.1 + 0.01 * j;
            const double h = 0.2 + 0.005 * j, k = 0.4 - 0.004 * j;
            const double m[9] = {1 / (h * h), 0.3, 1 / (k * k), 1 / (h * h), 0.1, 1 / (k * k), 0.0, 0.2, 1 / (h * k)};
            for (unsigned r = 0; r < 9; ++r) (r < 3 ? metrics2(r, j) : metrics3(r - 3, j)) = m[r];
        }
        coords2 = store.sub_matrix(0, 0, 2, kNodes);
        coords3 = store.sub_matrix(1, 0, 3, kNodes);
        sizes = size_store.sub_vector(2, kNodes);
        chain = vx4test::iota(kNodes);
        params.resize(kNodes);
        for (unsigned j = 0; j < kNodes; ++j) params[j] = j / (kNodes - 1.0);
    }
};

// Everything a family's call produced, hashed bit for bit so that two runs can be compared, and
// the codes of the calls.
struct digest : vx4test::output_hash {
    std::vector<int> codes;
    std::size_t values = 0;
    using output_hash::add;
    void add(int rc) { codes.push_back(rc), output_hash::add(rc); }
    template <class T>
    void out(const T& a) { output_hash::add(a), values += a.size(); }
    template <class... A>
    void add(int rc, const A&... a) { add(rc), (out(a), ...); } // a call's code, then its outputs
};

// One call of every family on private outputs (and private copies where a call appends nodes).
digest mesh_every_family(const shared_inputs& in) {
    digest d;
    const dense2D<double> coords2 = in.coords2, coords3 = in.coords3; // views taken on this thread
    dense2D<double> X;
    ids out;
    reals op, os;
    dense2D<double> om;

    X.copy(coords2);
    d.add(mesh_line(X, in.chain, in.params, in.sizes, false, 1, 500, 0.0, 0.0, out, op, os), out, op, os, X);
    X.copy(coords3), out.resize(0), om.clear();
    d.add(mesh_line(X, in.chain, in.metrics3, true, 2, 500, 1e-3, 0.0, out, op, om), out, om, X);
    X.copy(coords2), out.resize(0), om.clear();
    d.add(mesh_line(X, in.chain, in.metrics2, false, 1, 500, -0.05, 0.01, out, op, om), out, om);
    X.copy(coords3), out.resize(0);
    d.add(mesh_straight(X, in.chain.sub_vector(0, 4), in.sizes, false, out), out, X);

    double deviation = 0.0;
    X.copy(coords2), out.resize(0), om.clear();
    d.add(mesh_spline(X, in.chain, in.metrics2, false, 1, 1000, 1e-3, 0.01, 0.0, 1.3, out, op, om, deviation), out, om,
          X);
    d.add(deviation);
    X.copy(coords3), out.resize(0), os.resize(0);
    d.add(mesh_spline(X, in.chain, in.sizes, true, 2, 1000, -0.01, 0.0, 0.5, 1.5, out, op, os, deviation), out, os, X);
    vector_fixed<double, 3> p3;
    d.add(spline_point(coords3, 2, 3, 4, 5, 0.3, p3));
    d.add(p3[0]), d.add(p3[1]), d.add(p3[2]);

    X.copy(coords3), out.resize(0);
    d.add(extrude_translate(X, 3u, vector_fixed<double, 3>{{1, 2, 2}}, 0.1, 0.4, true, out));
    d.add(extrude_rotate(X, 5u, vector_fixed<double, 3>{{0, 0, 0}}, vector_fixed<double, 3>{{0.3, 0, 1.2}}, 0.2, 0.2,
                         false, out), out, X);

    dense2D<unsigned> connect, high, neighbors;
    d.add(indices_to_connectE2(in.chain, connect));
    X.copy(coords2);
    d.add(convert_into_high_order(X, connect, 2, high), high, X);
    flip(connect);
    vx4::tessora::get_neighbors(connect, edge2, false, neighbors);
    for (unsigned e = 0; e < connect.cols(); e += 3) std::swap(connect(0, e), connect(1, e));
    d.add(double(mesh_reorient(connect, neighbors, 1, 1))); // a count of turns, not a code
    d.out(connect);

    double len = 0.0;
    d.add(length(coords3, in.chain, len));
    d.add(len);
    reals curv;
    dense2D<double> nrm;
    d.add(curvatures(coords3, in.chain, curv), curv);
    d.add(normals(coords2, connect, 1.0, true, nrm), nrm);
    d.add(parametric_curvatures(in.params, connect, coords3, curv), curv);

    reals queries{0.0, 0.13, 0.5, 0.77, 1.0}, qs;
    dense2D<double> qm, gen2, gen3;
    d.add(interpolate_metrics(in.params, in.sizes, queries, qs), qs);
    d.add(interpolate_metrics(in.params, in.metrics2, queries, qm), qm);
    d.add(interpolate_metrics(in.params, in.metrics3, queries, qm), qm); // eigen-solver path
    d.add(metrics_gen_aniso2d(coords2, connect, -0.5, gen2));
    d.add(metrics_gen_aniso3d(coords3, connect, 0.3, 0.6, gen3), gen2, gen3);

    reals values{0.4, 0.1, 0.4, -2.0}, x, h;
    ids order{3, 1, 2, 0};
    d.add(sort(values, order), values, order);
    x.copy(in.params), h.copy(in.sizes), out.resize(0);
    d.add(subdivide(x, h, in.chain, true, true, 1, 200, out), out, x, h);
    return d;
}

} // namespace

TEST(Concurrency, ThreadsMeshingEveryFamilyAtOnceGetTheSerialResults) {
    const shared_inputs inputs;
    const long views_before = inputs.store.storage()->use_count();
    const digest serial = mesh_every_family(inputs);
    ASSERT_GT(serial.values, 1000u);
    for (std::size_t k = 0; k < serial.codes.size(); ++k) ASSERT_EQ(serial.codes[k], 0) << "call " << k;
    std::vector<char> same(kThreads, 0);
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            bool all = true;
            for (int round = 0; round < 3; ++round) all = all && mesh_every_family(inputs).value() == serial.value();
            same[t] = all;
        });
    for (std::thread& th : threads) th.join();
    for (unsigned t = 0; t < kThreads; ++t) EXPECT_TRUE(same[t]) << "thread " << t;
    // Every view the threads took of the shared storage has been dropped again.
    EXPECT_EQ(inputs.store.storage()->use_count(), views_before);
    EXPECT_EQ(inputs.size_store.storage()->use_count(), 2);
}

TEST(Concurrency, ViewsOfOneStorageTakenAndDroppedOnManyThreadsCountEveryReference) {
    dense2D<double> owner(3, 64, 1.5);
    auto* block = owner.storage().get();
    std::atomic<unsigned> started{0};
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            ++started;
            double sum = 0.0;
            for (unsigned i = 0; i < kRounds; ++i) {
                const dense2D<double> view = owner.sub_matrix(i % 3, t, 1, 8);
                const dense1D<double> column = view.as_vector();
                dense2D<double> copy = view;
                copy.shallow_copy(owner);
                sum += column[0] + copy(2, 63);
            }
            EXPECT_EQ(sum, kRounds * 3.0);
        });
    for (std::thread& th : threads) th.join();
    EXPECT_EQ(started.load(), kThreads);
    EXPECT_EQ(block->use_count(), 1);
}

TEST(Concurrency, TheLastThreadToDropAViewDestroysTheStorage) {
    // The creating thread lets go first; the block must live until the last view on another
    // thread is gone, and be freed exactly once (the sanitizers report a double free or a leak).
    for (int round = 0; round < 20; ++round) {
        std::vector<dense1D<double>> views;
        std::atomic<bool> go{false};
        {
            dense1D<double> owner(256, 2.0);
            for (unsigned t = 0; t < kThreads; ++t) views.push_back(owner.sub_vector(t, 100));
        }
        std::vector<std::thread> threads;
        std::atomic<int> reads{0};
        for (unsigned t = 0; t < kThreads; ++t)
            threads.emplace_back([&, t] {
                while (!go.load()) std::this_thread::yield();
                dense1D<double> mine = std::move(views[t]);
                for (unsigned i = 0; i < 500; ++i) {
                    const dense1D<double> again = mine.sub_vector(i % 50, 10);
                    if (again[3] == 2.0) ++reads;
                }
            });
        go = true;
        for (std::thread& th : threads) th.join();
        EXPECT_EQ(reads.load(), int(kThreads * 500));
    }
}
