// The gain-keyed priority queue: gain buckets or a binary heap, chosen once at initialisation.
#include "refine2/pqueue.h"

namespace hypra {

namespace {

// PQueueInit__, with the bucket mode's links taken from `links` when it is not null.
void InitQueue(PQueue *queue, int maxitems, int maxgain, PQueueLink *links) {
  queue->nitems = 0;
  queue->maxitems = maxitems;
  queue->links = nullptr;
  queue->buckets = nullptr;
  queue->heap = nullptr;
  queue->locator = nullptr;

  if (3LL * maxitems < maxgain) {
    queue->qtype = PQUEUE_HEAP;
    queue->heap = static_cast<KeyValue *>(
        RVmalloc__(static_cast<long long>(sizeof(KeyValue)) * maxitems, "PQueueInit: queue->heap"));
    queue->locator = ismalloc__(maxitems, -1, "PQueueInit: queue->locator");
    return;
  }

  if (maxgain < 0) errexit__("PQueueInit: negative maximum gain %d", maxgain);
  queue->qtype = PQUEUE_BUCKETS;
  queue->gainspan = maxgain;
  queue->links =
      links != nullptr
          ? links
          : static_cast<PQueueLink *>(RVmalloc__(
                static_cast<long long>(sizeof(PQueueLink)) * maxitems, "PQueueInit: queue->nodes"));
  const long long nheads = 2LL * maxgain + 1;
  queue->buckets = ismalloc__(nheads, -1, "PQueueInit: queue->buckets");
  queue->buckets += maxgain;
  queue->topbucket = -maxgain;
}

}  // namespace

void PQueueInit__(PQueue *queue, int maxitems, int maxgain) {
  InitQueue(queue, maxitems, maxgain, nullptr);
}

void PQueueInitPair__(PQueue pair[2], int maxitems, int maxgain) {
  InitQueue(&pair[0], maxitems, maxgain, nullptr);
  InitQueue(&pair[1], maxitems, maxgain, pair[0].links);
}

void PQueueReset__(PQueue *queue) {
  // An empty queue has every bucket head (or locator entry) at -1 already: each removal clears
  // what the item held.
  const bool empty = queue->nitems == 0;
  queue->nitems = 0;
  if (queue->qtype == PQUEUE_HEAP) {
    if (empty) return;
    iset__(queue->maxitems, -1, queue->locator);
    return;
  }
  const int span = queue->gainspan;
  queue->topbucket = -span;
  if (empty) return;
  iset__(2 * span + 1, -1, queue->buckets - span);
}

void PQueueFree__(PQueue *queue) {
  if (queue->qtype == PQUEUE_HEAP) {
    RVfree__(&queue->heap, &queue->locator);
  } else {
    if (queue->buckets != nullptr) queue->buckets -= queue->gainspan;
    RVfree__(&queue->links, &queue->buckets);
  }
  queue->maxitems = 0;
}

void PQueueFreePair__(PQueue pair[2]) {
  // Shared links (bucket mode) are released once, with the first queue.
  if (pair[1].links == pair[0].links) pair[1].links = nullptr;
  PQueueFree__(&pair[1]);
  PQueueFree__(&pair[0]);
}

namespace pqueue_detail {

void GainOutOfRange(const PQueue *queue, int gain) {
  errexit__("PQueue: gain %d outside the range -%d..%d the queue was built for", gain,
            queue->gainspan, queue->gainspan);
}

void HeapInsert(PQueue *queue, int item, int gain) {
  SiftUp(queue, queue->nitems - 1, gain, item);
}

// The last live entry fills the freed position and sifts whichever way its key asks.
void HeapDelete(PQueue *queue, int item) {
  const int i = queue->locator[item];
  queue->locator[item] = -1;
  if (queue->nitems == 0 || queue->heap[queue->nitems].val == item) return;
  const KeyValue last = queue->heap[queue->nitems];
  if (last.key > queue->heap[i].key)
    SiftUp(queue, i, last.key, last.val);
  else
    SiftDown(queue, i, last.key, last.val);
}

int HeapGetMax(PQueue *queue) {
  queue->nitems--;
  const int item = queue->heap[0].val;
  queue->locator[item] = -1;
  if (queue->nitems > 0) {
    const KeyValue last = queue->heap[queue->nitems];
    SiftDown(queue, 0, last.key, last.val);
  }
  return item;
}

}  // namespace pqueue_detail

int PQueueSeeConstraintMax(const PQueue *queue, int maxwgt, const int *vwgt) {
  if (queue->nitems == 0) return -1;
  if (maxwgt <= 1000) return PQueueSeeMax__(queue);

  if (queue->qtype == PQUEUE_HEAP) {
    // An approximate search in array order: positive keys are tried as they come, and the scan
    // gives up at a non-positive key whose entry at i/2 is non-positive too.
    const KeyValue *heap = queue->heap;
    for (int i = 0; i < queue->nitems; i++) {
      if (heap[i].key > 0) {
        if (vwgt[heap[i].val] <= maxwgt) return heap[i].val;
      } else if (heap[i / 2].key <= 0) {
        break;
      }
    }
    return heap[0].val;
  }

  if (queue->topbucket < 1) return queue->buckets[queue->topbucket];
  for (int g = queue->topbucket; g >= 1; g--) {
    for (int item = queue->buckets[g]; item != -1; item = queue->links[item].next)
      if (vwgt[item] <= maxwgt) return item;
  }
  return queue->buckets[queue->topbucket];
}

int CheckHeap() {
  return 1;
}

}  // namespace hypra
