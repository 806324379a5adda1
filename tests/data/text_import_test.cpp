#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <exception>
#include <string>
#include <vector>

#include "tessarix/data/data_access.hpp"
#include "tessarix/data/data_collection.hpp"
#include "text_file_fixture.hpp"

using namespace tessarix;
using V = std::vector<double>;
using Names = std::vector<std::string>;

namespace {
std::vector<std::string> NamesOf(const DataCollection& c) {
  std::vector<std::string> names;
  for (const auto& s : c) names.push_back(s->Name());
  return names;
}
}  // namespace

using TextImport = TextFileTest;

TEST_F(TextImport, LineFeedFilesReadAsTheirCarriageReturnTwins) {
  const std::string crlf = Write("crlf.txt", "1.5\r\n-2\r\n\r\n3E2\r\n12/31/99\r\nx\r\n7");
  const std::string lf = Write("lf.txt", "1.5\n-2\n\n3E2\n12/31/99\nx\n7");
  const std::string cr = Write("cr.txt", "1.5\r-2\r\r3E2\r12/31/99\rx\r7\r");
  DataCollection c;
  auto a = c.AddSeries("a");
  auto b = c.AddSeries("b");
  auto d = c.AddSeries("d");
  a->ImportFromFile(crlf);
  EXPECT_EQ(CountTemporaries(), 0);
  b->ImportFromFile(lf);
  d->ImportFromFile(cr);
  EXPECT_EQ(a->ExportToArray(), (V{1.5, -2, 300, 36525, 7}));
  EXPECT_EQ(b->ExportToArray(), a->ExportToArray());
  EXPECT_EQ(d->ExportToArray(), a->ExportToArray());
  // The copy was made and is gone; the original is untouched.
  EXPECT_EQ(CountTemporaries(), 0);
  EXPECT_EQ(Read("lf.txt"), "1.5\n-2\n\n3E2\n12/31/99\nx\n7");

  DataCollection t;
  t.ImportSeriesFromFile(Write("cols.txt", "1,2\n3,4\n"), Names{"p", "q"});
  EXPECT_EQ(t.Item("q")->ExportToArray(), (V{2, 4}));
  EXPECT_EQ(CountTemporaries(), 0);
}

TEST_F(TextImport, SeriesImportAppendsOrReplacesAndTakesSeparators) {
  DataCollection c;
  auto s = c.AddSeries("s");
  s->ImportFromArray(V{9, 9, 9, 9});
  const std::string comma = Write("comma.txt", "1,5\r\n(2,25)\r\n$1.000,5\r\n");
  s->ImportFromFile(comma, false, ",");
  EXPECT_EQ(s->ExportToArray(), (V{1.5, -2.25}));  // "1.000.5" is no number with a point
  s->ImportFromFile(Write("plain.txt", " 4 \r\n1,234.5\r\n"), true);
  EXPECT_EQ(s->ExportToArray(), (V{1.5, -2.25, 4, 1234.5}));
  s->ImportFromFile(Write("dates.txt", "31-12-1999\r\n"), false, "", "-");
  detail::SetDateOrder(detail::DateOrder::DayMonthYear);
  s->ImportFromFile(Write("dates.txt", "31-12-1999\r\n"), true, "", "-");
  EXPECT_EQ(s->ExportToArray(), (V{36525}));
  // A file of only text lines gives an empty series, without an error.
  s->ImportFromFile(Write("text.txt", "a\r\nb\r\n"));
  EXPECT_EQ(s->NumObservations(), 0);
  s->ImportFromFile(Write("empty.txt", ""));
  EXPECT_EQ(s->NumObservations(), 0);
  // A decimal-comma system reads its own numbers and, told so, English ones.
  test::ScopedSeparators german(test::DecimalCommaSeparators());
  s->ImportFromFile(Write("de.txt", "2,5\r\n1.234,5\r\n"));
  EXPECT_EQ(s->ExportToArray(), (V{2.5, 1234.5}));
  s->ImportFromFile(Write("en.txt", "2.5\r\n"), false, ".");
  EXPECT_EQ(s->ExportToArray(), (V{2.5}));
}

TEST_F(TextImport, ColumnLoopSkipsRowsAsAWhole) {
  DataCollection c;
  const std::string path = Write("rows.csv",
                                 "1\r\n"        // short: skipped
                                 "1,2,3\r\n"    // long: cut
                                 "1,x\r\n"      // unreadable: skipped
                                 "1,\r\n"       // empty field: skipped
                                 "\r\n"         // empty line
                                 ",\r\n"        // two empty fields
                                 "\"5\",6\r\n"  // quotes stay without a qualifier
                                 "7,01/02/2000\r\n"
                                 "8,9");  // no line end at the end
  c.ImportSeriesFromFile(path, Names{"a", "b"});
  EXPECT_EQ(c.Item("a")->ExportToArray(), (V{1, 7, 8}));
  EXPECT_EQ(c.Item("b")->ExportToArray(), (V{2, 36527, 9}));

  DataCollection t;
  t.ImportSeriesFromFile(Write("tab.txt", "1\t2\r\n3\t\t4\r\n"), Names{"a", "b"}, tsxDelimiterTab);
  EXPECT_EQ(t.Item("b")->ExportToArray(), (V{2}));
  t.ImportSeriesFromFile(Write("semi.txt", "1,5;2\r\n"), Names{"a", "b"}, tsxDelimiterSemicolon, ",");
  EXPECT_EQ(t.Item("a")->ExportToArray(), (V{1.5}));
  t.ImportSeriesFromFile(Write("space.txt", "1 2\r\n3  4\r\n"), Names{"a", "b"}, tsxDelimiterSpace);
  EXPECT_EQ(t.Item("a")->ExportToArray(), (V{1}));
}

TEST_F(TextImport, QualifiersMarkMissingValuesAndUnquoteFields) {
  DataCollection c;
  const std::string path = Write("q.csv", "1,NA\r\n\"3\",\"4\"\r\n5,-999\r\n6,-999.0\r\n7,8\r\n");
  c.ImportSeriesFromFile(path, Names{"a", "b"}, tsxDelimiterComma, "", "", Variant("NA"));
  EXPECT_EQ(c.Item("a")->ExportToArray(), (V{3, 5, 6, 7}));
  c.ImportSeriesFromFile(path, Names{"a", "b"});
  EXPECT_EQ(c.Item("a")->ExportToArray(), (V{5, 6, 7}));
  // A numeric qualifier marks the value in any spelling, though it looks like a number.
  c.ImportSeriesFromFile(path, Names{"a", "b"}, tsxDelimiterComma, "", "", Variant(-999));
  EXPECT_EQ(c.Item("a")->ExportToArray(), (V{3, 7}));
  c.ImportSeriesFromFile(path, Names{"a", "b"}, tsxDelimiterComma, "", "", Variant("-999"));
  EXPECT_EQ(c.Item("a")->ExportToArray(), (V{3, 6, 7}));
}

TEST_F(TextImport, NamedImportReadsTheHeaderAndReplacesSeries) {
  DataCollection c;
  auto old = c.AddSeries("A");
  c.AddSeries("keep");
  c.ImportNamedSeriesFromFile(Write("h.csv", "\r\n\"a\" , b\r\n1,2\r\n3,4\r\n"));
  EXPECT_EQ(NamesOf(c), (std::vector<std::string>{"keep", "a", "b"}));
  EXPECT_NE(c.Item("a"), old);
  EXPECT_EQ(c.Item("b")->ExportToArray(), (V{2, 4}));
  c.ImportNamedSeriesFromFile(Write("empty.csv", ""));
  c.ImportNamedSeriesFromFile(Write("blank.csv", "\r\n\r\n"));
  EXPECT_EQ(c.Count(), 3);
  // A byte-order mark does not become part of the first name.
  c.ImportNamedSeriesFromFile(Write("bom.csv", "\xEF\xBB\xBFx;y\n1;2\n"), tsxDelimiterSemicolon);
  EXPECT_EQ(c.Item("x")->ExportToArray(), (V{1}));
}

TEST_F(TextImport, ErrorsAndTheirOrder) {
  DataCollection c;
  auto s = c.AddSeries("s");
  EXPECT_TSX_ERROR(s->ImportFromFile(Path("missing.txt")), 10011, "Error reading from file");
  EXPECT_TSX_ERROR(s->ImportFromFile(dir_), 10011, "Error reading from file");
  // No regular file: a device that never ends, a FIFO that nobody writes to.
  EXPECT_TSX_ERROR(s->ImportFromFile("/dev/zero"), 10011, "Error reading from file");
  ASSERT_EQ(mkfifo(Path("fifo").c_str(), 0600), 0);
  EXPECT_TSX_ERROR(s->ImportFromFile(Path("fifo")), 10011, "Error reading from file");
  EXPECT_TSX_ERROR(c.ImportNamedSeriesFromFile(Path("fifo")), 10011, "Error reading from file");
  EXPECT_TSX_ERROR(c.ImportSeriesFromFile(Path("x"), Names{"a"}, static_cast<DelimiterTypeEnum>(4)), 10028,
                   "Invalid argument");
  EXPECT_TSX_ERROR(c.ImportSeriesFromFile(Path("x"), Names{}), 10004, "Subscript out of range");
  EXPECT_TSX_ERROR(c.ImportSeriesFromFileAlt(Path("x"), Variant("a")), 10042, "Expected variant array");
  EXPECT_TSX_ERROR(c.ImportSeriesFromFileAlt(Path("x"), Variant::Array({})), 10004, "Subscript out of range");
  // The named series are replaced before the file is touched.
  s->AddObservation(1);
  EXPECT_TSX_ERROR(c.ImportSeriesFromFileAlt(Path("missing.csv"), Variant::Array({Variant("S"), Variant("t")})), 10011,
                   "Error reading from file");
  EXPECT_EQ(NamesOf(c), (std::vector<std::string>{"S", "t"}));
  EXPECT_EQ(c.Item("s")->NumObservations(), 0);
  EXPECT_TSX_ERROR(c.ImportNamedSeriesFromFile(dir_), 10011, "Error reading from file");
}

TEST_F(TextImport, TemporaryCopyFailuresAreReported) {
  DataCollection c;
  auto s = c.AddSeries("s");
  const std::string lf = Write("lf.txt", "1\n2\n");
  setenv("TMPDIR", (dir_ + "/no/such/folder").c_str(), 1);
  EXPECT_TSX_ERROR(s->ImportFromFile(lf), 10037, "Could not obtain temporary file name/path from the system");
  setenv("TMPDIR", ("/" + std::string(600, 'x')).c_str(), 1);
  EXPECT_TSX_CODE(s->ImportFromFile(lf), 10037);
  // Carriage-return files need no copy; the probe reads only up to the first
  // carriage return, so line feeds further on do not ask for one either.
  s->ImportFromFile(Write("crlf.txt", "1\r\n2\r\n"));
  EXPECT_EQ(s->NumObservations(), 2);
  s->ImportFromFile(Write("mixed.txt", "1\r\n2\n"));
  EXPECT_EQ(s->GetObservation(0), 1);
}

TEST_F(TextImport, AnUnwritableTemporaryCopyNamesItsPath) {
  DataCollection c;
  auto s = c.AddSeries("s");
  s->AddObservation(5);
  const std::string lf = Write("lf.txt", "1\n2\n");
  // Leave exactly one file descriptor free: the temporary file is still
  // created (and closed), but the copy cannot open source and target at once.
  rlimit saved{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &saved), 0);
  rlimit low = saved;
  if (low.rlim_cur > 256) low.rlim_cur = 256;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
  std::vector<int> held;
  for (int fd; (fd = open("/dev/null", O_RDONLY)) >= 0;) held.push_back(fd);
  ASSERT_FALSE(held.empty());
  close(held.back());
  held.pop_back();
  // Nothing but the import runs while the descriptors are exhausted: the
  // sanitizers' runtimes need some of their own to check a member call.
  std::exception_ptr failure;
  try {
    s->ImportFromFile(lf);
  } catch (...) {
    failure = std::current_exception();
  }
  for (int fd : held) close(fd);
  setrlimit(RLIMIT_NOFILE, &saved);
  std::string description;
  int help_context = 0;
  try {
    if (failure) std::rethrow_exception(failure);
  } catch (const Error& e) {
    description = e.Description();
    help_context = e.HelpContext();
  }
  EXPECT_EQ(help_context, 10038);
  const std::string prefix = "Could not create temporary file '" + dir_ + "/tsx";
  EXPECT_EQ(description.substr(0, prefix.size()), prefix);
  EXPECT_EQ(description.size(), prefix.size() + 7);  // six unique characters and the closing quote
  EXPECT_EQ(description.back(), '\'');
  // The failed copy is not left behind, and the series is untouched.
  EXPECT_EQ(CountTemporaries(), 0);
  EXPECT_EQ(s->ExportToArray(), (V{5}));
}

TEST_F(TextImport, HostileBytesNeverBreakTheReader) {
  DataCollection c;
  auto s = c.AddSeries("s");
  s->ImportFromFile(Write("nul.txt", std::string("1\r\n2\0\r\n\xFF\xFE\r\n\xC3(\r\n3", 16)));
  EXPECT_EQ(s->ExportToArray(), (V{1, 3}));
  // Words of other readers for non-finite values are no numbers here; a value
  // too large for a Double is none either, one too small is 0.
  s->ImportFromFile(Write("nonfinite.txt", "nan\r\nNaN\r\ninf\r\n-Infinity\r\n1e999\r\n0x10\r\n1e-400\r\n2\r\n"));
  EXPECT_EQ(s->ExportToArray(), (V{0, 2}));
  // 50 MB in one line without any line end, then the same as rows.
  std::string big(50u << 20, '7');
  s->ImportFromFile(Write("big1.txt", big));
  EXPECT_EQ(s->NumObservations(), 0);  // too large for a Double: no number, no date
  c.ImportSeriesFromFile(Path("big1.txt"), Names{"a", "b"});
  EXPECT_EQ(c.Item("a")->NumObservations(), 0);
  big.assign(50u << 20, ',');
  c.ImportSeriesFromFile(Write("big2.txt", big), Names{"a", "b"});
  EXPECT_EQ(c.Item("a")->NumObservations(), 0);
  std::string rows;
  for (int i = 0; rows.size() < (50u << 20); ++i) rows += "1.25,2.5,-3\n";
  c.ImportSeriesFromFile(Write("big3.txt", rows), Names{"a", "b", "c"});
  EXPECT_EQ(static_cast<std::size_t>(c.Item("c")->NumObservations()), rows.size() / 12);
  EXPECT_EQ(c.Item("c")->Sum(), -3.0 * static_cast<double>(rows.size() / 12));
  EXPECT_EQ(CountTemporaries(), 0);
}
