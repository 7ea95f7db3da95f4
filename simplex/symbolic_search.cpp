// Depth-first search for the pattern of a sparse triangular solve (Gilbert and Peierls 1988).
//
// The rows of the result are those that can be reached from the rows of the right-hand side. In reverse post-order a
// row comes before all rows it leads to, which is an order the solve may take; so the cost follows the elements met,
// not m.
#include "simplex/factor_arrays.h"

int symbolicSearch(FactorArrays *a, const SearchGraph *graph, const int32_t *list, int count, int limit) {
  uint8_t *mark = a->mark;
  int32_t *stack = a->searchStack, *next = a->searchNext, *found = a->searchList;
  const int32_t *index = graph->index;
  int number = 0, depth = 0;
  const int32_t *barrier = graph->barrier;
  bool tooMany = false;

  // The ends of a row's list; rows without an eta have none.
  const auto listOf = [graph](int row, int *begin, int *end) {
    if (graph->etaOfRow) {
      const int e = graph->etaOfRow[row];
      if (e < 0) {
        *begin = *end = 0;
        return;
      }
      *begin = graph->start[e];
      *end = graph->start[e + 1];
    } else {
      *begin = graph->start[row];
      *end = graph->length ? *begin + graph->length[row] : graph->start[row + 1];
    }
  };

  for (int k = 0; k < count && !tooMany; k++) {
    int row = list[k];
    if (mark[row]) continue;
    int at, end;
    listOf(row, &at, &end);
    mark[row] = 1;
    if (barrier && barrier[row]) {
      found[number++] = row;
      tooMany = true;
      break;
    }
    for (;;) {
      int child = 0;
      while (at < end) {
        const int i = index[at++];
        if (!mark[i]) {
          child = i;
          break;
        }
      }
      if (child) {
        mark[child] = 1;
        if (barrier && barrier[child]) {
          found[number++] = child;
          found[number++] = row;
          tooMany = true;
          break;
        }
        int childAt, childEnd;
        listOf(child, &childAt, &childEnd);
        if (childAt == childEnd) {  // a leaf needs no place on the path
          found[number++] = child;
          continue;
        }
        stack[depth] = row;
        next[depth++] = at;
        row = child;
        at = childAt;
        end = childEnd;
        continue;
      }
      found[number++] = row;
      if (depth == 0) break;
      row = stack[--depth];
      at = next[depth];
      int begin;
      listOf(row, &begin, &end);
    }
    if (tooMany) {
      while (depth) found[number++] = stack[--depth];
      break;
    }
    tooMany = number > limit;
  }
  for (int k = 0; k < number; k++) mark[found[k]] = 0;
  return tooMany ? -1 : number;
}
