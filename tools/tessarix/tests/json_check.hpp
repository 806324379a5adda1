// Reading JSON back in the tests: a strict parser of RFC 8259 text (no NaN,
// no trailing commas, no comments) into a tree of values.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tessarix::tool::test {

struct JsonValue {
  enum Kind { kNull, kBool, kNumber, kString, kArray, kObject };
  Kind kind = kNull;
  bool boolean = false;
  double number = 0.0;
  std::string string;
  std::vector<JsonValue> array;
  std::map<std::string, JsonValue> object;

  // The member `key` of an object; a null value when there is none.
  const JsonValue& operator[](const std::string& key) const;
  const JsonValue& operator[](std::size_t index) const { return array.at(index); }
  bool IsNull() const { return kind == kNull; }
};

struct JsonParse {
  bool ok = false;
  std::string error;  // where and why it failed
  JsonValue value;
};

JsonParse ParseJson(const std::string& text);

}  // namespace tessarix::tool::test
