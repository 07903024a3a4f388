// Faults survived: both programs run with too little memory end with a message, never with a
// crash or a partial partition file; hypergraphs at the edges of what the engine handles (one
// hyperedge with a million pins, one vertex in 200,000 hyperedges) partition correctly; and a
// problem whose k-way records would not fit an int is refused with a message.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "driver_test_util.h"

namespace {

using driver_test::ReadFile;
using driver_test::RunResult;
using driver_test::ScratchDir;

std::string Hypra() {
  return std::string(HYPRA_BINARY_DIR) + "/hypra";
}
std::string Advanced() {
  return driver_test::AdvancedProgramPath();
}

// Runs program with its address space limited to limit bytes.
RunResult RunLimited(const std::string &program, const std::vector<std::string> &args,
                     const std::string &cwd, long long limit) {
  return driver_test::RunProgram(args, cwd, program, limit);
}

// A circuit-like hypergraph: a ring of 3-pin hyperedges with chords, and every 50th hyperedge
// a wider one, so that coarsening, refinement and the k-way records all need real memory.
std::string Circuit(int n) {
  std::ostringstream s;
  s << n << " " << n << "\n";
  for (int i = 0; i < n; i++) {
    s << i + 1 << " " << (i + 1) % n + 1 << " " << (i * 37 + 11) % n + 1;
    if (i % 50 == 0)
      for (int j = 2; j < 12; j++) s << " " << (i + j * 101) % n + 1;
    s << "\n";
  }
  return s.str();
}

int CountLines(const std::string &path) {
  const std::string text = ReadFile(path);
  return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

bool OutOfMemoryMessage(const std::string &err) {
  return err.find("Memory allocation failed") != std::string::npos ||
         err.find("out of memory") != std::string::npos;
}

// What failed, from the message: the array named, or the reading of the file.
std::string FailureSite(const std::string &err) {
  if (err.find("out of memory reading") != std::string::npos) return "reading";
  const auto start = err.find("Memory allocation failed");
  if (start == std::string::npos) return "";
  const auto end = err.find_first_of(".\n", start);
  return err.substr(start, end - start);
}

struct Sweep {
  int failed = 0, finished = 0;
  std::set<std::string> sites;
};

// Runs the program under address-space limits from 5 MiB to 64 MiB. Each run either finishes
// with a complete partition file, or ends with an out-of-memory message, the expected status
// and no partition file; never a signal. (Below some limit the program cannot even be loaded.)
Sweep SweepLimits(const std::string &program, std::vector<std::string> args, int nvtxs,
                  int failure_status) {
  ScratchDir dir;
  dir.Write("c.hgr", Circuit(nvtxs));
  args.insert(args.begin(), "c.hgr");
  const std::string part = dir.File("c.hgr.part." + args[1]);
  Sweep sweep;
  for (long long mib : {5, 6, 7, 8, 10, 12, 16, 20, 24, 32, 40, 64}) {
    SCOPED_TRACE(std::to_string(mib) + " MiB");
    std::filesystem::remove(part);
    const RunResult r = RunLimited(program, args, dir.path, mib << 20);
    if (r.status == 127 && r.err.find("error while loading") != std::string::npos) continue;
    EXPECT_NE(r.status, -1) << "ended by a signal\n" << r.err;
    EXPECT_NE(r.status, 126) << "setrlimit failed";
    if (std::filesystem::exists(part)) {
      EXPECT_EQ(r.status, 0) << r.err;
      EXPECT_EQ(CountLines(part), nvtxs);
      EXPECT_NE(r.out.find("Hyperedge Cut:"), std::string::npos);
      sweep.finished++;
    } else {
      EXPECT_EQ(r.status, failure_status) << r.err;
      EXPECT_TRUE(OutOfMemoryMessage(r.err)) << r.err;
      sweep.sites.insert(FailureSite(r.err));
      sweep.failed++;
    }
  }
  return sweep;
}

#if HYPRA_SANITIZED
#define SKIP_UNDER_SANITIZERS() \
  GTEST_SKIP() << "a sanitizer reserves terabytes of address space, so ulimit -v cannot apply"
#else
#define SKIP_UNDER_SANITIZERS() (void)0
#endif

TEST(Faults, HypraWithTooLittleMemoryEndsWithAMessage) {
  SKIP_UNDER_SANITIZERS();
  const Sweep s = SweepLimits(Hypra(), {"8", "5"}, 10000, 0);
  EXPECT_GT(s.failed, 0);
  EXPECT_GT(s.finished, 0);
  // Allocation failed at several different places: reading, coarsening, refinement, k-way.
  EXPECT_GE(s.sites.size(), 3u);
}

TEST(Faults, AdvancedWithTooLittleMemoryEndsWithStatus1) {
  SKIP_UNDER_SANITIZERS();
  for (const std::vector<std::string> &args :
       {std::vector<std::string>{"8", "5", "--seed", "1", "--runs", "2"},
        std::vector<std::string>{"8", "5", "--seed", "1", "--runs", "2", "--kway"},
        std::vector<std::string>{"8", "--imbalance", "0.03", "--seed", "1", "--threads", "2"}}) {
    SCOPED_TRACE(args.back());
    const Sweep s = SweepLimits(Advanced(), args, 20000, 1);
    EXPECT_GT(s.failed, 0);
    EXPECT_GT(s.finished, 0);
  }
}

// One hyperedge holds every one of a million vertices; the others form a ring.
TEST(Faults, AMillionPinHyperedgePartitions) {
  ScratchDir dir;
  const int n = 1000000;
  std::ostringstream s;
  s << n / 100 + 1 << " " << n << "\n";
  for (int v = 1; v <= n; v++) s << v << (v == n ? "\n" : " ");
  for (int i = 0; i < n / 100; i++) s << i * 100 + 1 << " " << (i * 100 + 100) % n + 1 << "\n";
  dir.Write("big.hgr", s.str());
  const RunResult r =
      driver_test::RunProgram({"big.hgr", "2", "--imbalance", "0.05", "--seed", "1", "--runs", "1",
                               "--out", "big.part", "--json", "big.json"},
                              dir.path, Advanced());
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(CountLines(dir.File("big.part")), n);
  // The big hyperedge is cut by any bisection; its weight is part of the cut.
  const std::string json = ReadFile(dir.File("big.json"));
  EXPECT_NE(json.find("\"cut\": "), std::string::npos);
  EXPECT_EQ(json.find("\"cut\": 0,"), std::string::npos) << json;
}

// Vertex 1 is a pin of 200,000 two-pin hyperedges: the cut is the number of its neighbours in
// other parts.
TEST(Faults, AVertexIn200000HyperedgesPartitions) {
  ScratchDir dir;
  const int nhedges = 200000, n = nhedges + 1;
  std::ostringstream s;
  s << nhedges << " " << n << "\n";
  for (int e = 0; e < nhedges; e++) s << 1 << " " << e + 2 << "\n";
  dir.Write("star.hgr", s.str());
  const RunResult r = driver_test::RunProgram(
      {"star.hgr", "4", "5", "--seed", "1", "--runs", "1", "--json", "star.json"}, dir.path,
      Advanced());
  ASSERT_EQ(r.status, 0) << r.err;
  std::istringstream in(ReadFile(dir.File("star.hgr.part.4")));
  std::vector<int> part;
  for (int p; in >> p;) part.push_back(p);
  ASSERT_EQ(static_cast<int>(part.size()), n);
  const long long away =
      std::count_if(part.begin() + 1, part.end(), [&](int p) { return p != part[0]; });
  EXPECT_NE(ReadFile(dir.File("star.json")).find("\"cut\": " + std::to_string(away) + ","),
            std::string::npos);
  EXPECT_GT(away, 0);
}

// The direct path keeps vertices x parts records; when that product does not fit an int the run
// is refused with a message instead of overflowing.
TEST(Faults, KwayRecordsBeyondAnIntAreRefused) {
  ScratchDir dir;
  const int n = 46400;  // 46400 x 46400 > 2^31
  dir.Write("c.hgr", Circuit(n));
  const RunResult r = driver_test::RunProgram(
      {"c.hgr", std::to_string(n), "5", "--kway", "--seed", "1", "--runs", "1"}, dir.path,
      Advanced());
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("exceeds"), std::string::npos) << r.err;
  EXPECT_FALSE(std::filesystem::exists(dir.File("c.hgr.part." + std::to_string(n))));
}

}  // namespace
