#include <gtest/gtest.h>

#include <vector>

#include "common/test_run.h"
#include "fixtures.h"
#include "partition/hypra.h"
#include "partition/partition.h"

using namespace hypra;

namespace {

TEST(FixedVertices, NothingFixedGivesEmptySuperVerticesInFront) {
  TestHypergraph h = RingHypergraph(10, 12, 41);
  HGraph *g = ToHGraph(h);
  PartCtrl ctrl{};
  ctrl.run = testrun::Fresh();
  ctrl.Nparts = 3;
  std::vector<int> fix(10, -1);
  CompressFixedCells__(&ctrl, g, fix.data());
  HGraph *c = g->coarser;
  ASSERT_EQ(c->nvtxs, 13);
  for (int p = 0; p < 3; p++) EXPECT_EQ(c->cellwgt[p], 0);
  for (int v = 0; v < 10; v++) EXPECT_EQ(g->cellmap[v], 3 + v);
  EXPECT_EQ(g->incptr, nullptr);
  EXPECT_EQ(c->incptr, nullptr);
  FreeHGraph__(c);
  FreeHGraph__(g);
}

TEST(FixedVertices, AllFixedGivesOneVertexPerPartAndTheFixFileBack) {
  TestHypergraph h = RingHypergraph(30, 40, 42);
  std::vector<int> fix(30);
  for (int v = 0; v < 30; v++) fix[v] = (v * 7) % 4;
  std::vector<int> part = fix;
  std::vector<int> opts = {1, 2, 1, 1, 1, 0, 1, 5, 0};
  int cut;
  testing::internal::CaptureStdout();
  HYPRA_PartRecursive(30, h.nhedges(), nullptr, h.eptr.data(), h.eind.data(), nullptr, 4, 5,
                      opts.data(), part.data(), &cut);
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(part, fix);
  EXPECT_EQ(Count(out, "Fixing failed"), 0);

  HGraph *g = ToHGraph(h);
  PartCtrl ctrl{};
  ctrl.run = testrun::Fresh();
  ctrl.Nparts = 4;
  CompressFixedCells__(&ctrl, g, fix.data());
  EXPECT_EQ(g->coarser->nvtxs, 4);
  FreeHGraph__(g->coarser);
  FreeHGraph__(g);
}

TEST(FixedVertices, ProjectionRelabelsParts) {
  TestHypergraph h = RingHypergraph(6, 5, 43);
  HGraph *g = ToHGraph(h);
  PartCtrl ctrl{};
  ctrl.run = testrun::Fresh();
  ctrl.Nparts = 3;
  std::vector<int> fix = {0, -1, 2, -1, 1, -1};
  CompressFixedCells__(&ctrl, g, fix.data());
  // Super-vertex 0 ended in part 2, super-vertex 2 in part 0; free vertices 3, 4, 5 of the
  // contracted hypergraph (original 1, 3, 5) ended in parts 2, 0, 1.
  std::vector<int> cpart = {2, 1, 0, 2, 0, 1};
  std::vector<int> part(6, -1);
  ProjectFixedCells__(&ctrl, g, part.data(), cpart.data());
  EXPECT_EQ(part, (std::vector<int>{0, 0, 2, 2, 1, 1}));
  FreeHGraph__(g->coarser);
  FreeHGraph__(g);
}

TEST(FixedVertices, FixedVerticesLandInTheirParts) {
  TestHypergraph h = RingHypergraph(600, 750, 44, true);
  std::vector<int> fix(600, -1);
  for (int v = 0; v < 600; v += 37) fix[v] = (v / 37) % 5;
  for (int vc : {0, 1, 2, 3}) {
    std::vector<int> part = fix;
    std::vector<int> opts = {1, 3, 1, 1, vc, 0, 1, 9, 0};
    int cut;
    testing::internal::CaptureStdout();
    HYPRA_PartRecursive(600, h.nhedges(), h.vwgts.data(), h.eptr.data(), h.eind.data(),
                        h.hewgts.data(), 5, 5, opts.data(), part.data(), &cut);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(Count(out, "Fixing failed"), 0);
    for (int v = 0; v < 600; v++) {
      if (fix[v] != -1) {
        EXPECT_EQ(part[v], fix[v]) << v;
      }
    }
    EXPECT_EQ(cut, CutOf(h, part));
  }
}

}  // namespace
