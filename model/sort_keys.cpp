// Sorting of index lists with or without values, stable, without recursion or library objects.
#include <climits>
#include <cstring>

#include "frame/entry_frame.h"
#include "frame/guarded_memory.h"
#include "model/model_store.h"

namespace {

constexpr int SHORT_RUN = 24;  // below this, insertion wins

void insertionSort(int *keys, double *values, int n) {
  for (int k = 1; k < n; k++) {
    const int key = keys[k];
    if (keys[k - 1] <= key) continue;
    const double value = values ? values[k] : 0.0;
    int at = k;
    for (; at > 0 && keys[at - 1] > key; at--) {
      keys[at] = keys[at - 1];
      if (values) values[at] = values[at - 1];
    }
    keys[at] = key;
    if (values) values[at] = value;
  }
}

// One pass of a bottom-up merge from one pair of arrays to the other.
void mergePass(const int *keys, const double *values, int *outKeys, double *outValues, int n, int run) {
  for (int64_t low = 0; low < n; low += int64_t(2) * run) {
    const int middle = int(low + run < n ? low + run : n), high = int(low + 2 * int64_t(run) < n ? low + 2 * int64_t(run) : n);
    int a = int(low), b = middle;
    for (int k = int(low); k < high; k++) {
      const bool left = a < middle && (b >= high || keys[a] <= keys[b]);
      const int from = left ? a++ : b++;
      outKeys[k] = keys[from];
      if (values) outValues[k] = values[from];
    }
  }
}

void sortKeys(int *keys, double *values, int n) {
  bool ascending = true;
  for (int k = 1; k < n && ascending; k++) ascending = keys[k - 1] <= keys[k];
  if (ascending) return;
  if (n <= SHORT_RUN) {
    insertionSort(keys, values, n);
    return;
  }
  int *otherKeys = static_cast<int *>(guardedAllocate(n, sizeof(int)));
  double *otherValues = values ? static_cast<double *>(guardedAllocate(n, sizeof(double))) : nullptr;
  for (int low = 0; low < n; low += SHORT_RUN) {
    const int length = n - low < SHORT_RUN ? n - low : SHORT_RUN;
    insertionSort(keys + low, values ? values + low : nullptr, length);
  }
  int *fromKeys = keys, *toKeys = otherKeys;
  double *fromValues = values, *toValues = otherValues;
  for (int64_t run = SHORT_RUN; run < n; run *= 2) {
    mergePass(fromKeys, fromValues, toKeys, toValues, n, int(run));
    int *k = fromKeys;
    fromKeys = toKeys;
    toKeys = k;
    double *v = fromValues;
    fromValues = toValues;
    toValues = v;
  }
  if (fromKeys != keys) {
    memcpy(keys, fromKeys, sizeof(int) * size_t(n));
    if (values) memcpy(values, fromValues, sizeof(double) * size_t(n));
  }
  qrt_free(otherKeys);
  qrt_free(otherValues);
}

}  // namespace

void qrt_sort0(int *keys, int n) { sortKeys(keys, nullptr, n); }
void qrt_sort2(int *keys, double *values, int n) { sortKeys(keys, values, n); }

void indexRange(const int *indices, int64_t n, int *smallest, int *largest) {
  int low = INT_MAX, high = -1;
  for (int64_t k = 0; k < n; k++) {
    low = indices[k] < low ? indices[k] : low;
    high = indices[k] > high ? indices[k] : high;
  }
  *smallest = low;
  *largest = high;
}

extern "C" int qrt_sortMatrix(const int *starts, int *indices, double *elements, int count) {
  for (int k = 0; k < count; k++)
    sortKeys(indices + starts[k], elements ? elements + starts[k] : nullptr, starts[k + 1] - starts[k]);
  return 0;
}
