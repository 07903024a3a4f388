// The control record holds the caller's settings and a run only reads it: everything a run
// changes (its generator, the values it goes by for a stretch, its timers) lives in its run
// record, so one record of settings can serve any number of runs.
#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>
#include <vector>

#include "common/test_run.h"
#include "fixtures.h"
#include "kway/kway.h"
#include "partition/partition.h"

using namespace hypra;

namespace {

// The engine's drivers cannot write to the settings: the compiler holds them to it.
static_assert(
    std::is_same_v<decltype(&MultilevelPartition__), int (*)(const PartCtrl *, HGraph *, int *)>);
static_assert(std::is_same_v<decltype(&MultilevelKwayPartition__),
                             int (*)(const PartCtrl *, HGraph *, int *)>);

PartCtrl Settings(int nparts, int vcycle, int ctype) {
  PartCtrl ctrl{};
  ctrl.CoarsenTo = 100;
  ctrl.CType = ctype;
  ctrl.RType = 1;
  ctrl.Nruns = 3;
  ctrl.MaxNetSize = 50;
  ctrl.UBfactor = 0.05f;
  ctrl.Seed = 3;
  ctrl.Vcycle = vcycle;
  ctrl.Nparts = nparts;
  ctrl.KwayRefine = 1;
  ctrl.run = testrun::Fresh();
  return ctrl;
}

struct Snapshot {
  unsigned char bytes[sizeof(PartCtrl)];
  explicit Snapshot(const PartCtrl &ctrl) { std::memcpy(bytes, &ctrl, sizeof(PartCtrl)); }
  bool Same(const PartCtrl &ctrl) const { return std::memcmp(bytes, &ctrl, sizeof(PartCtrl)) == 0; }
};

TEST(RunState, RecursiveRunsLeaveTheSettingsAsSetAndPutBackWhatTheyOverride) {
  const TestHypergraph h = RingHypergraph(600, 700, 5, true);
  for (int vcycle = 0; vcycle <= 3; vcycle++)
    for (double imbalance : {0.0, 0.05}) {
      PartCtrl ctrl = Settings(5, vcycle, 2);
      if (imbalance > 0) {
        ctrl.Imbalance = imbalance;
        ctrl.MaxPartWgt = PartWeightBound__(iasum__(h.nvtxs, h.vwgts.data()), 5, imbalance);
      }
      InitRunValues__(&ctrl.run->now, &ctrl);
      const Snapshot before(ctrl);
      HGraph *g = ToHGraph(h);
      g->nfixed = 0;
      std::vector<int> part(h.nvtxs, -1);
      MultilevelPartition__(&ctrl, g, part.data());
      FreeHGraph__(g);
      EXPECT_TRUE(before.Same(ctrl)) << "V-cycle mode " << vcycle << ", imbalance " << imbalance;
      // The V-cycles coarsen by their own scheme to their own size, and the runs alternate
      // schemes; the run goes by the caller's again afterwards.
      EXPECT_EQ(ctrl.run->now.CType, 2);
      EXPECT_EQ(ctrl.run->now.CoarsenTo, 100);
      EXPECT_EQ(ctrl.run->now.RType, 1);
      for (int p : part) EXPECT_TRUE(p >= 0 && p < 5);
    }
}

TEST(RunState, DirectRunsLeaveTheSettingsAsSet) {
  const TestHypergraph h = RingHypergraph(500, 600, 9);
  for (int vcycle = 0; vcycle <= 3; vcycle++) {
    PartCtrl ctrl = Settings(6, vcycle, 1);
    InitRunValues__(&ctrl.run->now, &ctrl);
    ctrl.run->now.UBfactor = 1.05f;  // the direct path's factor on the average part
    const Snapshot before(ctrl);
    HGraph *g = ToHGraph(h);
    g->nfixed = 0;
    std::vector<int> part(h.nvtxs, -1);
    MultilevelKwayPartition__(&ctrl, g, part.data());
    FreeHGraph__(g);
    EXPECT_TRUE(before.Same(ctrl)) << "V-cycle mode " << vcycle;
    EXPECT_EQ(ctrl.run->now.CType, 1);
    EXPECT_EQ(ctrl.run->now.CoarsenTo, 100);
  }
}

TEST(RunState, ARunStartsFromTheSettingsAndATaskFromItsParentsValues) {
  PartCtrl ctrl = Settings(4, 1, 3);
  ctrl.dbglvl = DBG_TRACE;
  InitRunValues__(&ctrl.run->now, &ctrl);
  EXPECT_EQ(ctrl.run->now.CType, 3);
  EXPECT_EQ(ctrl.run->now.CoarsenTo, 100);
  EXPECT_EQ(ctrl.run->now.dbglvl, DBG_TRACE);
  EXPECT_FLOAT_EQ(ctrl.run->now.UBfactor, 0.05f);
  ctrl.run->now.TargetFrac = 0.25f;
  ctrl.run->now.Place = 77;
  RunState task;
  InitTaskRunState__(&task, ctrl.run);
  EXPECT_FLOAT_EQ(task.now.TargetFrac, 0.25f);
  EXPECT_EQ(task.now.Place, 77);
  EXPECT_EQ(task.now.CType, 3);
  EXPECT_EQ(task.out, nullptr);
  FreeRunState__(&task);
}

}  // namespace
