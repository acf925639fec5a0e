// Thin wrapper of the system LAPACK's symmetric packed eigen-solver.
#pragma once

namespace vx4 {
namespace lapack {

// DSPEV: eigenvalues (ascending) and, with jobz 'V', eigenvectors (column by column, leading
// dimension ldz) of the symmetric n x n matrix packed in `packed` (uplo 'U' or 'L', destroyed).
// `work` holds at least 3n doubles. info is LAPACK's: 0 on success; the same value is returned.
int dspev(char jobz, char uplo, long n, double* packed, double* eigenvalues, double* eigenvectors, long ldz,
          double* work, long& info);

} // namespace lapack
} // namespace vx4
