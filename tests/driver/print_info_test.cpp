#include <gtest/gtest.h>

#include <string>

#include "driver/driver.h"

using namespace hypra;

namespace {

const char *const kTop =
    "*******************************************************************************\n"
    "hypra 1.0.0: multilevel hypergraph partitioner\n"
    "\n"
    "HyperGraph Information -----------------------------------------------------\n";

std::string Info(int nparts, int ubfactor, const int *options, int mode) {
  HGraph graph{};
  graph.nvtxs = 12752;
  graph.nhedges = 7;
  testing::internal::CaptureStdout();
  PrintInfo(&graph, nparts, ubfactor, options, "ibm01.hgr", mode);
  return testing::internal::GetCapturedStdout();
}

TEST(PrintInfo, RecursiveHeaderWithTheDriverOptions) {
  const int options[9] = {1, 10, 1, 1, 1, 0, 0, -1, 8};
  EXPECT_EQ(Info(4, 5, options, 1),
            std::string(kTop) +
                " Name: ibm01.hgr, #Vtxs: 12752, #Hedges:     7, #Parts: 4, UBfactor: 0.05\n"
                " Options: HFC, FM, Reconst-False, V-cycles @ End, No Fixed Vertices\n"
                "\n"
                "Recursive Partitioning... --------------------------------------------------\n");
}

TEST(PrintInfo, FixedVerticesAndOtherSchemes) {
  const int options[9] = {1, 10, 5, 3, 3, 1, 1, -1, 8};
  const std::string out = Info(2, 49, options, 1);
  EXPECT_NE(out.find("UBfactor: 0.49\n Options: EDGE, EEFM, Reconst-True, Always V-cycle, With "
                     "Fixed Vertices\n"),
            std::string::npos);
}

TEST(PrintInfo, UnknownCodesPrintQuestionMarks) {
  const int options[9] = {1, 10, 0, 4, -1, 2, 7, -1, 8};
  const std::string out = Info(2, 5, options, 1);
  EXPECT_NE(out.find(" Options: ??, ??, ??, ??, ??\n"), std::string::npos);
}

TEST(PrintInfo, KwayWording) {
  const int options[9] = {1, 10, 2, 2, 2, 0, 0, -1, 0};
  EXPECT_EQ(Info(8, 5, options, 2),
            std::string(kTop) +
                " Name: ibm01.hgr, #Vtxs: 12752, #Hedges:     7, #Parts: 8, UBfactor: 1.05\n"
                " Options: FC, SOED-minimization, V-cycle for Min\n"
                "\n"
                "K-way Partitioning... ------------------------------------------------------\n");
}

TEST(PrintInfo, NoOptionsLineWithoutOptions) {
  EXPECT_EQ(Info(3, 10, nullptr, 1),
            std::string(kTop) +
                " Name: ibm01.hgr, #Vtxs: 12752, #Hedges:     7, #Parts: 3, UBfactor: 0.10\n"
                "\n"
                "Recursive Partitioning... --------------------------------------------------\n");
}

}  // namespace
