NAME
ROWS
 N  C
 L  R
COLUMNS
    X         C                  1.0   R                  1.0
    X         R                  1.0
RHS
BOUNDS
 UP           X                  nan
ENDATA
