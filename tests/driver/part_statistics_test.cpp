#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "driver/driver.h"

using namespace hypra;

namespace {

struct Hyper {
  int nvtxs;
  std::vector<int> netptr, netind;
  int nhedges() const { return static_cast<int>(netptr.size()) - 1; }
};

Hyper Make(int nvtxs, const std::vector<std::vector<int>> &hedges) {
  Hyper h{nvtxs, {0}, {}};
  for (const auto &e : hedges) {
    h.netind.insert(h.netind.end(), e.begin(), e.end());
    h.netptr.push_back(static_cast<int>(h.netind.size()));
  }
  return h;
}

std::string Report(const Hyper &h, int nparts, const std::vector<int> &part,
                   const int *netwgt = nullptr, const int *cellwgt = nullptr) {
  testing::internal::CaptureStdout();
  PrintPartStatistics(h.nvtxs, h.nhedges(), nparts, h.netptr.data(), h.netind.data(), netwgt,
                      cellwgt, part.data());
  return testing::internal::GetCapturedStdout();
}

// The text after "Name:" on the report line that holds it, up to the next tab.
std::string Field(const std::string &report, const std::string &name) {
  const size_t at = report.find(name + ":");
  if (at == std::string::npos) return "<missing>";
  const size_t start = at + name.size() + 1;
  return report.substr(start, report.find('\t', start) - start);
}

TEST(PrintPartStatistics, ExactReport) {
  // Parts {0,1,2} and {3,4,5}. {0,1} and {3,4,5} are uncut (absorption 1 each); {1,2,3} is split
  // 2 + 1 (absorption 1/2 + 0); {0,5} is split 1 + 1 (absorption 0). Cut 2, each part touched by
  // both cut hyperedges: SOED 4; scaled cost (2/3 + 2/3) / (6 x 1) = 0.2222.
  const Hyper h = Make(6, {{0, 1}, {1, 2, 3}, {3, 4, 5}, {0, 5}});
  EXPECT_EQ(Report(h, 2, {0, 0, 0, 1, 1, 1}),
            "\n --------------------------------------------------------------------------"
            "\n  Summary for the 2-way partition:"
            "\n                Hyperedge Cut:         2\t\t(minimize)"
            "\n      Sum of External Degrees:         4\t\t(minimize)"
            "\n                  Scaled Cost:  2.22e-01\t\t(minimize)"
            "\n                   Absorption:      2.50\t\t(maximize)"
            "\n\n      Partition Sizes & External Degrees:\n\t"
            "     3[   2]      3[   2] ");
}

TEST(PrintPartStatistics, AbsorptionTerms) {
  EXPECT_EQ(Field(Report(Make(2, {{0, 1}}), 2, {1, 1}), "Absorption"), "      1.00");
  EXPECT_EQ(Field(Report(Make(2, {{0, 1}}), 2, {0, 1}), "Absorption"), "      0.00");
  EXPECT_EQ(Field(Report(Make(4, {{0, 1, 2, 3}}), 2, {0, 0, 0, 1}), "Absorption"), "      0.67");
  // A hyperedge without pins counts as uncut.
  EXPECT_EQ(Field(Report(Make(2, {{0, 1}, {}}), 2, {0, 0}), "Absorption"), "      2.00");
}

TEST(PrintPartStatistics, AbsorptionIsAccumulatedInSinglePrecision) {
  // 2^24 + 2 hyperedges without pins, each adding 1.0: once the float sum reaches 2^24, adding
  // 1.0 rounds back to 2^24, so the sum stays at 16777216 (a double sum would reach 16777218).
  Hyper h{1, std::vector<int>((1 << 24) + 3, 0), {}};
  EXPECT_EQ(Field(Report(h, 2, {0}), "Absorption"), "16777216.00");
}

TEST(PrintPartStatistics, ThreeWaySplitCountsThreeExternalDegrees) {
  const Hyper h = Make(3, {{0, 1, 2}});
  const int netwgt[1] = {5};
  const std::string out = Report(h, 3, {0, 1, 2}, netwgt);
  EXPECT_EQ(Field(out, "Hyperedge Cut"), "         5");
  EXPECT_EQ(Field(out, "Sum of External Degrees"), "        15");
}

TEST(PrintPartStatistics, EmptyPartWithoutCutGivesNan) {
  // Part 2 is empty and touched by nothing: 0/0.
  const std::string out = Report(Make(2, {{0, 1}}), 3, {0, 1});
  EXPECT_EQ(Field(out, "Scaled Cost"), "      -nan");
}

TEST(PrintPartStatistics, ZeroWeightPartWithCutGivesInf) {
  const int cellwgt[3] = {1, 1, 0};
  const std::string out = Report(Make(3, {{0, 2}, {1, 2}}), 3, {0, 1, 2}, nullptr, cellwgt);
  EXPECT_EQ(Field(out, "Scaled Cost"), "       inf");
}

TEST(PrintPartStatistics, WeightsAreUsed) {
  // Part weights 4 and 6; the cut hyperedge weighs 3 and touches both parts.
  const int netwgt[2] = {3, 2};
  const int cellwgt[3] = {4, 5, 1};
  const std::string out = Report(Make(3, {{0, 1}, {1, 2}}), 2, {0, 1, 1}, netwgt, cellwgt);
  EXPECT_EQ(Field(out, "Hyperedge Cut"), "         3");
  EXPECT_NE(out.find("     4[   3]      6[   3] "), std::string::npos);
  // (3/4 + 3/6) / (3 x 1) = 0.41667
  EXPECT_EQ(Field(out, "Scaled Cost"), "  4.17e-01");
}

TEST(PrintPartStatistics, LineBreakAfterEveryFifthPart) {
  std::vector<int> part(10);
  for (int i = 0; i < 10; i++) part[i] = i;
  const std::string out = Report(Make(10, {}), 10, part);
  std::string entries5;
  for (int i = 0; i < 5; i++) entries5 += "     1[   0] ";
  const std::string tail =
      "\n\n      Partition Sizes & External Degrees:\n\t" + entries5 + "\n\t" + entries5 + "\n\t";
  ASSERT_GE(out.size(), tail.size());
  EXPECT_EQ(out.substr(out.size() - tail.size()), tail);
}

TEST(ComputePartWeights, AddsWithoutClearing) {
  int pwgts[2] = {10, 20};
  const int part[3] = {0, 1, 1};
  ComputePartWeights(3, nullptr, part, pwgts);
  EXPECT_EQ(pwgts[0], 11);
  EXPECT_EQ(pwgts[1], 22);
  const int cellwgt[3] = {5, 6, 7};
  ComputePartWeights(3, cellwgt, part, pwgts);
  EXPECT_EQ(pwgts[0], 16);
  EXPECT_EQ(pwgts[1], 35);
}

TEST(ComputePartCuts, ClearsThenAddsEachCutHyperedgeToEveryTouchedPart) {
  const Hyper h = Make(5, {{0, 1}, {1, 2, 3}, {3, 4}, {0, 4}});
  const int part[5] = {0, 0, 1, 2, 2};
  int pcuts[3] = {9, 9, 9};
  ComputePartCuts(h.nhedges(), 3, h.netptr.data(), h.netind.data(), nullptr, part, pcuts);
  // {1,2,3} is cut (parts 0, 1, 2) and {0,4} is cut (parts 0, 2); the others are uncut.
  EXPECT_EQ(pcuts[0], 2);
  EXPECT_EQ(pcuts[1], 1);
  EXPECT_EQ(pcuts[2], 2);
  const int netwgt[4] = {1, 4, 1, 1};
  const int part2[5] = {0, 1, 1, 1, 2};
  ComputePartCuts(h.nhedges(), 3, h.netptr.data(), h.netind.data(), netwgt, part2, pcuts);
  // {0,1} cut (0,1), {3,4} cut (1,2), {0,4} cut (0,2); {1,2,3} uncut.
  EXPECT_EQ(pcuts[0], 2);
  EXPECT_EQ(pcuts[1], 2);
  EXPECT_EQ(pcuts[2], 2);
}

TEST(PrintPartStatisticsDeathTest, PartOutOfRange) {
  EXPECT_EXIT(Report(Make(2, {{0, 1}}), 2, {0, 2}), ::testing::ExitedWithCode(0),
              "PrintPartStatistics: vertex 1 is in part 2, outside 0..1");
}

}  // namespace
