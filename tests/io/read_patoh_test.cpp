// The cell/net text format: every weight scheme, both index bases, cell weights over several
// lines, each compared with the equivalent hgr file; and what it refuses, with its line.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "io/io.h"
#include "io/read_test_util.h"

using namespace hypra;

namespace {

using io_test::ExpectRefused;
using io_test::ExpectSameArrays;
using io_test::Read;
using io_test::ScratchDir;

constexpr int P = FORMAT_PATOH;

TEST(ReadPatoh, NoWeightsBaseOne) {
  ScratchDir dir;
  ExpectSameArrays(Read(dir.Write("a.patoh", "% comment\n1 5 3 7\n1 2\n2 3 4\n% c\n5 1\n"), P),
                   Read(dir.Write("a.hgr", "3 5\n1 2\n2 3 4\n5 1\n"), FORMAT_HGR));
}

TEST(ReadPatoh, NoWeightsBaseZeroWithSchemeAndConstraintGiven) {
  ScratchDir dir;
  ExpectSameArrays(Read(dir.Write("a.patoh", "0 5 3 7 0 1\n0 1\n1 2 3\n4 0\n"), P),
                   Read(dir.Write("a.hgr", "3 5\n1 2\n2 3 4\n5 1\n"), FORMAT_HGR));
}

TEST(ReadPatoh, CellWeightsOverSeveralLines) {
  ScratchDir dir;
  Read r(dir.Write("a.patoh", "0 5 2 4 1\n0 1\n3 4\n3 1\n% c\n\n4\n0 2\n"), P);
  ExpectSameArrays(r, Read(dir.Write("a.hgr", "2 5 10\n1 2\n4 5\n3\n1\n4\n0\n2\n"), FORMAT_HGR));
  EXPECT_EQ(r.h.fmt, 10);
  EXPECT_EQ(r.Cellwgt(), (std::vector<int>{3, 1, 4, 0, 2}));
}

TEST(ReadPatoh, NetCosts) {
  ScratchDir dir;
  Read r(dir.Write("a.patoh", "1 4 3 6 2\n5 1 2\n1 2 3\n7 4 1\n"), P);
  ExpectSameArrays(r, Read(dir.Write("a.hgr", "3 4 1\n5 1 2\n1 2 3\n7 4 1\n"), FORMAT_HGR));
  EXPECT_EQ(r.Netwgt(), (std::vector<int>{5, 1, 7}));
  EXPECT_EQ(r.h.cellwgt, nullptr);
}

TEST(ReadPatoh, BothWeights) {
  ScratchDir dir;
  ExpectSameArrays(Read(dir.Write("a.patoh", "0 4 2 5 3 1\n2 0 1 2\n3 2 3\n1 1\n1 1\n"), P),
                   Read(dir.Write("a.hgr", "2 4 11\n2 1 2 3\n3 3 4\n1\n1\n1\n1\n"), FORMAT_HGR));
}

TEST(ReadPatoh, NetsWithoutPinsAreDroppedAndRepeatedPinsKeptOnce) {
  ScratchDir dir;
  // The second and fourth nets (a cost alone) hold no pins; the pin count counts pins as
  // written, the repeated one included. Without costs, a blank line is a net without pins.
  ExpectSameArrays(Read(dir.Write("a.patoh", "1 4 4 5 2\n5 1 2\n9\n3 3 4 3\n4\n"), P),
                   Read(dir.Write("a.hgr", "2 4 1\n5 1 2\n3 3 4\n"), FORMAT_HGR));
  ExpectSameArrays(Read(dir.Write("b.patoh", "1 4 3 4\n1 2\n\n3 4\n"), P),
                   Read(dir.Write("b.hgr", "2 4\n1 2\n3 4\n"), FORMAT_HGR));
}

TEST(ReadPatoh, HeaderProblems) {
  ScratchDir dir;
  ExpectRefused(dir, "h.patoh", "% c\n", P, 2,
                "the file ends before the header \"base cells nets pins [scheme [constraints]]\"");
  ExpectRefused(dir, "h.patoh", "1 4 2\n", P, 1,
                "the header must give the index base and the numbers of cells, nets and pins");
  ExpectRefused(dir, "h.patoh", "2 4 1 2\n1 2\n", P, 1, "the index base 2 is neither 0 nor 1");
  ExpectRefused(dir, "h.patoh", "1 4 1 2 4\n1 2\n", P, 1,
                "the weight scheme 4 is not one of 0 (none), 1 (cell weights), 2 (net costs) and "
                "3 (both)");
  ExpectRefused(dir, "h.patoh", "1 4 1 2 1 2\n1 2\n", P, 1,
                "only one weight per cell is read; the header gives 2 constraints");
  ExpectRefused(dir, "h.patoh", "1 4 1 2 0 0\n1 2\n", P, 1,
                "only one weight per cell is read; the header gives 0 constraints");
  ExpectRefused(dir, "h.patoh", "1 4 1 2 0 1 7\n1 2\n", P, 1,
                "unexpected '7' after the header's six numbers");
  ExpectRefused(dir, "h.patoh", "1 4 x 2\n", P, 1, "the number of nets 'x' is not a whole number");
  ExpectRefused(dir, "h.patoh", "1 -4 1 2\n", P, 1, "the number of cells, -4, is negative");
  ExpectRefused(dir, "h.patoh", "1 4 1 3000000000\n", P, 1,
                "3000000000 pins are too many to store");
}

TEST(ReadPatoh, NetProblems) {
  ScratchDir dir;
  ExpectRefused(dir, "n.patoh", "1 4 2 4\n1 2\n3 5\n", P, 3, "pin 5 of net 2 is outside 1..4");
  ExpectRefused(dir, "n.patoh", "0 4 2 4\n0 1\n3 4\n", P, 3, "pin 4 of net 2 is outside 0..3");
  ExpectRefused(dir, "n.patoh", "1 4 2 4\n0 1\n3 4\n", P, 2, "pin 0 of net 1 is outside 1..4");
  ExpectRefused(dir, "n.patoh", "1 4 2 4\n1 2\n3 4.0\n", P, 3, "pin '4.0' is not a whole number");
  ExpectRefused(dir, "n.patoh", "1 4 3 4\n1 2\n% c\n3 4\n", P, 5,
                "the file ends before net 3 of 3");
  ExpectRefused(dir, "n.patoh", "1 4 2 5\n1 2\n3 4\n", P, 3,
                "the nets hold 4 pins, not the 5 the header announces");
  ExpectRefused(dir, "n.patoh", "1 4 2 3\n1 2\n3 4\n", P, 3,
                "the nets hold more pins than the 3 the header announces");
  ExpectRefused(dir, "n.patoh", "1 4 2 4 2\n1 1 2\n0 3 4\n", P, 3,
                "the cost of net 2, 0, is not positive");
  ExpectRefused(dir, "n.patoh", "1 4 2 4 2\n1 1 2\n\n3 4\n", P, 3, "the cost of net 2 is missing");
  ExpectRefused(dir, "n.patoh", "1 4 2 4 2\n1 1 2\n1.5 3 4\n", P, 3,
                "the net cost '1.5' is not a whole number");
  ExpectRefused(dir, "n.patoh", "1 4 2 4\n1 2\n3 4\n2\n", P, 4,
                "unexpected '2' after the last net");
  ExpectRefused(dir, "n.patoh", "1 4 3 7 2\n1 1 2\n1100000000 3 4\n1 1 2 3\n", P, 3,
                "the net costs times the net sizes add up to more than 2147483646 here, so cuts "
                "would not fit");
}

TEST(ReadPatoh, CellWeightProblems) {
  ScratchDir dir;
  const std::string nets = "1 4 2 4 1\n1 2\n3 4\n";
  ExpectRefused(dir, "c.patoh", nets + "1 2\n-3 4\n", P, 5, "cell weight 3, -3, is negative");
  ExpectRefused(dir, "c.patoh", nets + "1 2\n% c\n3\n", P, 7,
                "the file ends before cell weight 4 of 4");
  ExpectRefused(dir, "c.patoh", nets + "1 2 3 4 5\n", P, 4,
                "unexpected '5' after the last cell weight");
  ExpectRefused(dir, "c.patoh", nets + "1 2 3 4\n\n5\n", P, 6,
                "unexpected '5' after the last cell weight");
  ExpectRefused(dir, "c.patoh", nets + "1 2 x 4\n", P, 4,
                "the cell weight 'x' is not a whole number");
  ExpectRefused(dir, "c.patoh", nets + "1 2 1000000000 1000000000\n", P, 4,
                "the cell weights add up to more than the 1073741823 allowed here");
}

}  // namespace
