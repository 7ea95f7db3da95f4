// The size of the whole deterministic equivalent, node by node, without building it.
#include <cstdlib>

#include "frame/messages.h"
#include "stoch/scn_generation.h"

namespace {
int shown(int64_t count) { return count > INT32_MAX ? INT32_MAX : int(count); }
}  // namespace

int qrts_estimate2LPSize(QRTStoch *stoch) {
  StochData *sdata = stoch->sdata;
  if (qrts_unpackCore(sdata) >= 2 || qrts_needNodes(sdata) >= 2) return 2;
  const CoreData *core = sdata->core;
  int64_t rows = 0, cols = 0, least = 0, most = 0;
  for (int k = 0; k < sdata->nodes->nNodes; ++k) {
    const TreeNode &node = sdata->nodes->nodes[k];
    const int s = node.stage;
    int64_t elements = int64_t(core->blockStart[blockNumber(s, s)]) - core->blockStart[blockNumber(s, 1) - 1];
    least += elements;
    // Differences may fall on elements of the core or beside them: the sum is the most there can be.
    if (k > 0) elements += qrts_groupCount("qrts_estimate2LPSize", sdata, node.record, s);
    most += elements;
    rows += node.nRows;
    cols += node.nCols;
    messageI(1, k + 1);
    messageI(2, s);
    messageI(3, node.nRows);
    messageI(4, node.nCols);
    messageI(5, shown(elements));
    stochMessage(MSG_NODE_SIZE);
  }
  messageI(1, shown(rows));
  messageI(2, shown(cols));
  messageI(3, shown(least));
  messageI(4, shown(most));
  stochMessage(MSG_LP_SIZE);
  return 0;
}
