// In-place sorts over 32-bit data: an iterative quicksort that abandons short segments,
// followed by a single insertion pass behind a sentinel. The routines differ only in the element
// type and the comparison, so they share one implementation; the order in which equal keys come
// out is part of the observable behaviour and is fixed by this exact scheme.
#include "core/core.h"

namespace hypra {

namespace {

constexpr int kShortSpan = 20;  // segments spanning at most this many positions are left over

template <typename T>
inline void Swap(T &a, T &b) {
  T tmp = a;
  a = b;
  b = tmp;
}

// Puts the first smallest element of a[0..last] at position 0.
template <typename T, typename Before>
void PlaceSentinel(T *a, int last, Before before) {
  int best = 0;
  for (int i = 1; i <= last; i++)
    if (before(a[i], a[best])) best = i;
  Swap(a[0], a[best]);
}

// Straight insertion from position 2; the sentinel at position 0 stops every scan.
template <typename T, typename Before>
void InsertionPass(T *a, int n, Before before) {
  for (int i = 2; i < n; i++) {
    if (!before(a[i], a[i - 1])) continue;
    T item = a[i];
    int j = i;
    do {
      a[j] = a[j - 1];
      j--;
    } while (before(item, a[j - 1]));
    a[j] = item;
  }
}

// Quicksort with median-of-three and an explicit stack; short pieces are left for the
// insertion pass. Pushing the larger piece keeps the stack within log2(n) entries.
template <typename T, typename Before>
void QuickSortLongSegments(T *a, int n, Before before) {
  if (n <= kShortSpan) return;
  struct Segment {
    int lo, hi;
  } stack[64];
  int depth = 0;
  int lo = 0, hi = n - 1;
  for (;;) {
    int mid = lo + (hi - lo) / 2;
    if (before(a[mid], a[lo])) Swap(a[mid], a[lo]);
    if (before(a[hi], a[mid])) {
      Swap(a[hi], a[mid]);
      if (before(a[mid], a[lo])) Swap(a[mid], a[lo]);
    }
    const T pivot = a[mid];

    int left = lo + 1, right = hi - 1;
    do {
      while (before(a[left], pivot)) left++;
      while (before(pivot, a[right])) right--;
      if (left < right) {
        Swap(a[left], a[right]);
        left++;
        right--;
      } else if (left == right) {
        left++;
        right--;
        break;
      }
    } while (left <= right);

    bool left_short = right - lo <= kShortSpan;
    bool right_short = hi - left <= kShortSpan;
    if (left_short && right_short) {
      if (depth == 0) break;
      depth--;
      lo = stack[depth].lo;
      hi = stack[depth].hi;
    } else if (left_short) {
      lo = left;
    } else if (right_short) {
      hi = right;
    } else if (right - lo > hi - left) {
      stack[depth++] = {lo, right};
      lo = left;
    } else {
      stack[depth++] = {left, hi};
      hi = right;
    }
  }
}

template <typename T, typename Before>
void QuickInsertSort(T *a, int n, Before before) {
  if (n < 1) return;
  QuickSortLongSegments(a, n, before);
  PlaceSentinel(a, n - 1 < kShortSpan ? n - 1 : kShortSpan, before);
  InsertionPass(a, n, before);
}

// Comparisons as function objects rather than functions, so that every comparison of the sort
// is compiled inline.
struct IntAscending {
  bool operator()(int a, int b) const { return a < b; }
};
struct KeyAscending {
  bool operator()(const KeyValue &a, const KeyValue &b) const { return a.key < b.key; }
};
struct KeyDescending {
  bool operator()(const KeyValue &a, const KeyValue &b) const { return a.key > b.key; }
};

}  // namespace

void iintsort__(int n, int *a) {
  QuickInsertSort(a, n, IntAscending{});
}

void ikeysort__(int n, KeyValue *pairs) {
  int descents = 0;
  for (int i = 0; i < n - 1; i++)
    if (pairs[i].key > pairs[i + 1].key) descents++;
  if (n * 0.05 > descents)
    ikeysort2__(n, pairs);
  else
    QuickInsertSort(pairs, n, KeyAscending{});
}

void ikeysort2__(int n, KeyValue *pairs) {
  if (n < 1) return;
  PlaceSentinel(pairs, n - 1, KeyAscending{});
  InsertionPass(pairs, n, KeyAscending{});
}

void dkeysort__(int n, KeyValue *pairs) {
  QuickInsertSort(pairs, n, KeyDescending{});
}

}  // namespace hypra
