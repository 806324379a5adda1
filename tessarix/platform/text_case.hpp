// Case folding for the keys of collections and the regression keys of series:
// names compare "without regard to case".
#pragma once

#include <string>
#include <string_view>

namespace tessarix::detail {

// The lower-case form of a UTF-8 text. Folds ASCII, the Latin-1 supplement,
// Latin Extended-A, Greek and Cyrillic capitals, which covers the names users
// give to measured quantities; other characters (and invalid bytes) are kept
// as they stand, so the result is never longer or shorter than the input.
std::string FoldCase(std::string_view text);

// FoldCase(a) == FoldCase(b), without building the two strings for ASCII.
bool EqualIgnoringCase(std::string_view a, std::string_view b);

}  // namespace tessarix::detail
