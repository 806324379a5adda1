#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "tessarix/data/data_access.hpp"
#include "tessarix/data/data_collection.hpp"
#include "text_file_fixture.hpp"

using namespace tessarix;
using V = std::vector<double>;

using TextExport = TextFileTest;

TEST_F(TextExport, SeriesLinesInTheListForm) {
  DataCollection c;
  auto s = c.AddSeries("s");
  s->ExportToFile(Path("none.txt"));
  EXPECT_FALSE(std::filesystem::exists(Path("none.txt")));  // an empty series touches nothing
  s->ImportFromArray(V{1, 2.5, -1e-10, 1.5e20, 0.1 + 0.2});
  s->ExportToFile(Path("s.txt"), true);  // IncludeName has no effect
  EXPECT_EQ(Read("s.txt"), "1\r\n2.5\r\n-1E-10\r\n1.5E+20\r\n0.3\r\n");
  {
    test::ScopedSeparators german(test::DecimalCommaSeparators());
    s->ExportToFile(Path("s.txt"));
    EXPECT_EQ(Read("s.txt"), "1\r\n2.5\r\n-1E-10\r\n1.5E+20\r\n0.3\r\n");
    s->SetNumberDisplayFormat("0.00");
    s->ExportToFile(Path("f.txt"), false, true);
    EXPECT_EQ(Read("f.txt"), "1,00\r\n2,50\r\n0,00\r\n150000000000000000000,00\r\n0,30\r\n");
    // Without SaveFormatted the format is not used.
    s->ExportToFile(Path("f.txt"));
    EXPECT_EQ(Read("f.txt"), "1\r\n2.5\r\n-1E-10\r\n1.5E+20\r\n0.3\r\n");
  }
  s->SetNumberDisplayFormat("general");
  s->ExportToFile(Path("s.txt"), false, true, true);
  EXPECT_EQ(Read("s.txt"), "1\r\n2.5\r\n-1E-10\r\n1.5E+20\r\n0.3\r\n1\r\n2.5\r\n-1E-10\r\n1.5E+20\r\n0.3\r\n");
  // What the list writer writes, the import reads back.
  auto back = c.AddSeries("back");
  back->ImportFromFile(Path("s.txt"));
  EXPECT_EQ(back->NumObservations(), 10);
  EXPECT_EQ(back->GetObservation(3), 1.5e20);
}

TEST_F(TextExport, CollectionRowsNamesAndFormattedColumns) {
  DataCollection c;
  c.AddSeries("a")->ImportFromArray(V{1, 2});
  c.AddSeries("b")->ImportFromArray(V{3, 4});
  c.ExportSeriesToFile(Path("c.txt"), true);
  EXPECT_EQ(Read("c.txt"), "\"a\",\"b\"\r\n1,3\r\n2,4\r\n");
  c.ExportSeriesToFile(Path("c.txt"), true, false, true);
  EXPECT_EQ(Read("c.txt"), "\"a\",\"b\"\r\n1,3\r\n2,4\r\n\"a\",\"b\"\r\n1,3\r\n2,4\r\n");

  c.SetNumberDisplayFormats("0.00");
  c.ExportSeriesToFile(Path("f.txt"), false, true);
  EXPECT_EQ(Read("f.txt"), "1.00 3.00\r\n2.00 4.00\r\n");
  // Formatted columns are followed by a blank, the others by a comma.
  c.Item("b")->SetNumberDisplayFormat("General");
  c.ExportSeriesToFile(Path("f.txt"), false, true);
  EXPECT_EQ(Read("f.txt"), "1.00 3\r\n2.00 4\r\n");
  c.Item("a")->SetNumberDisplayFormat("");
  c.Item("b")->SetNumberDisplayFormat("0.0");
  c.ExportSeriesToFile(Path("f.txt"), false, true);
  EXPECT_EQ(Read("f.txt"), "1,3.0\r\n2,4.0\r\n");
  c.ExportSeriesToFile(Path("f.txt"));
  EXPECT_EQ(Read("f.txt"), "1,3\r\n2,4\r\n");
  {
    test::ScopedSeparators german(test::DecimalCommaSeparators());
    c.SetNumberDisplayFormats("#,##0.00");
    c.Item(1)->SetObservation(0, 1234.5);
    c.ExportSeriesToFile(Path("g.txt"), true, true);
    EXPECT_EQ(Read("g.txt"), "\"a\",\"b\"\r\n1.234,50 3,00\r\n2,00 4,00\r\n");
  }

  // A read-only result table exports; an empty collection gives an empty file.
  detail::DataAccess::SetReadOnly(c, true);
  c.ExportSeriesToFile(Path("ro.txt"));
  EXPECT_EQ(Read("ro.txt"), "1234.5,3\r\n2,4\r\n");
  DataCollection empty;
  empty.ExportSeriesToFile(Path("ro.txt"), true);
  EXPECT_EQ(Read("ro.txt"), "");
}

TEST_F(TextExport, Errors) {
  DataCollection c;
  c.AddSeries("a")->ImportFromArray(V{1, 2});
  c.AddSeries("b")->ImportFromArray(V{3});
  EXPECT_TSX_ERROR(c.ExportSeriesToFile(Path("x.txt")), 10012,
                   "The number of observations for included DataSeries objects must be equal to perform the "
                   "requested operation");
  c.RemoveSeries("b");
  EXPECT_TSX_ERROR(c.ExportSeriesToFile(dir_), 10010, "Error writing to file");
  EXPECT_TSX_ERROR(c.ExportSeriesToFile(Path("no/such/x.txt")), 10010, "Error writing to file");
  EXPECT_TSX_ERROR(c.Item(1)->ExportToFile(dir_), 10010, "Error writing to file");
  EXPECT_TSX_ERROR(c.Item(1)->ExportToFile(""), 10010, "Error writing to file");
  // A full device fails the writes; a FIFO that nobody reads fails the open
  // instead of blocking.
  EXPECT_TSX_ERROR(c.Item(1)->ExportToFile("/dev/full"), 10010, "Error writing to file");
  EXPECT_TSX_ERROR(c.ExportSeriesToFile("/dev/full", true), 10010, "Error writing to file");
  ASSERT_EQ(mkfifo(Path("fifo").c_str(), 0600), 0);
  EXPECT_TSX_ERROR(c.Item(1)->ExportToFile(Path("fifo")), 10010, "Error writing to file");
  EXPECT_TSX_ERROR(c.ExportSeriesToFile(Path("fifo")), 10010, "Error writing to file");
}
