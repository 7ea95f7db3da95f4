// The certificate: what a solve claims, recomputed from the data of the model alone, so that neither a solver nor
// its tolerances need be believed.
//
//     minimise  s * (c'x - offset)   with  a = A x,  rowLower <= a <= rowUpper,  colLower <= x <= colUpper
//
// s is 1 for minimisation, -1 for maximisation. Duals are those of this minimised form: r = s*c - A'y, and y_i is
// the growth of the minimised objective per unit of row i's active bound (y_i >= 0 at lower, <= 0 at upper; r_j
// likewise for a column).
//
// An infeasible model is proved so by multipliers w and v = -A'w: every x gives w'(Ax) + v'x = 0, while over all
// rows and columns within their bounds that expression is at least `farkas` > 0. An unbounded one by a ray d that
// keeps every bound and along which the objective falls.
#pragma once

#include <string>
#include <vector>

// A linear program as arrays. A bound at or beyond 1e20 is none. Pointers stay the caller's.
struct CertificateProgram {
  int rows = 0, columns = 0;
  const int *start = nullptr;       // [columns + 1] where a column's elements begin
  const int *row = nullptr;         // [elements] 0-based rows; elements of one cell add up
  const double *element = nullptr;  // [elements]
  const double *objective = nullptr, *columnLower = nullptr, *columnUpper = nullptr;  // [columns]
  const double *rowLower = nullptr, *rowUpper = nullptr;                              // [rows]
  double sense = 1.0;               // 1 minimise, -1 maximise
  double offset = 0.0;              // subtracted from c'x
};

// What the solver says about it.
struct CertificateClaim {
  int status = -1;                   // 0 optimal, 1 infeasible, 2 unbounded; others are checked for consistency only
  double objective = 0.0;            // in the caller's sense
  const double *columnValue = nullptr, *reducedCost = nullptr;  // [columns]
  const double *rowActivity = nullptr, *rowDual = nullptr;      // [rows]
  // Status 1: rowAux = -w, columnAux = v, and `infeasibility` is the sum the proof must give. Status 2: columnAux
  // is the ray d, rowAux = A d.
  const double *rowAux = nullptr, *columnAux = nullptr;
  double infeasibility = 0.0;
};

// Measures of a claim; each is 0 for an exact one. Measures that a claim of its status does not touch stay 0.
struct Certificate {
  int status = -1;
  double objective = 0.0;        // s = +-1 stripped: the caller's c'x - offset
  double objectiveError = 0.0;   // |claimed - recomputed| / (1 + |recomputed|)
  double primalResidual = 0.0;   // largest |a_i - (Ax)_i| / (1 + sum_j |a_ij x_j|)
  double boundViolation = 0.0;   // largest distance outside a bound / (1 + |bound|), rows and columns
  double dualResidual = 0.0;     // largest |r_j - (s c_j - (A'y)_j)| / (1 + |c_j| + sum_i |a_ij y_i|)
  double dualViolation = 0.0;    // largest dual that asks for a bound which does not exist / (1 + largest |dual|)
  double complementarity = 0.0;  // largest |dual| * distance from the bound it asks for / (1 + |objective|)
  double gap = 0.0;              // |primal - dual objective| / (1 + |primal objective|)
  double farkas = 0.0;           // status 1: least value of w'a + v'x within the bounds, divided by the largest multiplier
  double farkasSum = 0.0;        // the same, not divided
  double farkasError = 0.0;      // |farkasSum - infeasibility| / (1 + |infeasibility|)
  double proofResidual = 0.0;    // status 1: largest |v_j + (A'w)_j|; status 2: largest |rowAux_i - (Ad)_i|, both relative
  double rayViolation = 0.0;     // status 2: largest step of the ray over a finite bound / largest entry of the ray
  double raySlope = 0.0;         // status 2: s * c'd / largest entry of the ray; negative for a proof
  int primalResidualRow = -1, boundViolationAt = -1;  // where the largest stands; rows first, columns behind them
  int dualResidualColumn = -1, complementarityAt = -1;
};

Certificate recomputeCertificate(const CertificateProgram &program, const CertificateClaim &claim);

// The first measure that exceeds `tolerance`, in words with its figure; an empty text for a sound claim. A claim of
// status 3 (stopped) or another is held only to its primal and dual residuals.
std::string firstFault(const Certificate &certificate, double tolerance = 1e-6);

// All measures in one line a measure, for a terminal.
std::string describeCertificate(const Certificate &certificate);
