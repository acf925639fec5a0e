// Calls the Fortran DSPEV of the system LAPACK.
#include <vx4/lapack.h>

#include <cstddef>

extern "C" void dspev_(const char* jobz, const char* uplo, const int* n, double* ap, double* w, double* z,
                       const int* ldz, double* work, int* info, std::size_t jobz_len, std::size_t uplo_len);

namespace vx4 {
namespace lapack {

int dspev(char jobz, char uplo, long n, double* packed, double* eigenvalues, double* eigenvectors, long ldz,
          double* work, long& info) {
    // LAPACK's default integer is 32 bits; these orders are tiny, so nothing is lost.
    const int order = static_cast<int>(n);
    const int lead = static_cast<int>(ldz < 1 ? 1 : ldz);
    int status = 0;
    dspev_(&jobz, &uplo, &order, packed, eigenvalues, eigenvectors, &lead, work, &status, 1, 1);
    info = status;
    return status;
}

} // namespace lapack
} // namespace vx4
