// End-to-end runs of the program on generated hypergraphs: the partition file, the report and
// the per-bisection balance, for many part counts, balance factors, weights and fix files.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "driver/driver_test_util.h"
#include "fixtures.h"

using namespace hypra;

namespace {

using driver_test::ReadFile;
using driver_test::RunProgram;
using driver_test::ScratchDir;

struct Case {
  int nparts;
  int ubfactor;
  bool weighted;
  bool fixed;
};

std::string HypergraphText(const TestHypergraph &h, bool weighted) {
  std::ostringstream s;
  s << "% generated for the end-to-end tests\n";
  s << h.nhedges() << " " << h.nvtxs << (weighted ? " 11" : "") << "\n";
  for (int e = 0; e < h.nhedges(); e++) {
    if (weighted) s << h.hewgts[e] << " ";
    for (int j = h.eptr[e]; j < h.eptr[e + 1]; j++) s << h.eind[j] + 1 << " ";
    s << "\n";
  }
  if (weighted)
    for (int w : h.vwgts) s << w << "\n";
  return s.str();
}

std::vector<int> ReadParts(const std::string &path) {
  std::ifstream in(path);
  std::vector<int> parts;
  int p;
  while (in >> p) parts.push_back(p);
  return parts;
}

int ReportedCut(const std::string &out) {
  std::smatch m;
  std::regex re("Hyperedge Cut: *([0-9]+)");
  return std::regex_search(out, m, re) ? std::stoi(m[1]) : -1;
}

// Each bisection's summary line pair: its size, target share for side 0 and the lighter side's
// share as printed ("nan" for a bisection of nothing).
struct BisectionLine {
  int nvtxs;
  double target;
  double share;
};

std::vector<BisectionLine> Bisections(const std::string &out) {
  std::vector<BisectionLine> result;
  std::regex re(
      "vertices=([0-9]+), hedges=[0-9]+, balance=([0-9.]+)\\]\n"
      "    The mincut for this bisection = [0-9]+, \\(average = [0-9.]+\\) "
      "\\(balance = (-?nan|[0-9.]+)\\)");
  for (auto it = std::sregex_iterator(out.begin(), out.end(), re); it != std::sregex_iterator();
       ++it) {
    const std::string share = (*it)[3];
    result.push_back({std::stoi((*it)[1]), std::stod((*it)[2]),
                      share.find("nan") != std::string::npos ? -1.0 : std::stod(share)});
  }
  return result;
}

void RunCase(const Case &c) {
  SCOPED_TRACE("nparts " + std::to_string(c.nparts) + " ub " + std::to_string(c.ubfactor) +
               (c.weighted ? " weighted" : "") + (c.fixed ? " fixed" : ""));
  TestHypergraph h = RingHypergraph(700, 900, 100 + c.nparts, c.weighted);
  ScratchDir dir;
  dir.Write("g.hgr", HypergraphText(h, c.weighted));
  std::vector<int> fix(h.nvtxs, -1);
  std::vector<std::string> args = {"g.hgr"};
  if (c.fixed) {
    std::ostringstream s;
    for (int v = 0; v < h.nvtxs; v++) {
      if (v % 41 == 0) fix[v] = (v / 41) % c.nparts;
      s << fix[v] << "\n";
    }
    dir.Write("g.fix", s.str());
    args.push_back("g.fix");
  }
  args.push_back(std::to_string(c.nparts));
  args.push_back(std::to_string(c.ubfactor));

  const auto r = RunProgram(args, dir.path);
  ASSERT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
  // The file is named after one more than the largest part used: Nparts unless a part is empty.
  std::string name;
  for (const auto &entry : std::filesystem::directory_iterator(dir.path))
    if (entry.path().filename().string().rfind("g.hgr.part.", 0) == 0)
      name = entry.path().filename().string();
  ASSERT_FALSE(name.empty());
  const std::vector<int> parts = ReadParts(dir.File(name));
  ASSERT_EQ(static_cast<int>(parts.size()), h.nvtxs);
  EXPECT_EQ(name,
            "g.hgr.part." + std::to_string(*std::max_element(parts.begin(), parts.end()) + 1));
  for (int v = 0; v < h.nvtxs; v++) {
    EXPECT_GE(parts[v], 0);
    EXPECT_LT(parts[v], c.nparts);
    if (fix[v] != -1) {
      EXPECT_EQ(parts[v], fix[v]) << "vertex " << v;
    }
  }
  EXPECT_EQ(ReportedCut(r.out), CutOf(h, parts));
  EXPECT_EQ(Count(r.out, "Fixing failed"), 0);
  EXPECT_EQ(Count(r.out, "Wrong cut!"), 0);

  if (!c.weighted && !c.fixed) {
    // With unit weights every bisection reaches its lower bounds: each side keeps at least
    // trunc((its target - UBfactor) x size) vertices. The printed shares have two decimals.
    const auto lines = Bisections(r.out);
    EXPECT_EQ(static_cast<int>(lines.size()), Count(r.out, "Bisecting a hgraph"));
    for (const auto &b : lines) {
      if (b.nvtxs == 0) continue;
      // The bounds of side 0 are formed in single precision and those of side 1 in double; the
      // printed target has two decimals, so both neighbours of it are tried.
      const float ub = static_cast<float>(c.ubfactor / 100.0);
      int lighter_bound = b.nvtxs;
      for (double t : {b.target - 0.005, b.target + 0.005}) {
        const float tf = static_cast<float>(t);
        const int bound0 = static_cast<int>((tf - ub) * static_cast<float>(b.nvtxs));
        const int bound1 = static_cast<int>((1.0 - tf - ub) * b.nvtxs);
        lighter_bound = std::min({lighter_bound, bound0, bound1});
      }
      lighter_bound = std::max(lighter_bound, 0);
      EXPECT_GE(b.share, static_cast<double>(lighter_bound) / b.nvtxs - 0.0051)
          << "bisection of " << b.nvtxs << " vertices, target " << b.target;
    }
  }
}

TEST(CliPartition, BundledExample) {
  ScratchDir dir;
  std::filesystem::copy_file(std::string(HYPRA_SOURCE_DIR) + "/examples/circuit.hgr",
                             dir.File("circuit.hgr"));
  const auto r = RunProgram({"circuit.hgr", "4", "5"}, dir.path);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
  const auto parts = ReadParts(dir.File("circuit.hgr.part.4"));
  ASSERT_EQ(parts.size(), 240u);
  EXPECT_NE(r.out.find("Summary for the 4-way partition:"), std::string::npos);
  EXPECT_NE(r.out.find("\n  Partitioning Time:\t\t "), std::string::npos);
}

TEST(CliPartition, PartCountsAndBalanceFactors) {
  for (int nparts : {2, 3, 5, 8, 64, 65})
    for (int ub : {1, 5, 49}) RunCase({nparts, ub, false, false});
}

TEST(CliPartition, WeightsAndFixFiles) {
  for (int nparts : {2, 3, 5, 8, 64, 65}) {
    RunCase({nparts, 5, true, false});
    RunCase({nparts, 5, false, true});
    RunCase({nparts, 10, true, true});
  }
}

}  // namespace
