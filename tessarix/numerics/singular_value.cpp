#include "tessarix/numerics/singular_value.hpp"

#include <algorithm>
#include <cmath>

#include "tessarix/numerics/internal_failure.hpp"
#include "tessarix/numerics/power.hpp"
#include "tessarix/platform/checked.hpp"

namespace tessarix::detail {
namespace {

constexpr int kIterationLimit = 30;

// sqrt(a^2 + b^2) without overflow of the squares.
Num Hypotenuse(Num a, Num b) {
  const Num absa = abs(a);
  const Num absb = abs(b);
  if (absa > absb) {
    return absa * sqrt(1.0 + Power(absb / absa, 2.0));
  }
  if (absb == 0.0) {
    return 0.0;
  }
  return absb * sqrt(1.0 + Power(absa / absb, 2.0));
}

// |a| with the sign of b, where b = 0 counts as positive.
Num TransferSign(Num a, Num b) { return b >= 0.0 ? abs(a) : -abs(a); }

// Element access as Num for the formulas; stores go through .value().
struct Access {
  Matrix1& m;
  Num operator()(std::int32_t i, std::int32_t j) const { return m(i, j); }
  void Set(std::int32_t i, std::int32_t j, Num x) const { m(i, j) = x.value(); }
};

// Householder reduction to bidiagonal form: the diagonal goes to w, the
// superdiagonal to rv1; returns the norm used by the split tests.
Num Bidiagonalize(Matrix1& am, std::int32_t rows, std::int32_t columns, Vector1& w, Vector1& rv1, Num& g_out,
                  std::int32_t& l_out) {
  const Access a{am};
  Num g = 0.0;
  Num scale = 0.0;
  Num anorm = 0.0;
  std::int32_t l = 1;
  for (std::int32_t i = 1; i <= columns; ++i) {
    l = i + 1;
    rv1[i] = (scale * g).value();
    g = 0.0;
    Num s = 0.0;
    scale = 0.0;
    if (i <= rows) {
      for (std::int32_t k = i; k <= rows; ++k) {
        scale = scale + abs(a(k, i));
      }
      if (scale != 0.0) {
        for (std::int32_t k = i; k <= rows; ++k) {
          a.Set(k, i, a(k, i) / scale);
          s = s + a(k, i) * a(k, i);
        }
        Num f = a(i, i);
        g = -TransferSign(sqrt(s), f);
        const Num h = f * g - s;
        a.Set(i, i, f - g);
        for (std::int32_t j = l; j <= columns; ++j) {
          s = 0.0;
          for (std::int32_t k = i; k <= rows; ++k) {
            s = s + a(k, i) * a(k, j);
          }
          f = s / h;
          for (std::int32_t k = i; k <= rows; ++k) {
            a.Set(k, j, a(k, j) + f * a(k, i));
          }
        }
        for (std::int32_t k = i; k <= rows; ++k) {
          a.Set(k, i, a(k, i) * scale);
        }
      }
    }
    w[i] = (scale * g).value();
    g = 0.0;
    s = 0.0;
    scale = 0.0;
    if (i <= rows && i != columns) {
      for (std::int32_t k = l; k <= columns; ++k) {
        scale = scale + abs(a(i, k));
      }
      if (scale != 0.0) {
        for (std::int32_t k = l; k <= columns; ++k) {
          a.Set(i, k, a(i, k) / scale);
          s = s + a(i, k) * a(i, k);
        }
        const Num f = a(i, l);
        g = -TransferSign(sqrt(s), f);
        const Num h = f * g - s;
        a.Set(i, l, f - g);
        for (std::int32_t k = l; k <= columns; ++k) {
          rv1[k] = (a(i, k) / h).value();
        }
        for (std::int32_t j = l; j <= rows; ++j) {
          s = 0.0;
          for (std::int32_t k = l; k <= columns; ++k) {
            s = s + a(j, k) * a(i, k);
          }
          for (std::int32_t k = l; k <= columns; ++k) {
            a.Set(j, k, a(j, k) + s * rv1[k]);
          }
        }
        for (std::int32_t k = l; k <= columns; ++k) {
          a.Set(i, k, a(i, k) * scale);
        }
      }
    }
    anorm = std::max(anorm.value(), (abs(Num(w[i])) + std::fabs(rv1[i])).value());
  }
  g_out = g;
  l_out = l;
  return anorm;
}

// Accumulates the right-hand transformations into v, then the left-hand
// ones into a, which becomes U.
void Accumulate(Matrix1& am, Matrix1& vm, std::int32_t rows, std::int32_t columns, const Vector1& w, const Vector1& rv1,
                Num g, std::int32_t l) {
  const Access a{am};
  const Access v{vm};
  for (std::int32_t i = columns; i >= 1; --i) {
    if (i < columns) {
      if (g != 0.0) {
        for (std::int32_t j = l; j <= columns; ++j) {
          // Double division to avoid a possible underflow.
          v.Set(j, i, (a(i, j) / a(i, l)) / g);
        }
        for (std::int32_t j = l; j <= columns; ++j) {
          Num s = 0.0;
          for (std::int32_t k = l; k <= columns; ++k) {
            s = s + a(i, k) * v(k, j);
          }
          for (std::int32_t k = l; k <= columns; ++k) {
            v.Set(k, j, v(k, j) + s * v(k, i));
          }
        }
      }
      for (std::int32_t j = l; j <= columns; ++j) {
        vm(i, j) = 0.0;
        vm(j, i) = 0.0;
      }
    }
    vm(i, i) = 1.0;
    g = rv1[i];
    l = i;
  }
  for (std::int32_t i = std::min(rows, columns); i >= 1; --i) {
    l = i + 1;
    g = w[i];
    for (std::int32_t j = l; j <= columns; ++j) {
      am(i, j) = 0.0;
    }
    if (g != 0.0) {
      g = 1.0 / g;
      for (std::int32_t j = l; j <= columns; ++j) {
        Num s = 0.0;
        for (std::int32_t k = l; k <= rows; ++k) {
          s = s + a(k, i) * a(k, j);
        }
        const Num f = (s / a(i, i)) * g;
        for (std::int32_t k = i; k <= rows; ++k) {
          a.Set(k, j, a(k, j) + f * a(k, i));
        }
      }
      for (std::int32_t j = i; j <= rows; ++j) {
        a.Set(j, i, a(j, i) * g);
      }
    } else {
      for (std::int32_t j = i; j <= rows; ++j) {
        am(j, i) = 0.0;
      }
    }
    a.Set(i, i, a(i, i) + 1.0);
  }
}

// Applies the plane rotation (c, s) to columns p and q of m (rows 1..count).
void RotateColumns(Matrix1& mm, std::int32_t count, std::int32_t p, std::int32_t q, Num c, Num s) {
  const Access m{mm};
  for (std::int32_t j = 1; j <= count; ++j) {
    const Num y = m(j, p);
    const Num z = m(j, q);
    m.Set(j, p, y * c + z * s);
    m.Set(j, q, z * c - y * s);
  }
}

// Diagonalisation of the bidiagonal form by implicit QR steps.
void Diagonalize(Matrix1& a, Matrix1& vm, std::int32_t rows, std::int32_t columns, Vector1& w, Vector1& rv1,
                 Num anorm) {
  const Access v{vm};
  for (std::int32_t k = columns; k >= 1; --k) {
    for (int its = 1; its <= kIterationLimit; ++its) {
      bool cancel = true;
      std::int32_t l = k;
      std::int32_t nm = 0;
      for (; l >= 1; --l) {
        nm = l - 1;
        // Exact tests: a term that does not change the norm is negligible.
        // rv1[1] is always 0, so the search ends here at l = 1 at the latest.
        if (abs(Num(rv1[l])) + anorm == anorm) {
          cancel = false;
          break;
        }
        if (abs(Num(w[nm])) + anorm == anorm) {
          break;
        }
      }
      if (cancel) {
        // Cancel rv1[l] with rotations.
        Num c = 0.0;
        Num s = 1.0;
        for (std::int32_t i = l; i <= k; ++i) {
          const Num f = s * rv1[i];
          rv1[i] = (c * rv1[i]).value();
          if (abs(f) + anorm == anorm) {
            break;
          }
          const Num g = w[i];
          Num h = Hypotenuse(f, g);
          w[i] = h.value();
          h = 1.0 / h;
          c = g * h;
          s = -f * h;
          RotateColumns(a, rows, nm, i, c, s);
        }
      }
      Num z = w[k];
      if (l == k) {
        if (z < 0.0) {
          w[k] = (-z).value();
          for (std::int32_t j = 1; j <= columns; ++j) {
            v.Set(j, k, -v(j, k));
          }
        }
        break;
      }
      if (its == kIterationLimit) {
        RaiseInternalFailure(100);
      }
      // Shift from the bottom 2 x 2 minor.
      Num x = w[l];
      nm = k - 1;
      Num y = w[nm];
      Num g = rv1[nm];
      Num h = rv1[k];
      Num f = ((y - z) * (y + z) + (g - h) * (g + h)) / (2.0 * h * y);
      g = Hypotenuse(f, 1.0);
      f = ((x - z) * (x + z) + h * ((y / (f + TransferSign(g, f))) - h)) / x;
      // Next QR transformation.
      Num c = 1.0;
      Num s = 1.0;
      for (std::int32_t j = l; j <= nm; ++j) {
        const std::int32_t i = j + 1;
        g = rv1[i];
        y = w[i];
        h = s * g;
        g = c * g;
        z = Hypotenuse(f, h);
        rv1[j] = z.value();
        c = f / z;
        s = h / z;
        f = x * c + g * s;
        g = g * c - x * s;
        h = y * s;
        y = y * c;
        RotateColumns(vm, columns, j, i, c, s);
        z = Hypotenuse(f, h);
        w[j] = z.value();
        if (z != 0.0) {
          // The rotation can be arbitrary when z is 0.
          z = 1.0 / z;
          c = f * z;
          s = h * z;
        }
        f = c * g + s * y;
        x = c * y - s * g;
        RotateColumns(a, rows, j, i, c, s);
      }
      rv1[l] = 0.0;
      rv1[k] = f.value();
      w[k] = x.value();
    }
  }
}

}  // namespace

void SingularValueDecomposition(Matrix1& a, std::int32_t rows, std::int32_t columns, Vector1& w, Matrix1& v) {
  if (rows < 0 || columns < 0 || a.Rows() < rows || a.Cols() < columns) {
    RaiseFault(FaultKind::SubscriptOutOfRange);
  }
  const auto size = static_cast<std::size_t>(columns) + 1;
  if (w.size() < size) {
    w.resize(size, 0.0);
  }
  if (v.Rows() < columns || v.Cols() < columns) {
    v.Resize(columns, columns);
  }
  Vector1 rv1 = MakeVector1(columns);
  Num g = 0.0;
  std::int32_t l = 1;
  const Num anorm = Bidiagonalize(a, rows, columns, w, rv1, g, l);
  Accumulate(a, v, rows, columns, w, rv1, g, l);
  Diagonalize(a, v, rows, columns, w, rv1, anorm);
}

void SingularValueBackSubstitution(const Matrix1& u, const Vector1& w, const Matrix1& v, std::int32_t rows,
                                   std::int32_t columns, const Vector1& r, Vector1& c) {
  const auto size = static_cast<std::size_t>(columns) + 1;
  if (rows < 0 || columns < 0 || u.Rows() < rows || u.Cols() < columns || w.size() < size || v.Rows() < columns ||
      v.Cols() < columns || r.size() < static_cast<std::size_t>(rows) + 1) {
    RaiseFault(FaultKind::SubscriptOutOfRange);
  }
  if (c.size() < size) {
    c.resize(size, 0.0);
  }
  Vector1 tmp = MakeVector1(columns);
  for (std::int32_t j = 1; j <= columns; ++j) {
    Num s = 0.0;
    // Only an exactly zero singular value is dropped: no threshold.
    if (w[j] != 0.0) {
      for (std::int32_t i = 1; i <= rows; ++i) {
        s = s + Num(u(i, j)) * r[i];
      }
      s = s / w[j];
    }
    tmp[j] = s.value();
  }
  for (std::int32_t j = 1; j <= columns; ++j) {
    Num s = 0.0;
    for (std::int32_t k = 1; k <= columns; ++k) {
      s = s + Num(v(j, k)) * tmp[k];
    }
    c[j] = s.value();
  }
}

}  // namespace tessarix::detail
