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

TEST(KwayAllocate, NetListsPointIntoThePinPoolAndVertexRecordsStartEmpty) {
  PartCtrl ctrl = MakeCtrl(3, 1.0f);
  HGraph *g = MakeGraph(4, {{0, 1, 2}, {2, 3}});
  AllocateKwayRefinementMemory__(&ctrl, g);
  ASSERT_NE(g->where, nullptr);
  for (int p = 0; p < 3; p++) EXPECT_EQ(g->kpwgts[p], 0);
  EXPECT_EQ(g->nrinfo[0].nbrs, g->nrdata + 0);
  EXPECT_EQ(g->nrinfo[1].nbrs, g->nrdata + 3);
  // No room is set aside before a record has entries.
  for (int v = 0; v < 4; v++) {
    EXPECT_EQ(g->crinfo[v].nnbrs, 0);
    EXPECT_EQ(g->crinfo[v].cap, 0);
    EXPECT_EQ(g->crinfo[v].nbrs, nullptr);
  }
  EXPECT_EQ(g->crdataused, 0);
  EXPECT_EQ(g->crmost, 2);
  FreeHGraph__(g);
}

TEST(KwayAllocate, RecordsArePackedInVertexOrderWithTheRoomTheyFill) {
  // Parts 0, 1, 2, 2: vertices 0, 1 and 2 each see the two other parts through hyperedge 0;
  // vertex 3 sits inside part 2 and needs no entry at all.
  Fixture f(3, 4, {{0, 1, 2}, {2, 3}}, {0, 1, 2, 2});
  const HGraph *g = f.g;
  for (int v = 0; v < 3; v++) {
    EXPECT_EQ(g->crinfo[v].nnbrs, 2);
    EXPECT_EQ(g->crinfo[v].cap, 2);
    EXPECT_EQ(g->crinfo[v].nbrs, g->crdata + 2 * v);
  }
  EXPECT_EQ(g->crinfo[3].cap, 0);
  EXPECT_EQ(g->crinfo[3].nbrs, nullptr);
  EXPECT_EQ(g->crdataused, 6);
}

TEST(KwayPool, RecordThatMeetsANewPartMovesToTheEndOfThePool) {
  Fixture f(3, 4, {{0, 1, 2}, {2, 3}}, {0, 1, 2, 2});
  // Vertex 3 joins part 0: hyperedge 1 is cut, and vertex 3 now sees part 2.
  f.Move(3, 0);
  const HGraph *g = f.g;
  EXPECT_EQ(g->crinfo[3].nnbrs, 1);
  EXPECT_EQ(g->crinfo[3].cap, 2);  // doubled from nothing, no more than the other parts
  EXPECT_EQ(g->crinfo[3].nbrs, g->crdata + 6);
  EXPECT_EQ(g->crdataused, 8);
  ASSERT_NE(EntryFor(g, 3, 2), nullptr);
  EXPECT_EQ(EntryFor(g, 3, 2)->ewgt, 1);
  // The other records stay where they were, with what a recomputation gives them.
  for (int v = 0; v < 3; v++) EXPECT_EQ(g->crinfo[v].nbrs, g->crdata + 2 * v);
  Fixture fresh(3, 4, {{0, 1, 2}, {2, 3}}, {0, 1, 2, 0});
  for (int v = 0; v < 4; v++)
    for (int q = 0; q < 3; q++) {
      const KwayDegree *a = EntryFor(g, v, q), *b = EntryFor(fresh.g, v, q);
      ASSERT_EQ(a == nullptr, b == nullptr) << v << " " << q;
      if (a == nullptr) continue;
      EXPECT_EQ(a->ewgt, b->ewgt);
      EXPECT_EQ(a->conngain, b->conngain);
      EXPECT_EQ(a->pinbias, b->pinbias);
    }
}

TEST(KwayPool, PoolThatGrowsCarriesEveryRecordAlong) {
  // 3,000 vertices in triples spread over three parts: 6,000 entries, more than the first pool
  // holds, so the pool is moved while the records are built.
  std::vector<std::vector<int>> nets;
  std::vector<int> where;
  for (int t = 0; t < 1000; t++) nets.push_back({3 * t, 3 * t + 1, 3 * t + 2});
  for (int v = 0; v < 3000; v++) where.push_back(v % 3);
  Fixture f(3, 3000, nets, where);
  const HGraph *g = f.g;
  EXPECT_EQ(g->crdataused, 6000);
  EXPECT_GE(g->crdatasize, 6000);
  for (int v = 0; v < 3000; v++) {
    ASSERT_EQ(g->crinfo[v].nbrs, g->crdata + 2 * v) << v;
    ASSERT_EQ(g->crinfo[v].nnbrs, 2);
    ASSERT_NE(EntryFor(g, v, (v + 1) % 3), nullptr);
    ASSERT_NE(EntryFor(g, v, (v + 2) % 3), nullptr);
  }
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
  SetPartition(&ctrl, big, {0, 1, 2, 3});
  ComputeInitKwayGains__(&ctrl, big);
  KwayDegree *pool = big->crdata;
  ASSERT_NE(pool, nullptr);
  const long long size = big->crdatasize;
  HandOverKwayPool__(big, small);
  EXPECT_EQ(big->crdata, nullptr);
  EXPECT_EQ(big->crinfo, nullptr);  // its records went with the pool
  EXPECT_EQ(small->crdata, pool);
  AllocateKwayRefinementMemory__(&ctrl, small);
  EXPECT_EQ(small->crdata, pool);
  EXPECT_EQ(small->crdatasize, size);
  for (int v = 0; v < 2; v++) small->where[v] = v;
  ComputeInitKwayGains__(&ctrl, small);
  EXPECT_EQ(small->mincut, 1);
  EXPECT_EQ(small->crinfo[0].nbrs, pool);  // packed from the start of the pool again
  EXPECT_EQ(small->crinfo[1].nbrs, pool + 1);
  ASSERT_NE(EntryFor(small, 0, 1), nullptr);
  EXPECT_EQ(EntryFor(small, 0, 1)->ewgt, 1);
  FreeHGraph__(big);
  FreeHGraph__(small);
}

TEST(KwayPool, LargerPoolOfTheReceiverIsKept) {
  PartCtrl ctrl = MakeCtrl(4, 1.0f);
  std::vector<std::vector<int>> nets;
  for (int t = 0; t < 1000; t++) nets.push_back({3 * t, 3 * t + 1, 3 * t + 2});
  HGraph *small = MakeGraph(2, {{0, 1}});
  HGraph *big = MakeGraph(3000, nets);
  SetPartition(&ctrl, small, {0, 1});
  ComputeInitKwayGains__(&ctrl, small);
  std::vector<int> where;
  for (int v = 0; v < 3000; v++) where.push_back(v % 3);
  SetPartition(&ctrl, big, where);
  ComputeInitKwayGains__(&ctrl, big);
  KwayDegree *own = big->crdata;
  RVfree__(&big->crinfo);  // a level whose records are done with, as after projection
  HandOverKwayPool__(small, big);
  EXPECT_EQ(big->crdata, own);
  EXPECT_EQ(small->crdata, nullptr);
  FreeHGraph__(small);
  FreeHGraph__(big);
}

TEST(KwayPool, ReceiverWithRecordsKeepsItsOwnPool) {
  PartCtrl ctrl = MakeCtrl(4, 1.0f);
  HGraph *a = MakeGraph(4, {{0, 1, 2, 3}});
  HGraph *b = MakeGraph(2, {{0, 1}});
  SetPartition(&ctrl, a, {0, 1, 2, 3});
  ComputeInitKwayGains__(&ctrl, a);
  SetPartition(&ctrl, b, {0, 1});
  ComputeInitKwayGains__(&ctrl, b);
  KwayDegree *own = b->crdata;
  HandOverKwayPool__(a, b);
  EXPECT_EQ(b->crdata, own);
  EXPECT_EQ(b->crinfo[1].nbrs, own + 1);
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
