// Singular value decomposition (Golub-Kahan-Reinsch) and the least-squares
// back-substitution built on it: the linear solve behind the initial
// estimates of the pre-defined models. Arrays are one-based.
#pragma once

#include <cstdint>

#include "tessarix/numerics/one_based.hpp"

namespace tessarix::detail {

// Decomposes a(1..rows, 1..columns) as U diag(w) V^T: a is overwritten with
// U (rows x columns), w(1..columns) receives the singular values, all >= 0
// and NOT sorted, and v(1..columns, 1..columns) the orthogonal V. w and v are
// enlarged when smaller than that. The split tests are exact comparisons with
// the norm of the bidiagonal form; a singular value that has not converged
// after 30 implicit QR steps raises InternalFailure 100. Arithmetic steps are
// checked (RuntimeFault). a smaller than rows x columns faults "Subscript out
// of range".
void SingularValueDecomposition(Matrix1& a, std::int32_t rows, std::int32_t columns, Vector1& w, Matrix1& v);

// The least-squares solution c(1..columns) of A c = r from the decomposition
// (u, w, v) of A: c = V diag(1/w) U^T r, where only a singular value that is
// exactly 0 is dropped (its term is 0). A tiny one is inverted as it stands.
// With an exact zero this is the minimum-norm solution of a rank-deficient
// problem. c is enlarged when smaller than columns + 1.
void SingularValueBackSubstitution(const Matrix1& u, const Vector1& w, const Matrix1& v, std::int32_t rows,
                                   std::int32_t columns, const Vector1& r, Vector1& c);

}  // namespace tessarix::detail
