#include <gtest/gtest.h>

#include "kway_fixtures.h"

using namespace hypra;

using namespace kwaytest;

namespace {

struct Fixture {
  PartCtrl ctrl;
  HGraph *g;
  Fixture(int nparts, int nvtxs, const std::vector<std::vector<int>> &nets,
          const std::vector<int> &where, const std::vector<int> &netwgts = {})
      : ctrl(MakeCtrl(nparts, 1.0f)), g(MakeGraph(nvtxs, nets, netwgts)) {
    SetPartition(&ctrl, g, where);
    ComputeInitKwayGains__(&ctrl, g);
  }
  ~Fixture() { FreeHGraph__(g); }
  // Moves v to part to the way a pass does, returning the number of records recomputed.
  int Move(int v, int to, std::vector<int> *listout = nullptr) {
    std::vector<int> marker(g->nvtxs, -1), list(g->nvtxs, -1);
    const int from = g->where[v];
    g->where[v] = to;
    const int n = KwayUpdateGainInfo__(g, v, from, to, marker.data(), list.data());
    if (listout) *listout = list;
    return n;
  }
};

TEST(KwayAllocate, PoolLayoutAndZeroPartWeights) {
  PartCtrl ctrl = MakeCtrl(3, 1.0f);
  HGraph *g = MakeGraph(4, {{0, 1, 2}, {2, 3}});
  AllocateKwayRefinementMemory__(&ctrl, g);
  ASSERT_NE(g->where, nullptr);
  for (int p = 0; p < 3; p++) EXPECT_EQ(g->kpwgts[p], 0);
  EXPECT_EQ(g->nrinfo[0].nbrs, g->nrdata + 0);
  EXPECT_EQ(g->nrinfo[1].nbrs, g->nrdata + 3);
  // Each record has room for one entry per other part: two here, as every vertex meets both.
  for (int v = 0; v < 4; v++) EXPECT_EQ(g->crinfo[v].nbrs, g->crdata + v * 2);
  FreeHGraph__(g);
}

TEST(KwayAllocate, RecordRoomIsBoundedByHyperedgeSizes) {
  // With many parts a record needs no more entries than its hyperedges have pins; single-pin
  // hyperedges name no other part.
  PartCtrl ctrl = MakeCtrl(8, 1.0f);
  HGraph *g = MakeGraph(5, {{0, 1, 2}, {2, 3}, {4}, {3}});
  AllocateKwayRefinementMemory__(&ctrl, g);
  EXPECT_EQ(g->crinfo[0].nbrs, g->crdata + 0);
  EXPECT_EQ(g->crinfo[1].nbrs, g->crdata + 3);
  EXPECT_EQ(g->crinfo[2].nbrs, g->crdata + 6);
  EXPECT_EQ(g->crinfo[3].nbrs, g->crdata + 11);
  EXPECT_EQ(g->crinfo[4].nbrs, g->crdata + 13);
  FreeHGraph__(g);
}

TEST(KwayAllocate, WhereHasRoomForIslands) {
  PartCtrl ctrl = MakeCtrl(2, 1.0f);
  HGraph *g = MakeGraph(3, {{0, 1}});
  g->nislands = 2;
  AllocateKwayRefinementMemory__(&ctrl, g);
  for (int v = 0; v < 5; v++) g->where[v] = 1;  // writes every slot; sanitizers catch overruns
  EXPECT_EQ(g->where[4], 1);
  FreeHGraph__(g);
}

TEST(KwayPool, HandedOverPoolIsReusedWhileLargeEnough) {
  PartCtrl ctrl = MakeCtrl(4, 1.0f);
  HGraph *big = MakeGraph(4, {{0, 1, 2, 3}});
  HGraph *small = MakeGraph(2, {{0, 1}});
  AllocateKwayRefinementMemory__(&ctrl, big);
  KwayDegree *pool = big->crdata;
  EXPECT_EQ(big->crdatasize, 12);
  HandOverKwayPool__(big, small);
  EXPECT_EQ(big->crdata, nullptr);
  EXPECT_EQ(big->crinfo, nullptr);  // its records went with the pool
  EXPECT_EQ(small->crdata, pool);
  AllocateKwayRefinementMemory__(&ctrl, small);
  EXPECT_EQ(small->crdata, pool);
  EXPECT_EQ(small->crdatasize, 12);
  EXPECT_EQ(small->crinfo[1].nbrs, pool + 2);
  for (int v = 0; v < 2; v++) small->where[v] = v;
  ComputeInitKwayGains__(&ctrl, small);
  EXPECT_EQ(small->mincut, 1);
  ASSERT_NE(EntryFor(small, 0, 1), nullptr);
  EXPECT_EQ(EntryFor(small, 0, 1)->ewgt, 1);
  FreeHGraph__(big);
  FreeHGraph__(small);
}

TEST(KwayPool, TooSmallPoolIsReplaced) {
  PartCtrl ctrl = MakeCtrl(4, 1.0f);
  HGraph *small = MakeGraph(2, {{0, 1}});
  HGraph *big = MakeGraph(4, {{0, 1, 2, 3}});
  AllocateKwayRefinementMemory__(&ctrl, small);
  HandOverKwayPool__(small, big);
  EXPECT_EQ(big->crdatasize, 4);
  AllocateKwayRefinementMemory__(&ctrl, big);
  EXPECT_EQ(big->crdatasize, 12);
  for (int v = 0; v < 4; v++) EXPECT_EQ(big->crinfo[v].nbrs, big->crdata + 3 * v);
  FreeHGraph__(small);
  FreeHGraph__(big);
}

TEST(KwayPool, ReceiverWithRecordsKeepsItsOwnPool) {
  PartCtrl ctrl = MakeCtrl(4, 1.0f);
  HGraph *a = MakeGraph(4, {{0, 1, 2, 3}});
  HGraph *b = MakeGraph(2, {{0, 1}});
  AllocateKwayRefinementMemory__(&ctrl, a);
  AllocateKwayRefinementMemory__(&ctrl, b);
  KwayDegree *own = b->crdata;
  HandOverKwayPool__(a, b);
  EXPECT_EQ(b->crdata, own);
  EXPECT_EQ(b->crinfo[1].nbrs, own + 2);
  EXPECT_EQ(a->crdata, nullptr);
  HandOverKwayPool__(b, b);  // handing a pool to itself changes nothing
  EXPECT_EQ(b->crdata, own);
  FreeHGraph__(a);
  FreeHGraph__(b);
}

TEST(KwayAllocateDeathTest, VertexPoolOverflowIsFatal) {
  PartCtrl ctrl = MakeCtrl(40000, 1.0f);
  HGraph *g = CreateHGraph__();
  g->nvtxs = 70000;  // 70000 x 40000 does not fit in an int
  g->nhedges = 0;
  EXPECT_EXIT(AllocateKwayRefinementMemory__(&ctrl, g), testing::ExitedWithCode(0),
              "70000 vertices x 40000 parts exceeds");
  FreeHGraph__(g);
}

TEST(KwayGainsDeathTest, PartOutsideRangeIsFatal) {
  PartCtrl ctrl = MakeCtrl(2, 1.0f);
  HGraph *g = MakeGraph(2, {{0, 1}});
  SetPartition(&ctrl, g, {0, 2});
  EXPECT_EXIT(ComputeInitKwayGains__(&ctrl, g), testing::ExitedWithCode(0),
              "vertex 1 is in part 2");
  FreeHGraph__(g);
}

TEST(KwayGains, AllHyperedgesInsideOnePartGiveNoCutAndNoEntries) {
  Fixture f(2, 5, {{0, 1}, {1, 2}, {3, 4}}, {0, 0, 0, 1, 1}, {2, 3, 4});
  EXPECT_EQ(f.g->mincut, 0);
  EXPECT_EQ(f.g->soed, 0);
  for (int v = 0; v < 5; v++) EXPECT_EQ(f.g->crinfo[v].nnbrs, 0);
  EXPECT_EQ(f.g->crinfo[1].iwgt, 5);
  EXPECT_EQ(f.g->kpwgts[0], 3);
  EXPECT_EQ(f.g->kpwgts[1], 2);
}

TEST(KwayGains, HyperedgeInThreePartsAddsWeightToCutAndThriceToSoed) {
  Fixture f(3, 3, {{0, 1, 2}}, {0, 1, 2}, {4});
  EXPECT_EQ(f.g->mincut, 4);
  EXPECT_EQ(f.g->soed, 12);
  EXPECT_EQ(f.g->nrinfo[0].nnbrs, 3);
}

TEST(KwayGains, SolePinOfTwoPartHyperedgeGetsFullEwgt) {
  Fixture f(2, 3, {{0, 1, 2}}, {0, 1, 1}, {5});
  const CellKwayInfo &r = f.g->crinfo[0];
  ASSERT_EQ(r.nnbrs, 1);
  EXPECT_EQ(r.iwgt, 0);
  EXPECT_EQ(r.solewgt, 5);
  EXPECT_EQ(r.nbrs[0].pid, 1);
  EXPECT_EQ(r.nbrs[0].ewgt, 5);
  EXPECT_EQ(r.nbrs[0].conngain, 5);  // 5 touching part 1, + solewgt 5, - adjwgt 5
  EXPECT_EQ(r.nbrs[0].pinbias, 1);   // 1 pin here, 2 there
  // The other two pins share part 1, so neither is alone there.
  EXPECT_EQ(f.g->crinfo[1].solewgt, 0);
  EXPECT_EQ(f.g->crinfo[1].nbrs[0].ewgt, 0);
  EXPECT_EQ(f.g->crinfo[1].nbrs[0].pinbias, -1);
  EXPECT_EQ(f.g->crinfo[1].nbrs[0].conngain, 0);
}

TEST(KwayGains, SolePinOfThreePartHyperedgeGetsConnectivityGainOnly) {
  Fixture f(3, 3, {{0, 1, 2}}, {0, 1, 2}, {5});
  const CellKwayInfo &r = f.g->crinfo[0];
  ASSERT_EQ(r.nnbrs, 2);
  for (int k = 0; k < 2; k++) {
    EXPECT_EQ(r.nbrs[k].ewgt, 0);
    EXPECT_EQ(r.nbrs[k].conngain, 5);
    EXPECT_EQ(r.nbrs[k].pinbias, 0);
  }
  EXPECT_EQ(r.nbrs[0].pid, 1);
  EXPECT_EQ(r.nbrs[1].pid, 2);
}

TEST(KwayGains, EntriesFollowTheOrderPartsAreFirstMet) {
  // Vertex 0 meets part 2 through its first hyperedge and part 1 only through its second.
  Fixture f(3, 3, {{0, 1}, {0, 2, 1}}, {0, 2, 1});
  const CellKwayInfo &r = f.g->crinfo[0];
  ASSERT_EQ(r.nnbrs, 2);
  EXPECT_EQ(r.solewgt, 2);
  EXPECT_EQ(r.nbrs[0].pid, 2);
  EXPECT_EQ(r.nbrs[0].ewgt, 1);      // only the two-part hyperedge
  EXPECT_EQ(r.nbrs[0].conngain, 2);  // 2 touching + 2 sole - 2 incident
  EXPECT_EQ(r.nbrs[1].pid, 1);
  EXPECT_EQ(r.nbrs[1].ewgt, 0);
  EXPECT_EQ(r.nbrs[1].conngain, 1);
}

TEST(KwayGains, SinglePinHyperedgeCountsAsInternal) {
  Fixture f(2, 2, {{0}, {0, 1}}, {0, 1}, {3, 1});
  const CellKwayInfo &r = f.g->crinfo[0];
  EXPECT_EQ(r.iwgt, 3);
  ASSERT_EQ(r.nnbrs, 1);
  EXPECT_EQ(r.nbrs[0].conngain, 1 + 1 - 4);
  EXPECT_EQ(f.g->mincut, 1);
}

TEST(KwayGains, GainsSetRecomputesListedVerticesAndReturnsCount) {
  Fixture f(2, 3, {{0, 1, 2}}, {0, 1, 1}, {5});
  f.g->crinfo[0].nnbrs = 0;
  f.g->crinfo[0].iwgt = 99;
  const int list[] = {0};
  EXPECT_EQ(ComputeKwayGainsSet__(f.g, 1, list), 1);
  EXPECT_EQ(f.g->crinfo[0].iwgt, 0);
  EXPECT_EQ(f.g->crinfo[0].nnbrs, 1);
  EXPECT_EQ(f.g->crinfo[0].nbrs[0].ewgt, 5);
}

TEST(KwayUpdate, MovingLastPinOutRemovesThePartAndLowersSpan) {
  Fixture f(2, 3, {{0, 1, 2}}, {0, 1, 1}, {5});
  ASSERT_EQ(f.g->nrinfo[0].nnbrs, 2);
  EXPECT_EQ(f.Move(0, 1), 3);
  ASSERT_EQ(f.g->nrinfo[0].nnbrs, 1);
  EXPECT_EQ(f.g->nrinfo[0].nbrs[0].pid, 1);
  EXPECT_EQ(f.g->nrinfo[0].nbrs[0].npins, 3);
  for (int v = 0; v < 3; v++) {
    EXPECT_EQ(f.g->crinfo[v].nnbrs, 0);
    EXPECT_EQ(f.g->crinfo[v].iwgt, 5);
  }
}

TEST(KwayUpdate, RemovedEntryIsReplacedByTheLastOne) {
  Fixture f(3, 3, {{0, 1, 2}}, {0, 1, 2});
  f.Move(0, 1);
  const NetKwayInfo &n = f.g->nrinfo[0];
  ASSERT_EQ(n.nnbrs, 2);
  EXPECT_EQ(n.nbrs[0].pid, 2);  // was last, fills the hole left by part 0
  EXPECT_EQ(n.nbrs[0].npins, 1);
  EXPECT_EQ(n.nbrs[1].pid, 1);
  EXPECT_EQ(n.nbrs[1].npins, 2);
}

TEST(KwayUpdate, NewTargetPartIsAppended) {
  Fixture f(3, 3, {{0, 1, 2}}, {0, 0, 1});
  f.Move(0, 2);
  const NetKwayInfo &n = f.g->nrinfo[0];
  ASSERT_EQ(n.nnbrs, 3);
  EXPECT_EQ(n.nbrs[0].pid, 0);
  EXPECT_EQ(n.nbrs[0].npins, 1);
  EXPECT_EQ(n.nbrs[2].pid, 2);
  EXPECT_EQ(n.nbrs[2].npins, 1);
}

TEST(KwayUpdate, VertexWithoutHyperedgesIsRecomputedAlone) {
  Fixture f(2, 3, {{0, 1}}, {0, 1, 0});
  std::vector<int> list;
  EXPECT_EQ(f.Move(2, 1, &list), 1);
  EXPECT_EQ(list[0], 2);
  EXPECT_EQ(f.g->crinfo[2].nnbrs, 0);
  EXPECT_EQ(f.g->crinfo[2].iwgt, 0);
}

TEST(KwayUpdate, HyperedgeWellInsideBothPartsLeavesItsPinsAlone) {
  // After the move 2 pins stay in part 0 and 3 are in part 1: only the mover is recomputed.
  Fixture f(2, 5, {{0, 1, 2, 3, 4}}, {0, 0, 0, 1, 1});
  EXPECT_EQ(f.Move(0, 1), 1);
  EXPECT_EQ(NetParts(f.g, 0), (std::map<int, int>{{0, 2}, {1, 3}}));
}

TEST(KwayUpdate, HyperedgeNearTheThresholdRecomputesAllItsPins) {
  // Part 1 reaches only 2 pins: every pin is listed once, the mover first.
  Fixture f(2, 4, {{0, 1, 2, 3}}, {0, 0, 0, 1});
  std::vector<int> list;
  EXPECT_EQ(f.Move(0, 1, &list), 4);
  EXPECT_EQ(list[0], 0);
  EXPECT_EQ(list[1], 1);
  EXPECT_EQ(list[2], 2);
  EXPECT_EQ(list[3], 3);
}

TEST(KwayUpdate, SkippedPinsKeepTheirPinPreference) {
  // 5:3 becomes 4:4; the pins are skipped, so vertex 1 keeps the preference of the 5:3 split.
  Fixture f(2, 8, {{0, 1, 2, 3, 4, 5, 6, 7}}, {0, 0, 0, 0, 0, 1, 1, 1});
  EXPECT_EQ(f.g->crinfo[1].nbrs[0].pinbias, -1);
  EXPECT_EQ(f.Move(0, 1), 1);
  EXPECT_EQ(f.g->crinfo[1].nbrs[0].pinbias, -1);
  const int one[] = {1};
  ComputeKwayGainsSet__(f.g, 1, one);
  EXPECT_EQ(f.g->crinfo[1].nbrs[0].pinbias, 0);
}

TEST(KwayUpdate, PinsOfSeveralHyperedgesAreListedOnce) {
  Fixture f(2, 3, {{0, 1}, {0, 1, 2}}, {0, 1, 1});
  std::vector<int> list;
  EXPECT_EQ(f.Move(0, 1, &list), 3);
  EXPECT_EQ(list[1], 1);
  EXPECT_EQ(list[2], 2);
  EXPECT_EQ(f.g->crinfo[1].iwgt, 2);
}

}  // namespace
