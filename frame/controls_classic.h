// The control variables as the classic interface moves them: whole lists, by position.
//
// A list is fetched before it is set; a set processes only the entries that differ. *rtcod: 31 for a negative length,
// 33 for a list not fetched before, the negative position of the first read-only entry that differs, else 0.
#pragma once

#include <cstdint>

void qrtigetf(int *rtcod, void *dspace, int *array, const int *len);           // integers, up to 71
void qrtrgetf(int *rtcod, void *dspace, double *array, const int *len);        // reals, up to 45
void qrtngetf(int *rtcod, void *dspace, int *array, const int *len);           // positions of arrays, up to 69
void qrtcgetf(int *rtcod, void *dspace, char *array, const int *len);          // texts of 80 characters, up to 17
void qrtisetf(int *rtcod, void *dspace, const int *array, const int *len);
void qrtrsetf(int *rtcod, void *dspace, const double *array, const int *len);
void qrtcsetf(int *rtcod, void *dspace, const char *array, const int *len);
