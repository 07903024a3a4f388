// End-to-end runs of the tunable program: each flag reaches its entry of the options vector, a
// seed repeats a run, the direct k-way path reports the objectives of the partition it writes,
// and bad arguments end with a message and a non-zero status.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "common/test_hypergraphs.h"
#include "core/core.h"
#include "driver/driver.h"
#include "driver_test_util.h"
#include "partition/hypra.h"

using namespace hypra;

namespace {

using driver_test::ReadFile;
using driver_test::ReadParts;
using driver_test::RunAdvanced;
using driver_test::RunProgram;
using driver_test::RunResult;
using driver_test::ScratchDir;
using driver_test::WithoutTimes;

struct Objectives {
  int cut = 0;
  int soed = 0;
};

// Cut and SOED of a partition of the RingFile hypergraph, recomputed from its definition.
Objectives RingObjectives(int n, const std::vector<int> &part) {
  Objectives o;
  for (int i = 0; i < n; i++) {
    const int pins[3] = {i, (i + 1) % n, (i + 7) % n};
    std::vector<int> parts;
    for (int v : pins) {
      bool seen = false;
      for (int p : parts) seen = seen || p == part[v];
      if (!seen) parts.push_back(part[v]);
    }
    if (parts.size() > 1) {
      o.cut += 1 + i % 3;
      o.soed += static_cast<int>(parts.size()) * (1 + i % 3);
    }
  }
  return o;
}

using testhg::Count;

// The integer printed right after `label` (leading blanks skipped), or -1 when absent.
int ReportedInt(const std::string &out, const std::string &label) {
  const size_t at = out.find(label);
  if (at == std::string::npos) return -1;
  return static_cast<int>(std::strtol(out.c_str() + at + label.size(), nullptr, 10));
}

TEST(AdvancedCli, DefaultsWithSeedMatchTheLibraryCall) {
  ScratchDir dir;
  const std::string graph = dir.Write("ring.hgr", driver_test::WeightedRingFile(300));
  const auto r = RunAdvanced({"ring.hgr", "4", "5", "--seed", "17"}, dir.path);
  ASSERT_EQ(r.status, 0) << r.err;
  const std::vector<int> written = ReadParts(dir.File("ring.hgr.part.4"));

  HGraph *g = ReadHGraph(graph.c_str());
  std::vector<int> part(g->nvtxs, 0);
  const int options[9] = {1, 10, 1, 1, 1, 0, 0, 17, 8};
  int cut = 0;
  testing::internal::CaptureStdout();
  HYPRA_PartRecursive(g->nvtxs, g->nhedges, g->cellwgt, g->netptr, g->netind, g->netwgt, 4, 5,
                      options, part.data(), &cut);
  const std::string library_out = testing::internal::GetCapturedStdout();
  FreeHGraph__(g);

  EXPECT_EQ(written, part);
  // The bisection summaries of the program are exactly those of the library call.
  EXPECT_NE(r.out.find(library_out), std::string::npos) << r.out << "\n---\n" << library_out;
  EXPECT_NE(r.out.find(" Options: HFC, FM, Reconst-False, V-cycles @ End, No Fixed Vertices\n"),
            std::string::npos);
  EXPECT_NE(r.out.find("UBfactor: 0.05\n"), std::string::npos);
}

TEST(AdvancedCli, CoarseningRefinementReconstAndVcycleFlagsReachTheOptions) {
  ScratchDir dir;
  dir.Write("ring.hgr", driver_test::WeightedRingFile(200));
  const auto r = RunAdvanced({"ring.hgr", "2", "10", "--ctype", "2", "--rtype", "3", "--reconst",
                              "--vcycle", "3", "--seed", "1", "--runs", "2"},
                             dir.path);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find(" Options: FC, EEFM, Reconst-True, Always V-cycle, No Fixed Vertices\n"),
            std::string::npos)
      << r.out;
}

TEST(AdvancedCli, RunsAndDbglvlReachTheOptions) {
  ScratchDir dir;
  dir.Write("ring.hgr", driver_test::WeightedRingFile(200));
  // Bit 16 prints one line per run of the single bisection, and nothing of bit 8.
  const auto r = RunAdvanced(
      {"ring.hgr", "2", "10", "--runs", "3", "--dbglvl", "16", "--seed", "2"}, dir.path);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(Count(r.out, "    Cut of trial "), 3) << r.out;
  EXPECT_EQ(Count(r.out, "Bisecting a hgraph"), 0);
  // The default dbglvl is the driver's 8: one summary pair per bisection.
  const auto d = RunAdvanced({"ring.hgr", "2", "10", "--runs", "3", "--seed", "2"}, dir.path);
  EXPECT_EQ(Count(d.out, "Bisecting a hgraph"), 1) << d.out;
  EXPECT_EQ(Count(d.out, "    Cut of trial "), 0);
}

TEST(AdvancedCli, OutWritesOnlyTheChosenFile) {
  ScratchDir dir;
  dir.Write("ring.hgr", driver_test::WeightedRingFile(200));
  const auto r =
      RunAdvanced({"ring.hgr", "4", "10", "--seed", "3", "--out", "chosen.txt"}, dir.path);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_FALSE(std::filesystem::exists(dir.File("ring.hgr.part.4")));
  const std::vector<int> parts = ReadParts(dir.File("chosen.txt"));
  ASSERT_EQ(parts.size(), 200u);
  for (int p : parts) {
    EXPECT_GE(p, 0);
    EXPECT_LT(p, 4);
  }
  // No temporary file is left beside it.
  int files = 0;
  for ([[maybe_unused]] const auto &e : std::filesystem::directory_iterator(dir.path)) files++;
  EXPECT_EQ(files, 2);
}

TEST(AdvancedCli, FixFileIsHonoured) {
  ScratchDir dir;
  dir.Write("ring.hgr", driver_test::WeightedRingFile(200));
  std::string fix;
  for (int v = 0; v < 200; v++) fix += v == 0 ? "2\n" : v == 100 ? "0\n" : "-1\n";
  dir.Write("ring.fix", fix);
  const auto r = RunAdvanced({"ring.hgr", "3", "10", "--fix", "ring.fix", "--seed", "4"}, dir.path);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find(", With Fixed Vertices\n"), std::string::npos) << r.out;
  const std::vector<int> parts = ReadParts(dir.File("ring.hgr.part.3"));
  ASSERT_EQ(parts.size(), 200u);
  EXPECT_EQ(parts[0], 2);
  EXPECT_EQ(parts[100], 0);
}

TEST(AdvancedCli, SameSeedSameOutput) {
  ScratchDir dir;
  dir.Write("ring.hgr", driver_test::WeightedRingFile(300));
  for (const bool kway : {false, true}) {
    std::vector<std::string> args = {"ring.hgr", "4", "5", "--seed", "9", "--dbglvl", "152"};
    if (kway) args.push_back("--kway");
    const auto a = RunAdvanced(args, dir.path);
    const std::string first = ReadFile(dir.File("ring.hgr.part.4"));
    const auto b = RunAdvanced(args, dir.path);
    ASSERT_EQ(a.status, 0) << a.err;
    EXPECT_EQ(WithoutTimes(a.out), WithoutTimes(b.out)) << "kway " << kway;
    EXPECT_EQ(first, ReadFile(dir.File("ring.hgr.part.4")));
  }
}

// The parallel mode: the same partition file and the same lines (times aside) for every thread
// count, for both methods and with a fix file; the timing block tells CPU from wall-clock time.
TEST(AdvancedCli, ThreadsGiveTheSameBytesForEveryCount) {
  ScratchDir dir;
  dir.Write("ring.hgr", driver_test::WeightedRingFile(600));
  std::string fix;
  for (int v = 0; v < 600; v++) fix += v % 50 == 0 ? std::to_string(v / 50 % 4) + "\n" : "-1\n";
  dir.Write("ring.fix", fix);
  const std::vector<std::vector<std::string>> settings = {
      {"ring.hgr", "4", "5", "--seed", "9", "--dbglvl", "152"},
      {"ring.hgr", "4", "5", "--seed", "9", "--dbglvl", "152", "--kway"},
      {"ring.hgr", "4", "5", "--seed", "9", "--fix", "ring.fix", "--vcycle", "3"},
      {"ring.hgr", "7", "10", "--seed", "2", "--ctype", "4", "--rtype", "3"}};
  for (const auto &setting : settings) {
    std::string firstout, firstpart;
    for (const char *threads : {"1", "2", "3", "8"}) {
      std::vector<std::string> args = setting;
      args.insert(args.end(), {"--threads", threads, "--out", "ring.part"});
      const auto r = RunAdvanced(args, dir.path);
      ASSERT_EQ(r.status, 0) << r.err;
      EXPECT_NE(r.out.find("sec (CPU, " + std::string(threads) + " threads)\n    Wall-clock Time:"),
                std::string::npos)
          << r.out;
      const std::string part = ReadFile(dir.File("ring.part"));
      if (firstpart.empty()) {
        firstout = WithoutTimes(r.out);
        firstpart = part;
      } else {
        EXPECT_EQ(WithoutTimes(r.out), firstout) << setting[1] << " parts, " << threads;
        EXPECT_EQ(part, firstpart) << setting[1] << " parts, " << threads;
      }
    }
    if (std::find(setting.begin(), setting.end(), "--fix") != setting.end()) {
      const std::vector<int> parts = ReadParts(dir.File("ring.part"));
      for (int v = 0; v < 600; v += 50) EXPECT_EQ(parts[v], v / 50 % 4) << v;
    }
  }
}

TEST(AdvancedCli, ThreadsOutOfRangeAreRefused) {
  ScratchDir dir;
  dir.Write("ring.hgr", driver_test::WeightedRingFile(60));
  for (const char *threads : {"0", "-2", "5000"}) {
    const auto r = RunAdvanced({"ring.hgr", "2", "5", "--threads", threads}, dir.path);
    EXPECT_NE(r.status, 0) << threads;
    EXPECT_NE(r.err.find("--threads should be between 1 and 4096"), std::string::npos) << r.err;
  }
}

TEST(AdvancedCli, KwayReportsTheObjectivesOfItsPartition) {
  ScratchDir dir;
  dir.Write("ring.hgr", driver_test::WeightedRingFile(300));
  for (const int rtype : {1, 2}) {
    SCOPED_TRACE(rtype);
    const auto r = RunAdvanced({"ring.hgr", "4", "5", "--kway", "--rtype", std::to_string(rtype),
                                "--seed", "5", "--runs", "3"},
                               dir.path);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("UBfactor: 1.05\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find(rtype == 1 ? " Options: HFC, Cut-minimization, V-cycles @ End\n"
                                    : " Options: HFC, SOED-minimization, V-cycles @ End\n"),
              std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("K-way Partitioning..."), std::string::npos);

    const Objectives o = RingObjectives(300, ReadParts(dir.File("ring.hgr.part.4")));
    EXPECT_EQ(ReportedInt(r.out, "Hyperedge Cut:"), o.cut);
    EXPECT_EQ(ReportedInt(r.out, "Sum of External Degrees:"), o.soed);
    if (rtype == 1)
      EXPECT_EQ(ReportedInt(r.out, "The mincut for this partitioning = "), o.cut);
    else
      EXPECT_EQ(ReportedInt(r.out, "The minsoed for this partitioning = "), o.soed);
  }
}

TEST(AdvancedCli, KwayRejectsFixedVertices) {
  ScratchDir dir;
  dir.Write("ring.hgr", driver_test::WeightedRingFile(50));
  std::string fix;
  for (int v = 0; v < 50; v++) fix += "-1\n";
  dir.Write("ring.fix", fix);
  const auto r = RunAdvanced({"ring.hgr", "2", "5", "--kway", "--fix", "ring.fix"}, dir.path);
  EXPECT_EQ(r.status, 2);
  EXPECT_NE(r.err.find("fixed vertices"), std::string::npos) << r.err;
  EXPECT_FALSE(std::filesystem::exists(dir.File("ring.hgr.part.2")));
}

TEST(AdvancedCli, BadArgumentsFailWithMessageAndUsage) {
  ScratchDir dir;
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{"g.hgr", "2", "5", "--bogus"}, "unknown option '--bogus'"},
      {{"g.hgr", "2", "5", "--runs"}, "option '--runs' needs a value"},
      {{"g.hgr", "2", "5", "--seed", "x1"}, "--seed expects an integer, got 'x1'"},
      {{"g.hgr", "two", "5"}, "Nparts expects an integer, got 'two'"},
      {{"g.hgr", "2"}, "expected GraphFile, Nparts and UBfactor, got 2 of them"},
      {{"g.hgr", "2", "5", "extra"}, "unexpected argument 'extra'"},
  };
  for (const auto &[args, message] : cases) {
    SCOPED_TRACE(message);
    const auto r = RunAdvanced(args, dir.path);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err.find(driver_test::AdvancedProgramPath() + ": " + message + "\n"), 0u) << r.err;
    EXPECT_NE(r.err.find("Usage: " + driver_test::AdvancedProgramPath()), std::string::npos);
  }
}

TEST(AdvancedCli, HelpListsEveryFlag) {
  const auto r = RunAdvanced({"--help"}, HYPRA_BINARY_DIR);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(
      r.out.find("Usage: " + driver_test::AdvancedProgramPath() + " GraphFile Nparts UBfactor"),
      0u);
  for (const char *flag :
       {"--fix FILE", "--runs N", "--ctype C", "--rtype R", "--vcycle V", "--reconst", "--seed S",
        "--dbglvl D", "--kway", "--out FILE", "--threads N", "--help"})
    EXPECT_NE(r.out.find("\n " + std::string(flag) + " "), std::string::npos) << flag;
}

}  // namespace
