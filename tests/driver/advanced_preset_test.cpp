// The quality preset of the tunable program: its value is checked with the command line, the
// header names the method it used, and it repeats itself for a seed and for every thread count.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "driver_test_util.h"

namespace {

using driver_test::ReadFile;
using driver_test::ReadParts;
using driver_test::RunAdvanced;
using driver_test::RunProgram;
using driver_test::RunResult;
using driver_test::ScratchDir;
using driver_test::WithoutTimes;

TEST(AdvancedPreset, UnknownOrMissingValueIsAUsageError) {
  ScratchDir dir;
  dir.Write("ring.hgr", driver_test::WeightedRingFile(60));
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{"ring.hgr", "2", "5", "--preset", "best"}, "--preset is default or quality, not 'best'"},
      {{"ring.hgr", "2", "5", "--preset", ""}, "--preset is default or quality, not ''"},
      {{"ring.hgr", "2", "5", "--preset"}, "option '--preset' needs a value"},
  };
  for (const auto &[args, message] : cases) {
    SCOPED_TRACE(message);
    const auto r = RunAdvanced(args, dir.path);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err.find(driver_test::AdvancedProgramPath() + ": " + message + "\n"), 0u) << r.err;
    EXPECT_NE(r.err.find("Usage: " + driver_test::AdvancedProgramPath()), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(dir.File("ring.hgr.part.2")));
  }
}

TEST(AdvancedPreset, HeaderNamesTheMethod) {
  ScratchDir dir;
  dir.Write("ring.hgr", driver_test::WeightedRingFile(300));
  struct Case {
    std::string nparts;
    std::vector<std::string> extra;
    std::string line;
  };
  const std::string attempts =
      "; 3 attempts at the recursion, 2 of them coarsening within communities, the lowest cuts "
      "refined";
  const std::vector<Case> cases = {
      {"4",
       {},
       " Preset: quality: recursive bisection (4 runs each), then k-way refinement with k-way FM" +
           attempts + "\n\nRecursive Partitioning..."},
      {"4",
       {"--runs", "3"},
       " Preset: quality: recursive bisection (3 runs each), then k-way refinement with k-way FM" +
           attempts + "\n"},
      {"6",
       {},
       " Preset: quality: recursive bisection (3 runs each), then k-way refinement with k-way FM; "
       "2 attempts at the recursion, 1 of them coarsening within communities, the lowest cuts "
       "refined\n\nRecursive Partitioning..."},
      {"9",
       {},
       " Preset: quality: recursive bisection (2 runs each), then k-way refinement with k-way "
       "FM\n\nRecursive Partitioning..."},
      {"4",
       {"--kway"},
       " Preset: quality: direct k-way partitioning, k-way FM on every level\n\nK-way "
       "Partitioning..."},
  };
  for (const Case &c : cases) {
    std::vector<std::string> args = {"ring.hgr", c.nparts,   "5",      "--seed",
                                     "3",        "--preset", "quality"};
    args.insert(args.end(), c.extra.begin(), c.extra.end());
    const auto r = RunAdvanced(args, dir.path);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find(c.line), std::string::npos) << r.out;
  }
  // The default preset prints no such line and runs as without the flag.
  const auto plain = RunAdvanced({"ring.hgr", "4", "5", "--seed", "3"}, dir.path);
  const auto named =
      RunAdvanced({"ring.hgr", "4", "5", "--seed", "3", "--preset", "default"}, dir.path);
  ASSERT_EQ(plain.status, 0);
  EXPECT_EQ(plain.out.find("Preset:"), std::string::npos);
  EXPECT_EQ(WithoutTimes(plain.out), WithoutTimes(named.out));
}

// The help states the range of runs the preset picks when --runs is not given.
TEST(AdvancedPreset, HelpStatesTheRunsItPicks) {
  const auto r = RunAdvanced({"--help"}, HYPRA_BINARY_DIR);
  ASSERT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("quality: recursive bisection with 2 to 4 runs per bisection"),
            std::string::npos)
      << r.out;
  EXPECT_NE(
      r.out.find("for 3 to 8 parts the\n               recursion also coarsens within "
                 "communities (twice up to 4 parts), the lowest\n               cuts refined, "
                 "the best kept"),
      std::string::npos)
      << r.out;
}

TEST(AdvancedPreset, OneBisectionGetsFourRuns) {
  ScratchDir dir;
  dir.Write("ring.hgr", driver_test::WeightedRingFile(300));
  const std::string header =
      " Preset: quality: recursive bisection (%d runs each), then k-way refinement with k-way FM";
  auto line = [&](int runs) {
    std::string l = header;
    l.replace(l.find("%d"), 2, std::to_string(runs));
    return l;
  };
  for (const auto &[k, runs] :
       std::vector<std::pair<std::string, int>>{{"2", 4}, {"3", 4}, {"5", 3}}) {
    const auto r =
        RunAdvanced({"ring.hgr", k, "5", "--seed", "3", "--preset", "quality"}, dir.path);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find(line(runs)), std::string::npos) << r.out;
  }
  // Every run of the bisection shows its line.
  const auto r = RunAdvanced(
      {"ring.hgr", "2", "5", "--seed", "3", "--preset", "quality", "--dbglvl", "16"}, dir.path);
  ASSERT_EQ(r.status, 0) << r.err;
  size_t lines = 0;
  for (size_t at = r.out.find("Cut of trial"); at != std::string::npos;
       at = r.out.find("Cut of trial", at + 1))
    lines++;
  EXPECT_EQ(lines, 4u) << r.out;
}

// 640 vertices in eight clusters of 80, 1,200 weighted hyperedges of 2 to 5 pins inside a cluster,
// every fifth reaching into the next cluster; `seed` drives a linear congruential generator.
std::string ClusteredFile(unsigned seed) {
  uint64_t x = seed;
  auto draw = [&x](int m) {
    x = (x * 1103515245 + 12345) % (1ULL << 31);
    return static_cast<int>((x >> 8) % m);
  };
  std::ostringstream s;
  s << 1200 << " " << 640 << " 1\n";
  for (int i = 0; i < 1200; i++) {
    const int cluster = i % 8, size = 2 + draw(4);
    std::set<int> pins;
    for (int j = 0; j < size; j++) {
      const int c = i % 5 != 0 || j == 0 ? cluster : (cluster + 1) % 8;
      pins.insert(c * 80 + draw(80));
    }
    s << 1 + i % 3;
    for (int v : pins) s << " " << v + 1;
    s << "\n";
  }
  return s.str();
}

// Each attempt of the preset with 3 to 8 parts shows the cut of its recursion; those within 1 % of
// the lowest are refined, and the lowest refined cut is kept (the usual attempt's, the last, on a
// tie). On the first hypergraph at 3 parts an attempt within communities is kept, on the third
// the usual one.
TEST(AdvancedPreset, AttemptsShowTheirCutsAndTheLowestIsKept) {
  ScratchDir dir;
  std::set<int> winners;
  int refined_more = 0;
  for (const auto &[seed, nparts] :
       {std::pair{1u, 3}, {3u, 3}, {1u, 4}, {2u, 6}, {4u, 4}, {5u, 4}, {6u, 6}}) {
    SCOPED_TRACE(testing::Message() << "hypergraph " << seed << ", " << nparts << " parts");
    dir.Write("clusters.hgr", ClusteredFile(seed));
    const auto r = RunAdvanced({"clusters.hgr", std::to_string(nparts), "--imbalance", "0.05",
                                "--seed", "4", "--preset", "quality"},
                               dir.path);
    ASSERT_EQ(r.status, 0) << r.err;
    const int attempts = nparts <= 4 ? 3 : 2;
    std::vector<std::string> marks = {
        "coarsening within communities (hyperedges of up to 50 pins): recursion cut ",
        "coarsening within communities (hyperedges of up to 10 pins): recursion cut "};
    marks.resize(attempts - 1);
    marks.push_back("usual coarsening: recursion cut ");
    std::vector<int> cuts;
    for (int i = 0; i < attempts; i++) {
      const std::string mark =
          "Attempt " + std::to_string(i + 1) + " of " + std::to_string(attempts) + ", " + marks[i];
      const size_t at = r.out.find(mark);
      ASSERT_NE(at, std::string::npos) << mark << "\n" << r.out;
      cuts.push_back(std::stoi(r.out.substr(at + mark.size())));
    }
    const int lowest = *std::min_element(cuts.begin(), cuts.end());
    int kept = 0, keptcut = 0, refined = 0;
    for (int i = 0; i < attempts; i++) {
      const std::string mark = "Attempt " + std::to_string(i + 1) + " refined: cut ";
      const size_t at = r.out.find(mark);
      // Refined exactly when within 1 % of the lowest recursion cut.
      ASSERT_EQ(at != std::string::npos, cuts[i] <= lowest * 1.01) << mark << "\n" << r.out;
      if (at == std::string::npos) continue;
      refined++;
      const int cut = std::stoi(r.out.substr(at + mark.size()));
      if (kept == 0 || cut < keptcut || (i == attempts - 1 && cut == keptcut)) {
        kept = i + 1;
        keptcut = cut;
      }
    }
    if (refined > 1) refined_more++;
    EXPECT_NE(r.out.find("Kept attempt " + std::to_string(kept) + "\n"), std::string::npos)
        << r.out;
    const size_t summary = r.out.find("Hyperedge Cut:");
    ASSERT_NE(summary, std::string::npos);
    EXPECT_EQ(std::stoi(r.out.substr(summary + 14)), keptcut);
    if (nparts == 3) winners.insert(kept == attempts ? 0 : 1);
  }
  // Some case refined more than one attempt.
  EXPECT_GT(refined_more, 0);
  // Both kinds of attempt were kept once: the choice is exercised.
  EXPECT_EQ(winners.size(), 2u);
  dir.Write("ring.hgr", driver_test::WeightedRingFile(600));
  // Other numbers of parts make one attempt, and say nothing of it; so does the hyperedge
  // coarsening scheme, whose groups may span communities.
  for (const auto &[nparts, ctype] : {std::pair{"2", "1"}, {"9", "1"}, {"4", "4"}}) {
    const auto r = RunAdvanced(
        {"ring.hgr", nparts, "5", "--seed", "4", "--preset", "quality", "--ctype", ctype},
        dir.path);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.find("Attempt"), std::string::npos) << r.out;
    EXPECT_EQ(r.out.find("attempts at the recursion"), std::string::npos) << r.out;
  }
}

TEST(AdvancedPreset, JsonNamesThePreset) {
  ScratchDir dir;
  dir.Write("ring.hgr", driver_test::WeightedRingFile(200));
  for (const char *preset : {"default", "quality"}) {
    const auto r = RunAdvanced(
        {"ring.hgr", "4", "5", "--seed", "3", "--preset", preset, "--json", "run.json"}, dir.path);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(ReadFile(dir.File("run.json")).find("\"preset\": \"" + std::string(preset) + "\"}"),
              std::string::npos);
  }
}

TEST(AdvancedPreset, QualityKeepsTheBoundAndFixedVertices) {
  ScratchDir dir;
  dir.Write("ring.hgr", driver_test::WeightedRingFile(400));
  std::string fix;
  for (int v = 0; v < 400; v++) fix += v % 40 == 0 ? std::to_string(v / 40 % 5) + "\n" : "-1\n";
  dir.Write("ring.fix", fix);
  const auto r = RunAdvanced({"ring.hgr", "5", "--imbalance", "0.03", "--fix", "ring.fix",
                              "--preset", "quality", "--seed", "2"},
                             dir.path);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find(", With Fixed Vertices\n Preset: quality: recursive bisection"),
            std::string::npos)
      << r.out;
  const std::vector<int> parts = ReadParts(dir.File("ring.hgr.part.5"));
  ASSERT_EQ(parts.size(), 400u);
  for (int v = 0; v < 400; v += 40) EXPECT_EQ(parts[v], v / 40 % 5) << v;
  std::vector<int> pwgts(5, 0);
  for (int p : parts) pwgts[p]++;
  for (int w : pwgts) EXPECT_LE(w, 82);  // (1 + 0.03) x 80, rounded down
}

TEST(AdvancedPreset, QualityRepeatsForASeedAndForEveryThreadCount) {
  ScratchDir dir;
  dir.Write("ring.hgr", driver_test::WeightedRingFile(500));
  // Four parts: the attempts within communities as well.
  for (const auto &[kway, nparts] : {std::pair{false, "6"}, {false, "4"}, {true, "6"}}) {
    std::vector<std::string> base = {"ring.hgr", nparts,    "5",     "--seed",   "8",
                                     "--preset", "quality", "--out", "ring.part"};
    if (kway) base.push_back("--kway");
    const auto a = RunAdvanced(base, dir.path);
    const std::string first = ReadFile(dir.File("ring.part"));
    const auto b = RunAdvanced(base, dir.path);
    ASSERT_EQ(a.status, 0) << a.err;
    EXPECT_EQ(WithoutTimes(a.out), WithoutTimes(b.out));
    EXPECT_EQ(first, ReadFile(dir.File("ring.part")));
    std::string threaded;
    for (const char *threads : {"1", "2", "3"}) {
      std::vector<std::string> args = base;
      args.insert(args.end(), {"--threads", threads});
      const auto r = RunAdvanced(args, dir.path);
      ASSERT_EQ(r.status, 0) << r.err;
      const std::string part = ReadFile(dir.File("ring.part"));
      if (threaded.empty())
        threaded = part;
      else
        EXPECT_EQ(part, threaded) << "kway " << kway << ", " << threads << " threads";
    }
  }
}

}  // namespace
