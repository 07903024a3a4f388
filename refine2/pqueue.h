// Gain-keyed max-priority queue of vertices used by the two-way refiners, one per side.
//
// Two representations share one interface. Gain buckets (doubly linked lists indexed by gain)
// give constant-time operations when the gain range is small against the number of items; an
// array binary heap with a locator takes over when the range is wide, so that the bucket heads
// never outnumber the items by much.
//
// The refiners call the queue once or more per pin they touch, so the bucket operations are
// inline here and the lists are linked by item numbers rather than pointers: half the memory of
// a pointer node and no call per operation. Of the heap, used only for wide gain ranges, the
// update (once per gain change) is inline too; insertion, deletion and extraction are not.
#pragma once

#include "core/core.h"

namespace hypra {

enum : int {
  PQUEUE_BUCKETS = 1,
  PQUEUE_HEAP = 2,
};

// The bucket list links of one item: the items before and after it in its bucket, -1 at either
// end. Item i always owns link i.
struct PQueueLink {
  int prev;
  int next;
};

struct PQueue {
  int qtype;      // PQUEUE_BUCKETS or PQUEUE_HEAP
  int nitems;     // items currently queued
  int maxitems;   // capacity; items are 0 .. maxitems-1
  int topbucket;  // buckets: highest non-empty gain, -gainspan when empty
  int gainspan;   // buckets: largest absolute gain G

  PQueueLink *links;  // buckets: maxitems links
  int *buckets;       // buckets: 2G+1 list heads (-1 when empty), shifted by G so that it is
                      // indexed by gain
  KeyValue *heap;     // heap: key = gain, val = item; position 0 is the maximum
  int *locator;       // heap: position of each item, -1 when absent
};

void PQueueInit__(PQueue *queue, int maxitems, int maxgain);
// Two queues over disjoint items, such as the two sides of a bisection: an item is filed in at
// most one of them at a time, so in bucket mode they share one links array (each insertion
// writes an item's links whole). Half the links memory, and a move loop holds one links
// pointer for both. Released with PQueueFreePair__.
void PQueueInitPair__(PQueue pair[2], int maxitems, int maxgain);
void PQueueFreePair__(PQueue pair[2]);
void PQueueReset__(PQueue *queue);
void PQueueFree__(PQueue *queue);

int PQueueSeeConstraintMax(const PQueue *queue, int maxwgt, const int *vwgt);
int CheckHeap();

// The heap's operations (its update inline, since the refiners call it once per gain change on
// the small, densely connected coarsest levels, where the gain range is wide) and the report of a
// gain outside the bucket range.
namespace pqueue_detail {
void HeapInsert(PQueue *queue, int item, int gain);
void HeapDelete(PQueue *queue, int item);
int HeapGetMax(PQueue *queue);
[[noreturn]] void GainOutOfRange(const PQueue *queue, int gain);

// Moves the entry (key, item) up from position i while its parent's key is strictly smaller.
[[gnu::always_inline]] inline void SiftUp(PQueue *queue, int i, int key, int item) {
  KeyValue *heap = queue->heap;
  int *locator = queue->locator;
  while (i > 0) {
    const int parent = (i - 1) / 2;
    if (heap[parent].key >= key) break;
    heap[i] = heap[parent];
    locator[heap[i].val] = i;
    i = parent;
  }
  heap[i].key = key;
  heap[i].val = item;
  locator[item] = i;
}

// Moves the entry (key, item) down from position i; a child rises only when its key is strictly
// greater, and the left child wins ties between the two children.
[[gnu::always_inline]] inline void SiftDown(PQueue *queue, int i, int key, int item) {
  KeyValue *heap = queue->heap;
  int *locator = queue->locator;
  const int nitems = queue->nitems;
  for (int j = 2 * i + 1; j < nitems; j = 2 * i + 1) {
    if (heap[j].key > key) {
      if (j + 1 < nitems && heap[j + 1].key > heap[j].key) j = j + 1;
    } else if (j + 1 < nitems && heap[j + 1].key > key) {
      j = j + 1;
    } else {
      break;
    }
    heap[i] = heap[j];
    locator[heap[i].val] = i;
    i = j;
  }
  heap[i].key = key;
  heap[i].val = item;
  locator[item] = i;
}

// Refiles item from oldgain to newgain; the direction follows the caller's old gain, not the
// stored key.
[[gnu::always_inline]] inline void HeapUpdate(PQueue *queue, int item, int oldgain, int newgain) {
  const int i = queue->locator[item];
  if (oldgain >= newgain)
    SiftDown(queue, i, newgain, item);
  else
    SiftUp(queue, i, newgain, item);
}

// Lowers topbucket after its bucket emptied: to -G when nothing is left, else to the next
// non-empty bucket below.
inline void StepDownTop(PQueue *queue) {
  if (queue->nitems == 0) {
    queue->topbucket = -queue->gainspan;
    return;
  }
  const int *buckets = queue->buckets;
  int top = queue->topbucket;
  while (top > -queue->gainspan && buckets[top] == -1) top--;
  queue->topbucket = top;
}

inline void BucketPush(PQueue *queue, int item, int gain) {
  // The caller sizes the queue by the largest possible gain; a gain beyond it means the weights
  // are not what that bound assumes (for instance negative hyperedge weights).
  if (gain < -queue->gainspan || gain > queue->gainspan) [[unlikely]]
    GainOutOfRange(queue, gain);
  PQueueLink *links = queue->links;
  const int head = queue->buckets[gain];
  links[item].prev = -1;
  links[item].next = head;
  if (head != -1) links[head].prev = item;
  queue->buckets[gain] = item;
  if (gain > queue->topbucket) queue->topbucket = gain;
}

inline void BucketUnlink(PQueue *queue, int item, int gain) {
  PQueueLink *links = queue->links;
  const int prev = links[item].prev, next = links[item].next;
  if (prev != -1)
    links[prev].next = next;
  else
    queue->buckets[gain] = next;
  if (next != -1) links[next].prev = prev;
}
}  // namespace pqueue_detail

// Adds an item that is not in the queue.
inline int PQueueInsert__(PQueue *queue, int item, int gain) {
  queue->nitems++;
  if (queue->qtype == PQUEUE_HEAP)
    pqueue_detail::HeapInsert(queue, item, gain);
  else
    pqueue_detail::BucketPush(queue, item, gain);
  return 0;
}

// Removes an item filed under `gain` (the gain is needed in bucket mode only).
inline int PQueueDelete(PQueue *queue, int item, int gain) {
  queue->nitems--;
  if (queue->qtype == PQUEUE_HEAP) {
    pqueue_detail::HeapDelete(queue, item);
    return 0;
  }
  pqueue_detail::BucketUnlink(queue, item, gain);
  if (queue->buckets[gain] == -1 && gain == queue->topbucket) pqueue_detail::StepDownTop(queue);
  return 0;
}

// Refiles an item from oldgain to newgain; in bucket mode it goes to the head of its new bucket.
inline int PQueueUpdate__(PQueue *queue, int item, int oldgain, int newgain) {
  if (oldgain == newgain) return 0;
  if (queue->qtype == PQUEUE_HEAP) {
    pqueue_detail::HeapUpdate(queue, item, oldgain, newgain);
    return 0;
  }
  PQueueDelete(queue, item, oldgain);
  PQueueInsert__(queue, item, newgain);
  return 0;
}

// Removes and returns the item of highest gain (the latest filed among equals), -1 when empty.
inline int PQueueGetMax__(PQueue *queue) {
  if (queue->nitems == 0) return -1;
  if (queue->qtype == PQUEUE_HEAP) return pqueue_detail::HeapGetMax(queue);
  queue->nitems--;
  const int top = queue->topbucket;
  const int item = queue->buckets[top];
  const int next = queue->links[item].next;
  queue->buckets[top] = next;
  if (next != -1)
    queue->links[next].prev = -1;
  else
    pqueue_detail::StepDownTop(queue);
  return item;
}

// The item PQueueGetMax__ would return, left in place; -1 when empty.
inline int PQueueSeeMax__(const PQueue *queue) {
  if (queue->nitems == 0) return -1;
  if (queue->qtype == PQUEUE_HEAP) return queue->heap[0].val;
  return queue->buckets[queue->topbucket];
}

}  // namespace hypra
