// A private folder for the result-file tests and the comparison of whole
// files with the golden files in tests/resultfile/golden/.
//
// TESSARIX_UPDATE_GOLDEN=1 in the environment writes the files a test
// produces over the golden files instead of comparing; review every changed
// line before committing one.
#pragma once

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

class TsfFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char templ[] = "/tmp/tessarix_tsf_XXXXXX";
    ASSERT_NE(mkdtemp(templ), nullptr);
    dir_ = templ;
  }
  void TearDown() override {
    chmod(dir_.c_str(), 0700);
    std::error_code ec;
    std::filesystem::remove_all(dir_, ec);
  }

  std::string Path(const std::string& name) const { return dir_ + "/" + name; }

  static std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  static void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
  }

  // The names in the folder: a failed write must leave no temporary file.
  std::set<std::string> Entries() const {
    std::set<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(dir_)) names.insert(e.path().filename().string());
    return names;
  }

  // The file at `path` must equal the golden file `name` byte for byte.
  static void ExpectGolden(const std::string& path, const std::string& name) {
    const std::string golden = std::string(TESSARIX_SOURCE_DIR) + "/tests/resultfile/golden/" + name;
    const char* update = getenv("TESSARIX_UPDATE_GOLDEN");
    if (update != nullptr && std::string(update) == "1") WriteFile(golden, ReadFile(path));
    EXPECT_EQ(ReadFile(path), ReadFile(golden)) << path << " differs from " << golden;
  }

  std::string dir_;
};

// Runs a scope without the capability to override file permissions, as an
// ordinary user does: otherwise root (a container, a CI machine) writes into
// a read-only folder. Nothing changes for a process that lacks it already.
class ScopedNoPermissionOverride {
 public:
  ScopedNoPermissionOverride() {
    header_.version = _LINUX_CAPABILITY_VERSION_3;
    header_.pid = 0;
    if (syscall(SYS_capget, &header_, saved_) != 0) return;
    __user_cap_data_struct reduced[2] = {saved_[0], saved_[1]};
    const unsigned drop = (1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH) | (1u << CAP_FOWNER);
    reduced[0].effective &= ~drop;
    active_ = syscall(SYS_capset, &header_, reduced) == 0;
  }
  ~ScopedNoPermissionOverride() {
    if (active_) syscall(SYS_capset, &header_, saved_);
  }
  ScopedNoPermissionOverride(const ScopedNoPermissionOverride&) = delete;
  ScopedNoPermissionOverride& operator=(const ScopedNoPermissionOverride&) = delete;

 private:
  __user_cap_header_struct header_{};
  __user_cap_data_struct saved_[2]{};
  bool active_ = false;
};
