#include "json_writer.hpp"

#include <cmath>
#include <cstdio>

#include "text_format.hpp"

namespace tessarix::tool {

std::string JsonString(std::string_view text) {
  // CleanText leaves valid UTF-8 without control characters (a tab becomes a
  // blank), so only the quote and the backslash need an escape.
  const std::string clean = CleanText(text);
  std::string out = "\"";
  for (char c : clean) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + '"';
}

void JsonWriter::NewLine() {
  text_ += '\n';
  text_.append(2 * has_element_.size(), ' ');
}

void JsonWriter::BeforeValue() {
  if (after_key_) {
    after_key_ = false;
    return;
  }
  if (!has_element_.empty()) {
    if (has_element_.back()) text_ += ',';
    has_element_.back() = true;
    NewLine();
  }
}

JsonWriter& JsonWriter::BeginObject() {
  BeforeValue();
  text_ += '{';
  has_element_.push_back(false);
  return *this;
}

JsonWriter& JsonWriter::EndObject() {
  const bool any = has_element_.back();
  has_element_.pop_back();
  if (any) NewLine();
  text_ += '}';
  return *this;
}

JsonWriter& JsonWriter::BeginArray() {
  BeforeValue();
  text_ += '[';
  has_element_.push_back(false);
  return *this;
}

JsonWriter& JsonWriter::EndArray() {
  const bool any = has_element_.back();
  has_element_.pop_back();
  if (any) NewLine();
  text_ += ']';
  return *this;
}

JsonWriter& JsonWriter::Key(std::string_view name) {
  BeforeValue();
  text_ += JsonString(name);
  text_ += ": ";
  after_key_ = true;
  return *this;
}

JsonWriter& JsonWriter::String(std::string_view text) {
  BeforeValue();
  text_ += JsonString(text);
  return *this;
}

JsonWriter& JsonWriter::Number(double value) {
  if (!std::isfinite(value)) return Null();
  BeforeValue();
  text_ += RoundTripText(value);
  return *this;
}

JsonWriter& JsonWriter::Integer(std::int64_t value) {
  BeforeValue();
  text_ += std::to_string(value);
  return *this;
}

JsonWriter& JsonWriter::Bool(bool value) {
  BeforeValue();
  text_ += value ? "true" : "false";
  return *this;
}

JsonWriter& JsonWriter::Null() {
  BeforeValue();
  text_ += "null";
  return *this;
}

}  // namespace tessarix::tool
