// Shared helpers of the compiled core: reading NumPy array-likes into the library's containers
// (points as (n, dim) rows become one column per node), writing results back as new NumPy arrays,
// and turning refusals and negative library codes into the package's exceptions.
//
// Every helper runs with the GIL held. The library calls themselves run between reading and
// writing, under py::gil_scoped_release.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <vx4/tessora1d.h>

#include <cstdint>
#include <initializer_list>
#include <string>

namespace vx4py {

namespace py = pybind11;
using vx4::dense1D;
using vx4::dense2D;
using index_array = py::array_t<std::int64_t>;
using real_array = py::array_t<double>;

// The meaning of one negative code of a library function: the Python argument it names and
// what is wrong with it. A null argument marks a memory code.
struct code_text {
    int code;
    const char* argument;
    const char* what;
};

// What an array reader asks of the values.
enum class values { finite, not_nan };

// Containers each thread keeps between calls: large inputs are copied into memory that is
// already mapped, since page faults on fresh blocks of tens of megabytes cost more than the copy.
// A reader given a slot takes its storage when it is large enough and leaves the storage it used
// in the slot, unless it exceeds `workspace::keep_bytes`.
struct workspace {
    static constexpr unsigned long long keep_bytes = 64ull << 20;
    dense2D<double> points;
    dense1D<double> reals[2];
    dense1D<unsigned> iota;
};
workspace& thread_workspace();

// A read-only library vector over the memory of a NumPy array, without a copy: its storage block
// points into the array and hands that memory back (never frees it) when the lender ends. The
// lender keeps the array alive and must outlive every container made from it; only inputs that
// the library takes by const reference may be lent.
class lender {
public:
    lender() = default;
    lender(const lender&) = delete;
    lender& operator=(const lender&) = delete;
    ~lender() {
        if (block_) block_->data = nullptr, block_->capacity = 0;
    }
    // A view of the n values of `a` (C-contiguous, aligned, native float64); false when the
    // block cannot be had.
    bool lend(const py::array& a, unsigned n, dense1D<double>& view);

private:
    py::array array_;
    vx4::Ptr<vx4::vector_num<double, 8>> block_;
};

// One call of a bound function: its Python name, used in every message.
class call {
public:
    explicit call(const char* function) : function_(function) {}

    // Tessora1dError (a ValueError) naming the argument; code 0 stands for "refused before the
    // library was called" and becomes None.
    [[noreturn]] void refuse(const char* argument, const std::string& what, int code = 0) const;
    // TypeError naming the argument.
    [[noreturn]] void wrong_type(const char* argument, const std::string& what) const;
    // Tessora1dMemoryError (a MemoryError).
    [[noreturn]] void out_of_memory(int code = 0) const;

    // Raises for a negative library code: -199 (and any code listed without an argument) as
    // MemoryError, the listed codes as Tessora1dError, anything else as Tessora1dError naming
    // no argument. Non-negative codes pass.
    void check(int rc, std::initializer_list<code_text> table) const;

    // (n, w) real array -> w x n matrix, one column per row of the input; `extra` columns of
    // capacity are reserved for the library to append to. `expected` describes the shape.
    dense2D<double> matrix(const char* arg, py::handle obj, const char* expected, unsigned extra = 0,
                           values rule = values::finite, dense2D<double>* slot = nullptr) const;
    // (n,) real array; a view of the array's own memory when a lender is given and the layout
    // allows it, else a copy (into the slot's storage).
    dense1D<double> reals(const char* arg, py::handle obj, values rule = values::finite,
                          dense1D<double>* slot = nullptr, lender* borrow = nullptr) const;
    // (n,) integer array of values in [0, 2^32 - 1].
    dense1D<unsigned> indices(const char* arg, py::handle obj) const;
    // (E, r) integer array -> r x E matrix; -1 entries become 2^32 - 1 when `minus_one_is_none`.
    dense2D<unsigned> elements(const char* arg, py::handle obj, const char* expected,
                               bool minus_one_is_none = false) const;

    // A count in [0, 2^32 - 1]; None gives 2^32 - 1 (no bound) when `none_is_no_bound`.
    unsigned count(const char* arg, py::handle obj, bool none_is_no_bound = false) const;
    // A finite real.
    double real(const char* arg, py::handle obj) const;
    // A real that may be infinite but not NaN.
    double real_or_infinite(const char* arg, py::handle obj) const;

    const char* function() const { return function_; }

private:
    py::array as_array(const char* arg, py::handle obj, bool integers) const;
    const char* function_;
};

// How the readers describe the usual shapes in their messages.
inline constexpr const char* points_shape = "of shape (n, dim), dim 2 or 3, one point per row";
inline constexpr const char* edges_shape = "of shape (E, 2), one edge (start, end) per row";

// The meaning of a count code (nmin = 0, or nmax below nmin), naming the argument at fault.
code_text counts_text(int code, unsigned nmin);

// The indices 0 .. n-1 (MemoryError when they cannot be stored), to be written to.
dense1D<unsigned> iota(const call& c, unsigned n);
// The same, read-only: a view of the thread's kept list.
dense1D<unsigned> shared_iota(const call& c, unsigned n);
// A chain argument (called `chain_name` in Python): all n points in order when None. `name`
// receives the argument to blame for a bad chain: `chain_name`, or `all_name` when the chain
// stands for all of them.
dense1D<unsigned> read_chain(const call& c, py::handle chain, unsigned n, const char* all_name, const char*& name,
                             const char* chain_name = "chain");
// A vector of n entries in the storage of `slot` when it is large enough.
dense1D<double> reuse(const call& c, dense1D<double>* slot, unsigned n);
// An w x n matrix of zeros.
dense2D<double> zeros(const call& c, unsigned rows, unsigned cols);

// Columns [first, first + count) of X as a new (count, rows) array.
real_array points_out(const dense2D<double>& X, unsigned rows, unsigned first, unsigned count);
// Entries [first, size) of v as a new array.
real_array reals_out(const dense1D<double>& v, unsigned first = 0);
index_array indices_out(const dense1D<unsigned>& v, unsigned first = 0);
// An r x E matrix as a new (E, r) array (rows given for an empty matrix); entries not below
// `none_from` become -1.
index_array elements_out(const dense2D<unsigned>& C, unsigned rows, unsigned none_from = 4294967295u);

// Registration of the families.
void bind_connectivity(py::module_& m);
void bind_extrusion(py::module_& m);
void bind_lines(py::module_& m);
void bind_geometry(py::module_& m);
void bind_metrics(py::module_& m);
// The distribution laws, in the submodule `laws` of m.
void bind_laws(py::module_& m);

} // namespace vx4py
