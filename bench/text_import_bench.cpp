// Import speed of a 1e6-row, 3-column CSV file, with carriage-return line
// ends (read directly) and with bare line feeds (read through the normalised
// temporary copy).
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "tessarix/data/data_collection.hpp"
#include "tessarix/platform/separators.hpp"

namespace {

std::string MakeFile(const char* line_end) {
  char templ[] = "/tmp/tessarix_bench_XXXXXX";
  const int fd = mkstemp(templ);
  if (fd >= 0) close(fd);
  std::mt19937_64 rng(42);
  std::uniform_real_distribution<double> dist(-1000.0, 1000.0);
  std::string text;
  char buf[128];
  for (int i = 0; i < 1000000; ++i) {
    std::snprintf(buf, sizeof buf, "%.6f,%.9g,%d%s", dist(rng), dist(rng) * 1e-3, i, line_end);
    text += buf;
  }
  std::ofstream(templ, std::ios::binary) << text;
  return templ;
}

void ImportCsv(benchmark::State& state, const char* line_end) {
  tessarix::SetSystemSeparators({".", ",", ",", "/", ":"});
  const std::string path = MakeFile(line_end);
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  const auto bytes = static_cast<std::int64_t>(in.tellg());
  const std::vector<std::string> names{"x", "y", "n"};
  tessarix::DataCollection c;
  for (auto _ : state) {
    c.ImportSeriesFromFile(path, names);
    if (c.Item("n")->NumObservations() != 1000000) state.SkipWithError("rows lost");
  }
  state.SetBytesProcessed(state.iterations() * bytes);
  std::remove(path.c_str());
}

void BM_ImportCsvCrLf(benchmark::State& state) { ImportCsv(state, "\r\n"); }
void BM_ImportCsvLf(benchmark::State& state) { ImportCsv(state, "\n"); }
BENCHMARK(BM_ImportCsvCrLf)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ImportCsvLf)->Unit(benchmark::kMillisecond);

}  // namespace
