// Every entry point reads the caller's hypergraph in place instead of copying it, so it must
// never write to it: the arrays are handed over on pages that are made read-only, where any
// store ends the test with a fault.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "common/test_run.h"
#include "fixtures.h"
#include "partition/hypra.h"

namespace {

// The four arrays of a hypergraph on pages of their own, read-only once built.
class ReadOnlyHypergraph {
 public:
  explicit ReadOnlyHypergraph(const TestHypergraph &h) : nvtxs_(h.nvtxs), nhedges_(h.nhedges()) {
    const size_t ints = h.vwgts.size() + h.eptr.size() + h.eind.size() + h.hewgts.size();
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    bytes_ = (ints * sizeof(int) + page - 1) / page * page;
    void *mem = mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mem == MAP_FAILED) throw std::bad_alloc();
    base_ = static_cast<int *>(mem);
    int *at = base_;
    auto place = [&at](const std::vector<int> &src) {
      int *dst = at;
      std::memcpy(dst, src.data(), src.size() * sizeof(int));
      at += src.size();
      return dst;
    };
    vwgts_ = place(h.vwgts);
    eptr_ = place(h.eptr);
    eind_ = place(h.eind);
    hewgts_ = place(h.hewgts);
    if (mprotect(mem, bytes_, PROT_READ) != 0) throw std::bad_alloc();
  }
  ~ReadOnlyHypergraph() { munmap(base_, bytes_); }
  ReadOnlyHypergraph(const ReadOnlyHypergraph &) = delete;
  ReadOnlyHypergraph &operator=(const ReadOnlyHypergraph &) = delete;

  int nvtxs() const { return nvtxs_; }
  int nhedges() const { return nhedges_; }
  const int *vwgts() const { return vwgts_; }
  const int *eptr() const { return eptr_; }
  const int *eind() const { return eind_; }
  const int *hewgts() const { return hewgts_; }

 private:
  int nvtxs_, nhedges_;
  size_t bytes_ = 0;
  int *base_ = nullptr;
  const int *vwgts_ = nullptr, *eptr_ = nullptr, *eind_ = nullptr, *hewgts_ = nullptr;
};

class ReadOnlyInput : public testing::Test {
 protected:
  ReadOnlyInput() : h_(RingHypergraph(600, 700, 11, true)), ro_(h_) {}

  // The partition of the read-only arrays, checked against the same call on ordinary ones.
  void ExpectSameAsWritable(int nparts, std::vector<int> options, std::vector<int> fixed = {}) {
    std::vector<int> a = fixed.empty() ? std::vector<int>(h_.nvtxs, 0) : fixed;
    std::vector<int> b = a;
    int cuta = -1, cutb = -2;
    testing::internal::CaptureStdout();
    HYPRA_PartRecursive(ro_.nvtxs(), ro_.nhedges(), ro_.vwgts(), ro_.eptr(), ro_.eind(),
                        ro_.hewgts(), nparts, 5, options.data(), a.data(), &cuta);
    HYPRA_PartRecursive(h_.nvtxs, h_.nhedges(), h_.vwgts.data(), h_.eptr.data(), h_.eind.data(),
                        h_.hewgts.data(), nparts, 5, options.data(), b.data(), &cutb);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(a, b);
    EXPECT_EQ(cuta, cutb);
    EXPECT_EQ(cuta, CutOf(h_, a));
  }

  TestHypergraph h_;
  ReadOnlyHypergraph ro_;
};

TEST_F(ReadOnlyInput, RecursiveBisectionInEveryVCycleModeAndWithReconstruction) {
  for (int vcycle = 0; vcycle <= 3; vcycle++)
    for (int reconst = 0; reconst <= 1; reconst++)
      ExpectSameAsWritable(4, {1, 2, 1, 1, vcycle, reconst, 0, 7, 0});
}

TEST_F(ReadOnlyInput, EveryCoarseningAndRefinementScheme) {
  for (int ctype = 1; ctype <= 5; ctype++) ExpectSameAsWritable(3, {1, 2, ctype, 1, 1, 0, 0, 7, 0});
  for (int rtype = 1; rtype <= 3; rtype++) ExpectSameAsWritable(2, {1, 2, 1, rtype, 1, 0, 0, 7, 0});
}

TEST_F(ReadOnlyInput, FixedVertices) {
  std::vector<int> fixed(h_.nvtxs, -1);
  for (int v = 0; v < h_.nvtxs; v += 17) fixed[v] = v % 4;
  ExpectSameAsWritable(4, {1, 2, 1, 1, 1, 0, 1, 7, 0}, fixed);
}

TEST_F(ReadOnlyInput, DirectKwayAndTwoWayRefinement) {
  std::vector<int> options = {1, 2, 1, 1, 1, 0, 0, 7, 0};
  std::vector<int> part(h_.nvtxs, 0);
  int cut = -1;
  testing::internal::CaptureStdout();
  HYPRA_PartKway(ro_.nvtxs(), ro_.nhedges(), ro_.vwgts(), ro_.eptr(), ro_.eind(), ro_.hewgts(), 8,
                 5, options.data(), part.data(), &cut);
  EXPECT_EQ(cut, CutOf(h_, part));
  for (int v = 0; v < h_.nvtxs; v++) part[v] = v < h_.nvtxs / 2 ? 0 : 1;
  HYPRA_2WayRefine(ro_.nvtxs(), ro_.nhedges(), ro_.vwgts(), ro_.eptr(), ro_.eind(), ro_.hewgts(), 5,
                   options.data(), part.data(), &cut);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(cut, CutOf(h_, part));
}

TEST_F(ReadOnlyInput, ParametersRecordWithThreadsBoundAndQualityPreset) {
  for (int method : {HYPRA_RECURSIVE, HYPRA_DIRECT}) {
    HYPRA_Params params;
    HYPRA_DefaultParams(&params);
    params.method = method;
    params.nparts = 4;
    params.runs = 2;
    params.seed = 3;
    params.threads = 2;
    params.imbalance = 0.05;
    params.preset = HYPRA_PRESET_QUALITY;
    std::vector<int> part(h_.nvtxs, 0);
    int objective = -1;
    ASSERT_EQ(HYPRA_Partition(ro_.nvtxs(), ro_.nhedges(), ro_.vwgts(), ro_.eptr(), ro_.eind(),
                              ro_.hewgts(), &params, part.data(), &objective),
              HYPRA_OK)
        << HYPRA_LastError();
    EXPECT_EQ(objective, CutOf(h_, part));
  }
}

}  // namespace
