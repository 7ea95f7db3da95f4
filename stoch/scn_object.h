// The life of a QRTStoch, the entry frame of the stochastic functions, and the models an object makes.
#pragma once

#include "stoch/scn_stoc.h"

// ---- handles

// Handles that are alive. A handle is valid when it is registered and carries its tag, so that a deleted or stray
// pointer is answered without reading what it points to.
void registerHandle(const void *handle);
void forgetHandle(const void *handle);
bool handleLives(const void *handle);
// 0 if valid, else 1.
int qrts_validate2Stoch(const QRTStoch *stoch);
int qrts_validate2Tree(const QRTTree *tree);

// Entry frames: announce the function and check the handle. From a good handle on, the object's base model speaks.
// 0, or 2 after message 872.
int qrts_CEnter(QRTStoch *stoch, const char *function);
int qrts_CTreeEnter(QRTTree *tree, const char *function);
// Trace of entries, on stdout.
void qrts_debug(const char *text);

// ---- objects

// Record with defaults and a base model, no data. A parent gives its base model's controls.
QRTStoch *qrts_create3Stoch(QRTStoch *parent, const char *name);
QRTStoch *qrts_new3Stoch(QRTContext *context, QRTStoch *parent, const char *name);
// The same with empty data for maxScenarios scenarios.
QRTStoch *qrts_create2Stoch(const char *name, int maxScenarios);
QRTStoch *qrts_new2Stoch(QRTContext *context, const char *name, int maxScenarios);
// Deletes the object, its description, submodels and base model, and the data if they are its own. Returns 0.
int qrts_delete2Stoch(QRTStoch *stoch);

// Deletes the models of a decomposition and what hangs on their list, not the data they share. Harmless without one.
void qrts_deleteSubmodels(QRTStoch *stoch);

// Deletes every object whose base model belongs to the context, which is about to take that model away.
void qrts_deleteObjectsOf(QRTContext *context);

// Nine solver options from source to target; the first traces them while the source's debug is on.
void qrts_copy2SolverOptions(QRTStoch *target, const QRTStoch *source);
void solverOptions_assign(QRTStoch *target, const QRTStoch *source);

// Models that are silent about their entries unless debug is set, with the controls, the message limits and the log of
// `source`, but without its rows and columns. Without a source the second takes the context's base model.
QRTModel *qrts_create2BaseModel(QRTModel *source, const char *name, int debug);
QRTModel *qrts_create2EmptyModel(QRTContext *context, QRTModel *source, const char *name, int debug);
