#include "coarsen/coarsen.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "coarsen/grouping.h"
#include "common/test_run.h"
#include "test_graphs.h"

using namespace hypra;

namespace {

using testgraphs::MakeCtrl;

// 101 vertices on a path of 100 two-pin hyperedges.
HGraph *Path(int n) {
  std::vector<std::vector<int>> nets;
  for (int i = 0; i + 1 < n; i++) nets.push_back({i, i + 1});
  return testgraphs::Make(n, nets);
}

int Depth(const HGraph *coarsest) {
  return coarsest->level;
}

TEST(Coarsen, SmallHypergraphIsReturnedUnchanged) {
  HGraph *g = Path(100);
  PartCtrl ctrl = MakeCtrl(1, g);
  testrun::Seed(1);
  HGraph *c = Coarsen__(&ctrl, g);
  EXPECT_EQ(c, g);
  EXPECT_EQ(g->level, 0);
  EXPECT_EQ(g->coarser, nullptr);
  EXPECT_EQ(g->cellmap, nullptr);
  FreeHGraph__(g);
}

TEST(Coarsen, ProgressRule) {
  EXPECT_FALSE(CoarseningProgress__(1000, 1000, 2.0f));
  EXPECT_FALSE(CoarseningProgress__(5, 5, 0.8f));
  EXPECT_TRUE(CoarseningProgress__(800, 1000, 0.8f));
  EXPECT_FALSE(CoarseningProgress__(801, 1000, 0.8f));
  const float second = static_cast<float>(0.8f * 1.075);
  EXPECT_EQ(second, 0.86f);
  EXPECT_TRUE(CoarseningProgress__(860, 1000, second));
  EXPECT_FALSE(CoarseningProgress__(861, 1000, second));
}

TEST(Coarsen, EdgeSchemeStopsAtTheFirstFailingLevel) {
  HGraph *g = Path(200);
  PartCtrl ctrl = MakeCtrl(5, g);
  ctrl.run->now.MaxCellWgt = 1;  // no pair fits
  testrun::Seed(1);
  HGraph *c = Coarsen__(&ctrl, g);
  EXPECT_EQ(Depth(c), 1);
  EXPECT_EQ(c->nvtxs, 200);
  testgraphs::FreeChain(g);
}

TEST(Coarsen, OtherSchemesGetOneSecondChance) {
  for (int ctype : {1, 2, 3, 4, 6, 7}) {
    HGraph *g = Path(200);
    PartCtrl ctrl = MakeCtrl(ctype, g);
    ctrl.run->now.MaxCellWgt = 1;
    testrun::Seed(1);
    HGraph *c = Coarsen__(&ctrl, g);
    EXPECT_EQ(Depth(c), 2) << ctype;
    EXPECT_EQ(c->nvtxs, 200);
    testgraphs::FreeChain(g);
  }
}

TEST(Coarsen, TraceLinesAndSlowProgressMessage) {
  const std::string rule58(58, '-'), rule35(35, '-');
  const std::string line =
      "[   101    100   1.98   2.00   0.99   0.00,    100      0    100   0.99]\n";
  const std::string slow = "\nSlow progress in coarsening. Aborted at 101 nodes\n\n";
  for (int ctype : {5, 1}) {
    HGraph *g = Path(101);
    PartCtrl ctrl = MakeCtrl(ctype, g);
    ctrl.run->now.MaxCellWgt = 1;
    ctrl.run->now.dbglvl = DBG_COARSEN;
    testrun::Seed(1);
    testing::internal::CaptureStdout();
    Coarsen__(&ctrl, g);
    const std::string out = testing::internal::GetCapturedStdout();
    if (ctype == 5)
      EXPECT_EQ(out, rule58 + "\n" + line + line + slow);
    else
      EXPECT_EQ(out, rule58 + "\n" + line + line + rule35 + "\n" + line + slow);
    testgraphs::FreeChain(g);
  }
  // Normal end: a newline after the last trace line.
  HGraph *g = Path(101);
  PartCtrl ctrl = MakeCtrl(5, g);
  ctrl.run->now.dbglvl = DBG_COARSEN;
  testrun::Seed(1);
  testing::internal::CaptureStdout();
  HGraph *c = Coarsen__(&ctrl, g);
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_LE(c->nvtxs, 100);
  EXPECT_EQ(out.substr(0, 59 + line.size()), rule58 + "\n" + line);
  EXPECT_EQ(out.substr(out.size() - 3), "]\n\n");
  testgraphs::FreeChain(g);
}

TEST(Coarsen, NumOfLargeNets) {
  const int netptr[] = {0, 3, 7, 12, 14};
  EXPECT_EQ(NumOfLargeNets__(4, netptr), 2);
  EXPECT_EQ(NumOfLargeNets__(0, netptr), 0);
  EXPECT_EQ(NumOfLargeNets__(-1, netptr), 0);
}

TEST(CoarsenDeathTest, UnknownMatchingType) {
  HGraph *g = Path(200);
  PartCtrl ctrl = MakeCtrl(8, g);
  EXPECT_EXIT(Coarsen__(&ctrl, g), testing::ExitedWithCode(0), "Unknown matching type! 8");
  testgraphs::FreeChain(g);
}

// Replays CType 1 level by level with explicit orderings.
std::vector<std::vector<int>> ReplayStars(HGraph *g, PartCtrl *ctrl, int switchAt) {
  const int n = std::max(g->nvtxs, g->nhedges);
  std::vector<int> perm(n), htable(2 * n, -1);
  std::vector<KeyValue> vpairs(n);
  std::vector<std::vector<int>> maps;
  HGraph *cur = g;
  for (int built = 0; ctrl->run->now.CoarsenTo < cur->nvtxs && built < 7; built++) {
    SeparateIslands__(cur);
    Match_EdgesStars__(ctrl, cur, perm.data(), htable.data(), vpairs.data(),
                       built < switchAt ? 1 : 0);
    cur = cur->coarser;
  }
  // The next level's island separation renumbers a level's cellmap, so read them at the end.
  cur = g;
  for (int i = 0; i < 6 && cur->coarser; i++, cur = cur->coarser)
    maps.emplace_back(cur->cellmap, cur->cellmap + cur->nvtxs);
  return maps;
}

TEST(Coarsen, HeavyFirstSwitchesToDegreeOrderAtTheFifthLevel) {
  HGraph *g = testgraphs::Random(20000, 24000, 5, 3);
  PartCtrl ctrl = MakeCtrl(1, g);
  testrun::Seed(42);
  Coarsen__(&ctrl, g);
  std::vector<std::vector<int>> got;
  for (HGraph *cur = g; cur->coarser && got.size() < 6; cur = cur->coarser)
    got.emplace_back(cur->cellmap, cur->cellmap + cur->nvtxs);
  ASSERT_EQ(got.size(), 6u);
  ASSERT_GE(g->coarser->coarser->coarser->coarser->coarser->coarser->coarser->level, 7);
  testgraphs::FreeChain(g);

  for (int switchAt : {4, 5}) {
    g = testgraphs::Random(20000, 24000, 5, 3);
    testrun::Seed(42);
    const auto replay = ReplayStars(g, &ctrl, switchAt);
    if (switchAt == 4)
      EXPECT_EQ(replay, got);
    else
      EXPECT_NE(replay, got);  // the order matters from the fifth level on
    testgraphs::FreeChain(g);
  }
}

}  // namespace
