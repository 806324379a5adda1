#include "tessarix/platform/date_text.hpp"

#include <langinfo.h>
#include <locale.h>

#include <array>
#include <atomic>
#include <chrono>
#include <mutex>

#include "tessarix/platform/internal/text_scan.hpp"
#include "tessarix/platform/separators.hpp"

namespace tessarix::detail {

namespace {

std::mutex g_order_mutex;
std::atomic<bool> g_order_loaded{false};
DateOrder g_order = DateOrder::MonthDayYear;

// Reads 1 .. max_digits digits at s[i]; the count read (0 for none).
int ReadNumber(std::string_view s, std::size_t& i, int max_digits, int& value) {
  int digits = 0;
  value = 0;
  while (i < s.size() && IsDigit(s[i]) && digits < max_digits) {
    value = value * 10 + (s[i++] - '0');
    ++digits;
  }
  // More digits than allowed is no number of this kind.
  if (i < s.size() && IsDigit(s[i])) return 0;
  return digits;
}

bool Consume(std::string_view s, std::size_t& i, std::string_view token) {
  if (token.empty() || s.substr(i, token.size()) != token) return false;
  i += token.size();
  return true;
}

bool EqualsNoCase(std::string_view s, std::string_view word) {
  if (s.size() != word.size()) return false;
  for (std::size_t i = 0; i < s.size(); ++i) {
    const char c = (s[i] >= 'a' && s[i] <= 'z') ? static_cast<char>(s[i] - 32) : s[i];
    if (c != word[i]) return false;
  }
  return true;
}

// A time of day "h:mm[:ss] [AM|PM]" as a fraction of a day.
bool ParseTime(std::string_view s, std::string_view time_separator, double& fraction) {
  std::size_t i = 0;
  int h = 0, m = 0, sec = 0;
  auto separator = [&] { return Consume(s, i, ":") || Consume(s, i, time_separator); };
  if (ReadNumber(s, i, 2, h) == 0 || !separator() || ReadNumber(s, i, 2, m) == 0) return false;
  if (i < s.size() && !IsBlank(s[i])) {
    if (!separator() || ReadNumber(s, i, 2, sec) == 0) return false;
  }
  const std::string_view rest = TrimBlanks(s.substr(i));
  if (!rest.empty()) {
    const bool am = EqualsNoCase(rest, "AM");
    if (!am && !EqualsNoCase(rest, "PM")) return false;
    if (h < 1 || h > 12) return false;
    h = (h % 12) + (am ? 0 : 12);
  }
  if (h > 23 || m > 59 || sec > 59) return false;
  fraction = (h * 3600.0 + m * 60.0 + sec) / 86400.0;
  return true;
}

int WindowedYear(int year, int digits) {
  if (digits > 2) return year;
  return year < 30 ? 2000 + year : 1900 + year;
}

}  // namespace

bool ReadLocaleDateOrder(const char* locale_name, DateOrder& order) {
  order = DateOrder::MonthDayYear;
  locale_t loc = newlocale(LC_TIME_MASK, locale_name, static_cast<locale_t>(nullptr));
  if (loc == static_cast<locale_t>(nullptr)) return false;
  const std::string_view format = nl_langinfo_l(D_FMT, loc);
  // Positions of the first day, month and year conversions (%d %e, %m, %y %Y).
  std::size_t day = std::string_view::npos, month = day, year = day;
  for (std::size_t i = 0; i + 1 < format.size(); ++i) {
    if (format[i] != '%') continue;
    std::size_t j = i + 1;
    while (j < format.size() && (format[j] == 'E' || format[j] == 'O' || format[j] == '-' || format[j] == '_' ||
                                 format[j] == '0' || format[j] == '^' || format[j] == '#')) {
      ++j;
    }
    if (j >= format.size()) break;
    const char c = format[j];
    if ((c == 'd' || c == 'e') && day == std::string_view::npos) day = i;
    if ((c == 'm' || c == 'b' || c == 'B') && month == std::string_view::npos) month = i;
    if ((c == 'y' || c == 'Y') && year == std::string_view::npos) year = i;
    if (c == 'F') year = i, month = i + 1, day = i + 2;  // %F is %Y-%m-%d
    i = j;
  }
  freelocale(loc);
  if (year < month && month < day) {
    order = DateOrder::YearMonthDay;
  } else if (day < month && day != std::string_view::npos) {
    order = DateOrder::DayMonthYear;
  }
  return true;
}

DateOrder CurrentDateOrder() {
  if (!g_order_loaded.load(std::memory_order_acquire)) {
    std::lock_guard<std::mutex> lock(g_order_mutex);
    if (!g_order_loaded.load(std::memory_order_relaxed)) {
      ReadLocaleDateOrder("", g_order);
      g_order_loaded.store(true, std::memory_order_release);
    }
  }
  return g_order;
}

void SetDateOrder(DateOrder order) {
  std::lock_guard<std::mutex> lock(g_order_mutex);
  g_order = order;
  g_order_loaded.store(true, std::memory_order_release);
}

double DateSerial(int year, unsigned month, unsigned day) {
  using namespace std::chrono;
  const sys_days date{std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day}};
  constexpr sys_days epoch{std::chrono::year{1899} / December / 30};
  return static_cast<double>((date - epoch).count());
}

bool ParseLocaleDate(std::string_view text, double& serial, std::string_view date_separator,
                     std::string_view time_separator, DateOrder order) {
  const std::string_view s = TrimBlanks(text);
  std::size_t i = 0;
  std::array<int, 3> field{};
  std::array<int, 3> digits{};
  digits[0] = ReadNumber(s, i, 4, field[0]);
  if (digits[0] == 0) return false;
  // ISO yyyy-mm-dd stands beside the locale's form.
  const bool iso = digits[0] == 4 && i < s.size() && s[i] == '-';
  const std::string_view sep = iso ? std::string_view("-") : date_separator;
  for (int k = 1; k < 3; ++k) {
    if (!Consume(s, i, sep)) return false;
    digits[static_cast<std::size_t>(k)] = ReadNumber(s, i, 4, field[static_cast<std::size_t>(k)]);
    if (digits[static_cast<std::size_t>(k)] == 0) return false;
  }
  std::size_t yi = 0, mi = 1, di = 2;
  if (!iso && order == DateOrder::MonthDayYear) {
    mi = 0, di = 1, yi = 2;
  } else if (!iso && order == DateOrder::DayMonthYear) {
    di = 0, mi = 1, yi = 2;
  }
  if (digits[mi] > 2 || digits[di] > 2) return false;
  if (digits[yi] == 3 && field[yi] < 100) return false;
  const int y = WindowedYear(field[yi], digits[yi]);
  const int m = field[mi];
  const int d = field[di];
  if (m < 1 || m > 12 || d < 1 || d > 31) return false;
  const std::chrono::year_month_day ymd{std::chrono::year{y}, std::chrono::month{static_cast<unsigned>(m)},
                                        std::chrono::day{static_cast<unsigned>(d)}};
  if (!ymd.ok()) return false;

  double fraction = 0.0;
  if (i < s.size()) {
    if (iso && s[i] == 'T') {
      ++i;
    } else if (IsBlank(s[i])) {
      while (i < s.size() && IsBlank(s[i])) ++i;
    } else {
      return false;
    }
    if (!ParseTime(s.substr(i), time_separator, fraction)) return false;
  }
  const double days = DateSerial(y, static_cast<unsigned>(m), static_cast<unsigned>(d));
  serial = days < 0.0 ? days - fraction : days + fraction;
  return true;
}

bool ParseLocaleDate(std::string_view text, double& serial) {
  const SystemSeparators& sep = CurrentSeparators();
  return ParseLocaleDate(text, serial, sep.SystemDateSeparator, sep.SystemTimeSeparator, CurrentDateOrder());
}

}  // namespace tessarix::detail
