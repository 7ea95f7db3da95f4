// The names under which the parts of a model are reported when their guards are found damaged.
#include <cstdlib>

#include "frame/messages.h"

namespace {
constexpr int MSG_REGION_CORRUPTED = 555;
// ORDER: callers name a region by its position here.
const char *const regionNames[] = {
    "Matrix blocks", "Lower Bounds", "Activities", "Upper Bounds", "Duals", "Status", "Names", "Scales", "PreSolve",
    "IntegerTypes", "SetInfo", "EntryInfo", "Auxiliary", "SteepestEdgeWeights",
    "Objective (including null row objective)", "TAVCommons", "LongUser", "DoubleUser", "Column Copy(Rows)",
    "Column Copy(Column Starts)", "ColumnCopy(Elements)", "Row Copy(Row Starts)", "Row Copy(Columns)",
    "Row Copy(Elements)", "Other"};
constexpr int REGIONS = int(sizeof regionNames / sizeof regionNames[0]);
}  // namespace

void qrt_errorMessage(int fault, int region) {
  if (fault != 0 || region < 0 || region >= REGIONS) {
    flushLogs();
    abort();  // a fault of the library itself
  }
  qrtmesg_no_q1(MSG_REGION_CORRUPTED, regionNames[region], -1);
}
