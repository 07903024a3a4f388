// End-to-end runs of the built program: standard output, standard error and exit status.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "driver_test_util.h"

namespace {

using driver_test::DataPath;
using driver_test::ProgramPath;
using driver_test::RunProgram;
using driver_test::ScratchDir;

std::string Usage() {
  const std::string p = ProgramPath();
  return "Usage: " + p + " <GraphFile> <Nparts> <UBfactor>\n" +
         "       or\n"
         "       " +
         p + " <GraphFile> <FixFile> <Nparts> <UBfactor>\n" +
         "Where:\n"
         " GraphFile: name of the hypergraph file\n"
         " FixFile  : name of the file containing pre-assignment of vertices to partitions\n"
         " Nparts   : number of partitions desired\n"
         " UBfactor : balance between the partitions (e.g., use 5 for a 45-55 bisection "
         "balance)\n";
}

// Runs the program in a scratch directory holding a copy of the named fixtures, so that any
// output written next to the inputs stays out of the source tree.
driver_test::RunResult RunWith(const std::vector<std::string> &fixtures,
                               const std::vector<std::string> &args) {
  ScratchDir dir;
  for (const auto &f : fixtures) std::filesystem::copy_file(DataPath(f), dir.File(f));
  return RunProgram(args, dir.path);
}

void ExpectFatal(const std::string &graph, const std::string &err) {
  SCOPED_TRACE(graph);
  const auto r = RunWith({graph}, {graph, "2", "5"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, err);
}

TEST(Cli, UsageForWrongArgumentCounts) {
  for (const auto &args : {std::vector<std::string>{}, std::vector<std::string>{"a.hgr", "2"},
                           std::vector<std::string>{"a.hgr", "b.fix", "2", "5", "extra"}}) {
    const auto r = RunProgram(args, HYPRA_BINARY_DIR);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, Usage());
    EXPECT_EQ(r.err, "");
  }
}

TEST(Cli, MissingGraphFile) {
  ScratchDir dir;
  const auto r = RunProgram({"none.hgr", "2", "5"}, dir.path);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "Can't open input file: No such file or directory\n");
}

TEST(Cli, ValidationMessages) {
  ExpectFatal("one_cell.hgr", "Cannot partition graph with 1 cells\n\n");
  ExpectFatal("bad_fmt.hgr", "Cannot read this type of file format!\n");
  ExpectFatal("missing_hedge.hgr", "Data about hyperedge 2 missing from the input file!\n\n");
  ExpectFatal("mismatch.hgr", "Mismatch between the provided and actual value of num_cells\n\n");
  ExpectFatal("out_of_netind.hgr", "Out of netind memory!\n");
  ExpectFatal("empty_hedge.hgr", "Empty Hyperedge # 2\n\n");
  ExpectFatal("missing_weights.hgr",
              "Weights from vertex 2 onwards missing from the input file!\n\n");
  ExpectFatal("short_header.hgr",
              "Malformed header in file short_header.hgr: expected the numbers of hyperedges and "
              "vertices\n");
}

TEST(Cli, FixFileWithTooLargeAPart) {
  const auto r =
      RunWith({"small.hgr", "small_too_many.fix"}, {"small.hgr", "small_too_many.fix", "2", "5"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out,
            "Input Error:\n\tThe file small_too_many.fix contains more than 2 sets of "
            "pre-assigned vertices.\n\n");
  EXPECT_EQ(r.err, "");
}

TEST(Cli, MissingFixFile) {
  const auto r = RunWith({"small.hgr"}, {"small.hgr", "none.fix", "2", "5"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "ReadPartition: partfile: No such file or directory\n");
}

TEST(Cli, ShortFixFileIsAccepted) {
  // The vertices without an entry stay fixed to part 0, which is below Nparts.
  const auto r =
      RunWith({"small.hgr", "small_short.fix"}, {"small.hgr", "small_short.fix", "2", "5"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out.rfind("****", 0), 0u);
  EXPECT_NE(r.out.find("With Fixed Vertices"), std::string::npos);
}

TEST(Cli, FixedPartBelowMinusOne) {
  const auto r =
      RunWith({"small.hgr", "small_negative.fix"}, {"small.hgr", "small_negative.fix", "4", "5"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err,
            "File small_negative.fix: vertex 2 is fixed to part -3; a part must be -1 (free) or "
            "0 to 2147483647\n");
}

const char *const kHeaderTop =
    "*******************************************************************************\n"
    "hypra 1.0.0: multilevel hypergraph partitioner\n"
    "\n"
    "HyperGraph Information -----------------------------------------------------\n"
    " Name: small.hgr, #Vtxs:     6, #Hedges:     4, #Parts: 2, UBfactor: 0.05\n";

TEST(Cli, HeaderBlockWithoutFixFile) {
  const auto r = RunWith({"small.hgr"}, {"small.hgr", "2", "5"});
  const std::string header =
      std::string(kHeaderTop) +
      " Options: HFC, FM, Reconst-False, V-cycles @ End, No Fixed Vertices\n"
      "\n"
      "Recursive Partitioning... --------------------------------------------------\n";
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out.substr(0, header.size()), header);
}

TEST(Cli, HeaderBlockWithFixFile) {
  const auto r = RunWith({"small.hgr", "small_ok.fix"}, {"small.hgr", "small_ok.fix", "2", "5"});
  const std::string header =
      std::string(kHeaderTop) +
      " Options: HFC, FM, Reconst-False, V-cycles @ End, With Fixed Vertices\n"
      "\n"
      "Recursive Partitioning... --------------------------------------------------\n";
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out.substr(0, header.size()), header);
}

// The run flow after partitioning, with a partitioner that puts free vertex v in part v mod
// nparts. For small.hgr and 2 parts: parts {0,2,4} and {1,3,5}; every hyperedge is cut: cut 4,
// each part touched by all four (SOED 8), scaled cost (4/3 + 4/3) / 6 = 0.444; absorption:
// {1,2,3} and {3,4,5} each add 1/2 for the part holding two of their pins, the rest add 0.
TEST(Cli, RunFlowWritesThePartitionFileAndReports) {
  ScratchDir dir;
  std::filesystem::copy_file(DataPath("small.hgr"), dir.File("small.hgr"));
  const auto r = RunProgram({"small.hgr", "2", "5"}, dir.path, HYPRA_FIXED_RESULT_PROGRAM);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(driver_test::ReadFile(dir.File("small.hgr.part.2")), "0\n1\n0\n1\n0\n1\n");

  const std::string expected =
      std::string(kHeaderTop) +
      " Options: HFC, FM, Reconst-False, V-cycles @ End, No Fixed Vertices\n"
      "\n"
      "Recursive Partitioning... --------------------------------------------------\n"
      "\n --------------------------------------------------------------------------"
      "\n  Summary for the 2-way partition:"
      "\n                Hyperedge Cut:         4\t\t(minimize)"
      "\n      Sum of External Degrees:         8\t\t(minimize)"
      "\n                  Scaled Cost:  4.44e-01\t\t(minimize)"
      "\n                   Absorption:      1.00\t\t(maximize)"
      "\n\n      Partition Sizes & External Degrees:\n\t"
      "     3[   4]      3[   4] "
      "\n\nTiming Information ---------------------------------------------------------";
  ASSERT_GE(r.out.size(), expected.size());
  EXPECT_EQ(r.out.substr(0, expected.size()), expected);
  // The times vary from run to run; a small run takes well under ten seconds of each.
  std::string timing = r.out.substr(expected.size());
  for (char &c : timing)
    if (c >= '0' && c <= '9') c = '9';
  EXPECT_EQ(timing, "\n  Partitioning Time:\t\t   9.999sec\n           I/O Time:\t\t   9.999sec\n" +
                        std::string(79, '*') + "\n");
}

TEST(Cli, RunFlowNamesThePartitionFileByThePartsUsed) {
  // Every vertex fixed to part 0 or 1 while 4 parts are asked for: the name says 2.
  ScratchDir dir;
  std::filesystem::copy_file(DataPath("small.hgr"), dir.File("small.hgr"));
  dir.Write("all.fix", "0\n1\n0\n1\n1\n0\n");
  const auto r =
      RunProgram({"small.hgr", "all.fix", "4", "5"}, dir.path, HYPRA_FIXED_RESULT_PROGRAM);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(driver_test::ReadFile(dir.File("small.hgr.part.2")), "0\n1\n0\n1\n1\n0\n");
  EXPECT_NE(r.out.find("With Fixed Vertices"), std::string::npos);
  EXPECT_NE(r.out.find("Summary for the 4-way partition:"), std::string::npos);
}

}  // namespace
