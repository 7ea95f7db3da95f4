// The expansion of independent random variables into scenarios: every combination of realisations, in an order in
// which two consecutive ones differ in one variable.
//
// A combination becomes an event vector with one code a stage; the event tree answers which scenario it departs
// from and where. Codes need only be equal for equal choices. The choices of a stage are folded in mixed radix into
// as many 64-bit words as their product asks for (a stage may have 5^118 outcomes), variable k adding
// choice * weight to its word, so one step of the order changes one word. A stage whose outcomes fit an int uses the
// folded number itself, any other numbers the outcomes it meets.
#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "stoch/scn_smps.h"

namespace {

constexpr int64_t WORD_LIMIT = int64_t(1) << 62;

// Distinct outcomes of one stage that have been met, numbered in the order of meeting.
struct OutcomeNumbers {
  int64_t *keys;        // [capacity * width]
  int *slots;           // [room] open-addressed: number + 1
  int64_t room;         // a power of two
  int count, capacity;
};

struct StageCode {
  int firstWord, width; // words of this stage; width 0: nothing random here
  bool direct;          // one word below 2^31: it is the event code
  OutcomeNumbers numbers;
};

struct VariableState {
  const RealisationSet *set;
  double *differences;  // values less the core's; or the set's own values
  bool ownsDifferences;
  int choice, direction;
  int word;             // of the codes
  int64_t weight;
};

struct Explosion {
  QRTStoch *stoch;
  const CoreData *core;
  RandomVariableList *list;   // private copy of the head
  VariableState *variables;   // [list->count]
  StageCode *stages;          // [nStages-1] stage s at [s-2]
  int64_t *words;
  int nWords;
  int *events;                // [nStages-1]
  int *rows, *cols;           // [maxElements]
  double *values;
  QRTTree *tree;
  int sample;
};

template <class T> T *allocated(int64_t n) {
  return static_cast<T *>(qrts__alloc("qrts_explodeTree", (n + 1) * static_cast<int64_t>(sizeof(T)), 0));
}

// ---- codes

uint64_t hashWords(const int64_t *words, int width) {
  uint64_t h = 0x9E3779B97F4A7C15ull;
  for (int k = 0; k < width; ++k) {
    h = (h ^ static_cast<uint64_t>(words[k])) * 0xBF58476D1CE4E5B9ull;
    h ^= h >> 31;
  }
  return h;
}

void rehash(OutcomeNumbers *n, int width) {
  free(n->slots);
  n->room = n->room ? n->room * 2 : 64;
  n->slots = allocated<int>(n->room);
  for (int k = 0; k < n->count; ++k) {
    uint64_t s = hashWords(n->keys + int64_t(k) * width, width) & static_cast<uint64_t>(n->room - 1);
    while (n->slots[s]) s = (s + 1) & static_cast<uint64_t>(n->room - 1);
    n->slots[s] = k + 1;
  }
}

int numberOf(OutcomeNumbers *n, const int64_t *words, int width) {
  if (2 * (int64_t(n->count) + 1) > n->room) rehash(n, width);
  const size_t bytes = static_cast<size_t>(width) * sizeof(int64_t);
  uint64_t s = hashWords(words, width) & static_cast<uint64_t>(n->room - 1);
  for (; n->slots[s]; s = (s + 1) & static_cast<uint64_t>(n->room - 1))
    if (memcmp(n->keys + int64_t(n->slots[s] - 1) * width, words, bytes) == 0) return n->slots[s] - 1;
  if (n->count == n->capacity) {
    n->capacity = n->capacity ? n->capacity * 2 : 64;
    n->keys = static_cast<int64_t *>(
        qrts__realloc("qrts_explodeTree", n->keys, int64_t(n->capacity) * static_cast<int64_t>(bytes)));
  }
  memcpy(n->keys + int64_t(n->count) * width, words, bytes);
  n->slots[s] = ++n->count;
  return n->count - 1;
}

int eventOf(Explosion *x, StageCode *stage) {
  if (stage->width == 0) return 0;
  const int64_t *words = x->words + stage->firstWord;
  return stage->direct ? static_cast<int>(words[0]) : numberOf(&stage->numbers, words, stage->width);
}

// Words and weights: within a stage the last variable is the lowest digit.
void assignWords(Explosion *x) {
  for (int s = 2; s <= x->core->nStages; ++s) {
    StageCode *stage = &x->stages[s - 2];
    stage->firstWord = x->nWords;
    int64_t product = 1;
    for (int k = x->list->count - 1; k >= 0; --k) {
      if (x->list->variables[k]->stage != s) continue;
      VariableState *v = &x->variables[k];
      if (stage->width == 0 || product > WORD_LIMIT / v->set->count) {
        ++stage->width;
        product = 1;
      }
      v->word = stage->firstWord + stage->width - 1;
      v->weight = product;
      product *= v->set->count;
    }
    stage->direct = stage->width == 1 && product <= INT32_MAX;
    x->nWords += stage->width;
  }
}

// ---- setting up and clearing away

// The differences of a realisation do not depend on the combination it appears in: subtract the core once.
int prepareVariable(Explosion *x, int k, int replace) {
  VariableState *v = &x->variables[k];
  v->set = x->list->variables[k]->set;
  v->direction = 1;
  v->differences = v->set->values;
  const int n = v->set->start[v->set->count] - 1;
  if (!replace || n == 0) return 0;
  v->differences = allocated<double>(n);
  v->ownsDifferences = true;
  memcpy(v->differences, v->set->values, static_cast<size_t>(n) * sizeof(double));
  int rc = 0;
  qrtbinsbdt(&rc, x->stoch->sdata, n, v->set->rows, v->set->cols, v->differences);
  return rc;
}

void clearAway(Explosion *x) {
  for (int k = 0; x->variables && k < x->list->count; ++k)
    if (x->variables[k].ownsDifferences) free(x->variables[k].differences);
  for (int s = 2; x->stages && s <= x->core->nStages; ++s) {
    free(x->stages[s - 2].numbers.keys);
    free(x->stages[s - 2].numbers.slots);
  }
  if (x->tree) qrts_delete2Tree(x->tree);
  free(x->variables);
  free(x->stages);
  free(x->words);
  free(x->events);
  free(x->rows);
  free(x->cols);
  free(x->values);
  free(x->list);
}

int64_t saturatedProduct(const Explosion *x) {
  int64_t product = 1;
  for (int k = 0; k < x->list->count; ++k) {
    const int count = x->variables[k].set->count;
    product = product > INT64_MAX / count ? INT64_MAX : product * count;
  }
  return product;
}

double probabilityOf(const Explosion *x) {
  double p = 1.0;
  for (int k = 0; k < x->list->count; ++k) p *= x->variables[k].set->probabilities[x->variables[k].choice];
  return p;
}

// ---- one combination

int gatherElements(Explosion *x) {
  int n = 0;
  for (int k = 0; k < x->list->count; ++k) {
    const VariableState *v = &x->variables[k];
    const int from = v->set->start[v->choice] - 1, count = v->set->start[v->choice + 1] - 1 - from;
    if (count == 0) continue;
    memcpy(x->rows + n, v->set->rows + from, static_cast<size_t>(count) * sizeof(int));
    memcpy(x->cols + n, v->set->cols + from, static_cast<size_t>(count) * sizeof(int));
    memcpy(x->values + n, v->differences + from, static_cast<size_t>(count) * sizeof(double));
    n += count;
  }
  return n;
}

// Adds the present combination as a scenario: 0, or the code of the tree or of the store.
int qrts_Cadev(Explosion *x, double p, int64_t nScenarios) {
  const int depth = x->core->nStages - 1;
  int ancestor = 0, stage = 1, scenario = 1;
  double probability = p;
  if (depth == 1) {
    // No two combinations are equal, so in two stages each is a new leaf of the root: a tree would only cost memory.
    scenario = x->sample + 1;
  } else if (depth > 1) {
    for (int s = 0; s < depth; ++s) x->events[s] = eventOf(x, &x->stages[s]);
    if (!x->tree) {
      // One place more than the store will take, so that the store is who refuses the first scenario too many.
      const int64_t room = int64_t(x->stoch->sdata->scenarios->maximum) + 1;
      const int64_t samples = nScenarios < room ? nScenarios : room;
      x->sample = 0;
      x->tree = qrttree_Cinit(x->events, depth, samples > INT32_MAX ? INT32_MAX : static_cast<int>(samples), p);
    } else {
      const int number = qrttree_Cadd(x->tree, x->events, depth, p);
      if (number < 0) return -number;
    }
    const int rc = qrttree_Cget(x->tree, x->sample, &ancestor, &stage, &probability, &scenario, nullptr);
    if (rc) return rc;
  }
  // The tree has no root stage.
  ++stage;
  if (stage == 2) ancestor = 0;
  int rc = 0;
  qrtbinptsc(&rc, x->stoch->sdata, scenario, ancestor, stage, probability, x->core->nRows, x->core->nCols,
             gatherElements(x), x->rows, x->cols, x->values, 0);
  ++x->sample;
  return rc;
}

// Reflected mixed-radix order, variable 0 fastest: step i changes the variable found by dividing i by the counts
// while it is divisible, and turns round the variables passed over.
VariableState *step(Explosion *x, int64_t i) {
  int k = 0;
  while (i % x->variables[k].set->count == 0) {
    x->variables[k].direction = -x->variables[k].direction;
    i /= x->variables[k].set->count;
    ++k;
  }
  return &x->variables[k];
}

int visitAll(Explosion *x) {
  const int64_t nScenarios = saturatedProduct(x);
  double p = probabilityOf(x);
  int rc = qrts_Cadev(x, p, nScenarios);
  for (int64_t i = 1; i < nScenarios && rc == 0; ++i) {
    VariableState *v = step(x, i);
    const double before = v->set->probabilities[v->choice];
    v->choice += v->direction;
    x->words[v->word] += v->direction * v->weight;
    const double after = v->set->probabilities[v->choice];
    // A factor of zero cannot be divided out again.
    p = before == 0.0 ? probabilityOf(x) : p / before * after;
    rc = qrts_Cadev(x, p, nScenarios);
  }
  return rc;
}

}  // namespace

int qrts_explodeTree(QRTStoch *stoch, int replace) {
  Explosion x{};
  x.stoch = stoch;
  x.core = stoch->sdata->core;
  int rc = qrts_Cdget(stoch, &x.list);
  if (rc != 0) return rc;
#ifdef QRT_SELF_CHECKS
  if (independent_check(stoch->sdata->independent, x.core)) abort();
#endif
  const int64_t maxElements = stoch->sdata->independent->maxElements;
  x.variables = allocated<VariableState>(x.list->count);
  x.stages = allocated<StageCode>(x.core->nStages);
  x.events = allocated<int>(x.core->nStages);
  x.rows = allocated<int>(maxElements);
  x.cols = allocated<int>(maxElements);
  x.values = allocated<double>(maxElements);
  for (int k = 0; k < x.list->count && rc == 0; ++k) rc = prepareVariable(&x, k, replace);
  if (rc == 0) {
    assignWords(&x);
    x.words = allocated<int64_t>(x.nWords);
    rc = visitAll(&x);
  }
  clearAway(&x);
  return rc;
}
