#include "tessarix/language/internal/tokeniser.hpp"

#include <array>
#include <charconv>
#include <system_error>

namespace tessarix::detail {

std::string LowerAscii(std::string_view text) {
  std::string s(text);
  for (char& c : s) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return s;
}

int VariableNumber(std::string_view lower, bool several_variables) {
  if (!several_variables) return lower == "x" ? 0 : -1;
  if (lower.size() < 2 || lower.size() > 3 || lower[0] != 'x') return -1;
  int k = 0;
  for (std::size_t i = 1; i < lower.size(); ++i) {
    if (lower[i] < '0' || lower[i] > '9') return -1;
    k = k * 10 + (lower[i] - '0');
  }
  // "x01" to "x09" name the first nine too; "x0", "x00" and "x010" nothing.
  return k >= 1 && k <= 50 ? k : -1;
}

namespace {
bool IsDigit(std::string_view c) { return c.size() == 1 && c[0] >= '0' && c[0] <= '9'; }
bool IsLowerLetter(std::string_view c) { return c.size() == 1 && c[0] >= 'a' && c[0] <= 'z'; }

// Words that the tokeniser hands over as tokens of their own, as typed.
constexpr std::array<std::string_view, 7> kOperatorWords = {"and", "eqv", "imp", "mod", "not", "or", "xor"};

bool IsReserved(std::string_view lower, std::string_view list_separator, bool several_variables) {
  if (lower == list_separator) return true;
  for (std::string_view w : kOperatorWords) {
    if (lower == w) return true;
  }
  if (VariableNumber(lower, several_variables) >= 0) return true;
  return lower.size() == 1 && lower[0] >= 'a' && lower[0] <= 't';
}
}  // namespace

void Tokeniser::Reset(std::string_view text) {
  source_.assign(text);
  pos_ = 0;
  token_.clear();
  lexeme_.clear();
}

void Tokeniser::Splice(std::string_view text) {
  std::string spliced;
  spliced.reserve(text.size() + 2 + source_.size() - pos_);
  spliced += '(';
  spliced += text;
  spliced += ')';
  spliced.append(source_, pos_, std::string::npos);
  source_ = std::move(spliced);
  pos_ = 0;
}

std::string_view Tokeniser::Peek() const {
  if (pos_ >= source_.size()) return {};
  const auto lead = static_cast<unsigned char>(source_[pos_]);
  std::size_t len = 1;
  if (lead >= 0xF0) {
    len = 4;
  } else if (lead >= 0xE0) {
    len = 3;
  } else if (lead >= 0xC0) {
    len = 2;
  }
  if (pos_ + len > source_.size()) len = source_.size() - pos_;
  return std::string_view(source_).substr(pos_, len);
}

std::string_view Tokeniser::Take() {
  const std::string_view c = Peek();
  pos_ += c.size();
  return c;
}

void Tokeniser::Next() {
  token_.clear();
  lexeme_.clear();
  std::string_view c = Take();
  while (c == "\r" || c == "\n" || c == "\t" || c == " ") c = Take();
  const std::string lc = LowerAscii(c);

  if (IsDigit(lc) || (!c.empty() && lc == decimal_)) {
    // A number. The scan does no checking: "1.2.3" is one lexeme, and the
    // exponent takes every sign that follows it ("2e3+x" reads "2e3+", then
    // x). The conversion decides later.
    token_ = "num";
    lexeme_.assign(c);
    while (IsDigit(Peek()) || (!Peek().empty() && Peek() == decimal_)) lexeme_ += Take();
    if (Peek() == "E" || Peek() == "e") {
      lexeme_ += Take();
      while (IsDigit(Peek()) || Peek() == "-" || Peek() == "+") lexeme_ += Take();
    }
  } else if (IsLowerLetter(lc) || c == "_") {
    token_ = "id";
    lexeme_.assign(c);
    for (;;) {
      const std::string next = LowerAscii(Peek());
      if (!(IsLowerLetter(next) || IsDigit(next) || next == "_")) break;
      lexeme_ += Take();
    }
    if (IsReserved(LowerAscii(lexeme_), list_, several_)) token_ = lexeme_;
  } else if (c == "<" || c == ">") {
    // ">>" is produced too; no rule accepts it later.
    token_.assign(c);
    if (Peek() == "=" || Peek() == ">") token_ += Take();
  } else {
    token_.assign(c);
  }
  if (lexeme_.empty()) lexeme_ = token_;
}

namespace {
// Roughly log10 of the value of a checked C-form number: the order of its first
// significant digit plus the exponent (clamped, so no overflow of its own).
long DecimalOrder(const std::string& c_form) {
  const std::size_t e = c_form.find('e');
  const std::string mantissa = c_form.substr(0, e);
  long exponent = 0;
  if (e != std::string::npos) {
    for (std::size_t k = e + 1; k < c_form.size(); ++k) {
      if (c_form[k] >= '0' && c_form[k] <= '9' && exponent < 100000) exponent = exponent * 10 + (c_form[k] - '0');
    }
    if (c_form.find('-', e) != std::string::npos) exponent = -exponent;
  }
  const std::size_t point = mantissa.find('.');
  const std::size_t int_end = point == std::string::npos ? mantissa.size() : point;
  const std::size_t first_significant = mantissa.find_first_not_of("0.");
  if (first_significant == std::string::npos) return -1;  // zero
  long order = 0;
  if (first_significant < int_end) {
    order = static_cast<long>(int_end - first_significant);
  } else {
    order = -static_cast<long>(first_significant - int_end - 1);
  }
  return order + exponent;
}
}  // namespace

bool ConvertNumericLexeme(std::string_view lexeme, std::string_view decimal_separator, double& value) {
  // Rewrite into the C form "digits[.digits][e[sign]digits]", checking the
  // shape on the way.
  std::string c_form;
  std::size_t i = 0;
  int mantissa_digits = 0;
  auto digits = [&](int& count) {
    while (i < lexeme.size() && lexeme[i] >= '0' && lexeme[i] <= '9') {
      c_form += lexeme[i++];
      ++count;
    }
  };
  digits(mantissa_digits);
  if (!decimal_separator.empty() && lexeme.substr(i, decimal_separator.size()) == decimal_separator) {
    i += decimal_separator.size();
    c_form += '.';
    digits(mantissa_digits);
  }
  if (mantissa_digits == 0) return false;
  if (i < lexeme.size() && (lexeme[i] == 'e' || lexeme[i] == 'E')) {
    c_form += 'e';
    ++i;
    if (i < lexeme.size() && (lexeme[i] == '+' || lexeme[i] == '-')) {
      c_form += lexeme[i++];
    }
    int exponent_digits = 0;
    digits(exponent_digits);
    if (exponent_digits == 0) return false;
  }
  if (i != lexeme.size()) return false;

  double parsed = 0.0;
  const char* first = c_form.data();
  const char* last = first + c_form.size();
  const auto [end, ec] = std::from_chars(first, last, parsed);
  if (ec == std::errc::result_out_of_range) {
    // Too large is a failure; too small is an underflow, which is zero. The
    // decimal order of the value tells the two apart.
    if (DecimalOrder(c_form) > 0) return false;
    parsed = 0.0;
  } else if (ec != std::errc() || end != last) {
    return false;
  }
  value = parsed;
  return true;
}

}  // namespace tessarix::detail
