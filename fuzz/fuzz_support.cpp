#include "fuzz_support.hpp"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <sstream>

#include "tessarix/foundation/error_catalogue.hpp"

namespace tessarix::fuzz {

void Broken(std::string_view what, std::string_view detail) {
  std::fprintf(stderr, "\n==tessarix fuzz== broken promise: %.*s\n", static_cast<int>(what.size()), what.data());
  if (!detail.empty()) std::fprintf(stderr, "==tessarix fuzz== %.*s\n", static_cast<int>(detail.size()), detail.data());
  std::fflush(stderr);
  std::abort();
}

void CheckCatalogueError(const Error& e, std::string_view where) {
  const std::int32_t context = e.HelpContext();
  std::ostringstream text;
  text << where << ": error " << context << " number 0x" << std::hex << e.Number() << std::dec << " source '"
       << e.Source() << "' description '" << e.Description() << "'";
  if (context < detail::kFirstHelpContext || context > detail::kFirstHelpContext + 41) {
    Broken("an error outside the catalogue reached the caller", text.str());
  }
  if (e.Number() != detail::kFirstErrorNumber + static_cast<std::uint32_t>(context - detail::kFirstHelpContext)) {
    Broken("error number and help context out of step", text.str());
  }
  if (e.Source() != detail::kErrorSource) Broken("error source is not the library's", text.str());
  const std::string message = detail::ErrorMessage(static_cast<ErrorCode>(context));
  if (e.Description().compare(0, message.size(), message) != 0) {
    Broken("error description is not the catalogue's text", text.str());
  }
  if (context == detail::kFirstHelpContext && e.Description().size() == message.size()) {
    Broken("a general error without the failure's description", text.str());
  }
  if (std::string_view(e.what()) != e.Description()) Broken("what() differs from Description()", text.str());
}

void CheckErrorIn(const Error& e, std::initializer_list<ErrorCode> allowed, std::string_view where) {
  CheckCatalogueError(e, where);
  if (std::find(allowed.begin(), allowed.end(), e.Code()) != allowed.end()) return;
  std::ostringstream text;
  text << where << ": error " << e.HelpContext() << " '" << e.Description() << "' is not one this call may raise";
  Broken("unexpected error", text.str());
}

void RequireFinite(double value, std::string_view what) {
  if (!std::isfinite(value)) {
    std::ostringstream text;
    text << what << " = " << value;
    Broken("a result holds a NaN or an infinity", text.str());
  }
}

void RequireAllFinite(std::span<const double> values, std::string_view what) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (!std::isfinite(values[i])) {
      std::ostringstream text;
      text << what << "[" << i << "] = " << values[i];
      Broken("a result holds a NaN or an infinity", text.str());
    }
  }
}

void RequireScanRoots(std::span<const double> roots, double lower, double upper, std::string_view what) {
  RequireAllFinite(roots, what);
  const double lo = std::min(lower, upper), hi = std::max(lower, upper);
  const double slack = 8.0 * std::numeric_limits<double>::epsilon() * std::max(std::fabs(lo), std::fabs(hi));
  for (std::size_t i = 0; i < roots.size(); ++i) {
    std::ostringstream text;
    text << what << "[" << i << "] = " << roots[i] << " for [" << lower << ", " << upper << "]";
    if (!(roots[i] >= lo - slack && roots[i] <= hi + (hi - lo) + slack)) Broken("a root outside the scan", text.str());
  }
}

bool SameBits(std::span<const double> a, std::span<const double> b) {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0);
}

bool SameVariant(const Variant& a, const Variant& b) {
  if (a.Type() != b.Type()) return false;
  switch (a.Type()) {
    case VariantType::Empty:
      return true;
    case VariantType::Double: {
      const double x = a.ToDouble();
      const double y = b.ToDouble();
      return SameBits({&x, 1}, {&y, 1});
    }
    case VariantType::Long:
    case VariantType::Boolean:
    case VariantType::String:
      return a == b;
    case VariantType::Array:
      break;
  }
  if (a.Dimensions() != b.Dimensions()) return false;
  if (a.Dimensions() == 0) return true;
  if (a.UpperBound(1) != b.UpperBound(1)) return false;
  if (a.Dimensions() == 1) {
    for (std::int32_t i = 0; i <= a.UpperBound(1); ++i) {
      if (!SameVariant(a.At(i), b.At(i))) return false;
    }
    return true;
  }
  if (a.UpperBound(2) != b.UpperBound(2)) return false;
  for (std::int32_t i = 0; i <= a.UpperBound(1); ++i) {
    for (std::int32_t j = 0; j <= a.UpperBound(2); ++j) {
      if (!SameVariant(a.At(i, j), b.At(i, j))) return false;
    }
  }
  return true;
}

const SystemSeparators& EnglishSeparators() {
  static const SystemSeparators separators{".", ",", ",", "/", ":"};
  return separators;
}

const SystemSeparators& DecimalCommaSeparators() {
  static const SystemSeparators separators{",", ";", ".", ".", ":"};
  return separators;
}

std::uint8_t Bytes::Byte() { return pos_ < size_ ? data_[pos_++] : 0; }

std::uint32_t Bytes::Below(std::uint32_t count) {
  if (count <= 1) return 0;
  std::uint32_t v = Byte();
  if (count > 256) v = (v << 8) | Byte();
  return v % count;
}

double Bytes::Double() {
  static constexpr double kEdges[] = {
      0.0,
      -0.0,
      1.0,
      -1.0,
      2.0,
      0.5,
      3.0,
      10.0,
      -7.25,
      100.0,
      1e-3,
      1e6,
      1e15,
      1e150,
      1e-150,
      1e300,
      -1e300,
      std::numeric_limits<double>::max(),
      -std::numeric_limits<double>::max(),
      std::numeric_limits<double>::min(),
      std::numeric_limits<double>::denorm_min(),
      -std::numeric_limits<double>::denorm_min(),
      std::numeric_limits<double>::quiet_NaN(),
      std::numeric_limits<double>::infinity(),
      -std::numeric_limits<double>::infinity(),
      32767.5,
      2147483647.5,
      -2147483648.5,
      0.1,
      0.30000000000000004,
      1.005,
      123456.789,
  };
  constexpr std::size_t kCount = sizeof kEdges / sizeof kEdges[0];
  const std::uint8_t selector = Byte();
  if (selector < kCount) return kEdges[selector];
  if (selector < 160) return static_cast<double>(selector) - 128.0;  // small integers -96 .. 31
  if (selector < 224) return (static_cast<double>(Byte()) - 128.0) / 8.0;
  double value = 0.0;
  std::uint64_t bits = 0;
  for (int i = 0; i < 8; ++i) bits = (bits << 8) | Byte();
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

std::string Bytes::String(std::size_t max_size) {
  const std::size_t wanted = std::min<std::size_t>(Byte(), max_size);
  const std::size_t n = std::min(wanted, size_ - std::min(pos_, size_));
  std::string s(reinterpret_cast<const char*>(data_) + pos_, n);
  pos_ += n;
  return s;
}

std::string Bytes::Rest() {
  if (pos_ >= size_) return {};
  std::string s(reinterpret_cast<const char*>(data_) + pos_, size_ - pos_);
  pos_ = size_;
  return s;
}

namespace {

// A memory-backed folder when there is one: every input writes and truncates
// files, and on a disk file system each truncation of a written file waits for
// its blocks (76 instead of thousands of inputs a second in number_format).
std::string MakePrivateDir() {
  std::vector<std::string> bases;
  if (const char* chosen = std::getenv("TESSARIX_FUZZ_TMPDIR"); chosen != nullptr && *chosen != '\0') {
    bases.emplace_back(chosen);
  } else {
    bases.emplace_back("/dev/shm");
    if (const char* temp = std::getenv("TMPDIR"); temp != nullptr && *temp != '\0') bases.emplace_back(temp);
    bases.emplace_back("/tmp");
  }
  for (const std::string& base : bases) {
    std::string pattern = base + "/tessarix-fuzz-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (mkdtemp(buffer.data()) != nullptr) return std::string(buffer.data());
  }
  Broken("cannot make a private folder", bases.back());
}

}  // namespace

const std::string& PrivateDir() {
  // Never destroyed, so that the clean-up at exit can still read it.
  static const std::string* const dir = [] {
    const auto* made = new std::string(MakePrivateDir());
    std::atexit([] {
      std::error_code ec;
      std::filesystem::remove_all(PrivateDir(), ec);
    });
    return made;
  }();
  return *dir;
}

void WriteFile(const std::string& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out) Broken("cannot write a private file", path);
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void EmptyFolder(const std::string& folder) {
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
    std::filesystem::remove_all(entry.path(), ec);
  }
}

std::vector<std::string> FolderEntries(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace tessarix::fuzz
