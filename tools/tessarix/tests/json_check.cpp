#include "json_check.hpp"

#include <cctype>
#include <cstdlib>
#include <stdexcept>

namespace tessarix::tool::test {

namespace {

class Parser {
 public:
  explicit Parser(const std::string& text) : text_(text) {}

  JsonValue Document() {
    JsonValue value = Value();
    Space();
    if (pos_ != text_.size()) Fail("text after the value");
    return value;
  }

 private:
  [[noreturn]] void Fail(const std::string& why) {
    throw std::runtime_error(why + " at offset " + std::to_string(pos_));
  }
  void Space() {
    while (pos_ < text_.size() &&
           (text_[pos_] == ' ' || text_[pos_] == '\n' || text_[pos_] == '\r' || text_[pos_] == '\t')) {
      ++pos_;
    }
  }
  bool Take(char c) {
    Space();
    if (pos_ < text_.size() && text_[pos_] == c) {
      ++pos_;
      return true;
    }
    return false;
  }
  void Expect(char c) {
    if (!Take(c)) Fail(std::string("expected '") + c + "'");
  }
  bool Word(const char* word) {
    const std::string w(word);
    if (text_.compare(pos_, w.size(), w) != 0) return false;
    pos_ += w.size();
    return true;
  }

  JsonValue Value() {
    Space();
    if (pos_ >= text_.size()) Fail("missing value");
    JsonValue v;
    const char c = text_[pos_];
    if (c == '{') {
      ++pos_;
      v.kind = JsonValue::kObject;
      if (Take('}')) return v;
      do {
        Space();
        if (pos_ >= text_.size() || text_[pos_] != '"') Fail("expected a key");
        std::string key = String();
        Expect(':');
        if (!v.object.emplace(key, Value()).second) Fail("duplicate key " + key);
      } while (Take(','));
      Expect('}');
    } else if (c == '[') {
      ++pos_;
      v.kind = JsonValue::kArray;
      if (Take(']')) return v;
      do {
        v.array.push_back(Value());
      } while (Take(','));
      Expect(']');
    } else if (c == '"') {
      v.kind = JsonValue::kString;
      v.string = String();
    } else if (Word("true")) {
      v.kind = JsonValue::kBool;
      v.boolean = true;
    } else if (Word("false")) {
      v.kind = JsonValue::kBool;
    } else if (Word("null")) {
      v.kind = JsonValue::kNull;
    } else {
      v.kind = JsonValue::kNumber;
      v.number = Number();
    }
    return v;
  }

  // -?(0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?
  double Number() {
    const std::size_t start = pos_;
    auto digits = [&] {
      const std::size_t from = pos_;
      while (pos_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[pos_]))) ++pos_;
      return pos_ - from;
    };
    if (pos_ < text_.size() && text_[pos_] == '-') ++pos_;
    if (pos_ < text_.size() && text_[pos_] == '0') {
      ++pos_;
    } else if (digits() == 0) {
      Fail("not a value");
    }
    if (pos_ < text_.size() && text_[pos_] == '.') {
      ++pos_;
      if (digits() == 0) Fail("digits expected after the point");
    }
    if (pos_ < text_.size() && (text_[pos_] == 'e' || text_[pos_] == 'E')) {
      ++pos_;
      if (pos_ < text_.size() && (text_[pos_] == '+' || text_[pos_] == '-')) ++pos_;
      if (digits() == 0) Fail("digits expected in the exponent");
    }
    return std::strtod(text_.substr(start, pos_ - start).c_str(), nullptr);
  }

  std::string String() {
    ++pos_;  // the opening quote
    std::string out;
    while (true) {
      if (pos_ >= text_.size()) Fail("unterminated string");
      const char c = text_[pos_++];
      if (c == '"') return out;
      if (static_cast<unsigned char>(c) < 0x20) Fail("control character in a string");
      if (c != '\\') {
        out += c;
        continue;
      }
      if (pos_ >= text_.size()) Fail("unterminated escape");
      const char e = text_[pos_++];
      switch (e) {
        case '"':
        case '\\':
        case '/':
          out += e;
          break;
        case 'b':
          out += '\b';
          break;
        case 'f':
          out += '\f';
          break;
        case 'n':
          out += '\n';
          break;
        case 'r':
          out += '\r';
          break;
        case 't':
          out += '\t';
          break;
        case 'u': {
          if (pos_ + 4 > text_.size()) Fail("short \\u escape");
          const unsigned code = static_cast<unsigned>(std::stoul(text_.substr(pos_, 4), nullptr, 16));
          pos_ += 4;
          if (code < 0x80) {
            out += static_cast<char>(code);
          } else if (code < 0x800) {
            out += static_cast<char>(0xC0 | (code >> 6));
            out += static_cast<char>(0x80 | (code & 0x3F));
          } else {
            out += static_cast<char>(0xE0 | (code >> 12));
            out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (code & 0x3F));
          }
          break;
        }
        default:
          Fail("unknown escape");
      }
    }
  }

  const std::string& text_;
  std::size_t pos_ = 0;
};

}  // namespace

const JsonValue& JsonValue::operator[](const std::string& key) const {
  static const JsonValue null;
  const auto found = object.find(key);
  return found == object.end() ? null : found->second;
}

JsonParse ParseJson(const std::string& text) {
  JsonParse result;
  try {
    result.value = Parser(text).Document();
    result.ok = true;
  } catch (const std::exception& e) {
    result.error = e.what();
  }
  return result;
}

}  // namespace tessarix::tool::test
