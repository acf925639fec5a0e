#include "binding.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace vx4py {

namespace {

constexpr unsigned long long largest_unsigned = 4294967295ull;

py::module_& numpy() {
    // Kept for the life of the process: no destructor runs after the interpreter is gone.
    static py::module_* np = new py::module_(py::module_::import("numpy"));
    return *np;
}

std::string shape_text(const py::array& a) {
    std::string s = "(";
    for (py::ssize_t k = 0; k < a.ndim(); ++k) {
        if (k) s += ", ";
        s += std::to_string(a.shape(k));
    }
    if (a.ndim() == 1) s += ",";
    return s + ")";
}

std::string compose(const char* function, const char* argument, const std::string& what, int code) {
    std::string message = std::string(function) + ": ";
    if (argument) message += std::string(argument) + " ";
    message += what;
    if (code) message += " (library code " + std::to_string(code) + ")";
    return message;
}

[[noreturn]] void raise(const char* class_name, py::tuple args) {
    py::object cls = py::module_::import("tessora1d._errors").attr(class_name);
    py::object error = cls(*args);
    PyErr_SetObject(cls.ptr(), error.ptr());
    throw py::error_already_set();
}

py::object code_or_none(int code) { return code ? py::object(py::int_(code)) : py::object(py::none()); }
py::object text_or_none(const char* s) { return s ? py::object(py::str(s)) : py::object(py::none()); }

template <class T>
T load(const char* p) {
    T v;
    std::memcpy(&v, p, sizeof(T));
    return v;
}

bool acceptable(double v, values rule) { return rule == values::finite ? v - v == 0.0 : v == v; }

// Reads n x w entries (i, r) at base + i * s0 + r * s1 into `out` (w x n, leading dimension w),
// the C-ordered case in one copy. Returns the flat position of the first refused value, or -1.
long long read_reals(const char* base, py::ssize_t n, py::ssize_t w, py::ssize_t s0, py::ssize_t s1, double* out,
                     values rule) {
    const std::size_t total = static_cast<std::size_t>(n) * static_cast<std::size_t>(w);
    if (total == 0) return -1;
    const bool contiguous = s1 == py::ssize_t(sizeof(double)) && (s0 == w * py::ssize_t(sizeof(double)) || n == 1);
    if (contiguous && reinterpret_cast<std::uintptr_t>(base) % alignof(double) == 0) {
        // One pass that copies and checks.
        const double* in = reinterpret_cast<const double*>(base);
        bool ok = true;
        if (rule == values::finite)
            for (std::size_t k = 0; k < total; ++k) {
                const double v = in[k];
                ok &= v - v == 0.0;
                out[k] = v;
            }
        else
            for (std::size_t k = 0; k < total; ++k) {
                const double v = in[k];
                ok &= v == v;
                out[k] = v;
            }
        if (ok) return -1;
        for (std::size_t k = 0; k < total; ++k)
            if (!acceptable(out[k], rule)) return static_cast<long long>(k);
        return -1;
    }
    if (contiguous) {
        std::memcpy(out, base, total * sizeof(double));
    } else {
        for (py::ssize_t i = 0; i < n; ++i)
            for (py::ssize_t r = 0; r < w; ++r) out[i * w + r] = load<double>(base + i * s0 + r * s1);
    }
    bool ok = true;
    if (rule == values::finite)
        for (std::size_t k = 0; k < total; ++k) ok &= out[k] - out[k] == 0.0;
    else
        for (std::size_t k = 0; k < total; ++k) ok &= out[k] == out[k];
    if (ok) return -1;
    for (std::size_t k = 0; k < total; ++k)
        if (!acceptable(out[k], rule)) return static_cast<long long>(k);
    return -1;
}

std::string position_text(long long flat, py::ssize_t w, int ndim) {
    if (ndim == 1) return "[" + std::to_string(flat) + "]";
    return "[" + std::to_string(flat / w) + ", " + std::to_string(flat % w) + "]";
}

} // namespace

void call::refuse(const char* argument, const std::string& what, int code) const {
    raise("Tessora1dError", py::make_tuple(compose(function_, argument, what, code), code_or_none(code),
                                           py::str(function_), text_or_none(argument)));
}

void call::wrong_type(const char* argument, const std::string& what) const {
    throw py::type_error(compose(function_, argument, what, 0));
}

void call::out_of_memory(int code) const {
    raise("Tessora1dMemoryError", py::make_tuple(compose(function_, nullptr, "ran out of memory", code),
                                                 code_or_none(code), py::str(function_)));
}

void call::check(int rc, std::initializer_list<code_text> table) const {
    if (rc >= 0) return;
    for (const code_text& t : table)
        if (t.code == rc) {
            if (!t.argument) out_of_memory(rc);
            refuse(t.argument, t.what, rc);
        }
    if (rc == -199) out_of_memory(rc);
    refuse(nullptr, "failed with a library code that names no argument", rc);
}

py::array call::as_array(const char* arg, py::handle obj, bool integers) const {
    if (obj.is_none()) wrong_type(arg, "is required, not None");
    py::array a;
    try {
        a = numpy().attr("asarray")(obj);
    } catch (py::error_already_set& e) {
        refuse(arg, "cannot be read as an array: " + std::string(py::str(e.value())));
    }
    const char kind = a.dtype().kind();
    if (a.size() != 0) {
        const bool ok = kind == 'i' || kind == 'u' || (!integers && kind == 'f');
        if (!ok)
            wrong_type(arg, std::string(integers ? "must hold integers" : "must hold real numbers") + ", not dtype " +
                                std::string(py::str(a.dtype())));
    }
    if (integers) {
        if (kind == 'u' && a.dtype().itemsize() == 8) {
            if (!py::isinstance<py::array_t<std::uint64_t>>(a)) a = a.attr("astype")(py::dtype::of<std::uint64_t>());
        } else if (!py::isinstance<py::array_t<std::int64_t>>(a)) {
            a = a.attr("astype")(py::dtype::of<std::int64_t>());
        }
    } else if (!py::isinstance<py::array_t<double>>(a)) {
        a = a.attr("astype")(py::dtype::of<double>());
    }
    return a;
}

workspace& thread_workspace() {
    thread_local workspace w;
    return w;
}

namespace {

template <class Container>
void keep(Container* slot, const Container& used, unsigned long long bytes) {
    if (!slot) return;
    if (bytes <= workspace::keep_bytes)
        *slot = used;
    else
        slot->clear();
}

} // namespace

dense1D<double> reuse(const call& c, dense1D<double>* slot, unsigned n) {
    dense1D<double> v;
    if (slot && slot->capacity() >= n) v = *slot;
    if (!v.resize(n)) c.out_of_memory();
    keep(slot, v, v.capacity() * sizeof(double));
    return v;
}

dense2D<double> call::matrix(const char* arg, py::handle obj, const char* expected, unsigned extra, values rule,
                             dense2D<double>* slot) const {
    const py::array a = as_array(arg, obj, false);
    if (a.ndim() != 2) refuse(arg, std::string("must be a 2-D array ") + expected + ", not of shape " + shape_text(a));
    const py::ssize_t n = a.shape(0), w = a.shape(1);
    const unsigned long long entries = static_cast<unsigned long long>(n) * static_cast<unsigned long long>(w);
    if (static_cast<unsigned long long>(n) > largest_unsigned || entries > largest_unsigned)
        refuse(arg, "is too large for the library: at most 4294967295 values");
    // Room for the library's new columns, as far as the container can address it.
    unsigned long long columns = static_cast<unsigned long long>(n) + extra;
    if (w > 0 && columns * w > largest_unsigned) columns = largest_unsigned / w;
    dense2D<double> X;
    const unsigned long long wanted = columns * static_cast<unsigned long long>(w);
    if (slot && slot->storage() && slot->offset() == 0 && slot->storage()->capacity >= wanted) {
        // Emptied with its row count kept, the slot's matrix keeps its storage for the new shape.
        X = *slot;
        if (X.rows() > 0) X.resize(X.rows(), 0);
    }
    if (w > 0 && !X.reserve(static_cast<unsigned>(w), static_cast<unsigned>(columns))) out_of_memory();
    if (!X.resize(static_cast<unsigned>(w), static_cast<unsigned>(n))) out_of_memory();
    keep(slot, X, X.storage() ? X.storage()->capacity * sizeof(double) : 0);
    const long long bad =
        read_reals(static_cast<const char*>(a.data()), n, w, a.strides(0), a.strides(1), X.data(), rule);
    if (bad >= 0)
        refuse(arg, std::string("must hold ") + (rule == values::finite ? "finite values" : "numbers") + ", not " +
                        std::to_string(X.data()[bad]) + " at " + position_text(bad, w, 2));
    return X;
}

bool lender::lend(const py::array& a, unsigned n, dense1D<double>& view) {
    using block = vx4::vector_num<double, 8>;
    block* b = block::create(0);
    if (!b) return false;
    block_ = b;
    array_ = a;
    b->data = static_cast<double*>(const_cast<void*>(a.data()));
    b->capacity = n;
    view = dense1D<double>::view(block_, 0, n);
    return true;
}

dense1D<double> call::reals(const char* arg, py::handle obj, values rule, dense1D<double>* slot, lender* borrow) const {
    const py::array a = as_array(arg, obj, false);
    if (a.ndim() != 1) refuse(arg, "must be a 1-D array, not of shape " + shape_text(a));
    const py::ssize_t n = a.shape(0);
    if (static_cast<unsigned long long>(n) > largest_unsigned)
        refuse(arg, "is too large for the library: at most 4294967295 values");
    const auto* p = static_cast<const char*>(a.data());
    dense1D<double> v;
    const bool lendable = borrow && n > 0 && a.strides(0) == py::ssize_t(sizeof(double)) &&
                          reinterpret_cast<std::uintptr_t>(p) % alignof(double) == 0;
    if (lendable) {
        // Checked in place, then lent: the library reads these values and nothing else does.
        const double* x = reinterpret_cast<const double*>(p);
        bool ok = true;
        for (py::ssize_t k = 0; k < n; ++k) ok &= rule == values::finite ? x[k] - x[k] == 0.0 : x[k] == x[k];
        if (ok) {
            if (!borrow->lend(a, static_cast<unsigned>(n), v)) out_of_memory();
            return v;
        }
    }
    v = reuse(*this, slot, static_cast<unsigned>(n));
    const long long bad = read_reals(p, n, 1, a.strides(0), 0, v.data(), rule);
    if (bad >= 0)
        refuse(arg, std::string("must hold ") + (rule == values::finite ? "finite values" : "numbers") + ", not " +
                        std::to_string(v[static_cast<unsigned>(bad)]) + " at " + position_text(bad, 1, 1));
    return v;
}

namespace {

// Reads n x w integers into out (w x n, leading dimension w); returns the flat position of the
// first value outside [0, 2^32 - 1] (-1 allowed when `minus_one_is_none`), or -1.
template <class T>
long long read_indices(const py::array& a, py::ssize_t n, py::ssize_t w, py::ssize_t s0, py::ssize_t s1, unsigned* out,
                       bool minus_one_is_none, long long& value) {
    const char* base = static_cast<const char*>(a.data());
    for (py::ssize_t i = 0; i < n; ++i)
        for (py::ssize_t r = 0; r < w; ++r) {
            const T v = load<T>(base + i * s0 + r * s1);
            if (minus_one_is_none && v == T(-1) && std::numeric_limits<T>::is_signed) {
                out[i * w + r] = 4294967295u;
                continue;
            }
            if ((std::numeric_limits<T>::is_signed && v < T(0)) ||
                static_cast<unsigned long long>(v) > largest_unsigned) {
                value = static_cast<long long>(v);
                return static_cast<long long>(i * w + r);
            }
            out[i * w + r] = static_cast<unsigned>(v);
        }
    return -1;
}

void read_index_array(const call& c, const char* arg, const py::array& a, py::ssize_t n, py::ssize_t w, py::ssize_t s0,
                      py::ssize_t s1, unsigned* out, bool minus_one_is_none) {
    long long value = 0;
    const long long bad = a.dtype().kind() == 'u' && a.dtype().itemsize() == 8
                              ? read_indices<std::uint64_t>(a, n, w, s0, s1, out, minus_one_is_none, value)
                              : read_indices<std::int64_t>(a, n, w, s0, s1, out, minus_one_is_none, value);
    if (bad >= 0) {
        const std::string where = position_text(bad, w, a.ndim());
        if (a.dtype().kind() == 'u' && a.dtype().itemsize() == 8)
            c.refuse(arg, "must hold indices below 4294967296 (2**32), not a larger value at " + where);
        c.refuse(arg, std::string(value < 0 ? (minus_one_is_none ? "must hold indices >= 0 or -1 for none"
                                                                 : "must hold indices >= 0")
                                            : "must hold indices below 4294967296 (2**32)") +
                          ", not " + std::to_string(value) + " at " + where);
    }
}

} // namespace

dense1D<unsigned> call::indices(const char* arg, py::handle obj) const {
    const py::array a = as_array(arg, obj, true);
    if (a.ndim() != 1) refuse(arg, "must be a 1-D array of indices, not of shape " + shape_text(a));
    const py::ssize_t n = a.shape(0);
    if (static_cast<unsigned long long>(n) > largest_unsigned)
        refuse(arg, "is too large for the library: at most 4294967295 indices");
    dense1D<unsigned> v;
    if (!v.resize(static_cast<unsigned>(n))) out_of_memory();
    if (n) read_index_array(*this, arg, a, n, 1, a.strides(0), 0, v.data(), false);
    return v;
}

dense2D<unsigned> call::elements(const char* arg, py::handle obj, const char* expected, bool minus_one_is_none) const {
    const py::array a = as_array(arg, obj, true);
    if (a.ndim() != 2) refuse(arg, std::string("must be a 2-D array ") + expected + ", not of shape " + shape_text(a));
    const py::ssize_t n = a.shape(0), w = a.shape(1);
    const unsigned long long entries = static_cast<unsigned long long>(n) * static_cast<unsigned long long>(w);
    if (static_cast<unsigned long long>(n) > largest_unsigned || entries > largest_unsigned)
        refuse(arg, "is too large for the library: at most 4294967295 indices");
    dense2D<unsigned> C;
    if (!C.resize(static_cast<unsigned>(w), static_cast<unsigned>(n))) out_of_memory();
    if (entries) read_index_array(*this, arg, a, n, w, a.strides(0), a.strides(1), C.data(), minus_one_is_none);
    return C;
}

unsigned call::count(const char* arg, py::handle obj, bool none_is_no_bound) const {
    if (obj.is_none()) {
        if (none_is_no_bound) return 4294967295u;
        wrong_type(arg, "must be an integer, not None");
    }
    py::object index = py::reinterpret_steal<py::object>(PyNumber_Index(obj.ptr()));
    if (!index) {
        PyErr_Clear();
        wrong_type(arg, "must be an integer, not " + std::string(py::str(py::type::of(obj).attr("__name__"))));
    }
    int overflow = 0;
    const long long v = PyLong_AsLongLongAndOverflow(index.ptr(), &overflow);
    if (overflow < 0 || (overflow == 0 && v < 0))
        refuse(arg, "must not be negative, not " + std::string(py::str(index)));
    if (overflow > 0 || static_cast<unsigned long long>(v) > largest_unsigned)
        refuse(arg, "must be at most 4294967295 (2**32 - 1), not " + std::string(py::str(index)));
    return static_cast<unsigned>(v);
}

double call::real_or_infinite(const char* arg, py::handle obj) const {
    if (obj.is_none()) wrong_type(arg, "must be a real number, not None");
    const double v = PyFloat_AsDouble(obj.ptr());
    if (v == -1.0 && PyErr_Occurred()) {
        PyErr_Clear();
        wrong_type(arg, "must be a real number, not " + std::string(py::str(py::type::of(obj).attr("__name__"))));
    }
    if (v != v) refuse(arg, "must be a number, not NaN");
    return v;
}

double call::real(const char* arg, py::handle obj) const {
    const double v = real_or_infinite(arg, obj);
    if (!std::isfinite(v)) refuse(arg, "must be finite, not " + std::string(v > 0 ? "inf" : "-inf"));
    return v;
}

dense1D<unsigned> iota(const call& c, unsigned n) {
    dense1D<unsigned> v;
    if (!v.resize(n)) c.out_of_memory();
    unsigned* p = v.data();
    for (unsigned i = 0; i < n; ++i) p[i] = i;
    return v;
}

dense1D<unsigned> shared_iota(const call& c, unsigned n) {
    dense1D<unsigned>& kept = thread_workspace().iota;
    if (kept.size() >= n) return kept.sub_vector(0, n);
    dense1D<unsigned> fresh = iota(c, n);
    keep(&kept, fresh, fresh.capacity() * sizeof(unsigned));
    return fresh;
}

dense1D<unsigned> read_chain(const call& c, py::handle chain, unsigned n, const char* all_name, const char*& name,
                             const char* chain_name) {
    if (chain.is_none()) {
        name = all_name;
        return shared_iota(c, n);
    }
    name = chain_name;
    return c.indices(chain_name, chain);
}

code_text counts_text(int code, unsigned nmin) {
    return nmin == 0 ? code_text{code, "nmin", "must be at least 1"}
                     : code_text{code, "nmax", "must not be below nmin"};
}

dense2D<double> zeros(const call& c, unsigned rows, unsigned cols) {
    dense2D<double> X;
    if (!X.resize(rows, cols, 0.0)) c.out_of_memory();
    return X;
}

real_array points_out(const dense2D<double>& X, unsigned rows, unsigned first, unsigned count) {
    real_array out({static_cast<py::ssize_t>(count), static_cast<py::ssize_t>(rows)});
    double* p = out.mutable_data();
    if (count == 0 || rows == 0) return out;
    if (X.ld() == rows) {
        std::memcpy(p, &X(0, first), std::size_t(count) * rows * sizeof(double));
    } else {
        for (unsigned j = 0; j < count; ++j)
            for (unsigned r = 0; r < rows; ++r) p[std::size_t(j) * rows + r] = X(r, first + j);
    }
    return out;
}

real_array reals_out(const dense1D<double>& v, unsigned first) {
    const unsigned n = v.size() > first ? v.size() - first : 0;
    real_array out(static_cast<py::ssize_t>(n));
    if (n) std::memcpy(out.mutable_data(), v.data() + first, std::size_t(n) * sizeof(double));
    return out;
}

index_array indices_out(const dense1D<unsigned>& v, unsigned first) {
    const unsigned n = v.size() > first ? v.size() - first : 0;
    index_array out(static_cast<py::ssize_t>(n));
    std::int64_t* p = out.mutable_data();
    for (unsigned i = 0; i < n; ++i) p[i] = v[first + i];
    return out;
}

index_array elements_out(const dense2D<unsigned>& C, unsigned rows, unsigned none_from) {
    const unsigned E = C.empty() ? 0 : C.cols();
    if (E) rows = C.rows();
    index_array out({static_cast<py::ssize_t>(E), static_cast<py::ssize_t>(rows)});
    std::int64_t* p = out.mutable_data();
    for (unsigned e = 0; e < E; ++e)
        for (unsigned r = 0; r < rows; ++r) {
            const unsigned v = C(r, e);
            p[std::size_t(e) * rows + r] = v >= none_from ? -1 : static_cast<std::int64_t>(v);
        }
    return out;
}

} // namespace vx4py
