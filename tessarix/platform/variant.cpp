#include "tessarix/platform/variant.hpp"

#include <utility>

#include "tessarix/foundation/fault.hpp"
#include "tessarix/platform/number_text.hpp"
#include "tessarix/platform/numeric_text.hpp"

namespace tessarix {

using detail::FaultKind;
using detail::RaiseFault;

Variant::Variant(const Variant& other) {
  if (const ArrayData* a = other.ArrayOrNull()) {
    value_ = std::make_unique<ArrayData>(*a);
  } else {
    std::visit(
        [this](const auto& v) {
          using T = std::decay_t<decltype(v)>;
          if constexpr (!std::is_same_v<T, std::unique_ptr<ArrayData>>) value_ = v;
        },
        other.value_);
  }
}

Variant& Variant::operator=(const Variant& other) {
  if (this != &other) {
    Variant copy(other);
    *this = std::move(copy);
  }
  return *this;
}

Variant Variant::Array(std::vector<Variant> elements) {
  Variant v;
  auto data = std::make_unique<ArrayData>();
  data->dimensions = elements.empty() ? 0 : 1;
  data->rows = static_cast<std::int32_t>(elements.size());
  data->elements = std::move(elements);
  v.value_ = std::move(data);
  return v;
}

Variant Variant::Array(std::int32_t rows, std::int32_t cols) {
  if (rows < 0 || cols < 0) RaiseFault(FaultKind::SubscriptOutOfRange);
  Variant v;
  auto data = std::make_unique<ArrayData>();
  data->dimensions = (rows == 0 || cols == 0) ? 0 : 2;
  data->rows = rows;
  data->cols = cols;
  data->elements.resize(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols));
  v.value_ = std::move(data);
  return v;
}

VariantType Variant::Type() const noexcept { return static_cast<VariantType>(value_.index()); }

const Variant::ArrayData* Variant::ArrayOrNull() const noexcept {
  if (const auto* p = std::get_if<std::unique_ptr<ArrayData>>(&value_)) return p->get();
  return nullptr;
}

std::int32_t Variant::Dimensions() const noexcept {
  const ArrayData* a = ArrayOrNull();
  return a ? a->dimensions : 0;
}

std::int32_t Variant::UpperBound(std::int32_t dimension) const {
  const ArrayData* a = ArrayOrNull();
  if (a == nullptr || dimension < 1 || dimension > a->dimensions) RaiseFault(FaultKind::SubscriptOutOfRange);
  return (dimension == 1 ? a->rows : a->cols) - 1;
}

const Variant& Variant::At(std::int32_t i) const {
  const ArrayData* a = ArrayOrNull();
  if (a == nullptr || a->dimensions != 1 || i < 0 || i >= a->rows) RaiseFault(FaultKind::SubscriptOutOfRange);
  return a->elements[static_cast<std::size_t>(i)];
}

Variant& Variant::At(std::int32_t i) { return const_cast<Variant&>(std::as_const(*this).At(i)); }

const Variant& Variant::At(std::int32_t i, std::int32_t j) const {
  const ArrayData* a = ArrayOrNull();
  if (a == nullptr || a->dimensions != 2 || i < 0 || i >= a->rows || j < 0 || j >= a->cols) {
    RaiseFault(FaultKind::SubscriptOutOfRange);
  }
  return a->elements[static_cast<std::size_t>(i) * static_cast<std::size_t>(a->cols) + static_cast<std::size_t>(j)];
}

Variant& Variant::At(std::int32_t i, std::int32_t j) { return const_cast<Variant&>(std::as_const(*this).At(i, j)); }

double Variant::ToDouble() const {
  switch (Type()) {
    case VariantType::Long:
      return static_cast<double>(std::get<std::int32_t>(value_));
    case VariantType::Double:
      return std::get<double>(value_);
    case VariantType::Boolean:
      return std::get<bool>(value_) ? -1.0 : 0.0;
    case VariantType::String: {
      double result = 0.0;
      switch (detail::ParseLocaleNumber(std::get<std::string>(value_), result)) {
        case detail::NumberParse::Ok:
          return result;
        case detail::NumberParse::OutOfRange:
          RaiseFault(FaultKind::Overflow);
        case detail::NumberParse::NotANumber:
          break;
      }
      break;
    }
    case VariantType::Empty:
    case VariantType::Array:
      break;
  }
  RaiseFault(FaultKind::TypeMismatch);
}

std::string Variant::ToString() const {
  switch (Type()) {
    case VariantType::Empty:
      return std::string();
    case VariantType::Long:
      return detail::IntegerText(std::get<std::int32_t>(value_));
    case VariantType::Double:
      return detail::NumberText(std::get<double>(value_));
    case VariantType::Boolean:
      return std::get<bool>(value_) ? "True" : "False";
    case VariantType::String:
      return std::get<std::string>(value_);
    case VariantType::Array:
      break;
  }
  RaiseFault(FaultKind::TypeMismatch);
}

namespace {
bool IsNumber(VariantType t) { return t == VariantType::Long || t == VariantType::Double || t == VariantType::Boolean; }
}  // namespace

bool operator==(const Variant& a, const Variant& b) {
  const VariantType ta = a.Type();
  const VariantType tb = b.Type();
  if (IsNumber(ta) && IsNumber(tb)) return a.ToDouble() == b.ToDouble();
  if (ta != tb) return false;
  switch (ta) {
    case VariantType::Empty:
      return true;
    case VariantType::String:
      return std::get<std::string>(a.value_) == std::get<std::string>(b.value_);
    case VariantType::Array: {
      const auto* x = a.ArrayOrNull();
      const auto* y = b.ArrayOrNull();
      return x->dimensions == y->dimensions && x->rows == y->rows && x->cols == y->cols && x->elements == y->elements;
    }
    default:
      return false;
  }
}

}  // namespace tessarix
