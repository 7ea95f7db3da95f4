// Event trees: growing one sample at a time, reading samples back, ordering and checking.
#include "stoch/scn_tree.h"

#include <cstdlib>
#include <cstring>

#include "frame/messages.h"
#include "stoch/scn_object.h"

namespace {

constexpr int64_t SLAB_PIECES = 4096;
constexpr int64_t SLAB_HEAD = 16;  // link word, padded so that doubles behind it are aligned

void *slabPiece(TreeSlab *slab, int64_t pieceBytes) {
  if (slab->used == slab->capacity) {
    // Blocks double from small, so that a tree of a few samples stays small.
    int64_t pieces = slab->capacity == 0 ? 16 : slab->capacity * 2;
    if (pieces > SLAB_PIECES) pieces = SLAB_PIECES;
    char *block = static_cast<char *>(qrts__alloc("qrttree_Cadd", SLAB_HEAD + pieces * pieceBytes, 1));
    memcpy(block, &slab->newest, sizeof slab->newest);
    slab->newest = block;
    slab->used = 0;
    slab->capacity = pieces;
  }
  return static_cast<char *>(slab->newest) + SLAB_HEAD + slab->used++ * pieceBytes;
}

void slabFree(TreeSlab *slab) {
  while (slab->newest) {
    void *older;
    memcpy(&older, slab->newest, sizeof older);
    free(slab->newest);
    slab->newest = older;
  }
  slab->used = slab->capacity = 0;
}

uint64_t childSlot(const EventNode *parent, int32_t event) {
  // Multiplicative mixing (golden ratio, then the finaliser of a well-known 64-bit mixer): parents lie at a fixed
  // stride and events run through small ranges, so neither may reach the table index unmixed.
  uint64_t h = reinterpret_cast<uintptr_t>(parent) * 0x9E3779B97F4A7C15ull + static_cast<uint32_t>(event);
  h = (h ^ (h >> 30)) * 0xBF58476D1CE4E5B9ull;
  h = (h ^ (h >> 27)) * 0x94D049BB133111EBull;
  return h ^ (h >> 31);
}

EventNode *findChild(const QRTTree *tree, const EventNode *parent, int32_t event) {
  const uint64_t mask = static_cast<uint64_t>(tree->childRoom - 1);
  for (uint64_t slot = childSlot(parent, event) & mask;; slot = (slot + 1) & mask) {
    EventNode *node = tree->children[slot];
    if (!node || (node->parent == parent && node->event == event)) return node;
  }
}

void placeChild(QRTTree *tree, EventNode *node) {
  const uint64_t mask = static_cast<uint64_t>(tree->childRoom - 1);
  uint64_t slot = childSlot(node->parent, node->event) & mask;
  while (tree->children[slot]) slot = (slot + 1) & mask;
  tree->children[slot] = node;
}

void growChildTable(QRTTree *tree) {
  EventNode **old = tree->children;
  const int64_t oldRoom = tree->childRoom;
  tree->childRoom = oldRoom ? oldRoom * 2 : 32;
  tree->children = static_cast<EventNode **>(
      qrts__alloc("qrttree_Cadd", tree->childRoom * static_cast<int64_t>(sizeof(EventNode *)), 0));
  for (int64_t k = 0; k < oldRoom; ++k)
    if (old[k]) placeChild(tree, old[k]);
  free(old);
}

EventNode *newNode(QRTTree *tree, EventNode *parent, int stage, int event, double probability) {
  EventNode *node = static_cast<EventNode *>(slabPiece(&tree->nodeSlab, sizeof(EventNode)));
  *node = EventNode{};
  node->probability = probability;
  node->stage = stage;
  node->event = event;
  node->parent = parent;
  if (!parent) return node;
  if (parent->firstChild) tree->chainsInOrder = false;
  node->nextSibling = parent->firstChild;
  parent->firstChild = node;
  if (2 * (tree->childCount + 1) > tree->childRoom) growChildTable(tree);
  placeChild(tree, node);
  ++tree->childCount;
  return node;
}

TreeScenario *newScenario(QRTTree *tree, EventNode *leaf, const int *events, double probability) {
  TreeScenario *scenario = static_cast<TreeScenario *>(slabPiece(&tree->scenarioSlab, sizeof(TreeScenario)));
  *scenario = TreeScenario{};
  const int64_t bytes = static_cast<int64_t>(tree->nStages) * static_cast<int64_t>(sizeof(int32_t));
  scenario->probability = probability;
  scenario->leaf = leaf;
  scenario->events = static_cast<int32_t *>(slabPiece(&tree->eventSlab, bytes));
  memcpy(scenario->events, events, static_cast<size_t>(bytes));
  scenario->number = ++tree->nScenarios;
  scenario->sample = tree->sampleIndex;
  return scenario;
}

// Room for the present sampleIndex; the table grows as filled, since a caller may pass any maximum.
void growSamples(QRTTree *tree) {
  if (tree->sampleIndex < tree->sampleRoom) return;
  int64_t room = tree->sampleRoom ? int64_t(tree->sampleRoom) * 2 : 16;
  if (room > tree->maxSamples) room = tree->maxSamples;
  if (room <= tree->sampleIndex) room = int64_t(tree->sampleIndex) + 1;
  tree->samples = static_cast<TreeScenario **>(
      qrts__realloc("qrttree_Cadd", tree->samples, room * static_cast<int64_t>(sizeof(TreeScenario *))));
  tree->sampleRoom = static_cast<int32_t>(room);
}

void tellTooMany(int wanted, int limit) {
  messageC(1, "samples");
  messageI(1, wanted);
  messageI(2, limit);
  stochMessage(MSG_TOO_MANY);
}

int addBranch(QRTTree *tree, EventNode *above, const int *events, double probability) {
  const int branchStage = above->stage + 1;
  EventNode *leaf = above;
  for (int s = branchStage; s <= tree->nStages; ++s) leaf = newNode(tree, leaf, s, events[s - 1], 0.0);
  TreeScenario *scenario = newScenario(tree, leaf, events, probability);
  scenario->branchStage = branchStage;
  scenario->ancestor = above->scenario;
  for (EventNode *node = leaf; node; node = node->parent) {
    if (node->stage >= branchStage) {
      node->scenario = scenario;
      node->number = ++tree->nNodes;
    }
    if (node->parent) node->parent->probability += probability;
  }
  scenario->next = scenario->ancestor->next;
  scenario->ancestor->next = scenario;
  tree->samples[tree->sampleIndex] = scenario;
  return scenario->number;
}

int addDuplicate(QRTTree *tree, EventNode *leaf, double probability) {
  TreeScenario *scenario = leaf->scenario;
  scenario->probability += probability;
  for (EventNode *node = leaf; node; node = node->parent) node->probability += probability;
  tree->samples[tree->sampleIndex] = scenario;
  return scenario->number;
}

bool chainFalls(const EventNode *node) {
  for (; node && node->nextSibling; node = node->nextSibling)
    if (node->event < node->nextSibling->event) return false;
  return true;
}

// Bottom-up merge sort of a chain by falling event code: no recursion, no extra memory.
EventNode *sortChain(EventNode *head) {
  for (int64_t width = 1;; width *= 2) {
    EventNode *rest = head, *sorted = nullptr, **tail = &sorted;
    int64_t merges = 0;
    while (rest) {
      ++merges;
      EventNode *left = rest, *right = rest;
      int64_t nLeft = 0, nRight = width;
      while (nLeft < width && right) right = right->nextSibling, ++nLeft;
      while (nLeft > 0 || (nRight > 0 && right)) {
        const bool takeLeft = nLeft > 0 && (nRight == 0 || !right || left->event >= right->event);
        EventNode *&from = takeLeft ? left : right;
        (takeLeft ? nLeft : nRight)--;
        *tail = from;
        tail = &from->nextSibling;
        from = from->nextSibling;
      }
      rest = right;
    }
    *tail = nullptr;
    head = sorted;
    if (merges <= 1) return head;
  }
}

}  // namespace

QRTTree *qrttree_Cinit(const int *events, int nStages, int maxSamples, double probability) {
  if (!events || nStages < 1) return nullptr;
  QRTTree *tree = static_cast<QRTTree *>(qrts__alloc("qrttree_Cinit", sizeof(QRTTree), 0));
  tree->maxSamples = maxSamples < 1 ? 1 : maxSamples;
  tree->nStages = nStages;
  tree->chainsInOrder = true;
  growSamples(tree);
  growChildTable(tree);
  tree->root = newNode(tree, nullptr, 0, 0, 0.0);
  EventNode *leaf = tree->root;
  for (int s = 1; s <= nStages; ++s) {
    leaf->number = s;
    leaf = newNode(tree, leaf, s, events[s - 1], probability);
  }
  TreeScenario *first = newScenario(tree, leaf, events, probability);
  first->branchStage = 1;
  first->ancestor = first->next = first;
  for (EventNode *node = leaf; node; node = node->parent) node->scenario = first;
  tree->samples[0] = first;
  tree->sampleIndex = 0;
  tree->lastScenario = 1;
  tree->nNodes = nStages;
  memcpy(tree->tag, "sTREE", 6);
  registerHandle(tree);
  return tree;
}

int qrttree_Cadd(QRTTree *tree, const int *events, int nStages, double probability) {
  if (!events || nStages < tree->nStages) return 2;
  if (tree->sampleIndex + 1 >= tree->maxSamples) {
    tellTooMany(tree->sampleIndex + 2, tree->maxSamples);
    return -1;
  }
  ++tree->sampleIndex;
  growSamples(tree);
  EventNode *node = tree->root, *child = nullptr;
  for (int s = 1; s <= tree->nStages; ++s, node = child) {
    child = findChild(tree, node, events[s - 1]);
    if (!child) return tree->lastScenario = addBranch(tree, node, events, probability);
  }
  return tree->lastScenario = addDuplicate(tree, node, probability);
}

int qrttree_Cget(QRTTree *tree, int index, int *ancestor, int *stage, double *probability, int *number, int **events) {
  if (index < 0 || index > tree->sampleIndex) {
    tellTooMany(index == INT32_MAX ? index : index + 1, tree->sampleIndex + 1);
    return 1;
  }
  const TreeScenario *scenario = tree->samples[index];
  if (ancestor) *ancestor = scenario->branchStage == 1 ? 0 : scenario->ancestor->number;
  if (stage) *stage = scenario->branchStage;
  if (probability) *probability = scenario->probability;
  if (number) *number = scenario->number;
  if (events) *events = scenario->events;
  return 0;
}

void qrttree_orderSiblings(QRTTree *tree) {
  if (tree->chainsInOrder) return;
  if (!chainFalls(tree->root->firstChild)) tree->root->firstChild = sortChain(tree->root->firstChild);
  for (int64_t k = 0; k < tree->childRoom; ++k) {
    EventNode *node = tree->children[k];
    if (node && !chainFalls(node->firstChild)) node->firstChild = sortChain(node->firstChild);
  }
  tree->chainsInOrder = true;
}

const char *qrttree_check(QRTTree *tree) {
  qrttree_orderSiblings(tree);
  int64_t nodes = 0, leaves = 0;
  for (int64_t k = 0; k < tree->childRoom; ++k) {
    const EventNode *node = tree->children[k];
    if (!node) continue;
    ++nodes;
    if (!node->parent || node->stage != node->parent->stage + 1) return "a node does not lie one stage below its parent";
    if (node->stage == tree->nStages) ++leaves;
    if ((node->stage == tree->nStages) != (node->firstChild == nullptr)) return "a path ends above the last stage";
    for (const EventNode *c = node->firstChild; c; c = c->nextSibling) {
      if (c->parent != node) return "a child lies in the chain of another parent";
      if (c->nextSibling && c->event <= c->nextSibling->event) return "a sibling chain does not fall";
    }
  }
  if (nodes != tree->childCount) return "the child table lost a node";
  if (leaves != tree->nScenarios) return "leaves and scenarios differ in number";
  const TreeScenario *first = tree->root->scenario, *scenario = first;
  for (int k = 1; k < tree->nScenarios; ++k) {
    scenario = scenario->next;
    if (scenario == first) return "the list of scenarios closes too early";
  }
  if (scenario->next != first) return "the list of scenarios does not close";
  for (int k = 0; k <= tree->sampleIndex; ++k) {
    const TreeScenario *taken = tree->samples[k];
    const EventNode *node = taken->leaf;
    for (int s = tree->nStages; s >= 1; --s, node = node->parent) {
      if (node->event != taken->events[s - 1]) return "a scenario's path and event vector differ";
      if ((node->scenario == taken) != (s >= taken->branchStage)) return "a node has the wrong owner";
    }
  }
  return nullptr;
}

int qrts_delete2Tree(QRTTree *tree) {
  forgetHandle(tree);
  slabFree(&tree->nodeSlab);
  slabFree(&tree->scenarioSlab);
  slabFree(&tree->eventSlab);
  free(tree->children);
  free(tree->samples);
  memset(tree->tag, 0, sizeof tree->tag);
  free(tree);
  return 0;
}
