// A value of one of the kinds Empty, Long, Double, Boolean, String, or an
// array of Variants with one or two dimensions, zero-based. It is what the
// Alt forms of the object model take and give.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "tessarix/foundation/export.hpp"

namespace tessarix {

enum class VariantType : std::int32_t { Empty, Long, Double, Boolean, String, Array };

class TESSARIX_API Variant {
 public:
  Variant() = default;                                        // Empty; also stands for a missing optional argument
  Variant(std::int32_t value) : value_(value) {}              // NOLINT(google-explicit-constructor)
  Variant(double value) : value_(value) {}                    // NOLINT(google-explicit-constructor)
  Variant(bool value) : value_(value) {}                      // NOLINT(google-explicit-constructor)
  Variant(const char* value) : value_(std::string(value)) {}  // NOLINT(google-explicit-constructor)
  Variant(std::string value) : value_(std::move(value)) {}    // NOLINT(google-explicit-constructor)

  Variant(const Variant& other);
  Variant(Variant&& other) noexcept = default;
  Variant& operator=(const Variant& other);
  Variant& operator=(Variant&& other) noexcept = default;
  ~Variant() = default;

  // A one-dimensional array holding `elements` (index 0 ... size-1). An array
  // without elements is an array without dimensions.
  static Variant Array(std::vector<Variant> elements);
  // A two-dimensional array of Empty elements, indexes (0..rows-1, 0..cols-1).
  static Variant Array(std::int32_t rows, std::int32_t cols);

  VariantType Type() const noexcept;
  bool IsArray() const noexcept { return Type() == VariantType::Array; }
  bool IsEmpty() const noexcept { return Type() == VariantType::Empty; }

  // 0 for a value that is no array and for an array without elements.
  std::int32_t Dimensions() const noexcept;
  // Upper bound of a dimension (1 or 2); a "Subscript out of range" fault for
  // a dimension the value does not have.
  std::int32_t UpperBound(std::int32_t dimension = 1) const;

  // Elements; a "Subscript out of range" fault outside the bounds or for the
  // wrong number of indexes.
  Variant& At(std::int32_t i);
  const Variant& At(std::int32_t i) const;
  Variant& At(std::int32_t i, std::int32_t j);
  const Variant& At(std::int32_t i, std::int32_t j) const;

  // Numbers as they are, Boolean as -1 or 0, a String that passes the numeric
  // test of the user's locale as its value; anything else is the fault
  // "Type mismatch" (a number too large for a Double is "Overflow").
  double ToDouble() const;

  // The platform's String conversion: a String as it is, numbers in their
  // general text form with the locale's decimal separator, Boolean "True" or
  // "False", Empty ""; an array is the fault "Type mismatch".
  std::string ToString() const;

  // Numbers (Long, Double, Boolean) by value, strings exactly, Empty only
  // equals Empty, arrays element by element; a number never equals a string.
  friend TESSARIX_API bool operator==(const Variant& a, const Variant& b);

 private:
  struct ArrayData {
    std::int32_t dimensions = 0;
    std::int32_t rows = 0;  // elements of the first dimension
    std::int32_t cols = 0;  // elements of the second dimension (2-D only)
    std::vector<Variant> elements;
  };
  using Storage = std::variant<std::monostate, std::int32_t, double, bool, std::string, std::unique_ptr<ArrayData>>;
  Storage value_;

  const ArrayData* ArrayOrNull() const noexcept;
};

}  // namespace tessarix
