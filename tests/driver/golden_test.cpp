// Golden runs of both programs: for every case of golden/cases.txt the printed lines (measured
// times masked), standard error, the exit status and a digest of every file the run wrote must
// equal what golden/expected/<case>.txt recorded. They guard "same seed, same bytes" across
// changes to the engine.
//
// To record the expected files anew (only when a change is meant to alter the output):
//   HYPRA_GOLDEN_RECORD=1 ctest --test-dir build -R Golden
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "driver_test_util.h"

namespace {

namespace fs = std::filesystem;
using driver_test::ReadFile;
using driver_test::RunProgram;
using driver_test::ScratchDir;
using driver_test::WriteFile;

const std::string kGoldenDir = std::string(HYPRA_TEST_DIR) + "/golden";

struct GoldenCase {
  std::string name;
  std::string program;  // "hypra" or "hypra-advanced"
  std::vector<std::string> args;
};

std::string Trim(const std::string &s) {
  const auto begin = s.find_first_not_of(" \t");
  if (begin == std::string::npos) return "";
  const auto end = s.find_last_not_of(" \t");
  return s.substr(begin, end - begin + 1);
}

std::vector<GoldenCase> LoadCases() {
  std::vector<GoldenCase> cases;
  std::istringstream in(ReadFile(kGoldenDir + "/cases.txt"));
  std::string line;
  while (std::getline(in, line)) {
    if (Trim(line).empty() || Trim(line)[0] == '#') continue;
    const auto bar1 = line.find('|');
    const auto bar2 = line.find('|', bar1 + 1);
    GoldenCase c;
    c.name = Trim(line.substr(0, bar1));
    c.program = Trim(line.substr(bar1 + 1, bar2 - bar1 - 1));
    std::istringstream args(line.substr(bar2 + 1));
    for (std::string a; args >> a;) c.args.push_back(a);
    cases.push_back(c);
  }
  return cases;
}

// The timing block reports measured seconds; everything else must repeat exactly.
std::string MaskTimes(const std::string &text) {
  std::istringstream in(text);
  std::string out, line;
  while (std::getline(in, line)) {
    if (line.find("Time:") != std::string::npos && line.size() > 3 &&
        line.compare(line.size() - 3, 3, "sec") == 0) {
      auto end = line.size() - 3;
      auto begin = end;
      while (begin > 0 && (std::isdigit(static_cast<unsigned char>(line[begin - 1])) ||
                           line[begin - 1] == '.' || line[begin - 1] == ' '))
        begin--;
      line = line.substr(0, begin) + " <time>sec";
    }
    out += line + "\n";
  }
  if (!text.empty() && text.back() != '\n') out.pop_back();
  return out;
}

uint64_t Fnv1a(const std::string &bytes) {
  uint64_t h = 1469598103934665603ull;
  for (unsigned char c : bytes) h = (h ^ c) * 1099511628211ull;
  return h;
}

// Everything a run leaves behind, as one text to compare.
std::string Describe(const driver_test::RunResult &r, const std::string &dir,
                     const std::set<std::string> &inputs) {
  std::ostringstream out;
  out << "=== exit status " << r.status << "\n";
  out << "=== stdout\n" << MaskTimes(r.out) << "\n";
  out << "=== stderr\n" << r.err << "\n";
  std::vector<std::string> written;
  for (const auto &entry : fs::directory_iterator(dir)) {
    const std::string name = entry.path().filename().string();
    if (!inputs.count(name)) written.push_back(name);
  }
  std::sort(written.begin(), written.end());
  for (const auto &name : written) {
    const std::string bytes = ReadFile(dir + "/" + name);
    char digest[32];
    std::snprintf(digest, sizeof digest, "%016llx", static_cast<unsigned long long>(Fnv1a(bytes)));
    out << "=== file " << name << ": " << std::count(bytes.begin(), bytes.end(), '\n')
        << " lines, fnv1a64 " << digest << "\n";
  }
  return out.str();
}

// Keeps gtest's test listing readable: a case prints as its name.
void PrintTo(const GoldenCase &c, std::ostream *os) {
  *os << c.name;
}

class Golden : public testing::TestWithParam<GoldenCase> {};

TEST_P(Golden, SameBytes) {
  const GoldenCase &c = GetParam();
  ScratchDir dir;
  std::vector<std::string> args;
  std::set<std::string> inputs;
  std::string clock = "1";
  for (const auto &a : c.args) {
    std::string source;
    if (a.rfind("data/", 0) == 0) source = kGoldenDir + "/" + a;
    if (a.rfind("bench/", 0) == 0) {
      source = std::string(HYPRA_BENCH_DIR) + "/" + a.substr(6);
      if (!fs::exists(source))
        GTEST_SKIP() << "benchmark hypergraph " << source
                     << " not found; configure with -DHYPRA_BENCH_DIR=<folder of ibm*.hgr>";
    }
    if (a.rfind("@clock=", 0) == 0) {
      clock = a.substr(7);
      continue;
    }
    if (source.empty()) {
      args.push_back(a);
      continue;
    }
    const std::string base = fs::path(source).filename().string();
    if (!inputs.count(base)) fs::copy_file(source, dir.File(base));
    inputs.insert(base);
    args.push_back(base);
  }
  const std::string program = c.program == "hypra"
                                  ? std::string(HYPRA_PINNED_PROGRAM)
                                  : std::string(HYPRA_BINARY_DIR) + "/" + c.program;
  setenv("HYPRA_PINNED_CLOCK", clock.c_str(), 1);
  const auto result = RunProgram(args, dir.path, program);
  unsetenv("HYPRA_PINNED_CLOCK");
  const std::string actual = Describe(result, dir.path, inputs);

  const std::string expected_path = kGoldenDir + "/expected/" + c.name + ".txt";
  if (std::getenv("HYPRA_GOLDEN_RECORD") != nullptr) {
    fs::create_directories(kGoldenDir + "/expected");
    WriteFile(expected_path, actual);
    GTEST_SKIP() << "recorded " << expected_path;
  }
  ASSERT_TRUE(fs::exists(expected_path)) << "no recording " << expected_path;
  const std::string expected = ReadFile(expected_path);
  if (expected == actual) return;
  // Point at the first line that differs; the whole texts follow.
  std::istringstream e(expected), a(actual);
  std::string el, al;
  int line = 1;
  while (std::getline(e, el) && std::getline(a, al) && el == al) line++;
  ADD_FAILURE() << c.name << ": first difference at line " << line << "\n  expected: " << el
                << "\n  actual:   " << al;
  EXPECT_EQ(expected, actual);
}

INSTANTIATE_TEST_SUITE_P(Runs, Golden, testing::ValuesIn(LoadCases()),
                         [](const testing::TestParamInfo<GoldenCase> &info) {
                           return info.param.name;
                         });

}  // namespace
