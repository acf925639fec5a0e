#include <vx4/tessora1d.h>

namespace vx4 {
namespace tessora1d {

const char* version() { return "5.3.0.0"; }

} // namespace tessora1d
} // namespace vx4
