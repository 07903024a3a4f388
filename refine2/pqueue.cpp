// The gain-keyed priority queue: gain buckets or a binary heap, chosen once at initialisation.
#include "refine2/pqueue.h"

namespace hypra {

namespace {

// Both sifts are inlined into their callers: the refiners call HeapUpdate once per gain change.

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

}  // namespace

void PQueueInit__(PQueue *queue, int maxitems, int maxgain) {
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
  queue->links = static_cast<PQueueLink *>(RVmalloc__(
      static_cast<long long>(sizeof(PQueueLink)) * maxitems, "PQueueInit: queue->nodes"));
  const long long nheads = 2LL * maxgain + 1;
  queue->buckets = ismalloc__(nheads, -1, "PQueueInit: queue->buckets");
  queue->buckets += maxgain;
  queue->topbucket = -maxgain;
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

void HeapUpdate(PQueue *queue, int item, int oldgain, int newgain) {
  const int i = queue->locator[item];
  // The direction follows the caller's old gain, not the stored key.
  if (oldgain >= newgain)
    SiftDown(queue, i, newgain, item);
  else
    SiftUp(queue, i, newgain, item);
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
