// Sampling of scenario probabilities.
#pragma once

#include "stoch/scn_stoc.h"

// Scenario from 0 that a draw r of rand() falls on: uniform over nScenarios, always below it.
int qrts_drawScenario(int r, int nScenarios);
// With flag 0 and a positive count, draws `count` scenarios uniformly by rand() and gives each leaf of the store its
// relative frequency as probability; scenario records and inner nodes keep theirs. Otherwise nothing happens. The given
// probabilities take no part. Returns 0, or 2 without data.
int qrts_generate2Samples(QRTStoch *stoch, int count, int flag);
