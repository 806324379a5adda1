// Text helpers of the tool: number forms for reports and tables, padding,
// and making foreign text (column names, model text) safe to print.
#pragma once

#include <string>
#include <string_view>

namespace tessarix::tool {

// `value` with `significant` significant digits, in the C locale ("1.2345e-05").
std::string SignificantText(double value, int significant);

// The shortest text that reads back as exactly `value` ("0.1", "238.94212918").
std::string RoundTripText(double value);

// A probability for a report: four significant digits, and "<1e-300" style
// text for values that underflow to zero in print.
std::string ProbabilityText(double p);

std::string PadLeft(std::string_view text, std::size_t width);
std::string PadRight(std::string_view text, std::size_t width);

// Number of characters (UTF-8 code points) of a valid UTF-8 text.
std::size_t DisplayWidth(std::string_view text);

// A copy of `text` that is valid UTF-8 without control characters: each
// invalid byte and each control character becomes '?'. Data files may hold any
// bytes; what the tool prints or writes into XML must not.
std::string CleanText(std::string_view text);

// `text` cut to at most `max_chars` characters, with "..." at the end if cut.
std::string Abbreviate(std::string_view text, std::size_t max_chars);

}  // namespace tessarix::tool
