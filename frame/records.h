// The global work records: the live state of the core while a call runs. Every QRTModel keeps a byte image of
// them (see work_image in context.cpp), and making a model current swaps live records and images.
//
// A control variable's home is the field of its name; ranges, defaults and access stand in controls.def.
// Nothing else in the library declares process-wide solver state.
#pragma once

#include "frame/messages.h"
#include "frame/model_record.h"

// qrtlplp: scalar state of the LP solvers.
struct QrtLplp {
  // sizes of the model below, set by qrt_down
  int32_t Inumrows, Inumcols, Imaxrows, Imaxcols, Itotal, Inumblocks;
  int32_t blockBase;       // 1: element blocks were turned 1-based, 0: they stayed 0-based
  int32_t parametric;      // 1: the delta vectors are entered in qrtaddr
  // integer controls
  int32_t Ilogfreq, Imsgunit, Imaxfactor, Iiternum, Imaxiter, Iloglevel, IuseRowCopy, Ioneobj;
  int32_t Inumchar, Istopmask, Idevexmode, Iiterufreq, Ipossbasis, Iaccess23;
  int32_t Inumpinf, Inumdinf, Imodelmask, Iprtinfomask, Isolmask, Iextrablk;
  int32_t Ifastits, Ivector, Iprobstat, Imajorits, Iprintsens, Iprobstat2, Ismdltypemask, Ilpdcflag;
  // real controls
  double Rtolpinf, Rtoldinf, Rmaxmin, RobjectiveOffset, Rpweight, Rchangeweight, Rdweight;
  double Robjvalue, Rsumpinf, Rsumdinf, Rtolmps, Rdccutoff, Rdobjval;
  double Rslambda, Rslambdalim, Rslambdadelta, RprimalPerturbation, RdualPerturbation;
  // what a simplex run that continues the last one takes over; 0 nothing
  int32_t keptRows, keptCols, keptVersion, keptPriceMode;
  int32_t startWord;       // what a crash asks of the next run that continues: 0 nothing, 3 to start from the values
  double keptPerturbation; // seed while perturbed bounds lie in the model's aux vector
  // the classic interface
  int32_t classicModel;    // number of the current model in DSPACE, from 1
  int32_t presolvedMode;   // 1 between QRTPRSL and QRTPSSL
  int32_t quadraticMode;   // 1 once quadratic data was read or given
  int32_t networkLoaded;   // 1 while the model stands in the network solver's form
  int32_t classicScaled;   // 1: the elements in DSPACE are multiplied by the scale factors
  int32_t classicAuxKind;  // what the auxiliary vector in DSPACE holds, as QRTModel::auxKind
  double randomSeed;       // seed := seed * 16807 mod 2147483647, restarts at 1e8 with every solve
};

// qrtaddr: what the core works on. All vectors are addressed 1-based here (see oneBased): row i at [i], column j
// at [Imaxrows + j].
constexpr int ARENA_WORDS = 5;
struct QrtAddr {
  ElementBlock *blocks;    // 0-based array of blocks
  double *lower, *solution, *upper, *dual;
  int *status;
  double *objective, *scales, *aux;
  double *objectiveDelta, *lowerDelta, *upperDelta;
  char *rownames, *colnames;   // blank-padded entries of Inumchar bytes; entry k at [k * Inumchar] for k from 1
  void *presolveInfo, *sellistcol, *sellistrow;
  // the classic form: DSPACE and what of it is free, see dspace.h; and the stretch of the present model's arrays
  double *arena[ARENA_WORDS];
  double *modelFrom, *modelTo;
};

// qrtbcom: barrier state and controls.
struct QrtBcom {
  int32_t Imaxiterb, Iadjactype, Iformntype, Idensecol, Inullcheck, Idroprowct, Imaxprojns, Iroword, Iordunit;
  int32_t Iiterbnum, Ibarwork67, Istripes, Iordthrsh, Inumcpu;
  double Rbar4, Rbar5, Rbar6, Rbar7, Rfixvar1, Rfixvar2, Rcholabstol, Rcholtinytol, Rmulinfac, Rprojtol;
  double Rstepmult, Rbar31, Rdensethr, Rbar33, Rpdgaptol, Rpdstepmult, Rpertdiag;
  double RregularizedGamma, RregularizedDelta;
};

// qrtqpqp: quadratic state and controls.
struct QrtQpqp {
  int32_t Iqparnumiter, Iqparmaxiter;
  uint32_t maskWords[4];
  double Rlambdaval;
};

// qrtint3, qrtint: branch and bound.
struct QrtInt3 {
  int32_t Inumnodes, Iintmask, Imaxnodes, Imaxsols, Inumsols, Inumunsat;
  double Rbbcutoff, Rdegscale, Rbestsol, Riweight, Rimprove, Rtarget, Rtolint, Rbestposs, Rbestest, Rthreshold;
};
struct QrtInt {
  int32_t Imaxints, Imaxsets, Istrategy, Imaxintinfo, Ithreshold, Iheurpass, Isupertol, Imiplength;
  int32_t useCutoff;       // 1: branch and bound uses Rbbcutoff
  int32_t Inumints, Inumsets;  // of a classic model; a QRTModel has fields of its own
};

// qrtconv: the character controls, blank-padded.
struct QrtConv {
  char values[17][80];     // Cname, Cobjective, Crhs, Crange, Cbound, Cbasis, then eleven classic file names
};

// qrtnete, qrtneti: network solver.
struct QrtNete {
  double Rnetsamp;
};
struct QrtNeti {
  int32_t Ipricetype;
};

extern QrtLplp qrtlplp;
extern QrtAddr qrtaddr;
extern QrtBcom qrtbcom;
extern QrtQpqp qrtqpqp;
extern QrtInt3 qrtint3;
extern QrtInt qrtint;
extern QrtConv qrtconv;
extern QrtNete qrtnete;
extern QrtNeti qrtneti;

// The core counts rows and columns from 1. This is the one place where a 0-based vector is re-based for it: the
// entry [0] of the result is never touched.
template <class T> inline T *oneBased(T *vector) { return vector ? vector - 1 : nullptr; }

// A field of the model's image of qrtlplp: what accessors read while another model is current.
const QrtLplp *imageLplp(const QRTModel *model);
