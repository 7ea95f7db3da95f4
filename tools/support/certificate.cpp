// Recomputes the measures of a claim, see certificate.h. Sums run in long double so that the certificate is finer
// than what it judges.
#include "certificate.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

constexpr double noBound = 1e20;

bool finiteLower(double bound) { return bound > -noBound; }
bool finiteUpper(double bound) { return bound < noBound; }

void keepLargest(double &largest, double value, int &where, int index) {
  if (!(value <= largest) && !std::isnan(largest)) {  // a NaN wins and stays, or it would pass unseen
    largest = value;
    where = index;
  }
}
void keepLargest(double &largest, double value) {
  if (!(value <= largest) && !std::isnan(largest)) largest = value;
}

double outside(double value, double lower, double upper) {
  if (std::isnan(value)) return value;
  if (finiteLower(lower) && value < lower) return (lower - value) / (1 + std::fabs(lower));
  if (finiteUpper(upper) && value > upper) return (value - upper) / (1 + std::fabs(upper));
  return 0;
}

struct Product {
  std::vector<long double> sum, magnitude;
};

Product timesColumns(const CertificateProgram &lp, const double *x) {  // A x
  Product p{std::vector<long double>(size_t(lp.rows)), std::vector<long double>(size_t(lp.rows))};
  for (int j = 0; j < lp.columns; ++j)
    for (int k = lp.start[j]; k < lp.start[j + 1]; ++k) {
      const long double v = static_cast<long double>(lp.element[k]) * x[j];
      p.sum[size_t(lp.row[k])] += v;
      p.magnitude[size_t(lp.row[k])] += std::fabs(v);
    }
  return p;
}

Product timesRows(const CertificateProgram &lp, const double *y) {  // A'y
  Product p{std::vector<long double>(size_t(lp.columns)), std::vector<long double>(size_t(lp.columns))};
  for (int j = 0; j < lp.columns; ++j)
    for (int k = lp.start[j]; k < lp.start[j + 1]; ++k) {
      const long double v = static_cast<long double>(lp.element[k]) * y[lp.row[k]];
      p.sum[size_t(j)] += v;
      p.magnitude[size_t(j)] += std::fabs(v);
    }
  return p;
}

double largestEntry(const double *vector, int n) {
  double largest = 0;
  for (int i = 0; i < n; ++i) keepLargest(largest, std::fabs(vector[i]));
  return largest;
}

void primalSide(const CertificateProgram &lp, const CertificateClaim &claim, Certificate &out) {
  const Product ax = timesColumns(lp, claim.columnValue);
  for (int i = 0; i < lp.rows; ++i) {
    const size_t at = size_t(i);
    keepLargest(out.primalResidual, double(std::fabs(claim.rowActivity[i] - ax.sum[at]) / (1 + ax.magnitude[at])),
                out.primalResidualRow, i);
    keepLargest(out.boundViolation, outside(double(ax.sum[at]), lp.rowLower[i], lp.rowUpper[i]), out.boundViolationAt, i);
  }
  long double objective = -lp.offset;
  for (int j = 0; j < lp.columns; ++j) {
    objective += static_cast<long double>(lp.objective[j]) * claim.columnValue[j];
    keepLargest(out.boundViolation, outside(claim.columnValue[j], lp.columnLower[j], lp.columnUpper[j]),
                out.boundViolationAt, lp.rows + j);
  }
  out.objective = double(objective);
  out.objectiveError = std::fabs(claim.objective - out.objective) / (1 + std::fabs(out.objective));
}

void dualResiduals(const CertificateProgram &lp, const CertificateClaim &claim, Certificate &out) {
  const Product aty = timesRows(lp, claim.rowDual);
  for (int j = 0; j < lp.columns; ++j) {
    const size_t at = size_t(j);
    const long double r = static_cast<long double>(lp.sense) * lp.objective[j] - aty.sum[at];
    keepLargest(out.dualResidual,
                double(std::fabs(claim.reducedCost[j] - r) / (1 + std::fabs(lp.objective[j]) + aty.magnitude[at])),
                out.dualResidualColumn, j);
  }
}

// A positive dual asks for the lower bound, a negative one for the upper.
void optimality(const CertificateProgram &lp, const CertificateClaim &claim, Certificate &out) {
  const double scale = 1 + std::max(largestEntry(claim.rowDual, lp.rows), largestEntry(claim.reducedCost, lp.columns));
  long double dualObjective = -static_cast<long double>(lp.sense) * lp.offset;
  auto one = [&](double dual, double value, double lower, double upper, int index) {
    if (dual == 0) return;
    const bool exists = dual > 0 ? finiteLower(lower) : finiteUpper(upper);
    if (!exists) {
      keepLargest(out.dualViolation, std::fabs(dual) / scale);
      dualObjective += static_cast<long double>(dual) * value;  // judged above; here it should not count
      return;
    }
    const double bound = dual > 0 ? lower : upper;
    dualObjective += static_cast<long double>(dual) * bound;
    keepLargest(out.complementarity, std::fabs(dual) * std::fabs(value - bound) / (1 + std::fabs(out.objective)),
                out.complementarityAt, index);
  };
  for (int i = 0; i < lp.rows; ++i) one(claim.rowDual[i], claim.rowActivity[i], lp.rowLower[i], lp.rowUpper[i], i);
  for (int j = 0; j < lp.columns; ++j)
    one(claim.reducedCost[j], claim.columnValue[j], lp.columnLower[j], lp.columnUpper[j], lp.rows + j);
  out.gap = std::fabs(double(lp.sense * out.objective - dualObjective)) / (1 + std::fabs(out.objective));
}

void infeasibilityProof(const CertificateProgram &lp, const CertificateClaim &claim, Certificate &out) {
  const double largest = std::max(largestEntry(claim.rowAux, lp.rows), largestEntry(claim.columnAux, lp.columns));
  const double small = 1e-9 * largest;  // a multiplier this small may ask for a missing bound: rounding
  const Product atAux = timesRows(lp, claim.rowAux);  // = -A'w, since rowAux = -w
  for (int j = 0; j < lp.columns; ++j)
    keepLargest(out.proofResidual,
                double(std::fabs(claim.columnAux[j] - atAux.sum[size_t(j)]) / (1 + atAux.magnitude[size_t(j)])));
  long double sum = 0;
  bool proved = largest > 0;
  auto least = [&](double multiplier, double lower, double upper) {
    if (std::fabs(multiplier) <= small) {
      const double bound = multiplier > 0 ? lower : upper;
      if (std::fabs(bound) < noBound) sum += static_cast<long double>(multiplier) * bound;
    } else if (multiplier > 0) {
      if (finiteLower(lower)) sum += static_cast<long double>(multiplier) * lower;
      else proved = false;
    } else {
      if (finiteUpper(upper)) sum += static_cast<long double>(multiplier) * upper;
      else proved = false;
    }
  };
  for (int i = 0; i < lp.rows; ++i) least(-claim.rowAux[i], lp.rowLower[i], lp.rowUpper[i]);
  for (int j = 0; j < lp.columns; ++j) least(claim.columnAux[j], lp.columnLower[j], lp.columnUpper[j]);
  out.farkasSum = proved ? double(sum) : 0;
  out.farkas = proved ? double(sum) / largest : 0;
  out.farkasError = std::fabs(out.farkasSum - claim.infeasibility) / (1 + std::fabs(claim.infeasibility));
}

void rayProof(const CertificateProgram &lp, const CertificateClaim &claim, Certificate &out) {
  const double largest = largestEntry(claim.columnAux, lp.columns);
  if (!(largest > 0)) {
    out.rayViolation = 1;
    return;
  }
  const Product ad = timesColumns(lp, claim.columnAux);
  auto step = [&](double d, double lower, double upper) {
    if (std::isnan(d) || (d < 0 && finiteLower(lower)) || (d > 0 && finiteUpper(upper)))
      keepLargest(out.rayViolation, std::fabs(d) / largest);
  };
  for (int i = 0; i < lp.rows; ++i) {
    const size_t at = size_t(i);
    keepLargest(out.proofResidual, double(std::fabs(claim.rowAux[i] - ad.sum[at]) / (largest + ad.magnitude[at])));
    step(double(ad.sum[at] / (1 + ad.magnitude[at] / largest)), lp.rowLower[i], lp.rowUpper[i]);
  }
  long double slope = 0;
  for (int j = 0; j < lp.columns; ++j) {
    step(claim.columnAux[j], lp.columnLower[j], lp.columnUpper[j]);
    slope += static_cast<long double>(lp.objective[j]) * claim.columnAux[j];
  }
  out.raySlope = double(lp.sense * slope) / largest;
}

}  // namespace

Certificate recomputeCertificate(const CertificateProgram &program, const CertificateClaim &claim) {
  Certificate out;
  out.status = claim.status;
  primalSide(program, claim, out);
  if (claim.status == 0) {
    dualResiduals(program, claim, out);
    optimality(program, claim, out);
  } else if (claim.status == 1) {
    if (claim.rowAux && claim.columnAux) infeasibilityProof(program, claim, out);
  } else if (claim.status == 2) {
    if (claim.rowAux && claim.columnAux) rayProof(program, claim, out);
    else out.rayViolation = 1;
  }
  return out;
}

std::string firstFault(const Certificate &c, double tolerance) {
  char text[160];
  auto fault = [&](const char *what, double figure, int where) {
    if (figure <= tolerance) return false;
    if (where >= 0) std::snprintf(text, sizeof text, "%s %.3g at %d", what, figure, where);
    else std::snprintf(text, sizeof text, "%s %.3g", what, figure);
    return true;
  };
  if (fault("primal residual", c.primalResidual, c.primalResidualRow)) return text;
  if (c.status == 0 || c.status == 2) {
    if (fault("bound violation", c.boundViolation, c.boundViolationAt)) return text;
    if (fault("objective differs from c'x by", c.objectiveError, -1)) return text;
  }
  if (c.status == 0) {
    if (fault("dual residual", c.dualResidual, c.dualResidualColumn)) return text;
    if (fault("dual of a missing bound", c.dualViolation, -1)) return text;
    if (fault("complementary slackness", c.complementarity, c.complementarityAt)) return text;
    if (fault("duality gap", c.gap, -1)) return text;
  }
  if (c.status == 1) {
    if (fault("proof differs from -A'w by", c.proofResidual, -1)) return text;
    if (!(c.farkas > 0)) return "no proof of infeasibility: the bounds admit w'a + v'x = 0";
    if (fault("proof and sum of infeasibilities differ by", c.farkasError, -1)) return text;
  }
  if (c.status == 2) {
    if (fault("row part of the ray differs from A d by", c.proofResidual, -1)) return text;
    if (fault("ray leaves a bound by", c.rayViolation, -1)) return text;
    if (!(c.raySlope < 0)) return "the objective does not fall along the ray";
  }
  return "";
}

std::string describeCertificate(const Certificate &c) {
  std::string out;
  char text[120];
  auto line = [&](const char *what, double figure) {
    std::snprintf(text, sizeof text, "  %-34s %10.3g\n", what, figure);
    out += text;
  };
  line("primal residual", c.primalResidual);
  line("bound violation", c.boundViolation);
  line("objective against c'x", c.objectiveError);
  if (c.status == 0) {
    line("dual residual", c.dualResidual);
    line("duals of missing bounds", c.dualViolation);
    line("complementary slackness", c.complementarity);
    line("duality gap", c.gap);
  } else if (c.status == 1) {
    line("proof against -A'w", c.proofResidual);
    line("infeasibility proved", c.farkasSum);
    line("proof against sum of infeasibility", c.farkasError);
  } else if (c.status == 2) {
    line("row part of the ray against A d", c.proofResidual);
    line("ray over bounds", c.rayViolation);
    line("slope of the objective on the ray", c.raySlope);
  }
  return out;
}
