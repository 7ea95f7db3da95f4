NAME          TINY      BINARY
ROWS
 N  COST
 L  CAP
COLUMNS
    X         CAP       00000000M--+   COST      000000000Q*+
RHS
    R         CAP       0000000008*1
ENDATA
