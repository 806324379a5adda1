// A small writer of JSON text for the tool's machine-readable report:
// objects, arrays, strings escaped as JSON wants them, and numbers that are
// always finite (a value that is not is written as null).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tessarix::tool {

class JsonWriter {
 public:
  // Containers; inside an object every value is preceded by Key.
  JsonWriter& BeginObject();
  JsonWriter& EndObject();
  JsonWriter& BeginArray();
  JsonWriter& EndArray();
  JsonWriter& Key(std::string_view name);

  // Values. Text is made valid UTF-8 first (see CleanText), then escaped.
  JsonWriter& String(std::string_view text);
  // The shortest form that reads back exactly; null for a NaN or an infinity.
  JsonWriter& Number(double value);
  JsonWriter& Integer(std::int64_t value);
  JsonWriter& Bool(bool value);
  JsonWriter& Null();

  // The document, indented by two blanks a level, with a final line feed.
  std::string Text() const { return text_ + '\n'; }

 private:
  void BeforeValue();
  void NewLine();

  std::string text_;
  // Per open container: whether it has an element yet.
  std::vector<bool> has_element_;
  bool after_key_ = false;
};

// `text` as a JSON string literal, quotes included.
std::string JsonString(std::string_view text);

}  // namespace tessarix::tool
