#include "tessarix/language/internal/compiler.hpp"

#include <limits>
#include <utility>

namespace tessarix::detail {

namespace {

constexpr const UnaryOperator& kNegate = kUnaryOperators[0];
constexpr const UnaryOperator& kNot = kUnaryOperators[1];

bool IsLetterAToT(const std::string& lower) { return lower.size() == 1 && lower[0] >= 'a' && lower[0] <= 't'; }

JumpMarker MarkerOf(Control control) {
  switch (control) {
    case Control::If:
      return JumpMarker::If;
    case Control::EndTrue:
      return JumpMarker::EndTrue;
    case Control::EndIf:
      return JumpMarker::EndIf;
    case Control::Call:
      break;
  }
  return JumpMarker::None;
}

}  // namespace

bool Compiler::CompileDefinition(CompilerState& state, ModelProgram& program, const std::string& text,
                                 const std::string& decimal_separator, const std::string& list_separator) {
  Compiler c(state, program, decimal_separator, list_separator);
  state.conversion_flag = false;
  state.syntax_flag = false;
  state.parameters.BeginDefinition();
  state.variables_seen.fill(false);
  const std::int32_t length_before = program.Length();
  c.tok_.Reset(text);
  c.tok_.Next();
  c.ParseExpression(1, 0);
  if (!c.tok_.Token().empty()) c.Fault();
  if (state.syntax_flag && program.Length() != length_before) program.well_formed = false;
  return !state.syntax_flag;
}

void Compiler::Expect(const std::string& token) {
  if (tok_.Token() != token) Fault();
  tok_.Next();
}

ModelOp* Compiler::Emit(std::string text, OpKind kind, std::int16_t code, double value) {
  // Record indexes are 16-bit. A program that would outgrow them (it only
  // grows, over many definitions on one object) refuses the model rather
  // than lose a record.
  if (p_.Length() >= std::numeric_limits<std::int16_t>::max()) {
    Fault();
    return nullptr;
  }
  ModelOp& op = p_.ops.emplace_back();
  op.kind = kind;
  op.text = std::move(text);
  op.code = code;
  op.value = value;
  return &op;
}

void Compiler::EmitParameter(const std::string& text, const std::string& spelling) {
  ModelOp* op = Emit(text, OpKind::Parameter);
  if (op == nullptr) return;
  if (text == "endtrue") op->marker = JumpMarker::EndTrue;
  if (text == "endif") op->marker = JumpMarker::EndIf;
  s_.parameters.Note(spelling, p_.Length());
}

void Compiler::EmitFunction(const FunctionRow& row) {
  ModelOp* op = Emit(std::string(row.word), OpKind::Function, FunctionCode(row));
  if (op == nullptr) return;
  op->function = &row;
  op->marker = MarkerOf(row.control);
}

void Compiler::ParseExpression(int level, int depth) {
  if (depth > kMaxNesting) {
    Fault();
    return;
  }
  ParseOperand(depth);
  while (!s_.syntax_flag) {
    std::size_t taken = kBinaryOperators.size();
    for (std::size_t i = 0; i < kBinaryOperators.size(); ++i) {
      if (tok_.Token() == kBinaryOperators[i].token && level <= kBinaryOperators[i].level) {
        taken = i;
        break;
      }
    }
    if (taken == kBinaryOperators.size()) break;
    const BinaryOperator& op = kBinaryOperators[taken];
    tok_.Next();
    ParseExpression(op.right_level, depth + 1);
    ModelOp* record = Emit(std::string(op.token), OpKind::Binary, static_cast<std::int16_t>(taken + 1));
    if (record != nullptr) record->operation = op.instr;
  }
}

void Compiler::ParseOperand(int depth) {
  const std::string token = tok_.Token();
  const std::string lower = LowerAscii(token);
  // A name: a variable, a parameter letter the tokeniser hands over as it
  // stands, or any other identifier.
  if (VariableNumber(lower, s_.several_variables) >= 0 || IsLetterAToT(lower) || token == "id") {
    ParseName(depth);
  } else if (token == "num") {
    // A lexeme that does not convert is the constant 0, not a fault: the
    // parser's trap notes it and goes on. Only the grammar rejects a text.
    double value = 0.0;
    if (!ConvertNumericLexeme(tok_.Lexeme(), tok_.DecimalSeparator(), value)) {
      s_.conversion_flag = true;
      value = 0.0;
    }
    Emit(tok_.Lexeme(), OpKind::Constant, 0, value);
    tok_.Next();
  } else if (token == "-" || lower == kNot.text) {
    const UnaryOperator& op = token == "-" ? kNegate : kNot;
    tok_.Next();
    ParseExpression(op.operand_level, depth + 1);
    ModelOp* record =
        Emit(std::string(op.text), OpKind::Unary, static_cast<std::int16_t>(&op - kUnaryOperators.data() + 1));
    if (record != nullptr) record->operation = op.instr;
  } else if (token == "(") {
    tok_.Next();
    ParseExpression(1, depth + 1);
    Expect(")");
  } else if (!token.empty() && token == tok_.ListSeparator()) {
    // A stray separator in front of an operand is skipped: ",x+a" reads as
    // "x+a". Long-standing behaviour of the language.
    tok_.Next();
    ParseExpression(1, depth + 1);
  } else {
    Fault();  // the end of the text included
  }
}

void Compiler::ParseName(int depth) {
  const std::string lexeme = tok_.Lexeme();
  const std::string lower = LowerAscii(lexeme);
  const Symbol symbol = symbols_.Resolve(lower);
  switch (symbol.kind) {
    case SymbolKind::Function:
      ParseCall(*symbol.function, depth);
      return;
    case SymbolKind::SubDefinition:
      ParseSubDefinition(symbol.number, lower, depth);
      return;
    case SymbolKind::Variable: {
      const std::int16_t k = symbol.number;
      std::string text = "x";
      if (k > 0) text += std::to_string(k);
      ModelOp* op = Emit(std::move(text), OpKind::Variable, k);
      if (op != nullptr) op->variable = k;
      s_.variables_seen[static_cast<std::size_t>(k)] = true;
      break;
    }
    case SymbolKind::DataWord: {
      ModelOp* op = Emit(lower, OpKind::DataWord);
      if (op != nullptr) {
        op->data_word = symbol.data_word;
        op->variable = symbol.number;
      }
      break;
    }
    case SymbolKind::Pi: {
      // The one named constant, written in the local form and converted like
      // any literal.
      const std::string text = "3" + tok_.DecimalSeparator() + "14159265358979";
      double value = 0.0;
      if (!ConvertNumericLexeme(text, tok_.DecimalSeparator(), value)) s_.conversion_flag = true;
      Emit(text, OpKind::Constant, 0, value);
      break;
    }
    case SymbolKind::Parameter:
      // The single letters a to t are recorded in lower case, other names as
      // written; the spelling of the first occurrence names the parameter.
      EmitParameter(IsLetterAToT(lower) ? lower : lexeme, lexeme);
      break;
  }
  tok_.Next();
}

void Compiler::ParseCall(const FunctionRow& row, int depth) {
  const std::string separator = tok_.ListSeparator();
  tok_.Next();
  Expect("(");
  if (row.control == Control::If) {
    static const FunctionRow& end_true = *FindFunctionRow("endtrue");
    static const FunctionRow& end_if = *FindFunctionRow("endif");
    s_.model_has_conditional = true;
    ParseExpression(1, depth + 1);
    EmitFunction(row);
    Expect(separator);
    ParseExpression(1, depth + 1);
    EmitFunction(end_true);
    Expect(separator);
    ParseExpression(1, depth + 1);
    EmitFunction(end_if);
    Expect(")");
    return;
  }
  ParseExpression(1, depth + 1);
  for (int i = 2; i <= row.arity; ++i) {
    Expect(separator);
    ParseExpression(1, depth + 1);
  }
  Expect(")");
  EmitFunction(row);
}

void Compiler::ParseSubDefinition(int k, const std::string& word, int depth) {
  const auto ku = static_cast<std::size_t>(k);
  if (s_.sub_done[ku]) {
    // Inlined once already: every later reference recalls the saved value.
    Emit(word, OpKind::Recall, static_cast<std::int16_t>(k));
    tok_.Next();
    return;
  }
  if (s_.sub_open[ku]) {
    // Refers to itself, directly or through others. The token stays.
    if (!s_.syntax_flag) {
      s_.syntax_flag = true;
      s_.cyclic_flag = true;
    }
    return;
  }
  const bool beyond_bound = ku >= s_.sub_texts.size();
  if (beyond_bound) s_.conversion_flag = true;  // the trap caught the read
  const std::string text = beyond_bound ? std::string() : s_.sub_texts[ku];
  if (text.empty() && !s_.syntax_flag) {
    s_.syntax_flag = true;
    s_.undefined_sub_flag = true;
  }
  if (beyond_bound) return;
  s_.sub_open[ku] = true;
  tok_.Splice(text);
  tok_.Next();
  Expect("(");
  ParseExpression(1, depth + 1);
  Expect(")");
  // Only a finished inlining marks the sub-definition done and closes it; one
  // that failed (a cycle above all) stays open on this object, so a later
  // definition that refers to it reports the cycle again.
  if (s_.syntax_flag) return;
  Emit("save" + word, OpKind::Save, static_cast<std::int16_t>(k));
  s_.sub_done[ku] = true;
  s_.sub_open[ku] = false;
}

}  // namespace tessarix::detail
