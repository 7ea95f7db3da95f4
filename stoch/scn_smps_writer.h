// Writing a stochastic program: as an SMPS triple, or its described model as one MPS file.
#pragma once

#include "stoch/scn_stoc.h"

// The store as an SMPS triple in fixed format with explicit scenarios, whatever it was read from; type 1 to 3, mode 1
// absolute values, else differences. Files of these names are removed first. 0; 2 after a message; or the code of the
// model's functions that failed.
int qrts_out2MatrixSMPS(QRTStoch *stoch, int type, int mode, const char *coreFile, const char *timeFile, const char *stochFile);
// The described model as an MPS file with two pairs a card. 1 after a line on stdout, or the writer's code.
int qrts_out2MatrixMPS(QRTStoch *stoch, const char *file);
