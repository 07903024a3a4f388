// The Matrix Market reader: a coordinate matrix gives the hypergraph of its pattern (the same
// arrays as the equivalent hgr file), column-net and row-net are transposes of each other, and
// what cannot be read is refused with its line.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "io/io.h"
#include "io/read_test_util.h"

using namespace hypra;

namespace {

using io_test::ExpectRefused;
using io_test::ExpectSameArrays;
using io_test::Read;
using io_test::ScratchDir;

// A 6 x 4 matrix, entries out of order, (2,2) twice, column 3 and row 6 empty.
const char *const kGeneral =
    "%%MatrixMarket matrix coordinate pattern general\n"
    "% a comment\n"
    "%\n"
    "6 4 8\n"
    "5 4\n"
    "3 1\n"
    "2 2\n"
    "1 1\n"
    "5 2\n"
    "\n"
    "2 2\n"
    "1 4\n"
    "4 4\n";
// Its columns as hyperedges over the rows: column 3 is dropped, row 6 stays a vertex.
const char *const kGeneralColnet = "3 6\n1 3\n2 5\n1 4 5\n";
// Its rows as hyperedges over the columns: row 6 is dropped, column 3 stays a vertex.
const char *const kGeneralRownet = "5 4\n1 4\n2\n1\n4\n2 4\n";

TEST(ReadMatrixMarket, PatternGeneralIsTheHgrFile) {
  ScratchDir dir;
  ExpectSameArrays(Read(dir.Write("a.mtx", kGeneral), FORMAT_MTX_COLNET),
                   Read(dir.Write("a.hgr", kGeneralColnet), FORMAT_HGR));
  ExpectSameArrays(Read(dir.Write("a.mtx", kGeneral), FORMAT_MTX_ROWNET),
                   Read(dir.Write("b.hgr", kGeneralRownet), FORMAT_HGR));
  Read r(dir.File("a.mtx"), FORMAT_MTX_COLNET);
  EXPECT_EQ(r.h.nvtxs, 6);
  EXPECT_EQ(r.h.fmt, 0);
  EXPECT_EQ(r.h.netwgt, nullptr);
  EXPECT_EQ(r.h.cellwgt, nullptr);
}

TEST(ReadMatrixMarket, RealAndIntegerValuesAreIgnored) {
  ScratchDir dir;
  const std::string real =
      "%%MatrixMarket matrix coordinate real general\n6 4 8\n5 4 1.5\n3 1 -2\n2 2 1e-3\n"
      "1 1 .5\n5 2 +7.25E+10\n2 2 0\n1 4 3.\n4 4 -0.0\n";
  ExpectSameArrays(Read(dir.Write("r.mtx", real), FORMAT_MTX_COLNET),
                   Read(dir.Write("a.hgr", kGeneralColnet), FORMAT_HGR));
  const std::string integer =
      "%%MatrixMarket matrix coordinate integer general\n6 4 8\n5 4 1\n3 1 -2\n2 2 3\n"
      "1 1 99999999999999999999999\n5 2 +7\n2 2 0\n1 4 3\n4 4 -1\n";
  ExpectSameArrays(Read(dir.Write("i.mtx", integer), FORMAT_MTX_COLNET),
                   Read(dir.File("a.hgr"), FORMAT_HGR));
}

TEST(ReadMatrixMarket, SymmetricGivesBothTriangles) {
  ScratchDir dir;
  // The lower triangle of a 4 x 4 symmetric matrix, one diagonal entry.
  const std::string sym =
      "%%MatrixMarket matrix coordinate pattern symmetric\n4 4 4\n2 1\n3 1\n4 3\n2 2\n";
  const char *hgr = "4 4\n2 3\n1 2\n1 4\n3\n";
  ExpectSameArrays(Read(dir.Write("s.mtx", sym), FORMAT_MTX_COLNET),
                   Read(dir.Write("s.hgr", hgr), FORMAT_HGR));
  // Symmetric, row-net and column-net are the same.
  ExpectSameArrays(Read(dir.File("s.mtx"), FORMAT_MTX_ROWNET), Read(dir.File("s.hgr"), FORMAT_HGR));
  // An entry given in both triangles counts once.
  const std::string both =
      "%%MatrixMarket matrix coordinate real symmetric\n4 4 5\n2 1 1\n1 2 1\n3 1 1\n4 3 1\n"
      "2 2 1\n";
  ExpectSameArrays(Read(dir.Write("b.mtx", both), FORMAT_MTX_COLNET),
                   Read(dir.File("s.hgr"), FORMAT_HGR));
  const std::string skew =
      "%%MatrixMarket matrix coordinate integer skew-symmetric\n4 4 3\n2 1 -1\n3 1 2\n4 3 5\n";
  ExpectSameArrays(Read(dir.Write("k.mtx", skew), FORMAT_MTX_COLNET),
                   Read(dir.Write("k.hgr", "4 4\n2 3\n1\n1 4\n3\n"), FORMAT_HGR));
}

TEST(ReadMatrixMarket, BannerWordsInAnyCase) {
  ScratchDir dir;
  const std::string text =
      "%%matrixmarket MATRIX Coordinate Pattern GENERAL\n6 4 8\n5 4\n3 1\n2 2\n1 1\n5 2\n"
      "2 2\n1 4\n4 4\n";
  ExpectSameArrays(Read(dir.Write("c.mtx", text), FORMAT_MTX_COLNET),
                   Read(dir.Write("a.hgr", kGeneralColnet), FORMAT_HGR));
}

// The set of (row, column) entries that a read describes.
std::set<std::pair<int, int>> Entries(const Read &r, bool rownet) {
  std::set<std::pair<int, int>> entries;
  for (int e = 0; e < r.h.nhedges; e++)
    for (int v : r.Pins(e)) entries.insert(rownet ? std::make_pair(e, v) : std::make_pair(v, e));
  return entries;
}

TEST(ReadMatrixMarket, RownetIsTheColnetOfTheTranspose) {
  ScratchDir dir;
  // A matrix without empty rows or columns, so hyperedge numbers are row and column numbers.
  const std::string a =
      "%%MatrixMarket matrix coordinate pattern general\n3 5 7\n1 1\n1 5\n2 2\n2 3\n3 4\n3 1\n"
      "2 5\n";
  const std::string at =
      "%%MatrixMarket matrix coordinate pattern general\n5 3 7\n1 1\n5 1\n2 2\n3 2\n4 3\n1 3\n"
      "5 2\n";
  Read colnet(dir.Write("a.mtx", a), FORMAT_MTX_COLNET);
  Read rownet(dir.File("a.mtx"), FORMAT_MTX_ROWNET);
  ASSERT_EQ(colnet.status, IO_OK) << colnet.err.message;
  ASSERT_EQ(rownet.status, IO_OK) << rownet.err.message;
  EXPECT_EQ(colnet.h.nvtxs, 3);
  EXPECT_EQ(colnet.h.nhedges, 5);
  EXPECT_EQ(rownet.h.nvtxs, 5);
  EXPECT_EQ(rownet.h.nhedges, 3);
  EXPECT_EQ(Entries(colnet, false), Entries(rownet, true));
  EXPECT_EQ(colnet.Netptr().back(), 7);
  ExpectSameArrays(rownet, Read(dir.Write("at.mtx", at), FORMAT_MTX_COLNET));
  ExpectSameArrays(colnet, Read(dir.File("at.mtx"), FORMAT_MTX_ROWNET));
}

TEST(ReadMatrixMarket, EmptyMatrixHasNoHyperedges) {
  ScratchDir dir;
  Read r(dir.Write("e.mtx", "%%MatrixMarket matrix coordinate pattern general\n3 2 0\n"),
         FORMAT_MTX_COLNET);
  ASSERT_EQ(r.status, IO_OK) << r.err.message;
  EXPECT_EQ(r.h.nvtxs, 3);
  EXPECT_EQ(r.h.nhedges, 0);
  EXPECT_EQ(r.Netptr(), (std::vector<int>{0}));
}

TEST(ReadMatrixMarket, BannerProblems) {
  ScratchDir dir;
  const int F = FORMAT_MTX_COLNET;
  const char *const kNotMm =
      "not a Matrix Market file: the first line must be \"%%MatrixMarket matrix coordinate "
      "FIELD SYMMETRY\"";
  ExpectRefused(dir, "m.mtx", "", F, 1, kNotMm);
  ExpectRefused(dir, "m.mtx", "% comment\n%%MatrixMarket matrix coordinate real general\n", F, 1,
                kNotMm);
  ExpectRefused(dir, "m.mtx", "3 3 1\n1 1\n", F, 1, kNotMm);
  ExpectRefused(dir, "m.mtx", "%%MatrixMarket matrix array real general\n2 2\n1\n2\n3\n4\n", F, 1,
                "only coordinate Matrix Market files are read, not array (dense) ones");
  ExpectRefused(dir, "m.mtx", "%%MatrixMarket matrix coordinate complex general\n", F, 1,
                "complex matrices are not supported (pattern, integer and real are)");
  ExpectRefused(dir, "m.mtx", "%%MatrixMarket matrix coordinate real hermitian\n", F, 1,
                "hermitian matrices are not supported (general, symmetric and skew-symmetric "
                "are)");
  ExpectRefused(dir, "m.mtx", "%%MatrixMarket vector coordinate real general\n", F, 1,
                "the file holds a 'vector'; only matrices are read");
  ExpectRefused(dir, "m.mtx", "%%MatrixMarket matrix coordinate real\n", F, 1,
                "the banner does not give the symmetry");
  ExpectRefused(dir, "m.mtx", "%%MatrixMarket matrix coordinate bool general\n", F, 1,
                "unknown field 'bool' (pattern, integer and real are read)");
  ExpectRefused(dir, "m.mtx", "%%MatrixMarket matrix coordinate real general extra\n", F, 1,
                "unexpected 'extra' at the end of the banner");
}

TEST(ReadMatrixMarket, SizeAndEntryProblems) {
  ScratchDir dir;
  const int F = FORMAT_MTX_COLNET;
  const std::string pattern = "%%MatrixMarket matrix coordinate pattern general\n% c\n";
  const std::string real = "%%MatrixMarket matrix coordinate real general\n";
  ExpectRefused(dir, "m.mtx", pattern, F, 3,
                "the file ends before the size line \"rows columns entries\"");
  ExpectRefused(dir, "m.mtx", pattern + "3 3\n", F, 3,
                "the size line must give the numbers of rows, columns and entries");
  ExpectRefused(dir, "m.mtx", pattern + "3 x 1\n", F, 3,
                "the number of columns 'x' is not a whole number");
  ExpectRefused(dir, "m.mtx", pattern + "3 -3 1\n", F, 3, "the number of columns -3 is negative");
  ExpectRefused(dir, "m.mtx", pattern + "3 3 1 1\n", F, 3,
                "unexpected '1' after the numbers of rows, columns and entries");
  ExpectRefused(dir, "m.mtx", pattern + "2 2 5\n", F, 3, "5 entries do not fit a 2 x 2 matrix");
  ExpectRefused(dir, "m.mtx", "%%MatrixMarket matrix coordinate pattern symmetric\n3 4 1\n1 1\n", F,
                2, "a symmetric matrix must be square, not 3 x 4");
  ExpectRefused(dir, "m.mtx", pattern + "3 3 2\n1 1\n4 1\n", F, 5, "row index 4 is outside 1..3");
  ExpectRefused(dir, "m.mtx", pattern + "3 3 2\n1 0\n", F, 4, "column index 0 is outside 1..3");
  ExpectRefused(dir, "m.mtx", pattern + "3 3 2\n1 1.0\n", F, 4,
                "the column index '1.0' of entry 1 is not a whole number");
  ExpectRefused(dir, "m.mtx", pattern + "3 3 2\n1\n", F, 4, "entry 1 has no column index");
  ExpectRefused(dir, "m.mtx", pattern + "3 3 2\n1 1 1.0\n", F, 4,
                "unexpected '1.0' after the entry");
  ExpectRefused(dir, "m.mtx", pattern + "3 3 3\n1 1\n% c\n2 2\n", F, 7,
                "the file ends before entry 3 of 3");
  ExpectRefused(dir, "m.mtx", pattern + "3 3 1\n1 1\n\n2 2\n", F, 6,
                "unexpected '2' after the 1 entries the size line announces");
  ExpectRefused(dir, "m.mtx", real + "3 3 1\n1 1\n", F, 3, "the value of entry 1 is missing");
  for (const char *bad : {"x", "1.2.3", "1e", "e5", ".", "nan", "inf", "0x1p3", "--2"})
    ExpectRefused(dir, "m.mtx", real + "3 3 1\n1 1 " + bad + "\n", F, 3,
                  std::string("the value '") + bad + "' of entry 1 is not a number");
  ExpectRefused(dir, "m.mtx", "%%MatrixMarket matrix coordinate integer general\n3 3 1\n1 1 2.5\n",
                F, 3, "the value '2.5' of entry 1 is not a whole number");
  ExpectRefused(dir, "m.mtx", real + "3 3 1\n1 1 2 3\n", F, 3, "unexpected '3' after the entry");
}

}  // namespace
