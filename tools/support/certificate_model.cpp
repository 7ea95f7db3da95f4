// Reads a model through its public accessors and hands it to the certificate.
#include "certificate_model.h"

#include <cstdlib>

namespace {

// Calls visit(row, column, value) for each stored element, with the offsets of its block added.
template <class Visit> void eachElement(QRTModel *model, Visit visit) {
  const int blocks = qrt_getInumblocks(model), capacity = qrt_getImaxrows(model);
  for (int b = 0; b < blocks; ++b) {
    const int *row = qrt_blockRow(model, b), *column = qrt_blockColumn(model, b);
    const double *element = qrt_blockElement(model, b);
    const int rowBase = qrt_blockRowBase(model, b);
    int columnBase = qrt_blockColumnBase(model, b);
    if (columnBase >= capacity) columnBase -= capacity;  // columns stand behind the room for rows
    if (std::abs(qrt_blockType(model, b)) == 2) {
      const int n = qrt_blockNumberElements(model, b);
      for (int k = 0; k < n; ++k) visit(row[k] + rowBase, column[k] + columnBase, element[k]);
    } else {
      const int n = qrt_blockNumberColumns(model, b);
      for (int j = 0; j < n; ++j)
        for (int k = column[j]; k < column[j + 1]; ++k) visit(row[k] + rowBase, j + columnBase, element[k]);
    }
  }
}

}  // namespace

namespace {

// The stored elements of a scaled model carry its factors; single columns come without them.
ModelMatrix collectUnscaled(QRTModel *model) {
  ModelMatrix matrix;
  const int columns = qrt_getInumcols(model);
  matrix.start.push_back(0);
  for (int j = 0; j < columns; ++j) {
    QRTVector *column = qrt_getColumn(model, j);
    matrix.row.insert(matrix.row.end(), column->indices, column->indices + column->count);
    matrix.element.insert(matrix.element.end(), column->elements, column->elements + column->count);
    qrt_freeVector(column);
    matrix.start.push_back(int(matrix.row.size()));
  }
  return matrix;
}

}  // namespace

ModelMatrix collectMatrix(QRTModel *model) {
  if (qrt_colscales(model)) return collectUnscaled(model);
  const size_t columns = size_t(qrt_getInumcols(model));
  ModelMatrix matrix;
  matrix.start.assign(columns + 2, 0);
  eachElement(model, [&](int, int column, double) { ++matrix.start[size_t(column) + 2]; });
  for (size_t j = 2; j < matrix.start.size(); ++j) matrix.start[j] += matrix.start[j - 1];
  matrix.row.resize(size_t(matrix.start.back()));
  matrix.element.resize(matrix.row.size());
  // start[j + 1] is the next free place of column j, and becomes its end.
  eachElement(model, [&](int row, int column, double value) {
    const size_t at = size_t(matrix.start[size_t(column) + 1]++);
    matrix.row[at] = row;
    matrix.element[at] = value;
  });
  matrix.start.pop_back();
  return matrix;
}

Certificate certifyModel(QRTModel *model) {
  const ModelMatrix matrix = collectMatrix(model);
  CertificateProgram lp;
  lp.rows = qrt_getInumrows(model);
  lp.columns = qrt_getInumcols(model);
  lp.start = matrix.start.data();
  lp.row = matrix.row.data();
  lp.element = matrix.element.data();
  lp.objective = qrt_objective(model);
  lp.columnLower = qrt_collower(model);
  lp.columnUpper = qrt_colupper(model);
  lp.rowLower = qrt_rowlower(model);
  lp.rowUpper = qrt_rowupper(model);
  lp.sense = qrt_getRmaxmin(model);
  lp.offset = qrt_getRobjectiveOffset(model);
  CertificateClaim claim;
  claim.status = qrt_getIprobstat(model);
  claim.objective = qrt_getRobjvalue(model);
  claim.columnValue = qrt_colsol(model);
  claim.reducedCost = qrt_colrcosts(model);
  claim.rowActivity = qrt_rowacts(model);
  claim.rowDual = qrt_rowduals(model);
  if (claim.status == 1 || claim.status == 2) {
    claim.rowAux = qrt_rowaux(model);
    claim.columnAux = qrt_colaux(model);
    claim.infeasibility = qrt_getRsumpinf(model);
  }
  return recomputeCertificate(lp, claim);
}
