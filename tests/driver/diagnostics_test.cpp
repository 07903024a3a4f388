#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/test_hypergraphs.h"
#include "driver/driver.h"
#include "driver/driver_internal.h"
#include "driver_test_util.h"

using namespace hypra;

namespace {

using driver_test::DataPath;
using driver_test::ReadFile;
using driver_test::ScratchDir;

// A hypergraph built in memory with unit hyperedge weights unless given.
HGraph *Build(int nvtxs, const std::vector<std::vector<int>> &hedges,
              const std::vector<int> &netwgt = {}) {
  return testhg::NetsOnly(nvtxs, hedges, netwgt);
}

TEST(WriteHGraph, RoundTripThroughTheReader) {
  ScratchDir dir;
  HGraph *g = ReadHGraph(DataPath("weighted.hgr").c_str());
  driver_test::InDirectory(dir.path, [&] { WriteHGraph(g); });
  EXPECT_EQ(ReadFile(dir.File("hgr.5")), "3 5 11\n2 1 2 3\n5 3 4\n1 5 1\n4\n1\n2\n3\n9");

  HGraph *back = ReadHGraph(dir.File("hgr.5").c_str());
  EXPECT_EQ(back->nvtxs, g->nvtxs);
  ASSERT_EQ(back->nhedges, g->nhedges);
  EXPECT_EQ(std::vector<int>(back->netptr, back->netptr + 4),
            std::vector<int>(g->netptr, g->netptr + 4));
  EXPECT_EQ(std::vector<int>(back->netind, back->netind + g->netptr[3]),
            std::vector<int>(g->netind, g->netind + g->netptr[3]));
  EXPECT_EQ(std::vector<int>(back->netwgt, back->netwgt + 3),
            std::vector<int>(g->netwgt, g->netwgt + 3));
  EXPECT_EQ(std::vector<int>(back->cellwgt, back->cellwgt + 5),
            std::vector<int>(g->cellwgt, g->cellwgt + 5));
  FreeHGraph__(back);
  FreeHGraph__(g);
}

TEST(WriteHGraphDeathTest, NeedsBothWeightArrays) {
  HGraph *g = ReadHGraph(DataPath("small.hgr").c_str());
  EXPECT_EXIT(WriteHGraph(g), ::testing::ExitedWithCode(0),
              "WriteHGraph: the hypergraph needs both hyperedge and vertex weights");
  FreeHGraph__(g);
}

TEST(WriteConnectedHGraph, DropsIsolatedVerticesAndRenumbers) {
  ScratchDir dir;
  // Vertices 1 and 3 lie in no hyperedge: 0, 2, 4 become 1, 2, 3.
  HGraph *g = Build(5, {{0, 2}, {4, 2}, {0, 2, 4}});
  CreateIncidentHGraph__(g);
  driver_test::InDirectory(dir.path, [&] { WriteConnectedHGraph(g); });
  EXPECT_EQ(ReadFile(dir.File("new.hgr")), "3 3\n 1 2\n 3 2\n 1 2 3");
  FreeHGraph__(g);
}

TEST(WriteConnectedHGraphDeathTest, NeedsIncidenceLists) {
  HGraph *g = Build(3, {{0, 1}});
  EXPECT_EXIT(WriteConnectedHGraph(g), ::testing::ExitedWithCode(0),
              "WriteConnectedHGraph: the hypergraph has no vertex-to-hyperedge incidence lists");
  FreeHGraph__(g);
}

TEST(DumpHGraph, PrintsWeightsAndOneBasedPins) {
  HGraph *g = Build(4, {{0, 3}, {1, 2, 3}}, {7, 2});
  testing::internal::CaptureStdout();
  DumpHGraph(g);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "--------------------------\n2 4\n\n[7] 1 4\n[2] 2 3 4\n--------------------------\n");
  FreeHGraph__(g);
}

TEST(PrintPins, CountsCutHyperedgesPerTouchedPart) {
  // {0,1} uncut in part 0; {1,2} cut: parts 0, 1; {2,3,4} cut: parts 1, 2; {4} uncut.
  HGraph *g = Build(5, {{0, 1}, {1, 2}, {2, 3, 4}, {4}});
  const int where[5] = {0, 0, 1, 1, 2};
  testing::internal::CaptureStdout();
  Print_Pins(g, where, 3);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Number of Pins for each partition are: \n1 2 1 \nTotal number of pins = 4\n");
  FreeHGraph__(g);
}

TEST(PrintPins, NoPartsPrintsOnlyTheHeadingAndZero) {
  HGraph *g = Build(3, {{0, 1}, {1, 2}});
  const int where[3] = {0, 1, 1};
  testing::internal::CaptureStdout();
  Print_Pins(g, where, 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Number of Pins for each partition are: \n\nTotal number of pins = 0\n");
  FreeHGraph__(g);
}

TEST(CheckHGraph, AlwaysReturnsOne) {
  HGraph *g = Build(4, {{0, 1}, {1, 2, 3}});
  CreateIncidentHGraph__(g);
  EXPECT_EQ(CountIncidenceMismatches(g), 0);
  testing::internal::CaptureStdout();
  EXPECT_EQ(CheckHGraph(g), 1);
  // A pin that its vertex's incidence list does not know about: found, but not reported.
  g->netind[0] = 2;  // hyperedge 0 now holds 2 instead of 0
  EXPECT_EQ(CountIncidenceMismatches(g), 2);
  EXPECT_EQ(CheckHGraph(g), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  FreeHGraph__(g);
}

}  // namespace
