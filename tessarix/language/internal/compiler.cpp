#include "tessarix/language/internal/compiler.hpp"

#include <array>
#include <limits>
#include <string_view>
#include <utility>

#include "tessarix/language/internal/function_table.hpp"

namespace tessarix::detail {

namespace {

// The precedence table, walked by ParseExpression. An operator is taken when
// the token matches exactly (so word operators only in lower case) and the
// minimum level does not exceed its level. Every operator is left-associative,
// "^" included, because the right operand is parsed one level higher.
struct BinaryOperator {
  std::string_view token;
  int level;
  int right_level;
  BinaryOp code;
};
constexpr std::array<BinaryOperator, 18> kBinaryOperators = {{
    {"^", 11, 12, BinaryOp::Power},
    {"*", 10, 11, BinaryOp::Multiply},
    {"/", 10, 11, BinaryOp::Divide},
    {"\\", 9, 10, BinaryOp::IntDivide},
    {"mod", 8, 9, BinaryOp::Mod},
    {"+", 7, 8, BinaryOp::Add},
    {"-", 7, 8, BinaryOp::Subtract},
    {"=", 6, 7, BinaryOp::Equal},
    {"<", 6, 7, BinaryOp::Less},
    {">", 6, 7, BinaryOp::Greater},
    {"<>", 6, 7, BinaryOp::NotEqual},
    {"<=", 6, 7, BinaryOp::LessEqual},
    {">=", 6, 7, BinaryOp::GreaterEqual},
    {"and", 5, 6, BinaryOp::And},
    {"or", 4, 5, BinaryOp::Or},
    {"xor", 3, 4, BinaryOp::Xor},
    {"eqv", 2, 3, BinaryOp::Eqv},
    {"imp", 1, 2, BinaryOp::Imp},
}};

constexpr int kUnaryMinusLevel = 11;  // binds looser than "^", tighter than "*"
constexpr int kNotLevel = 6;          // takes a whole comparison, stops at "and"

int DataWordIndex(const std::string& lower) {
  for (std::size_t i = 0; i < kDataWords.size(); ++i) {
    if (kDataWords[i] == lower) return static_cast<int>(i);
  }
  return -1;
}

bool IsSubDefinitionWord(const std::string& lower) {
  return lower.size() == 2 && lower[0] == 'f' && lower[1] >= '1' && lower[1] <= '9';
}

}  // namespace

bool Compiler::CompileDefinition(ModelProgram& program, const std::string& text, const std::string& decimal_separator,
                                 const std::string& list_separator, std::string& names) {
  Compiler c(program, decimal_separator, list_separator);
  program.conversion_flag = false;
  program.syntax_flag = false;
  const std::int32_t length_before = program.Length();
  c.tok_.Reset(text);
  c.tok_.Next();
  c.ParseExpression(1, names, 0);
  if (!c.tok_.Token().empty()) c.Fault();
  if (program.syntax_flag && program.Length() != length_before) program.well_formed = false;
  return !program.syntax_flag;
}

void Compiler::Expect(const std::string& token) {
  if (tok_.Token() != token) Fault();
  tok_.Next();
}

void Compiler::Emit(std::string text, OpKind kind, std::int16_t code, double value) {
  // Record indexes are 16-bit. A program that would outgrow them (it only
  // grows, over many definitions on one object) refuses the model rather
  // than lose a record.
  if (p_.Length() >= std::numeric_limits<std::int16_t>::max()) {
    Fault();
    return;
  }
  ModelOp op;
  op.kind = kind;
  op.text = std::move(text);
  op.code = code;
  op.value = value;
  p_.ops.push_back(std::move(op));
}

void Compiler::ParseExpression(int level, std::string& names, int depth) {
  if (depth > kMaxNesting) {
    Fault();
    return;
  }
  ParseOperand(names, depth);
  while (!p_.syntax_flag) {
    const BinaryOperator* taken = nullptr;
    for (const BinaryOperator& op : kBinaryOperators) {
      if (tok_.Token() == op.token && level <= op.level) {
        taken = &op;
        break;
      }
    }
    if (taken == nullptr) break;
    tok_.Next();
    ParseExpression(taken->right_level, names, depth + 1);
    Emit(std::string(taken->token), OpKind::Binary, static_cast<std::int16_t>(taken->code));
  }
}

void Compiler::ParseOperand(std::string& names, int depth) {
  const std::string token = tok_.Token();
  const std::string lower = LowerAscii(token);
  if (lower == "x") {
    Emit("x", OpKind::Variable);
    names.insert(0, "x,");
    tok_.Next();
  } else if ((lower.size() == 1 && lower[0] >= 'a' && lower[0] <= 't') || lower == "x0" || lower == "x1" ||
             lower == "x2") {
    Emit(lower, OpKind::Parameter);
    names += token;
    names += ',';
    tok_.Next();
  } else if (token == "num") {
    // A lexeme that does not convert is the constant 0, not a fault: the
    // parser's trap notes it and goes on. Only the grammar rejects a text.
    double value = 0.0;
    if (!ConvertNumericLexeme(tok_.Lexeme(), tok_.DecimalSeparator(), value)) {
      p_.conversion_flag = true;
      value = 0.0;
    }
    Emit(tok_.Lexeme(), OpKind::Constant, 0, value);
    tok_.Next();
  } else if (token == "-") {
    tok_.Next();
    ParseExpression(kUnaryMinusLevel, names, depth + 1);
    Emit("neg", OpKind::Unary, static_cast<std::int16_t>(UnaryOp::Negate));
  } else if (lower == "not") {
    tok_.Next();
    ParseExpression(kNotLevel, names, depth + 1);
    Emit("not", OpKind::Unary, static_cast<std::int16_t>(UnaryOp::Not));
  } else if (token == "(") {
    tok_.Next();
    ParseExpression(1, names, depth + 1);
    Expect(")");
  } else if (!token.empty() && token == tok_.ListSeparator()) {
    // A stray separator in front of an operand is skipped: ",x+a" reads as
    // "x+a". Long-standing behaviour of the language.
    tok_.Next();
    ParseExpression(1, names, depth + 1);
  } else if (token == "id") {
    ParseIdentifier(names, depth);
  } else {
    Fault();  // the end of the text included
  }
}

void Compiler::ParseIdentifier(std::string& names, int depth) {
  const std::string lexeme = tok_.Lexeme();
  const std::string lower = LowerAscii(lexeme);
  if (IsFunctionWord(lower)) {
    ParseCall(lower, names, depth);
  } else if (IsSubDefinitionWord(lower)) {
    ParseSubDefinition(lower, names, depth);
  } else if (DataWordIndex(lower) >= 0) {
    Emit(lower, OpKind::DataWord);
    tok_.Next();
  } else if (lower == "pi") {
    // The one named constant, written in the local form and converted like
    // any literal.
    const std::string text = "3" + tok_.DecimalSeparator() + "14159265358979";
    double value = 0.0;
    if (!ConvertNumericLexeme(text, tok_.DecimalSeparator(), value)) p_.conversion_flag = true;
    Emit(text, OpKind::Constant, 0, value);
    tok_.Next();
  } else {
    Emit(lexeme, OpKind::Parameter);
    names += lexeme;
    names += ',';
    tok_.Next();
  }
}

void Compiler::ParseCall(const std::string& word, std::string& names, int depth) {
  const std::int16_t code = LookupFunctionCode(word);
  if (code == 0) Fault();
  const std::string& separator = tok_.ListSeparator();
  tok_.Next();
  Expect("(");
  if (code == kCodeIf) {
    p_.model_has_conditional = true;
    ParseExpression(1, names, depth + 1);
    Emit("if", OpKind::Function, kCodeIf);
    Expect(separator);
    ParseExpression(1, names, depth + 1);
    Emit("endtrue", OpKind::Function, kCodeEndTrue);
    Expect(separator);
    ParseExpression(1, names, depth + 1);
    Emit("endif", OpKind::Function, kCodeEndIf);
    Expect(")");
    return;
  }
  const int arity = FunctionArity(code);  // 1, 2 or 3 by the dictionary
  ParseExpression(1, names, depth + 1);
  for (int i = 2; i <= arity; ++i) {
    Expect(separator);
    ParseExpression(1, names, depth + 1);
  }
  Expect(")");
  Emit(word, OpKind::Function, code);
}

void Compiler::ParseSubDefinition(const std::string& word, std::string& names, int depth) {
  const int k = word[1] - '0';
  const auto ku = static_cast<std::size_t>(k);
  if (p_.sub_done[ku]) {
    // Inlined once already: every later reference recalls the saved value.
    Emit(word, OpKind::Recall, static_cast<std::int16_t>(k));
    tok_.Next();
    return;
  }
  if (p_.sub_open[ku]) {
    // Refers to itself, directly or through others. The token stays.
    if (!p_.syntax_flag) {
      p_.syntax_flag = true;
      p_.cyclic_flag = true;
    }
    return;
  }
  const bool beyond_bound = ku >= p_.sub_texts.size();
  if (beyond_bound) p_.conversion_flag = true;  // the trap caught the read
  const std::string text = beyond_bound ? std::string() : p_.sub_texts[ku];
  if (text.empty() && !p_.syntax_flag) {
    p_.syntax_flag = true;
    p_.undefined_sub_flag = true;
  }
  if (beyond_bound) return;
  p_.sub_open[ku] = true;
  tok_.Splice(text);
  tok_.Next();
  Expect("(");
  ParseExpression(1, names, depth + 1);
  Expect(")");
  // Only a finished inlining marks the sub-definition done and closes it; one
  // that failed (a cycle above all) stays open on this object, so a later
  // definition that refers to it reports the cycle again.
  if (p_.syntax_flag) return;
  Emit("save" + word, OpKind::Save, static_cast<std::int16_t>(k));
  p_.sub_done[ku] = true;
  p_.sub_open[ku] = false;
}

}  // namespace tessarix::detail
