// The compiled core of the Python package tessora1d. Each function reads its arguments into the
// library's containers, calls the library with the GIL released and returns new NumPy arrays;
// the package's __init__ gives them their keyword signatures, documentation and named tuples.
#include "binding.h"

#include <vx4/math1.h>

PYBIND11_MODULE(_core, m) {
    m.doc() = "Compiled core of tessora1d; use the functions of the package tessora1d.";
    m.def("version", [] { return std::string(vx4::tessora1d::version()); });
    vx4py::bind_connectivity(m);
    vx4py::bind_extrusion(m);
    vx4py::bind_lines(m);
    vx4py::bind_geometry(m);
    vx4py::bind_metrics(m);
    vx4py::bind_laws(m);
    // Test hooks: the container allocations from the n-th on fail until allowed again, so that
    // tests reach the library's out-of-memory codes. Process-wide; not for use outside tests.
    m.def("_fail_allocations_after", [](long n) { vx4::math1::fail_allocations_after(n); });
    m.def("_allow_all_allocations", [] { vx4::math1::allow_all_allocations(); });
}
