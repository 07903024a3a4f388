#include "refine2/pqueue.h"

#include <gtest/gtest.h>

#include <vector>

using namespace hypra;

namespace {

std::vector<int> Drain(PQueue *q) {
  std::vector<int> out;
  for (int v = PQueueGetMax__(q); v != -1; v = PQueueGetMax__(q)) out.push_back(v);
  return out;
}

// Heap keys and items in array order.
std::vector<std::pair<int, int>> HeapArray(const PQueue &q) {
  std::vector<std::pair<int, int>> out;
  for (int i = 0; i < q.nitems; i++) out.emplace_back(q.heap[i].key, q.heap[i].val);
  return out;
}

using KV = std::vector<std::pair<int, int>>;

TEST(PQueue, RepresentationChosenByCapacityAgainstGainRange) {
  PQueue q;
  PQueueInit__(&q, 10, 30);  // 30 is not more than 3 x 10
  EXPECT_EQ(q.qtype, 1);
  EXPECT_EQ(q.gainspan, 30);
  EXPECT_EQ(q.topbucket, -30);
  EXPECT_EQ(q.nitems, 0);
  EXPECT_EQ(q.maxitems, 10);
  ASSERT_NE(q.links, nullptr);
  for (int g = -30; g <= 30; g++) EXPECT_EQ(q.buckets[g], -1);
  EXPECT_EQ(q.heap, nullptr);
  EXPECT_EQ(q.locator, nullptr);
  PQueueFree__(&q);

  PQueueInit__(&q, 10, 31);
  EXPECT_EQ(q.qtype, 2);
  EXPECT_EQ(q.nitems, 0);
  ASSERT_NE(q.heap, nullptr);
  for (int i = 0; i < 10; i++) EXPECT_EQ(q.locator[i], -1);
  EXPECT_EQ(q.links, nullptr);
  EXPECT_EQ(q.buckets, nullptr);
  PQueueFree__(&q);
}

TEST(PQueue, EmptyQueueYieldsMinusOne) {
  const int wgt[4] = {1, 1, 1, 1};
  for (int maxgain : {5, 100}) {
    PQueue q;
    PQueueInit__(&q, 4, maxgain);
    EXPECT_EQ(PQueueGetMax__(&q), -1);
    EXPECT_EQ(PQueueSeeMax__(&q), -1);
    EXPECT_EQ(PQueueSeeConstraintMax(&q, 5000, wgt), -1);
    EXPECT_EQ(PQueueSeeConstraintMax(&q, 10, wgt), -1);
    if (q.qtype == 1) {
      EXPECT_EQ(q.topbucket, -5);
    }
    PQueueFree__(&q);
  }
}

TEST(PQueue, BucketTopReturnsToMinusSpanWhenEmptied) {
  PQueue q;
  PQueueInit__(&q, 4, 5);
  PQueueInsert__(&q, 2, 3);
  PQueueInsert__(&q, 1, -2);
  EXPECT_EQ(q.topbucket, 3);
  EXPECT_EQ(PQueueGetMax__(&q), 2);
  EXPECT_EQ(q.topbucket, -2);
  EXPECT_EQ(PQueueGetMax__(&q), 1);
  EXPECT_EQ(q.topbucket, -5);
  EXPECT_EQ(q.nitems, 0);
  PQueueInsert__(&q, 3, 0);
  PQueueDelete(&q, 3, 0);
  EXPECT_EQ(q.topbucket, -5);
  PQueueFree__(&q);
}

TEST(PQueue, EqualGainsInBucketsComeOutLastInFirstOut) {
  PQueue q;
  PQueueInit__(&q, 5, 10);
  PQueueInsert__(&q, 1, 4);
  PQueueInsert__(&q, 2, 4);
  PQueueInsert__(&q, 3, 4);
  EXPECT_EQ(Drain(&q), (std::vector<int>{3, 2, 1}));
  PQueueFree__(&q);
}

TEST(PQueue, RemovingOnlyTopItemStepsDownPastEmptyBuckets) {
  PQueue q;
  PQueueInit__(&q, 5, 10);
  PQueueInsert__(&q, 0, 2);
  PQueueInsert__(&q, 1, 7);
  PQueueInsert__(&q, 2, -4);
  EXPECT_EQ(q.topbucket, 7);
  PQueueDelete(&q, 1, 7);
  EXPECT_EQ(q.topbucket, 2);
  EXPECT_EQ(PQueueGetMax__(&q), 0);
  EXPECT_EQ(q.topbucket, -4);
  PQueueFree__(&q);
}

TEST(PQueue, DeletingBelowTheTopKeepsTopbucket) {
  PQueue q;
  PQueueInit__(&q, 5, 10);
  PQueueInsert__(&q, 0, 2);
  PQueueInsert__(&q, 1, 2);
  PQueueInsert__(&q, 2, 2);
  PQueueInsert__(&q, 3, 6);
  PQueueDelete(&q, 1, 2);  // middle of its list
  EXPECT_EQ(q.topbucket, 6);
  PQueueDelete(&q, 2, 2);  // head of its list
  EXPECT_EQ(q.nitems, 2);
  EXPECT_EQ(Drain(&q), (std::vector<int>{3, 0}));
  PQueueFree__(&q);
}

TEST(PQueue, BucketUpdateMovesItemToHeadOfNewBucket) {
  PQueue q;
  PQueueInit__(&q, 5, 10);
  PQueueInsert__(&q, 0, 3);
  PQueueInsert__(&q, 1, 1);
  PQueueInsert__(&q, 2, 3);
  PQueueUpdate__(&q, 1, 1, 3);  // joins bucket 3 at its head
  EXPECT_EQ(Drain(&q), (std::vector<int>{1, 2, 0}));
  PQueueFree__(&q);
}

TEST(PQueue, UpdateWithEqualGainsChangesNothing) {
  PQueue q;
  PQueueInit__(&q, 5, 10);
  PQueueInsert__(&q, 1, 4);
  PQueueInsert__(&q, 2, 4);
  PQueueInsert__(&q, 3, 4);
  PQueueUpdate__(&q, 2, 4, 4);  // a delete and reinsert would bring 2 to the head
  EXPECT_EQ(q.nitems, 3);
  EXPECT_EQ(Drain(&q), (std::vector<int>{3, 2, 1}));
  PQueueFree__(&q);

  PQueueInit__(&q, 3, 100);
  PQueueInsert__(&q, 0, 5);
  PQueueInsert__(&q, 1, 3);
  PQueueInsert__(&q, 2, 4);
  const KV before = HeapArray(q);
  PQueueUpdate__(&q, 1, 3, 3);
  EXPECT_EQ(HeapArray(q), before);
  PQueueFree__(&q);
}

TEST(PQueue, ConstraintMaxBucketsHonoursWeightLimit) {
  PQueue q;
  PQueueInit__(&q, 4, 10);
  const int wgt[4] = {2000, 500, 10, 1500};
  PQueueInsert__(&q, 0, 5);
  PQueueInsert__(&q, 1, 3);
  PQueueInsert__(&q, 2, -1);
  // Up to 1000 the weights are not looked at.
  EXPECT_EQ(PQueueSeeConstraintMax(&q, 1000, wgt), 0);
  // Above it, the heavy top is skipped for the next positive-gain item that fits.
  EXPECT_EQ(PQueueSeeConstraintMax(&q, 1001, wgt), 1);
  EXPECT_EQ(q.nitems, 3);
  // Nothing positive fits: the plain maximum, not the light item of negative gain.
  const int heavy[4] = {2000, 1500, 10, 1500};
  EXPECT_EQ(PQueueSeeConstraintMax(&q, 1001, heavy), 0);
  PQueueFree__(&q);

  // With the top at gain 0 or below no bucket is searched.
  PQueueInit__(&q, 4, 10);
  PQueueInsert__(&q, 0, 0);
  PQueueInsert__(&q, 2, -1);
  EXPECT_EQ(PQueueSeeConstraintMax(&q, 1001, wgt), 0);
  PQueueFree__(&q);
}

TEST(PQueue, ConstraintMaxHeapHonoursWeightLimit) {
  PQueue q;
  PQueueInit__(&q, 4, 100);
  ASSERT_EQ(q.qtype, 2);
  const int wgt[4] = {2000, 500, 10, 1500};
  PQueueInsert__(&q, 0, 5);
  PQueueInsert__(&q, 1, 3);
  PQueueInsert__(&q, 2, -1);
  EXPECT_EQ(PQueueSeeConstraintMax(&q, 1000, wgt), 0);
  EXPECT_EQ(PQueueSeeConstraintMax(&q, 1001, wgt), 1);
  const int heavy[4] = {2000, 1500, 10, 1500};
  EXPECT_EQ(PQueueSeeConstraintMax(&q, 1001, heavy), 0);
  PQueueFree__(&q);
}

TEST(PQueue, ConstraintMaxHeapScanStopsByHalvedIndex) {
  // Inserting in decreasing level order leaves the keys where they are inserted:
  // position: 0   1   2   3   4   5   6   7
  // key:      10  9  -1   8  -2  -3  -4   7
  PQueue q;
  PQueueInit__(&q, 8, 100);
  const int keys[8] = {10, 9, -1, 8, -2, -3, -4, 7};
  for (int i = 0; i < 8; i++) PQueueInsert__(&q, i, keys[i]);
  for (int i = 0; i < 8; i++) ASSERT_EQ(q.heap[i].val, i);
  const int wgt[8] = {5000, 5000, 1, 5000, 1, 1, 1, 1};
  // Position 2 (key -1) continues because position 1 is positive; position 4 (key -2) stops
  // because position 4/2 = 2 is not positive, although its parent (position 1) is. Item 7 at
  // position 7 would fit but is never reached: the top is returned.
  EXPECT_EQ(PQueueSeeConstraintMax(&q, 1001, wgt), 0);
  // Let position 3 fit: it is found before the stop.
  const int wgt3[8] = {5000, 5000, 1, 1, 1, 1, 1, 1};
  EXPECT_EQ(PQueueSeeConstraintMax(&q, 1001, wgt3), 3);
  PQueueFree__(&q);

  // A non-positive key whose i/2 entry is positive does not stop the scan.
  PQueueInit__(&q, 3, 100);
  PQueueInsert__(&q, 0, 5);
  PQueueInsert__(&q, 1, -1);
  PQueueInsert__(&q, 2, 4);
  const int w2[3] = {5000, 1, 1};
  EXPECT_EQ(PQueueSeeConstraintMax(&q, 1001, w2), 2);
  PQueueFree__(&q);
}

TEST(PQueue, HeapEqualKeysNeverPassEachOther) {
  // Bucket mode is last-in first-out within a gain; the heap keeps the first of equal keys on
  // top because an entry only rises past a strictly smaller key.
  PQueue q;
  PQueueInit__(&q, 3, 100);
  PQueueInsert__(&q, 1, 5);
  PQueueInsert__(&q, 2, 5);
  EXPECT_EQ(PQueueSeeMax__(&q), 1);
  EXPECT_EQ(Drain(&q), (std::vector<int>{1, 2}));
  PQueueFree__(&q);

  // After removing 0 from [5:0, 3:1, 3:2], entry 3:2 goes to the root and does not sink below
  // the equal key of 1.
  PQueueInit__(&q, 3, 100);
  PQueueInsert__(&q, 0, 5);
  PQueueInsert__(&q, 1, 3);
  PQueueInsert__(&q, 2, 3);
  EXPECT_EQ(Drain(&q), (std::vector<int>{0, 2, 1}));
  PQueueFree__(&q);
}

TEST(PQueue, HeapSiftDownPrefersLeftChildOnTies) {
  // [9:a 5:b 5:c 1:d]: after removing a, 1:d sinks and the left 5 (b) rises.
  PQueue q;
  PQueueInit__(&q, 4, 100);
  PQueueInsert__(&q, 0, 9);
  PQueueInsert__(&q, 1, 5);
  PQueueInsert__(&q, 2, 5);
  PQueueInsert__(&q, 3, 1);
  EXPECT_EQ(PQueueGetMax__(&q), 0);
  EXPECT_EQ(HeapArray(q), (KV{{5, 1}, {1, 3}, {5, 2}}));
  EXPECT_EQ(q.locator[0], -1);
  EXPECT_EQ(q.locator[1], 0);
  EXPECT_EQ(q.locator[3], 1);
  EXPECT_EQ(q.locator[2], 2);
  EXPECT_EQ(Drain(&q), (std::vector<int>{1, 2, 3}));
  PQueueFree__(&q);
}

TEST(PQueue, HeapDeleteMovesLastEntryUpOrDown) {
  // Insertion order gives [9:a 2:b 8:c 1:d 0:e 7:f] with a..f = 0..5.
  PQueue q;
  PQueueInit__(&q, 6, 100);
  const int keys[6] = {9, 2, 8, 1, 0, 7};
  for (int i = 0; i < 6; i++) PQueueInsert__(&q, i, keys[i]);
  ASSERT_EQ(HeapArray(q), (KV{{9, 0}, {2, 1}, {8, 2}, {1, 3}, {0, 4}, {7, 5}}));
  // d leaves position 3; the last entry 7:f is greater than 1 and rises past 2:b.
  PQueueDelete(&q, 3, 1);
  EXPECT_EQ(HeapArray(q), (KV{{9, 0}, {7, 5}, {8, 2}, {2, 1}, {0, 4}}));
  EXPECT_EQ(q.locator[3], -1);
  EXPECT_EQ(q.locator[5], 1);
  EXPECT_EQ(q.locator[1], 3);
  // a leaves the root; the last entry 0:e is not greater than 9 and sinks: 8:c (right, strictly
  // greater than the left 7) rises.
  PQueueDelete(&q, 0, 9);
  EXPECT_EQ(HeapArray(q), (KV{{8, 2}, {7, 5}, {0, 4}, {2, 1}}));
  // The last entry itself: nothing else moves.
  PQueueDelete(&q, 1, 2);
  EXPECT_EQ(HeapArray(q), (KV{{8, 2}, {7, 5}, {0, 4}}));
  EXPECT_EQ(q.locator[1], -1);
  PQueueFree__(&q);
}

TEST(PQueue, HeapUpdateDirectionFollowsCallersOldGain) {
  // [9:a 5:b 4:c 3:d]
  PQueue q;
  PQueueInit__(&q, 4, 100);
  PQueueInsert__(&q, 0, 9);
  PQueueInsert__(&q, 1, 5);
  PQueueInsert__(&q, 2, 4);
  PQueueInsert__(&q, 3, 3);
  ASSERT_EQ(HeapArray(q), (KV{{9, 0}, {5, 1}, {4, 2}, {3, 3}}));
  // The caller claims an old gain below the new one, so b sifts up with key 2 and stays above d.
  PQueueUpdate__(&q, 1, 1, 2);
  EXPECT_EQ(HeapArray(q), (KV{{9, 0}, {2, 1}, {4, 2}, {3, 3}}));
  EXPECT_EQ(q.locator[1], 1);
  // With an old gain above the new one it sifts down: d rises.
  PQueueUpdate__(&q, 1, 7, 1);
  EXPECT_EQ(HeapArray(q), (KV{{9, 0}, {3, 3}, {4, 2}, {1, 1}}));
  EXPECT_EQ(q.locator[1], 3);
  EXPECT_EQ(q.locator[3], 1);
  // A rise to the top.
  PQueueUpdate__(&q, 1, 1, 12);
  EXPECT_EQ(HeapArray(q), (KV{{12, 1}, {9, 0}, {4, 2}, {3, 3}}));
  EXPECT_EQ(q.locator[1], 0);
  EXPECT_EQ(q.locator[0], 1);
  EXPECT_EQ(q.locator[3], 3);
  PQueueFree__(&q);
}

TEST(PQueue, HeapGetMaxKeepsLocatorConsistent) {
  PQueue q;
  PQueueInit__(&q, 7, 100);
  const int keys[7] = {3, -2, 8, 8, 0, 5, -7};
  for (int i = 0; i < 7; i++) PQueueInsert__(&q, i, keys[i]);
  std::vector<int> got;
  while (q.nitems > 0) {
    for (int i = 0; i < q.nitems; i++) {
      EXPECT_EQ(q.locator[q.heap[i].val], i);
      if (i > 0) {
        EXPECT_GE(q.heap[(i - 1) / 2].key, q.heap[i].key);
      }
    }
    got.push_back(keys[PQueueGetMax__(&q)]);
  }
  EXPECT_EQ(got, (std::vector<int>{8, 8, 5, 3, 0, -2, -7}));
  for (int i = 0; i < 7; i++) EXPECT_EQ(q.locator[i], -1);
  PQueueFree__(&q);
}

TEST(PQueue, ResetEmptiesWithoutReallocating) {
  PQueue q;
  PQueueInit__(&q, 4, 6);
  PQueueLink *links = q.links;
  int *buckets = q.buckets;
  PQueueInsert__(&q, 0, 6);
  PQueueInsert__(&q, 1, -6);
  PQueueReset__(&q);
  EXPECT_EQ(q.nitems, 0);
  EXPECT_EQ(q.topbucket, -6);
  EXPECT_EQ(q.links, links);
  EXPECT_EQ(q.buckets, buckets);
  for (int g = -6; g <= 6; g++) EXPECT_EQ(q.buckets[g], -1);
  PQueueInsert__(&q, 1, 2);
  EXPECT_EQ(Drain(&q), (std::vector<int>{1}));
  PQueueFree__(&q);

  PQueueInit__(&q, 4, 100);
  KeyValue *heap = q.heap;
  int *locator = q.locator;
  PQueueInsert__(&q, 2, 6);
  PQueueInsert__(&q, 3, 1);
  PQueueReset__(&q);
  EXPECT_EQ(q.nitems, 0);
  EXPECT_EQ(q.heap, heap);
  EXPECT_EQ(q.locator, locator);
  for (int i = 0; i < 4; i++) EXPECT_EQ(q.locator[i], -1);
  EXPECT_EQ(PQueueSeeMax__(&q), -1);
  PQueueFree__(&q);
}

TEST(PQueue, FreeSetsCapacityToZero) {
  PQueue q;
  PQueueInit__(&q, 4, 6);
  PQueueFree__(&q);
  EXPECT_EQ(q.maxitems, 0);
  EXPECT_EQ(q.links, nullptr);
  EXPECT_EQ(q.buckets, nullptr);
  PQueueInit__(&q, 4, 100);
  PQueueFree__(&q);
  EXPECT_EQ(q.maxitems, 0);
  EXPECT_EQ(q.heap, nullptr);
  EXPECT_EQ(q.locator, nullptr);
}

TEST(PQueue, ZeroCapacityQueueWorks) {
  PQueue q;
  PQueueInit__(&q, 0, 0);
  EXPECT_EQ(q.qtype, 1);
  EXPECT_EQ(PQueueGetMax__(&q), -1);
  PQueueReset__(&q);
  PQueueFree__(&q);
  EXPECT_EQ(q.maxitems, 0);
}

TEST(PQueue, CheckHeapReportsSuccess) {
  EXPECT_EQ(CheckHeap(), 1);
}

TEST(PQueueDeathTest, GainBeyondBucketRangeEndsTheRun) {
  PQueue q;
  PQueueInit__(&q, 4, 3);
  EXPECT_EXIT(PQueueInsert__(&q, 0, 4), ::testing::ExitedWithCode(0), "outside the range");
  EXPECT_EXIT(PQueueInsert__(&q, 0, -4), ::testing::ExitedWithCode(0), "outside the range");
  PQueueFree__(&q);
  EXPECT_EXIT(PQueueInit__(&q, 4, -2), ::testing::ExitedWithCode(0), "negative maximum gain");
}

}  // namespace

// The two queues of a pair behave as two separate queues: items of one never disturb the other,
// in bucket mode through the links they share as well as in heap mode.
TEST(PQueue, PairOfQueuesSharingLinksActsAsTwoQueues) {
  for (int maxgain : {10, 100}) {
    PQueue pair[2], apart[2];
    PQueueInitPair__(pair, 12, maxgain);
    PQueueInit__(&apart[0], 12, maxgain);
    PQueueInit__(&apart[1], 12, maxgain);
    if (maxgain == 10) {
      EXPECT_EQ(pair[0].qtype, PQUEUE_BUCKETS);
      EXPECT_EQ(pair[1].links, pair[0].links);
    } else {
      EXPECT_EQ(pair[0].qtype, PQUEUE_HEAP);
    }
    // Even items on queue 0, odd ones on queue 1, with repeated gains to exercise the lists.
    for (int v = 0; v < 12; v++) {
      PQueueInsert__(&pair[v % 2], v, (v * 7) % 5 - 2);
      PQueueInsert__(&apart[v % 2], v, (v * 7) % 5 - 2);
    }
    for (int v = 0; v < 12; v += 3) {
      const int oldgain = (v * 7) % 5 - 2, newgain = oldgain + (v % 4) - 1;
      PQueueUpdate__(&pair[v % 2], v, oldgain, newgain);
      PQueueUpdate__(&apart[v % 2], v, oldgain, newgain);
    }
    PQueueDelete(&pair[1], 5, (5 * 7) % 5 - 2);
    PQueueDelete(&apart[1], 5, (5 * 7) % 5 - 2);
    for (int side = 0; side < 2; side++) EXPECT_EQ(Drain(&pair[side]), Drain(&apart[side]));
    PQueueFreePair__(pair);
    PQueueFree__(&apart[0]);
    PQueueFree__(&apart[1]);
    EXPECT_EQ(pair[0].links, nullptr);
    EXPECT_EQ(pair[1].links, nullptr);
  }
}
