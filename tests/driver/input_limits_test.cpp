// Input that the arithmetic could not survive is refused with a message: negative vertex
// weights, weight sums beyond an int, and (in hypra-advanced) weights and fix-file entries that
// are not whole numbers. Input at the limits that is accepted runs with correct figures.
#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "core/core.h"
#include "driver/driver.h"
#include "driver_test_util.h"
#include "partition/hypra.h"

using namespace hypra;

namespace {

using driver_test::ReadFile;
using driver_test::RunProgram;
using driver_test::RunResult;
using driver_test::ScratchDir;

std::string Advanced() {
  return std::string(HYPRA_BINARY_DIR) + "/hypra-advanced";
}

std::string Hypra() {
  return std::string(HYPRA_BINARY_DIR) + "/hypra";
}

RunResult RunWith(const std::string &program, const std::vector<std::string> &args,
                  const std::string &cwd) {
  return RunProgram(args, cwd, program);
}

long long Reported(const std::string &out, const std::string &label) {
  const size_t at = out.find(label);
  if (at == std::string::npos) return -1;
  return std::strtoll(out.c_str() + at + label.size(), nullptr, 10);
}

std::vector<int> Parts(const std::string &text) {
  std::istringstream in(text);
  std::vector<int> parts;
  for (int p; in >> p;) parts.push_back(p);
  return parts;
}

TEST(InputLimits, NegativeVertexWeightIsRefusedByBothPrograms) {
  ScratchDir dir;
  dir.Write("neg.hgr", "2 4 10\n1 2\n3 4\n1\n-2\n1\n1\n");
  const auto h = RunWith(Hypra(), {"neg.hgr", "2", "10"}, dir.path);
  EXPECT_EQ(h.err, "File neg.hgr: vertex 2 has the negative weight -2\n");
  const auto a = RunWith(Advanced(), {"neg.hgr", "2", "10"}, dir.path);
  EXPECT_EQ(a.err, Advanced() + ": neg.hgr:5: the weight of vertex 2, -2, is negative\n");
  EXPECT_EQ(a.status, 1);
  for (const auto &r : {h, a}) {
    EXPECT_EQ(r.out, "");
    EXPECT_FALSE(std::filesystem::exists(dir.File("neg.hgr.part.2")));
  }
}

TEST(InputLimits, VertexWeightsAddingUpBeyondTheLimitAreRefused) {
  ScratchDir dir;
  // Each weight fits an int and so does the sum, but twice the sum would not.
  dir.Write("big.hgr", "1 2 10\n1 2\n600000000\n600000000\n");
  const auto r = RunWith(Hypra(), {"big.hgr", "2", "10"}, dir.path);
  EXPECT_EQ(r.err,
            "File big.hgr: the vertex weights add up to 1200000000, more than the 1073741823 "
            "allowed\n");
}

TEST(InputLimits, HyperedgeWeightsTimesSizesBeyondAnIntAreRefused) {
  ScratchDir dir;
  // 2 x 400000000 x 3 pins: each cut fits, the sum of external degrees might not.
  dir.Write("hw.hgr", "2 4 1\n400000000 1 2 3\n400000000 2 3 4\n");
  const auto r = RunWith(Advanced(), {"hw.hgr", "2", "10"}, dir.path);
  EXPECT_NE(r.err.find("hw.hgr:3: the hyperedge weights times the hyperedge sizes add up to "
                       "more than 2147483646"),
            std::string::npos)
      << r.err;
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
}

TEST(InputLimits, EntryPointRefusesWhatTheReaderRefuses) {
  int eptr[] = {0, 2, 4};
  int eind[] = {0, 1, 2, 3};
  int vwgts[] = {1, -5, 1, 1};
  int options[9] = {1, 1, 1, 1, 0, 0, 0, 1, 0};
  int part[4], cut;
  EXPECT_EXIT(HYPRA_PartRecursive(4, 2, vwgts, eptr, eind, nullptr, 2, 10, options, part, &cut),
              ::testing::ExitedWithCode(0), "^HYPRA: vertex 2 has the negative weight -5.\n$");
  int hewgts[] = {INT_MAX / 2, 1};
  EXPECT_EXIT(HYPRA_PartKway(4, 2, nullptr, eptr, eind, hewgts, 2, 10, options, part, &cut),
              ::testing::ExitedWithCode(0), "^HYPRA: the hyperedge weights times");
}

TEST(InputLimits, HyperedgeWeightZeroKeepsTheReadersMessage) {
  // The first pass stops counting at the weight 0, so the pins outnumber its bound; the tunable
  // program names the weight instead.
  ScratchDir dir;
  dir.Write("zero.hgr", "2 4 1\n1 1 2\n0 3 4\n");
  const auto h = RunWith(Hypra(), {"zero.hgr", "2", "10"}, dir.path);
  EXPECT_EQ(h.err, "Out of netind memory!\n");
  const auto a = RunWith(Advanced(), {"zero.hgr", "2", "10"}, dir.path);
  EXPECT_EQ(a.err, Advanced() + ": zero.hgr:3: the weight of hyperedge 2, 0, is not positive\n");
  EXPECT_EQ(a.status, 1);
}

TEST(InputLimits, AdvancedRefusesWeightsThatAreNotWholeNumbers) {
  ScratchDir dir;
  struct Case {
    const char *file;
    const char *expected;
  };
  const Case cases[] = {
      {"2 4 1\n% comment\n5.5 1 2\n1 3 4\n",
       "f.hgr:3: the weight of hyperedge 1 '5.5' is not a whole number\n"},
      {"2 4 1\n1 1 2\n1e3 3 4\n",
       "f.hgr:3: the weight of hyperedge 2 '1e3' is not a whole number\n"},
      {"2 4 1\nabc 1 2\n1 3 4\n",
       "f.hgr:2: the weight of hyperedge 1 'abc' is not a whole number\n"},
      {"2 4 10\n1 2\n3 4\n1\n2\n5.5\n1\n",
       "f.hgr:6: the weight of vertex 3 '5.5' is not a whole number\n"},
      {"2 4 10\n1 2\n3 4\n1\nabc\n1\n1\n",
       "f.hgr:5: the weight of vertex 2 'abc' is not a whole number\n"},
      {"2 4 10\n1 2\n3 4\n1\n\n1\n1\n", "f.hgr:5: the weight of vertex 2 is missing\n"},
  };
  for (const Case &c : cases) {
    dir.Write("f.hgr", c.file);
    const auto r = RunWith(Advanced(), {"f.hgr", "2", "10"}, dir.path);
    EXPECT_EQ(r.err, Advanced() + ": " + c.expected) << c.file;
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "");
  }
}

TEST(InputLimits, HypraReadsWeightsAsFarAsTheyGo) {
  // hypra's reader takes the leading number of a weight (5.5 is 5) and 0 for a line without one.
  ScratchDir dir;
  dir.Write("f.hgr", "2 4 11\n1 1 2\n7.5 3 4\n1\n1e3\nabc\n5.5\n");
  HGraph *g = ReadHGraph(dir.File("f.hgr").c_str());
  // ".5" is no vertex number, so it ends the (last, hence allowed to be empty) hyperedge.
  EXPECT_EQ(g->netwgt[1], 7);
  EXPECT_EQ(g->netptr[2], g->netptr[1]);
  EXPECT_EQ((std::vector<int>(g->cellwgt, g->cellwgt + 4)), (std::vector<int>{1, 1, 0, 5}));
  FreeHGraph__(g);
}

TEST(InputLimits, AdvancedRefusesAFixFileEntryThatIsNotANumber) {
  ScratchDir dir;
  dir.Write("g.hgr", "2 4\n1 2\n3 4\n");
  dir.Write("g.fix", "-1\n0\nabc\n1\n");
  const auto r = RunWith(Advanced(), {"g.hgr", "2", "10", "--fix", "g.fix"}, dir.path);
  EXPECT_EQ(r.err, Advanced() + ": g.fix:3: the part 'abc' of vertex 3 is not a whole number\n");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  dir.Write("h.fix", "-1 0\n1.5\n1\n");
  const auto s = RunWith(Advanced(), {"g.hgr", "2", "10", "--fix", "h.fix"}, dir.path);
  EXPECT_EQ(s.err, Advanced() + ": h.fix:2: the part '1.5' of vertex 3 is not a whole number\n");
  // A short fix file is refused too (hypra fixes the remaining vertices to part 0).
  dir.Write("short.fix", "1\n");
  const auto t =
      RunWith(Advanced(), {"g.hgr", "2", "10", "--fix", "short.fix", "--seed", "1"}, dir.path);
  EXPECT_EQ(t.status, 1);
  EXPECT_NE(t.err.find("short.fix:2:"), std::string::npos) << t.err;
  EXPECT_FALSE(std::filesystem::exists(dir.File("g.hgr.part.2")));
}

TEST(InputLimits, HypraKeepsTheFixFilesReading) {
  // After "abc" every read fails, so that vertex and every later one keep part 0.
  ScratchDir dir;
  dir.Write("g.fix", "1\nabc\n1\n");
  std::vector<int> part(3, 0);
  ReadPartition(3, part.data(), dir.File("g.fix").c_str());
  EXPECT_EQ(part, (std::vector<int>{1, 0, 0}));
}

TEST(InputLimits, EmptyLastHyperedgeWithHyperedgeGrouping) {
  // Every vertex lies in a single-pin hyperedge, so hyperedge grouping makes one group per vertex
  // and one more, without members, for the empty last hyperedge. The library takes it; the
  // tunable program refuses a hyperedge without pins.
  const int n = 150;
  std::vector<int> eptr(n + 2), eind(n);
  for (int v = 0; v < n; v++) {
    eptr[v] = v;
    eind[v] = v;
  }
  eptr[n] = eptr[n + 1] = n;
  for (int ctype : {3, 4, 5}) {
    int options[9] = {1, 10, ctype, 1, 1, 0, 0, 1, 0};
    std::vector<int> part(n, -1);
    int cut = -1;
    HYPRA_PartRecursive(n, n + 1, nullptr, eptr.data(), eind.data(), nullptr, 2, 10, options,
                        part.data(), &cut);
    EXPECT_EQ(cut, 0) << ctype;
    for (int p : part) EXPECT_TRUE(p == 0 || p == 1);
  }
  std::ostringstream s;
  s << n + 1 << " " << n << "\n";
  for (int v = 1; v <= n; v++) s << v << "\n";
  s << "\n";
  ScratchDir dir;
  dir.Write("single.hgr", s.str());
  const auto r = RunWith(Advanced(), {"single.hgr", "2", "10", "--ctype", "4"}, dir.path);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, Advanced() + ": single.hgr:152: hyperedge 151 has no pins\n");
}

// Hyperedges with weights near the limit: the cuts of every run add up to far more than an int
// holds, and so would the recursion's sum of cuts and the sum of external degrees if they were
// formed in an int. The figures printed must be those of the partition written.
std::string HeavyRing(int n, int weight) {
  std::ostringstream s;
  s << n << " " << n << " 1\n";
  for (int i = 0; i < n; i++) s << weight << " " << i + 1 << " " << (i + 1) % n + 1 << "\n";
  return s.str();
}

struct Figures {
  long long cut = 0, soed = 0;
};

Figures RingFigures(int n, long long weight, const std::vector<int> &part) {
  Figures f;
  for (int i = 0; i < n; i++)
    if (part[i] != part[(i + 1) % n]) {
      f.cut += weight;
      f.soed += 2 * weight;
    }
  return f;
}

TEST(InputLimits, HeavyHyperedgesGiveExactFigures) {
  const int n = 200, weight = 5000000;  // 200 x 5e6 x 2 pins = 2e9, just within the limit
  ScratchDir dir;
  dir.Write("heavy.hgr", HeavyRing(n, weight));
  const std::vector<std::vector<std::string>> runs = {
      {"heavy.hgr", "2", "10", "--seed", "1", "--runs", "20"},
      {"heavy.hgr", "8", "10", "--seed", "2", "--reconst"},
      {"heavy.hgr", "8", "10", "--seed", "3", "--kway", "--rtype", "2"},
      {"heavy.hgr", "16", "10", "--seed", "4", "--kway"},
  };
  for (const auto &args : runs) {
    const auto r = RunWith(Advanced(), args, dir.path);
    ASSERT_EQ(r.status, 0) << r.err;
    const std::vector<int> part = Parts(ReadFile(dir.File("heavy.hgr.part." + args[1])));
    ASSERT_EQ(part.size(), static_cast<size_t>(n)) << r.out << r.err;
    const Figures f = RingFigures(n, weight, part);
    EXPECT_EQ(Reported(r.out, "Hyperedge Cut:"), f.cut) << args[1];
    EXPECT_EQ(Reported(r.out, "Sum of External Degrees:"), f.soed) << args[1];
  }
}

TEST(InputLimits, AverageCutOverRunsIsExact) {
  // One hyperedge of weight 2^28 over 4 vertices is cut by every bisection; 20 runs add up to
  // 2^28 x 20, beyond an int.
  ScratchDir dir;
  dir.Write("one.hgr", "1 4 1\n268435456 1 2 3 4\n");
  const auto r =
      RunWith(Advanced(), {"one.hgr", "2", "10", "--seed", "1", "--runs", "20"}, dir.path);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("(average = 268435456.0)"), std::string::npos) << r.out;
}

TEST(InputLimits, KwayTakesOnlyItsTwoObjectives) {
  // Found by fuzzing: --rtype 3 with --kway reported "minsoed = 0" for a hypergraph too small to
  // coarsen (nothing refined, no objective computed) and ended larger runs at the first level.
  ScratchDir dir;
  dir.Write("g.hgr", "2 4\n1 2 3\n2 3 4\n");
  const auto r = RunWith(Advanced(), {"g.hgr", "3", "4", "--kway", "--rtype", "3"}, dir.path);
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(
      r.err.rfind("hypra-advanced: with --kway, --rtype is 1 (cut) or 2 (SOED), got 3\n", 0) == 0 ||
          r.err.find("with --kway, --rtype is 1 (cut) or 2 (SOED), got 3\n") != std::string::npos,
      true)
      << r.err;
  EXPECT_EQ(r.out, "");
}

}  // namespace
