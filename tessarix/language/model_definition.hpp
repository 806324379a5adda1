// The text of a user model: the final definition Y, sub-definitions F1 to F9
// and a description.
#pragma once

#include <array>
#include <string>

#include "tessarix/foundation/export.hpp"

namespace tessarix {

namespace detail {
struct ModelDefinitionAccess;
}

// A plain value: a new object holds empty strings. The regression objects
// hand out fresh copies, so changing one changes nothing else.
class TESSARIX_API ModelDefinition {
 public:
  ModelDefinition() = default;

  std::string Y() const { return formulas_[0]; }
  void SetY(const std::string& value) { formulas_[0] = value; }
  std::string F1() const { return formulas_[1]; }
  void SetF1(const std::string& value) { formulas_[1] = value; }
  std::string F2() const { return formulas_[2]; }
  void SetF2(const std::string& value) { formulas_[2] = value; }
  std::string F3() const { return formulas_[3]; }
  void SetF3(const std::string& value) { formulas_[3] = value; }
  std::string F4() const { return formulas_[4]; }
  void SetF4(const std::string& value) { formulas_[4] = value; }
  std::string F5() const { return formulas_[5]; }
  void SetF5(const std::string& value) { formulas_[5] = value; }
  std::string F6() const { return formulas_[6]; }
  void SetF6(const std::string& value) { formulas_[6] = value; }
  std::string F7() const { return formulas_[7]; }
  void SetF7(const std::string& value) { formulas_[7] = value; }
  std::string F8() const { return formulas_[8]; }
  void SetF8(const std::string& value) { formulas_[8] = value; }
  std::string F9() const { return formulas_[9]; }
  void SetF9(const std::string& value) { formulas_[9] = value; }
  std::string Description() const { return description_; }
  void SetDescription(const std::string& value) { description_ = value; }

 private:
  friend struct detail::ModelDefinitionAccess;
  std::array<std::string, 10> formulas_{};  // Y at 0, Fk at k
  std::string description_;
};

namespace detail {
// The library's own access: the formulas by index and the two friend
// operations (clear the formulas, keeping Description; copy everything).
struct ModelDefinitionAccess {
  static std::string& Formula(ModelDefinition& d, int index) { return d.formulas_[static_cast<std::size_t>(index)]; }
  static const std::string& Formula(const ModelDefinition& d, int index) {
    return d.formulas_[static_cast<std::size_t>(index)];
  }
  static void ClearFormulas(ModelDefinition& d) {
    for (std::string& f : d.formulas_) f.clear();
  }
  static void CopyAll(const ModelDefinition& from, ModelDefinition& to) { to = from; }
};
}  // namespace detail

}  // namespace tessarix
