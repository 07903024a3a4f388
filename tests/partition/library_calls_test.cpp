// The status-returning library: every failure of HYPRA_Partition, HYPRA_ReadHypergraph and
// HYPRA_ComputeMetrics returns its status and a message, prints nothing, releases what the call
// allocated (the leak checker of the sanitizer build watches), and leaves the next call working.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "core/core.h"
#include "partition/hypra.h"

namespace {

// A ring of 3-pin hyperedges with chords: 200 vertices, weights 1 to 3.
struct Ring {
  int nvtxs = 200;
  std::vector<int> eptr{0}, eind, hewgts, vwgts;
  Ring() {
    for (int i = 0; i < nvtxs; i++) {
      eind.insert(eind.end(), {i, (i + 1) % nvtxs, (i + 17) % nvtxs});
      eptr.push_back(static_cast<int>(eind.size()));
      hewgts.push_back(1 + i % 3);
      vwgts.push_back(1 + i % 2);
    }
  }
  int nhedges() const { return static_cast<int>(hewgts.size()); }
};

HYPRA_Params Params(int method, int nparts) {
  HYPRA_Params p;
  HYPRA_DefaultParams(&p);
  p.method = method;
  p.nparts = nparts;
  p.seed = 3;
  p.runs = 2;
  return p;
}

struct Outcome {
  int status;
  std::string message, out, err;
};

// Calls f with standard output and error captured.
Outcome Capture(const std::function<int()> &f) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  Outcome o;
  o.status = f();
  o.out = testing::internal::GetCapturedStdout();
  o.err = testing::internal::GetCapturedStderr();
  o.message = HYPRA_LastError();
  return o;
}

int Partition(const Ring &r, const HYPRA_Params &p, std::vector<int> *part,
              const int *eind = nullptr, const int *vwgts = nullptr) {
  part->assign(r.nvtxs, -1);
  int objective = -1;
  return HYPRA_Partition(r.nvtxs, r.nhedges(), vwgts ? vwgts : r.vwgts.data(), r.eptr.data(),
                         eind ? eind : r.eind.data(), r.hewgts.data(), &p, part->data(),
                         &objective);
}

// After a failure the same thread partitions as if nothing had happened.
void ExpectNextCallWorks(const Ring &r) {
  std::vector<int> part;
  const HYPRA_Params p = Params(HYPRA_RECURSIVE, 4);
  ASSERT_EQ(Partition(r, p, &part), HYPRA_OK) << HYPRA_LastError();
  EXPECT_STREQ(HYPRA_LastError(), "");
  for (int x : part) EXPECT_TRUE(x >= 0 && x < 4);
}

TEST(LibraryCalls, EveryBadArgumentReturnsItsStatusAndMessage) {
  const Ring r;
  struct Case {
    const char *message;
    std::function<void(HYPRA_Params *)> change;
  };
  const std::vector<Case> cases = {
      {"Nparts should be at least 2", [](HYPRA_Params *p) { p->nparts = 1; }},
      {"UBfactor should be between 1 and 49", [](HYPRA_Params *p) { p->ubfactor = 50; }},
      {"Nruns should be at least 1", [](HYPRA_Params *p) { p->runs = 0; }},
      {"Ctype should be between 1 and 5", [](HYPRA_Params *p) { p->ctype = 9; }},
      {"Rtype should be between 1 and 3", [](HYPRA_Params *p) { p->rtype = 4; }},
      {"Vcycle should be between 0 and 3", [](HYPRA_Params *p) { p->vcycle = 4; }},
      {"method 7 is neither", [](HYPRA_Params *p) { p->method = 7; }},
      {"threads should be between 0 and 4096", [](HYPRA_Params *p) { p->threads = -1; }},
      {"imbalance should be 0 or between 0 and 1", [](HYPRA_Params *p) { p->imbalance = 1.5; }},
      {"the parameters record has size", [](HYPRA_Params *p) { p->size = 3; }},
      {"preset 2 is neither", [](HYPRA_Params *p) { p->preset = 2; }},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.message);
    HYPRA_Params p = Params(HYPRA_RECURSIVE, 4);
    c.change(&p);
    std::vector<int> part;
    const Outcome o = Capture([&] { return Partition(r, p, &part); });
    EXPECT_EQ(o.status, HYPRA_ERROR_ARGS);
    EXPECT_NE(o.message.find(c.message), std::string::npos) << o.message;
    EXPECT_EQ(o.out, "");
    EXPECT_EQ(o.err, "");
    ExpectNextCallWorks(r);
  }
  const Outcome o = Capture([&] {
    int part[1];
    return HYPRA_Partition(r.nvtxs, r.nhedges(), nullptr, r.eptr.data(), r.eind.data(), nullptr,
                           nullptr, part, nullptr);
  });
  EXPECT_EQ(o.status, HYPRA_ERROR_ARGS);
  EXPECT_NE(o.message.find("the parameters record is missing"), std::string::npos);
}

TEST(LibraryCalls, MalformedHypergraphsReturnArgs) {
  const Ring r;
  std::vector<int> bad_pin = r.eind;
  bad_pin[10] = r.nvtxs;
  std::vector<int> negative = r.vwgts;
  negative[3] = -4;
  std::vector<int> huge(r.nvtxs, 1 << 29);
  for (int method : {HYPRA_RECURSIVE, HYPRA_DIRECT}) {
    for (int threads : {0, 2}) {
      HYPRA_Params p = Params(method, 4);
      p.threads = threads;
      std::vector<int> part;
      Outcome o = Capture([&] { return Partition(r, p, &part, bad_pin.data()); });
      EXPECT_EQ(o.status, HYPRA_ERROR_ARGS);
      EXPECT_NE(o.message.find("names vertex 200, outside 0..199"), std::string::npos) << o.message;
      EXPECT_EQ(o.err, "");
      o = Capture([&] { return Partition(r, p, &part, nullptr, negative.data()); });
      EXPECT_EQ(o.status, HYPRA_ERROR_ARGS);
      EXPECT_NE(o.message.find("negative weight"), std::string::npos) << o.message;
      o = Capture([&] { return Partition(r, p, &part, nullptr, huge.data()); });
      EXPECT_EQ(o.status, HYPRA_ERROR_ARGS);
      EXPECT_NE(o.message.find("add up to"), std::string::npos) << o.message;
      ExpectNextCallWorks(r);
    }
  }
}

TEST(LibraryCalls, FixedVerticesOutOfRangeOrWithTheDirectMethod) {
  const Ring r;
  std::vector<int> fixed(r.nvtxs, -1);
  fixed[7] = 4;
  HYPRA_Params p = Params(HYPRA_RECURSIVE, 4);
  p.fixed = fixed.data();
  std::vector<int> part;
  Outcome o = Capture([&] { return Partition(r, p, &part); });
  EXPECT_EQ(o.status, HYPRA_ERROR_ARGS);
  EXPECT_NE(o.message.find("outside -1..3"), std::string::npos) << o.message;
  fixed[7] = 1;
  p.method = HYPRA_DIRECT;
  o = Capture([&] { return Partition(r, p, &part); });
  EXPECT_EQ(o.status, HYPRA_ERROR_ARGS);
  EXPECT_NE(o.message.find("fixed vertices"), std::string::npos) << o.message;
  ExpectNextCallWorks(r);
}

TEST(LibraryCalls, UnmeetableBoundReturnsBalance) {
  Ring r;
  r.vwgts[0] = 500;
  HYPRA_Params p = Params(HYPRA_RECURSIVE, 4);
  p.imbalance = 0.03;
  std::vector<int> part;
  const Outcome o = Capture([&] { return Partition(r, p, &part); });
  EXPECT_EQ(o.status, HYPRA_ERROR_BALANCE);
  EXPECT_NE(o.message.find("cannot be met"), std::string::npos) << o.message;
  EXPECT_EQ(o.err, "");
  ExpectNextCallWorks(Ring());
}

// Memory running out at every allocation in turn, serial and on three threads: each call
// returns HYPRA_ERROR_MEMORY with the allocation named, and leaves nothing behind.
TEST(LibraryCalls, MemoryRunningOutAnywhereIsReturned) {
  const Ring r;
  for (int method : {HYPRA_RECURSIVE, HYPRA_DIRECT}) {
    for (int threads : {0, 3}) {
      SCOPED_TRACE(std::to_string(method) + " " + std::to_string(threads));
      HYPRA_Params p = Params(method, 3);
      p.threads = threads;
      p.imbalance = method == HYPRA_DIRECT ? 0.05 : 0;
      int failures = 0;
      for (long long nth = 1;; nth += 1 + nth / 8) {
        std::vector<int> part;
        hypra::InjectAllocationFailure__(nth);
        const Outcome o = Capture([&] { return Partition(r, p, &part); });
        hypra::InjectAllocationFailure__(0);
        if (o.status == HYPRA_OK) break;  // the call needed fewer allocations than nth
        ASSERT_EQ(o.status, HYPRA_ERROR_MEMORY) << o.message;
        EXPECT_NE(o.message.find("Memory allocation failed for"), std::string::npos) << o.message;
        EXPECT_EQ(o.err, "");
        failures++;
      }
      EXPECT_GT(failures, 20);
      ExpectNextCallWorks(r);
    }
  }
}

std::string WriteTemp(const std::string &name, const std::string &text) {
  const std::string path = (std::filesystem::temp_directory_path() / name).string();
  std::ofstream(path) << text;
  return path;
}

TEST(LibraryCalls, ReadHypergraphReturnsArraysOrTheFileAndLine) {
  const std::string good =
      WriteTemp("hypra-lib-good.hgr", "3 4 11\n2 1 2\n1 2 3 4\n5 4 1\n1\n2\n3\n4\n");
  HYPRA_Hypergraph h;
  ASSERT_EQ(HYPRA_ReadHypergraph(good.c_str(), HYPRA_FORMAT_AUTO, &h), HYPRA_OK);
  EXPECT_EQ(h.nvtxs, 4);
  EXPECT_EQ(h.nhedges, 3);
  EXPECT_EQ(std::vector<int>(h.eptr, h.eptr + 4), (std::vector<int>{0, 2, 5, 7}));
  EXPECT_EQ(std::vector<int>(h.eind, h.eind + 7), (std::vector<int>{0, 1, 1, 2, 3, 3, 0}));
  EXPECT_EQ(std::vector<int>(h.hewgts, h.hewgts + 3), (std::vector<int>{2, 1, 5}));
  EXPECT_EQ(std::vector<int>(h.vwgts, h.vwgts + 4), (std::vector<int>{1, 2, 3, 4}));
  HYPRA_FreeHypergraph(&h);
  EXPECT_EQ(h.eptr, nullptr);
  HYPRA_FreeHypergraph(&h);  // harmless twice

  const std::string bad = WriteTemp("hypra-lib-bad.hgr", "2 4\n1 2\n3 9\n");
  Outcome o = Capture([&] { return HYPRA_ReadHypergraph(bad.c_str(), HYPRA_FORMAT_HGR, &h); });
  EXPECT_EQ(o.status, HYPRA_ERROR_INPUT);
  EXPECT_NE(o.message.find("hypra-lib-bad.hgr:3:"), std::string::npos) << o.message;
  EXPECT_EQ(o.err, "");
  EXPECT_EQ(h.eptr, nullptr);
  o = Capture([&] { return HYPRA_ReadHypergraph("/nonexistent/x.hgr", HYPRA_FORMAT_AUTO, &h); });
  EXPECT_EQ(o.status, HYPRA_ERROR_INPUT);
  EXPECT_NE(o.message.find("/nonexistent/x.hgr"), std::string::npos) << o.message;
  o = Capture([&] { return HYPRA_ReadHypergraph(good.c_str(), 17, &h); });
  EXPECT_EQ(o.status, HYPRA_ERROR_ARGS);
  const std::string mtx = WriteTemp(
      "hypra-lib.mtx", "%%MatrixMarket matrix coordinate pattern general\n3 2 3\n1 1\n3 1\n2 2\n");
  ASSERT_EQ(HYPRA_ReadHypergraph(mtx.c_str(), HYPRA_FORMAT_AUTO, &h), HYPRA_OK);
  EXPECT_EQ(h.nvtxs, 3);
  EXPECT_EQ(h.nhedges, 2);
  HYPRA_FreeHypergraph(&h);
  std::remove(good.c_str());
  std::remove(bad.c_str());
  std::remove(mtx.c_str());
}

TEST(LibraryCalls, MetricsOfAPartition) {
  // Hyperedges {0,1,2} (weight 2), {2,3} (weight 1), {0,3} (weight 4); parts 0 0 1 2.
  const int eptr[] = {0, 3, 5, 7}, eind[] = {0, 1, 2, 2, 3, 0, 3}, hewgts[] = {2, 1, 4};
  const int vwgts[] = {1, 2, 3, 4}, part[] = {0, 0, 1, 2};
  HYPRA_Metrics m;
  long long pw[3];
  ASSERT_EQ(HYPRA_ComputeMetrics(4, 3, vwgts, eptr, eind, hewgts, 3, part, pw, &m), HYPRA_OK);
  EXPECT_EQ(m.cut, 7);
  EXPECT_EQ(m.soed, 14);
  EXPECT_EQ(m.km1, 7);
  EXPECT_EQ(m.total_weight, 10);
  EXPECT_EQ(m.max_part_weight, 4);
  EXPECT_DOUBLE_EQ(m.imbalance, 0.0);  // ceil(10 / 3) = 4
  EXPECT_EQ(std::vector<long long>(pw, pw + 3), (std::vector<long long>{3, 3, 4}));
  const int outside[] = {0, 0, 3, 2};
  const Outcome o = Capture([&] {
    return HYPRA_ComputeMetrics(4, 3, vwgts, eptr, eind, hewgts, 3, outside, nullptr, &m);
  });
  EXPECT_EQ(o.status, HYPRA_ERROR_ARGS);
  EXPECT_NE(o.message.find("vertex 2 is 3, outside 0..2"), std::string::npos) << o.message;
  EXPECT_EQ(o.err, "");
}

TEST(LibraryCalls, VersionMatchesTheMacros) {
  const std::string expected = std::to_string(HYPRA_VERSION_MAJOR) + "." +
                               std::to_string(HYPRA_VERSION_MINOR) + "." +
                               std::to_string(HYPRA_VERSION_PATCH);
  EXPECT_EQ(expected, HYPRA_VERSION_STRING);
  EXPECT_STREQ(HYPRA_VERSION_STRING, HYPRA_PROJECT_VERSION);  // the build's own version
  EXPECT_STREQ(HYPRA_Version(), HYPRA_VERSION_STRING);
}

}  // namespace
