// What every fuzz target shares: the check that stops the run when the
// library breaks one of its promises, the promises about errors and numbers,
// a reader that turns the fuzzer's bytes into arguments, and a private
// folder for the files a target writes.
//
// A broken promise prints what broke and aborts, which libFuzzer reports as
// a crash and saves the input; the replay program of the test suite fails
// the same way.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tessarix/foundation/error.hpp"
#include "tessarix/platform/separators.hpp"
#include "tessarix/platform/variant.hpp"

namespace tessarix::fuzz {

// Prints "broken promise: <what> <detail>" to stderr and aborts.
[[noreturn]] void Broken(std::string_view what, std::string_view detail = {});

#define TSX_FUZZ_CHECK(condition, detail)                                              \
  do {                                                                                 \
    if (!(condition)) ::tessarix::fuzz::Broken("check failed: " #condition, (detail)); \
  } while (false)

// ---- errors -------------------------------------------------------------------

// An Error that reached the caller is a row of the catalogue: help context
// 10001..10042, number 0x80040201 + (context - 10001), source "Tessarix", a
// description that starts with the catalogue's text.
void CheckCatalogueError(const Error& e, std::string_view where);

// The same, and its help context is one of `allowed`.
void CheckErrorIn(const Error& e, std::initializer_list<ErrorCode> allowed, std::string_view where);

// Runs `f`. Returns 0 when it returned, else the help context of the
// catalogue Error it raised; any other exception is a broken promise.
template <class F>
std::int32_t Attempt(std::string_view where, F&& f) {
  try {
    f();
    return 0;
  } catch (const Error& e) {
    CheckCatalogueError(e, where);
    return e.HelpContext();
  } catch (const std::exception& e) {
    Broken(where, std::string("an exception that is not a tessarix::Error escaped: ") + e.what());
  } catch (...) {
    Broken(where, "an exception of unknown type escaped");
  }
}

// The same with the allowed help contexts named.
template <class F>
std::int32_t AttemptExpecting(std::string_view where, std::initializer_list<ErrorCode> allowed, F&& f) {
  try {
    f();
    return 0;
  } catch (const Error& e) {
    CheckErrorIn(e, allowed, where);
    return e.HelpContext();
  } catch (const std::exception& e) {
    Broken(where, std::string("an exception that is not a tessarix::Error escaped: ") + e.what());
  } catch (...) {
    Broken(where, "an exception of unknown type escaped");
  }
}

// ---- numbers ------------------------------------------------------------------

void RequireFinite(double value, std::string_view what);
void RequireAllFinite(std::span<const double> values, std::string_view what);
// What the root scan promises, with its arithmetic as it is: roots finite and,
// within a few ulps, inside the scanned range. A bracket's left end is
// computed as x - dx, which may round an ulp below the scan point before it
// (so below `lower`, or as a second copy of a root an ulp from the first); a
// scan that had to step over failed points at its start still takes all its
// steps, so it may run up to one interval length past `upper` before its last
// point, `upper` itself, and then report a root there after those beyond it.
void RequireScanRoots(std::span<const double> roots, double lower, double upper, std::string_view what);
// Equal bit for bit (so that NaN equals itself and -0 differs from 0).
bool SameBits(std::span<const double> a, std::span<const double> b);
bool SameVariant(const Variant& a, const Variant& b);

// ---- separators ---------------------------------------------------------------

// ".", ",", ",", "/", ":".
const SystemSeparators& EnglishSeparators();
// A decimal-comma locale: ",", ";", ".", ".", ":".
const SystemSeparators& DecimalCommaSeparators();

// ---- input --------------------------------------------------------------------

// Takes arguments off the front of the fuzzer's bytes; once they run out
// every read gives zeros, so any input is a complete set of arguments.
class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  bool Empty() const noexcept { return pos_ >= size_; }
  std::uint8_t Byte();
  bool Bool() { return (Byte() & 1) != 0; }
  // A value in [0, count), count >= 1.
  std::uint32_t Below(std::uint32_t count);
  // A number chosen to reach the edges: 0, -0, 1, -1, small integers, the
  // largest and smallest doubles, subnormals, NaN, infinities, or any 8 bytes.
  double Double();
  // A string of up to `max_size` bytes (a length byte, then the bytes).
  std::string String(std::size_t max_size);
  // Everything not read yet.
  std::string Rest();

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
};

// ---- files --------------------------------------------------------------------

// A folder of this process alone, made on first use and removed at exit:
// under TESSARIX_FUZZ_TMPDIR when set, else the first of /dev/shm, TMPDIR and
// /tmp where one can be made. No trailing slash.
const std::string& PrivateDir();
// Writes `bytes` to `path`, replacing the file.
void WriteFile(const std::string& path, std::string_view bytes);
// The whole file; "" when it cannot be read.
std::string ReadFile(const std::string& path);
// Removes everything inside `folder` (the folder stays).
void EmptyFolder(const std::string& folder);
// The names of the entries of `folder`.
std::vector<std::string> FolderEntries(const std::string& folder);

}  // namespace tessarix::fuzz
