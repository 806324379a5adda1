// A private temporary folder for the file tests, also used as TMPDIR so that
// the import's temporary copies can be counted.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/test_helpers.hpp"
#include "tessarix/platform/date_text.hpp"

class TextFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char templ[] = "/tmp/tessarix_files_XXXXXX";
    ASSERT_NE(mkdtemp(templ), nullptr);
    dir_ = templ;
    const char* old = getenv("TMPDIR");
    had_tmpdir_ = old != nullptr;
    if (had_tmpdir_) old_tmpdir_ = old;
    setenv("TMPDIR", dir_.c_str(), 1);
    tessarix::detail::SetDateOrder(tessarix::detail::DateOrder::MonthDayYear);
  }
  void TearDown() override {
    if (had_tmpdir_) {
      setenv("TMPDIR", old_tmpdir_.c_str(), 1);
    } else {
      unsetenv("TMPDIR");
    }
    std::error_code ec;
    std::filesystem::remove_all(dir_, ec);
  }

  std::string Write(const std::string& name, const std::string& bytes) {
    const std::string path = Path(name);
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }
  std::string Path(const std::string& name) const { return dir_ + "/" + name; }
  std::string Read(const std::string& name) const {
    std::ifstream in(Path(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  int CountTemporaries() const {
    int n = 0;
    for (const auto& e : std::filesystem::directory_iterator(dir_)) {
      if (e.path().filename().string().rfind("tsx", 0) == 0) ++n;
    }
    return n;
  }

  std::string dir_;
  tessarix::test::ScopedSeparators separators_{tessarix::test::EnglishSeparators()};

 private:
  bool had_tmpdir_ = false;
  std::string old_tmpdir_;
};
