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

}  // namespace
