// Gain-keyed max-priority queue of vertices used by the two-way refiners, one per side.
//
// Two representations share one interface. Gain buckets (doubly linked lists indexed by gain)
// give constant-time operations when the gain range is small against the number of items; an
// array binary heap with a locator takes over when the range is wide, so that the bucket heads
// never outnumber the items by much.
#pragma once

#include "core/core.h"

enum : int {
  PQUEUE_BUCKETS = 1,
  PQUEUE_HEAP = 2,
};

// One list node per item; node i always carries item i.
struct PQueueNode {
  int id;
  PQueueNode *prev;
  PQueueNode *next;
};

struct PQueue {
  int qtype;      // PQUEUE_BUCKETS or PQUEUE_HEAP
  int nitems;     // items currently queued
  int maxitems;   // capacity; items are 0 .. maxitems-1
  int topbucket;  // buckets: highest non-empty gain, -gainspan when empty
  int gainspan;   // buckets: largest absolute gain G

  PQueueNode *nodes;     // buckets: maxitems nodes
  PQueueNode **buckets;  // buckets: 2G+1 heads, shifted by G so that it is indexed by gain
  KeyValue *heap;        // heap: key = gain, val = item; position 0 is the maximum
  int *locator;          // heap: position of each item, -1 when absent
};

void PQueueInit__(PQueue *queue, int maxitems, int maxgain);
void PQueueReset__(PQueue *queue);
void PQueueFree__(PQueue *queue);

int PQueueInsert__(PQueue *queue, int item, int gain);
int PQueueDelete(PQueue *queue, int item, int gain);
int PQueueUpdate__(PQueue *queue, int item, int oldgain, int newgain);

int PQueueGetMax__(PQueue *queue);
int PQueueSeeMax__(const PQueue *queue);
int PQueueSeeConstraintMax(const PQueue *queue, int maxwgt, const int *vwgt);

int CheckHeap();
