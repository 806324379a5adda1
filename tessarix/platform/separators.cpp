#include "tessarix/platform/separators.hpp"

#include <langinfo.h>
#include <locale.h>

#include <atomic>
#include <mutex>
#include <string_view>

namespace tessarix {

namespace {

SystemSeparators g_separators{".", ",", ",", "/", ":"};
std::atomic<bool> g_loaded{false};
std::mutex g_mutex;

// Length of the UTF-8 sequence that starts with byte `lead`.
std::size_t Utf8Length(unsigned char lead) {
  if (lead < 0x80) return 1;
  if ((lead >> 5) == 0x6) return 2;
  if ((lead >> 4) == 0xE) return 3;
  if ((lead >> 3) == 0x1E) return 4;
  return 1;
}

// The first character of `text` with blanks trimmed; `fallback` when nothing is left.
std::string FirstCharacter(std::string_view text, const char* fallback) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  if (text.empty()) return fallback;
  const std::size_t n = Utf8Length(static_cast<unsigned char>(text.front()));
  return std::string(text.substr(0, n < text.size() ? n : text.size()));
}

// The separator of a strftime-style format: the first character that is
// neither part of a conversion (%x, %Ex, %Ox, %-x) nor a blank.
std::string SeparatorOfFormat(std::string_view format, const char* fallback) {
  for (std::size_t i = 0; i < format.size(); ++i) {
    const char c = format[i];
    if (c == '%') {
      ++i;
      while (i < format.size() && (format[i] == 'E' || format[i] == 'O' || format[i] == '-' || format[i] == '_' ||
                                   format[i] == '0' || format[i] == '^' || format[i] == '#')) {
        ++i;
      }
      continue;
    }
    if (c == ' ') continue;
    return FirstCharacter(format.substr(i), fallback);
  }
  return fallback;
}

}  // namespace

namespace detail {

bool ReadLocaleSeparators(const char* locale_name, SystemSeparators& s) {
  s = SystemSeparators{".", ",", ",", "/", ":"};
  // newlocale reads a locale without changing the locale of the process,
  // which a library must never do.
  locale_t loc = newlocale(LC_NUMERIC_MASK | LC_TIME_MASK, locale_name, static_cast<locale_t>(nullptr));
  if (loc == static_cast<locale_t>(nullptr)) return false;
  s.SystemDecimalSeparator = FirstCharacter(nl_langinfo_l(RADIXCHAR, loc), ".");
  s.SystemThousandSeparator = FirstCharacter(nl_langinfo_l(THOUSEP, loc), ",");
  s.SystemDateSeparator = SeparatorOfFormat(nl_langinfo_l(D_FMT, loc), "/");
  s.SystemTimeSeparator = SeparatorOfFormat(nl_langinfo_l(T_FMT, loc), ":");
  s.SystemListSeparator.assign(1, s.SystemDecimalSeparator == "," ? ';' : ',');
  freelocale(loc);
  return true;
}

}  // namespace detail

const SystemSeparators& CurrentSeparators() {
  if (!g_loaded.load(std::memory_order_acquire)) {
    LoadLocaleSeparators();
  }
  return g_separators;
}

void LoadLocaleSeparators() {
  std::lock_guard<std::mutex> lock(g_mutex);
  if (g_loaded.load(std::memory_order_relaxed)) return;
  SystemSeparators read;
  // "" is the user's default locale, from LANG and LC_* of the environment.
  detail::ReadLocaleSeparators("", read);
  g_separators = read;
  g_loaded.store(true, std::memory_order_release);
}

void SetSystemSeparators(const SystemSeparators& separators) {
  std::lock_guard<std::mutex> lock(g_mutex);
  g_separators = separators;
  g_loaded.store(true, std::memory_order_release);
}

}  // namespace tessarix
