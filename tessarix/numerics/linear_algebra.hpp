// Dense linear algebra of the Marquardt iteration: Gauss-Jordan elimination
// with full pivoting and the expansion of the covariance matrix over the
// fixed parameters. All arrays are one-based (numerics/one_based.hpp).
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "tessarix/numerics/one_based.hpp"

namespace tessarix::detail {

// The text stored for a singular matrix.
inline constexpr const char* kSingularMatrixText = "Singular matrix encountered in gaussian elimination.";

// Solves a x = b by Gauss-Jordan elimination with full pivoting on a(1..n,
// 1..n): a is replaced by its inverse and b(1..n, 1..m) by the m solutions.
// Among pivot candidates of equal magnitude the last one found wins. A
// singular matrix stores kSingularMatrixText in error_text and raises
// InternalFailure 5000; a and b are then partly reduced. Every arithmetic
// step is checked (RuntimeFault). Arrays smaller than n (and m) fault
// "Subscript out of range". n = 0 does nothing.
void GaussJordanSolve(Matrix1& a, std::int32_t n, Matrix1& b, std::int32_t m, std::string& error_text);

// The same with one right-hand side b(1..n). The forms with `m` take it for
// the call pattern of the iteration; m = 0 leaves b alone.
void GaussJordanSolve(Matrix1& a, std::int32_t n, Vector1& b, std::int32_t m, std::string& error_text);
void GaussJordanSolve(Matrix1& a, std::int32_t n, Vector1& b, std::string& error_text);

// Spreads the fitted_count x fitted_count covariance matrix held in the
// leading block of covar over the parameter_count parameters in their order:
// parameter j takes part when ia[j] != 0 (ia one-based, ia[1..parameter_count]),
// and the rows and columns of the others end up zero. covar must be at least
// parameter_count x parameter_count ("Subscript out of range" otherwise).
void ExpandCovariance(Matrix1& covar, std::int32_t parameter_count, std::span<const std::int32_t> ia,
                      std::int32_t fitted_count);

}  // namespace tessarix::detail
