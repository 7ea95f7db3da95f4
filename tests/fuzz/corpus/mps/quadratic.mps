NAME          QUAD
QSECTION      COST
    X         X                  2.0   Y                 -1.0
RSECTION
    CAP       X                  1.0
ENDATA
