// Inheritance between scenarios of a file: a scenario takes over its ancestor's items for the stages it owns, unless
// it lists them itself, as the published format says. Off by default, since the store takes a scenario's data
// relative to the core alone.
#pragma once

#include "stoch/scn_smps.h"

struct Inheritance;
Inheritance *inheritance_new();
// Scenario number count+1 with its own elements: appends what it takes over from `ancestor` (0: none) at stages from
// `stage` on, and keeps its whole path for later scenarios. Linear in the elements of both.
void inheritance_take(Inheritance *inheritance, const CoreData *core, int ancestor, int stage, ElementList *elements);
void inheritance_free(Inheritance *inheritance);
