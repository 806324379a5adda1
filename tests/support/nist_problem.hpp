// The NIST StRD nonlinear regression problems (one predictor), read from the
// .dat files of TESSARIX_NIST_DIR, and the log relative error that NIST uses
// to compare results with the certified values.
#pragma once

#include <algorithm>
#include <cctype>
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

// The files are in the source tree when the build names no other folder.
#ifndef TESSARIX_NIST_DIR
#define TESSARIX_NIST_DIR TESSARIX_SOURCE_DIR "/tests/support/nist"
#endif

namespace tessarix::test {

struct NistProblem {
  std::vector<std::vector<double>> starts{2};  // starts[k][j]: start k + 1 of parameter j
  std::vector<double> certified;
  std::vector<double> certified_sd;
  double certified_rss = 0.0;
  std::vector<double> x, y;
  std::vector<double> x2;  // the second predictor, where the problem has one (Nelson)
};

// Empty x and y when the file cannot be read.
inline NistProblem ReadNistProblem(const std::string& name) {
  std::ifstream in(std::string(TESSARIX_NIST_DIR) + "/" + name + ".dat");
  NistProblem p;
  std::string line;
  bool in_data = false;
  int data_headers = 0;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    std::istringstream s(line);
    std::string first;
    s >> first;
    if (in_data) {
      double yv = 0, xv = 0, x2v = 0;
      std::istringstream d(line);
      if (d >> yv >> xv) {
        p.y.push_back(yv);
        p.x.push_back(xv);
        if (d >> x2v) p.x2.push_back(x2v);
      }
    } else if (first.size() >= 2 && first[0] == 'b' && std::isdigit(static_cast<unsigned char>(first[1]))) {
      std::string eq;
      double s1 = 0, s2 = 0, c = 0, sd = 0;
      s >> eq >> s1 >> s2 >> c >> sd;
      p.starts[0].push_back(s1);
      p.starts[1].push_back(s2);
      p.certified.push_back(c);
      p.certified_sd.push_back(sd);
    } else if (line.find("Residual Sum of Squares:") != std::string::npos) {
      p.certified_rss = std::stod(line.substr(line.find(':') + 1));
    } else if (first == "Data:" && ++data_headers == 2) {
      in_data = true;
    }
  }
  return p;
}

// Digits in agreement with the certified value, from 0 to 11 (NIST caps at 11
// for results that agree to the printed precision).
inline double LogRelativeError(double value, double certified) {
  if (value == certified) return 11.0;
  const double lre = -std::log10(std::fabs(value - certified) / std::fabs(certified));
  return std::clamp(lre, 0.0, 11.0);
}

}  // namespace tessarix::test
