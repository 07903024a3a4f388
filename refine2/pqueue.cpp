// The gain-keyed priority queue: gain buckets or a binary heap, chosen once at initialisation.
#include "refine2/pqueue.h"

namespace {

// Lowers topbucket after its bucket emptied: to -G when nothing is left, else to the next
// non-empty bucket below.
void StepDownTop(PQueue *queue) {
  if (queue->nitems == 0) {
    queue->topbucket = -queue->gainspan;
    return;
  }
  while (queue->topbucket > -queue->gainspan && queue->buckets[queue->topbucket] == nullptr)
    queue->topbucket--;
}

void CheckBucketGain(const PQueue *queue, int gain) {
  // The caller sizes the queue by the largest possible gain; a gain beyond it means the weights
  // are not what that bound assumes (for instance negative hyperedge weights).
  if (gain < -queue->gainspan || gain > queue->gainspan)
    errexit__("PQueue: gain %d outside the range -%d..%d the queue was built for", gain,
              queue->gainspan, queue->gainspan);
}

void BucketPush(PQueue *queue, int item, int gain) {
  CheckBucketGain(queue, gain);
  PQueueNode *node = queue->nodes + item;
  PQueueNode *head = queue->buckets[gain];
  node->prev = nullptr;
  node->next = head;
  if (head != nullptr) head->prev = node;
  queue->buckets[gain] = node;
  if (gain > queue->topbucket) queue->topbucket = gain;
}

void BucketUnlink(PQueue *queue, int item, int gain) {
  PQueueNode *node = queue->nodes + item;
  if (node->prev != nullptr)
    node->prev->next = node->next;
  else
    queue->buckets[gain] = node->next;
  if (node->next != nullptr) node->next->prev = node->prev;
}

// Moves the entry (key, item) up from position i while its parent's key is strictly smaller.
void SiftUp(PQueue *queue, int i, int key, int item) {
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
void SiftDown(PQueue *queue, int i, int key, int item) {
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
  queue->nodes = nullptr;
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
  queue->nodes = static_cast<PQueueNode *>(RVmalloc__(
      static_cast<long long>(sizeof(PQueueNode)) * maxitems, "PQueueInit: queue->nodes"));
  for (int i = 0; i < maxitems; i++) queue->nodes[i].id = i;
  const long long nheads = 2LL * maxgain + 1;
  queue->buckets = static_cast<PQueueNode **>(RVmalloc__(
      static_cast<long long>(sizeof(PQueueNode *)) * nheads, "PQueueInit: queue->buckets"));
  for (long long i = 0; i < nheads; i++) queue->buckets[i] = nullptr;
  queue->buckets += maxgain;
  queue->topbucket = -maxgain;
}

void PQueueReset__(PQueue *queue) {
  queue->nitems = 0;
  if (queue->qtype == PQUEUE_HEAP) {
    iset__(queue->maxitems, -1, queue->locator);
    return;
  }
  const int span = queue->gainspan;
  queue->topbucket = -span;
  for (int g = -span; g <= span; g++) queue->buckets[g] = nullptr;
}

void PQueueFree__(PQueue *queue) {
  if (queue->qtype == PQUEUE_HEAP) {
    RVfree__(&queue->heap, &queue->locator);
  } else {
    if (queue->buckets != nullptr) queue->buckets -= queue->gainspan;
    RVfree__(&queue->nodes, &queue->buckets);
  }
  queue->maxitems = 0;
}

int PQueueInsert__(PQueue *queue, int item, int gain) {
  queue->nitems++;
  if (queue->qtype == PQUEUE_HEAP)
    SiftUp(queue, queue->nitems - 1, gain, item);
  else
    BucketPush(queue, item, gain);
  return 0;
}

int PQueueDelete(PQueue *queue, int item, int gain) {
  queue->nitems--;
  if (queue->qtype == PQUEUE_HEAP) {
    const int i = queue->locator[item];
    queue->locator[item] = -1;
    if (queue->nitems == 0 || queue->heap[queue->nitems].val == item) return 0;
    const KeyValue last = queue->heap[queue->nitems];
    if (last.key > queue->heap[i].key)
      SiftUp(queue, i, last.key, last.val);
    else
      SiftDown(queue, i, last.key, last.val);
    return 0;
  }
  BucketUnlink(queue, item, gain);
  if (queue->buckets[gain] == nullptr && gain == queue->topbucket) StepDownTop(queue);
  return 0;
}

int PQueueUpdate__(PQueue *queue, int item, int oldgain, int newgain) {
  if (oldgain == newgain) return 0;
  if (queue->qtype == PQUEUE_HEAP) {
    const int i = queue->locator[item];
    // The direction follows the caller's old gain, not the stored key.
    if (oldgain >= newgain)
      SiftDown(queue, i, newgain, item);
    else
      SiftUp(queue, i, newgain, item);
    return 0;
  }
  PQueueDelete(queue, item, oldgain);
  PQueueInsert__(queue, item, newgain);
  return 0;
}

int PQueueGetMax__(PQueue *queue) {
  if (queue->nitems == 0) return -1;
  queue->nitems--;
  if (queue->qtype == PQUEUE_HEAP) {
    const int item = queue->heap[0].val;
    queue->locator[item] = -1;
    if (queue->nitems > 0) {
      const KeyValue last = queue->heap[queue->nitems];
      SiftDown(queue, 0, last.key, last.val);
    }
    return item;
  }
  PQueueNode *node = queue->buckets[queue->topbucket];
  queue->buckets[queue->topbucket] = node->next;
  if (node->next != nullptr) node->next->prev = nullptr;
  if (queue->buckets[queue->topbucket] == nullptr) StepDownTop(queue);
  return node->id;
}

int PQueueSeeMax__(const PQueue *queue) {
  if (queue->nitems == 0) return -1;
  if (queue->qtype == PQUEUE_HEAP) return queue->heap[0].val;
  return queue->buckets[queue->topbucket]->id;
}

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

  if (queue->topbucket < 1) return queue->buckets[queue->topbucket]->id;
  for (int g = queue->topbucket; g >= 1; g--) {
    for (const PQueueNode *node = queue->buckets[g]; node != nullptr; node = node->next)
      if (vwgt[node->id] <= maxwgt) return node->id;
  }
  return queue->buckets[queue->topbucket]->id;
}

int CheckHeap() {
  return 1;
}
