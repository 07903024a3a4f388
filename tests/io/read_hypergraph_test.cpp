// The hgr reader: every file it accepts gives the hypra program's reader the same hypergraph
// (the benchmark netlists and small files of every kind), and every file held to the format is
// refused with the file, the line and what is wrong.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "core/core.h"
#include "driver/driver.h"
#include "io/io.h"
#include "io/read_test_util.h"

using namespace hypra;

namespace {

using io_test::ExpectRefused;
using io_test::Read;
using io_test::ScratchDir;

std::vector<int> Ints(const int *a, int n) {
  return a == nullptr ? std::vector<int>() : std::vector<int>(a, a + n);
}

// The arrays of the io reader are those of the hypra program's reader.
void ExpectSameAsProgram(const std::string &path) {
  SCOPED_TRACE(path);
  Read r(path, FORMAT_HGR);
  ASSERT_EQ(r.status, IO_OK) << r.err.message;
  HGraph *g = ReadHGraph(path.c_str());
  EXPECT_EQ(r.h.nvtxs, g->nvtxs);
  ASSERT_EQ(r.h.nhedges, g->nhedges);
  EXPECT_EQ(r.Netptr(), Ints(g->netptr, g->nhedges + 1));
  EXPECT_EQ(r.Netind(), Ints(g->netind, g->netptr[g->nhedges]));
  // Without hyperedges the program keeps no (empty) weight array; the io record follows fmt.
  if (g->nhedges > 0) {
    EXPECT_EQ(r.h.netwgt == nullptr, g->netwgt == nullptr);
  }
  EXPECT_EQ(r.h.netwgt != nullptr, r.h.fmt % 10 == 1);
  EXPECT_EQ(r.Netwgt(), Ints(g->netwgt, g->nhedges));
  EXPECT_EQ(r.h.cellwgt == nullptr, g->cellwgt == nullptr);
  EXPECT_EQ(r.Cellwgt(), Ints(g->cellwgt, g->nvtxs));
  FreeHGraph__(g);
}

TEST(ReadHgr, BenchmarkNetlistsGiveTheProgramsArrays) {
  const std::filesystem::path bench(HYPRA_BENCH_DIR);
  if (!std::filesystem::is_directory(bench))
    GTEST_SKIP() << "benchmark folder " << bench
                 << " not found; configure with -DHYPRA_BENCH_DIR=<folder of ibm*.hgr>";
  std::vector<std::string> files;
  for (const auto &e : std::filesystem::directory_iterator(bench))
    if (e.path().extension() == ".hgr") files.push_back(e.path().string());
  if (files.empty()) GTEST_SKIP() << "no .hgr file in " << bench;
  for (const auto &f : files) ExpectSameAsProgram(f);
}

TEST(ReadHgr, SmallFilesGiveTheProgramsArrays) {
  ScratchDir dir;
  const char *const files[] = {
      // Two-number header, comments before, between and after the lines.
      "% a comment\n%\n4 6\n1 2\n% between\n2 3 4\n4 5 6\n1 6\n% at the end\n",
      // fmt given as 0; blanks of every kind; signs; trailing blank lines.
      "3 5 0\n\t1   2\t\n+3 4 \n5 1 2\r\n\n\n",
      // Hyperedge weights.
      "3 5 1\n2 1 2 3\n5 3 4\n1 5 1\n",
      // Vertex weights, a zero among them.
      "2 4 10\n1 2\n3 4\n1\n0\n7\n% comment among the weights\n2\n",
      // Both, written with CRLF line ends.
      "2 3 11\r\n4 1 2\r\n1 2 3\r\n5\r\n6\r\n7\r\n",
      // A pin repeated in a hyperedge is kept once, at its first place.
      "2 5\n3 3 5 3\n1 2\n",
      // A header announcing vertices no hyperedge holds.
      "1 1000000\n1 1000000\n",
      // No hyperedges at all, with and without their weights.
      "0 3\n",
      "0 3 11\n1\n2\n3\n",
      // A file that does not end in a newline.
      "2 3\n1 2\n2 3",
  };
  int i = 0;
  for (const char *text : files)
    ExpectSameAsProgram(dir.Write("f" + std::to_string(i++) + ".hgr", text));
}

TEST(ReadHgr, LongHyperedgesWithRepeatedPinsGiveTheProgramsArrays) {
  // Long enough for the sorted search of repeated pins, with repeats at both ends.
  std::string text = "3 50\n";
  for (int v = 50; v >= 1; v--) text += std::to_string(v) + " ";
  text += "50 1 25 25\n";
  for (int v = 1; v <= 40; v++) text += std::to_string(v % 7 + 1) + " ";
  text += "\n3 3 9\n";
  ScratchDir dir;
  ExpectSameAsProgram(dir.Write("long.hgr", text));
  Read r(dir.File("long.hgr"), FORMAT_HGR);
  EXPECT_EQ(r.Pins(1), (std::vector<int>{1, 2, 3, 4, 5, 6, 0}));
  EXPECT_EQ(r.Pins(2), (std::vector<int>{2, 8}));
}

TEST(ReadHgr, LargeVertexNumbersCostNoMemory) {
  // Nothing is sized by the vertex count or the largest vertex number.
  ScratchDir dir;
  Read r(dir.Write("big.hgr", "1 2147483647\n2147483647 1\n"), FORMAT_HGR);
  ASSERT_EQ(r.status, IO_OK) << r.err.message;
  EXPECT_EQ(r.h.nvtxs, 2147483647);
  EXPECT_EQ(r.Pins(0), (std::vector<int>{2147483646, 0}));
}

TEST(ReadHgr, ReadsTheWeightsAndPins) {
  ScratchDir dir;
  Read r(dir.Write("w.hgr", "2 3 11\n4 1 2\n1 2 3 2\n5\n6\n7\n"), FORMAT_HGR);
  ASSERT_EQ(r.status, IO_OK) << r.err.message;
  EXPECT_EQ(r.h.nvtxs, 3);
  EXPECT_EQ(r.h.nhedges, 2);
  EXPECT_EQ(r.h.fmt, 11);
  // The repeated pin 2 of the second hyperedge is kept once.
  EXPECT_EQ(r.Netptr(), (std::vector<int>{0, 2, 4}));
  EXPECT_EQ(r.Netind(), (std::vector<int>{0, 1, 1, 2}));
  EXPECT_EQ(r.Netwgt(), (std::vector<int>{4, 1}));
  EXPECT_EQ(r.Cellwgt(), (std::vector<int>{5, 6, 7}));
}

TEST(ReadHgr, ALineOfAnyLengthIsReadWhole) {
  // Longer than any fixed line buffer the program's reader uses.
  const int n = 200000;
  std::string text = "2 " + std::to_string(n) + "\n";
  for (int v = 1; v <= n; v++) text += std::to_string(v) + (v < n ? " " : "\n");
  text += "1 " + std::to_string(n) + "\n";
  ScratchDir dir;
  Read r(dir.Write("long.hgr", text), FORMAT_HGR);
  ASSERT_EQ(r.status, IO_OK) << r.err.message;
  ASSERT_EQ(r.h.nhedges, 2);
  EXPECT_EQ(r.h.netptr[1], n);
  EXPECT_EQ(r.h.netind[n - 1], n - 1);
  EXPECT_EQ(r.Pins(1), (std::vector<int>{0, n - 1}));
}

TEST(ReadHgr, HeaderProblems) {
  ScratchDir dir;
  ExpectRefused(dir, "a.hgr", "", FORMAT_HGR, 1,
                "the header must give the numbers of hyperedges and vertices");
  ExpectRefused(dir, "a.hgr", "% only a comment\n", FORMAT_HGR, 2,
                "the header must give the numbers of hyperedges and vertices");
  // A blank line is not skipped: it is a header without numbers.
  ExpectRefused(dir, "a.hgr", "\n2 3\n1 2\n2 3\n", FORMAT_HGR, 1,
                "the header must give the numbers of hyperedges and vertices");
  ExpectRefused(dir, "a.hgr", "% c\n3\n", FORMAT_HGR, 2,
                "the header must give the numbers of hyperedges and vertices");
  ExpectRefused(dir, "a.hgr", "abc 4\n", FORMAT_HGR, 1,
                "the number of hyperedges 'abc' is not a whole number");
  ExpectRefused(dir, "a.hgr", "2 4.5\n", FORMAT_HGR, 1,
                "the number of vertices '4.5' is not a whole number");
  ExpectRefused(dir, "a.hgr", "2 4 1x\n", FORMAT_HGR, 1, "fmt '1x' is not a whole number");
  ExpectRefused(dir, "a.hgr", "2 4 1 7\n", FORMAT_HGR, 1,
                "unexpected '7' after the header's numbers of hyperedges, vertices and fmt");
  ExpectRefused(dir, "a.hgr", "2 4 2\n", FORMAT_HGR, 1, "fmt 2 is not one of 0, 1, 10 and 11");
  ExpectRefused(dir, "a.hgr", "2 4 -1\n", FORMAT_HGR, 1, "fmt -1 is not one of 0, 1, 10 and 11");
  ExpectRefused(dir, "a.hgr", "1 1\n1\n", FORMAT_HGR, 1,
                "a hypergraph to partition needs at least 2 vertices; the header gives 1");
  ExpectRefused(dir, "a.hgr", "-1 4\n", FORMAT_HGR, 1, "the number of hyperedges, -1, is negative");
  ExpectRefused(dir, "a.hgr", "2 3000000000\n", FORMAT_HGR, 1,
                "3000000000 vertices are too many to store");
  // The step past the largest value kept must not overflow either.
  ExpectRefused(dir, "a.hgr", "2 44444444444444444444\n", FORMAT_HGR, 1,
                "the number of vertices '44444444444444444444' is too large");
  ExpectRefused(dir, "a.hgr", "2 99999999999999999999999\n", FORMAT_HGR, 1,
                "the number of vertices '99999999999999999999999' is too large");
}

TEST(ReadHgr, PinProblems) {
  ScratchDir dir;
  ExpectRefused(dir, "p.hgr", "2 4\n% c\n1 2\n1 5\n", FORMAT_HGR, 4, "pin 5 is outside 1..4");
  ExpectRefused(dir, "p.hgr", "2 4\n1 0\n1 2\n", FORMAT_HGR, 2, "pin 0 is outside 1..4");
  ExpectRefused(dir, "p.hgr", "2 4\n1 2\n-3 2\n", FORMAT_HGR, 3, "pin -3 is outside 1..4");
  ExpectRefused(dir, "p.hgr", "1 4\n1 99999999999999999999\n", FORMAT_HGR, 2,
                "pin 99999999999999999999 is outside 1..4");
  for (const char *bad : {"5.5", "4x", "abc", "1e3", "0x3", "--1", "+"}) {
    ExpectRefused(dir, "p.hgr", std::string("2 9\n1 2\n3 ") + bad + " 4\n", FORMAT_HGR, 3,
                  std::string("pin '") + bad + "' of hyperedge 2 is not a whole number");
  }
}

TEST(ReadHgr, HyperedgeLineProblems) {
  ScratchDir dir;
  ExpectRefused(dir, "e.hgr", "3 4\n1 2\n2 3\n", FORMAT_HGR, 4,
                "the file ends before hyperedge 3 of 3");
  ExpectRefused(dir, "e.hgr", "3 4\n1 2\n\n2 3\n", FORMAT_HGR, 3, "hyperedge 2 has no pins");
  ExpectRefused(dir, "e.hgr", "2 4\n1 2\n  \t\n", FORMAT_HGR, 3, "hyperedge 2 has no pins");
  // The program's reader lets an empty last hyperedge through; here it is refused too.
  ExpectRefused(dir, "e.hgr", "2 4\n1 2\n\n", FORMAT_HGR, 3, "hyperedge 2 has no pins");
  ExpectRefused(dir, "e.hgr", "2 4\n1 2\n2 3\n3 4\n", FORMAT_HGR, 4,
                "unexpected '3' after the last hyperedge");
  ExpectRefused(dir, "e.hgr", "2 4\n1 2\n2 3\n% fine\n\n  x\n", FORMAT_HGR, 6,
                "unexpected 'x' after the last hyperedge");
  // A comment starts at the start of the line only.
  ExpectRefused(dir, "e.hgr", "2 4\n1 2\n2 3\n % no\n", FORMAT_HGR, 4,
                "unexpected '%' after the last hyperedge");
}

TEST(ReadHgr, HyperedgeWeightProblems) {
  ScratchDir dir;
  ExpectRefused(dir, "w.hgr", "2 4 1\n1 1 2\n0 2 3\n", FORMAT_HGR, 3,
                "the weight of hyperedge 2, 0, is not positive");
  ExpectRefused(dir, "w.hgr", "2 4 11\n-2 1 2\n1 2 3\n", FORMAT_HGR, 2,
                "the weight of hyperedge 1, -2, is not positive");
  ExpectRefused(dir, "w.hgr", "2 4 1\n1 1 2\n1.5 2 3\n", FORMAT_HGR, 3,
                "the weight of hyperedge 2 '1.5' is not a whole number");
  ExpectRefused(dir, "w.hgr", "2 4 1\n1 1 2\n\n", FORMAT_HGR, 3,
                "the weight of hyperedge 2 is missing");
  ExpectRefused(dir, "w.hgr", "2 4 1\n1 1 2\n3\n", FORMAT_HGR, 3, "hyperedge 2 has no pins");
  ExpectRefused(dir, "w.hgr", "2 4 1\n1 1 2\n3000000000 1 2\n", FORMAT_HGR, 3,
                "the weight of hyperedge 2, 3000000000, is too large");
  // Each weight fits, their sum times the sizes does not.
  ExpectRefused(dir, "w.hgr", "3 4 1\n1 1 2\n1100000000 1 2\n1 1 2 3\n", FORMAT_HGR, 3,
                "the hyperedge weights times the hyperedge sizes add up to more than 2147483646 "
                "here, so cuts would not fit");
}

TEST(ReadHgr, VertexWeightProblems) {
  ScratchDir dir;
  const std::string edges = "1 3 10\n1 2 3\n";
  ExpectRefused(dir, "v.hgr", edges + "1\n-1\n1\n", FORMAT_HGR, 4,
                "the weight of vertex 2, -1, is negative");
  ExpectRefused(dir, "v.hgr", edges + "1\n2 3\n1\n", FORMAT_HGR, 4,
                "unexpected '3' after the vertex weight");
  ExpectRefused(dir, "v.hgr", edges + "1\n2.0\n1\n", FORMAT_HGR, 4,
                "the weight of vertex 2 '2.0' is not a whole number");
  ExpectRefused(dir, "v.hgr", edges + "1\n\n1\n", FORMAT_HGR, 4,
                "the weight of vertex 2 is missing");
  ExpectRefused(dir, "v.hgr", edges + "1\n% c\n2\n", FORMAT_HGR, 6,
                "the file ends before the weight of vertex 3 of 3");
  ExpectRefused(dir, "v.hgr", edges + "1\n2\n3\n4\n", FORMAT_HGR, 6,
                "unexpected '4' after the last vertex weight");
  ExpectRefused(dir, "v.hgr", edges + "1000000000\n1000000000\n1\n", FORMAT_HGR, 4,
                "the vertex weights add up to more than the 1073741823 allowed here");
}

TEST(ReadHgr, WhatCannotBeOpenedOrNamed) {
  Read missing("/nonexistent/folder/x.hgr", FORMAT_HGR);
  EXPECT_EQ(missing.status, IO_ERR_OPEN);
  EXPECT_EQ(missing.err.line, 0);
  EXPECT_EQ(std::string(missing.err.message),
            "/nonexistent/folder/x.hgr: cannot open: No such file or directory");
  ScratchDir dir;
  Read folder(dir.path, FORMAT_HGR);
  EXPECT_EQ(folder.status, IO_ERR_READ) << folder.err.message;
  Read unknown(dir.Write("u.hgr", "1 2\n1 2\n"), 17);
  EXPECT_EQ(unknown.status, IO_ERR_ARGS);
  HypergraphArrays h;
  EXPECT_EQ(ReadHypergraphFile(dir.File("u.hgr").c_str(), FORMAT_HGR, &h, nullptr), IO_OK);
  FreeHypergraphArrays(&h);
  FreeHypergraphArrays(&h);  // harmless twice
  EXPECT_EQ(h.netptr, nullptr);
  EXPECT_EQ(ReadHypergraphFile(dir.File("none.hgr").c_str(), FORMAT_HGR, &h, nullptr), IO_ERR_OPEN);
}

TEST(Formats, NamesAndExtensions) {
  EXPECT_EQ(FormatFromName("hgr"), FORMAT_HGR);
  EXPECT_EQ(FormatFromName("mtx-colnet"), FORMAT_MTX_COLNET);
  EXPECT_EQ(FormatFromName("mtx-rownet"), FORMAT_MTX_ROWNET);
  EXPECT_EQ(FormatFromName("patoh"), FORMAT_PATOH);
  EXPECT_EQ(FormatFromName("mtx"), -1);
  EXPECT_EQ(FormatFromName("HGR"), -1);
  EXPECT_EQ(FormatFromName(""), -1);
  EXPECT_EQ(FormatFromName(nullptr), -1);
  for (int f : {FORMAT_HGR, FORMAT_MTX_COLNET, FORMAT_MTX_ROWNET, FORMAT_PATOH})
    EXPECT_EQ(FormatFromName(FormatName(f)), f);
  EXPECT_STREQ(FormatName(-1), "unknown");
  EXPECT_EQ(FormatFromPath("a/b/ibm01.hgr"), FORMAT_HGR);
  EXPECT_EQ(FormatFromPath("m.mtx"), FORMAT_MTX_COLNET);
  EXPECT_EQ(FormatFromPath("dir/M.MTX"), FORMAT_MTX_COLNET);
  EXPECT_EQ(FormatFromPath("n.patoh"), FORMAT_PATOH);
  EXPECT_EQ(FormatFromPath("dir.mtx/netlist"), FORMAT_HGR);
  EXPECT_EQ(FormatFromPath("netlist"), FORMAT_HGR);
  EXPECT_EQ(FormatFromPath("x.txt"), FORMAT_HGR);
}

}  // namespace
