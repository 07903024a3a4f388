// The code families: the codes a caller may choose, their names, and "??" for anything else.
#include <gtest/gtest.h>

#include <string>

#include "coarsen/coarsen.h"
#include "kway/kway.h"
#include "partition/partition.h"
#include "refine2/refine2.h"

using namespace hypra;

namespace {

TEST(CodeFamilies, CoarseningSchemesOneToFive) {
  const char *names[] = {"HFC", "FC", "GFC", "HEDGE", "EDGE"};
  for (int c = 1; c <= 5; c++) {
    EXPECT_TRUE(IsCoarseningScheme__(c));
    EXPECT_EQ(std::string(CoarseningSchemeName__(c)), names[c - 1]);
  }
  // The engine's own variants 6 and 7 are not a caller's choice.
  for (int c : {0, 6, 7, -1, 1 << 30}) {
    EXPECT_FALSE(IsCoarseningScheme__(c)) << c;
    EXPECT_EQ(std::string(CoarseningSchemeName__(c)), "??") << c;
  }
}

TEST(CodeFamilies, TwoWayRefinersOneToThree) {
  const char *names[] = {"FM", "1WayFM", "EEFM"};
  for (int r = 1; r <= 3; r++) {
    EXPECT_TRUE(IsTwoWayRefiner__(r));
    EXPECT_EQ(std::string(TwoWayRefinerName__(r)), names[r - 1]);
  }
  for (int r : {0, 4, 5, 10, -3}) {
    EXPECT_FALSE(IsTwoWayRefiner__(r)) << r;
    EXPECT_EQ(std::string(TwoWayRefinerName__(r)), "??") << r;
  }
}

TEST(CodeFamilies, KwayObjectivesOneAndTwo) {
  EXPECT_EQ(std::string(KwayObjectiveName__(1)), "Cut-minimization");
  EXPECT_EQ(std::string(KwayObjectiveName__(2)), "SOED-minimization");
  for (int r : {0, 3, 10}) EXPECT_EQ(std::string(KwayObjectiveName__(r)), "??") << r;
}

TEST(CodeFamilies, VCycleModesZeroToThree) {
  const char *names[] = {"No V-cycles", "V-cycles @ End", "V-cycle for Min", "Always V-cycle"};
  for (int v = 0; v <= 3; v++) {
    EXPECT_TRUE(IsVCycleMode__(v));
    EXPECT_EQ(std::string(VCycleModeName__(v)), names[v]);
  }
  for (int v : {-1, 4}) {
    EXPECT_FALSE(IsVCycleMode__(v));
    EXPECT_EQ(std::string(VCycleModeName__(v)), "??");
  }
}

TEST(CodeFamilies, VCycleModesDecideByTheirRule) {
  PartCtrl ctrl{};
  ctrl.Vcycle = 0;
  EXPECT_FALSE(WantsVCycles__(&ctrl, 10, 100, true));
  ctrl.Vcycle = 1;
  EXPECT_FALSE(WantsVCycles__(&ctrl, 10, 100, true));
  ctrl.Vcycle = 2;
  EXPECT_TRUE(WantsVCycles__(&ctrl, 100, 100, false));
  EXPECT_TRUE(WantsVCycles__(&ctrl, 150, 100, true));
  EXPECT_FALSE(WantsVCycles__(&ctrl, 150, 100, false));
  ctrl.Vcycle = 3;
  EXPECT_TRUE(WantsVCycles__(&ctrl, 119, 100, false));    // within 20 %
  EXPECT_TRUE(WantsVCycles__(&ctrl, 1019, 1000, false));  // within 20 of the best
  EXPECT_FALSE(WantsVCycles__(&ctrl, 1300, 1000, true));
  ctrl.Vcycle = 9;
  EXPECT_FALSE(WantsVCycles__(&ctrl, 1, 100, true));
}

}  // namespace
