#include <pybind11/pybind11.h>

#include <vx4/tessora1d.h>

namespace py = pybind11;

PYBIND11_MODULE(_core, m) {
    m.doc() = "Compiled core of tessora1d; use the package tessora1d.";
    m.def("version", [] { return std::string(vx4::tessora1d::version()); });
}
