NAME          ALL
ROWS
 N  COST
 N  OTHER
 L  LESS
 G  MORE
 E  SAME
COLUMNS
    A         COST               1.0   LESS               2.0
    A         MORE               1.5   SAME              -1.0
    MARK1     'MARKER'                 'INTORG'
    B         COST              -1.0   LESS               1.0
    B         OTHER              1.0   SAME               1E+2
    MARK2     'MARKER'                 'INTEND'
    C         COST              0.25   MORE               1.0
RHS
    RHS       LESS               8.0   MORE               1.0
    RHS       COST              -3.0
RANGES
    RNG       LESS               2.5   MORE               4.0
    RNG       SAME              -1.0
BOUNDS
 UP BND       A                  4.0
 LO BND       A                 -1.0
 FX BND       C                  0.5
 BV BND       B
ENDATA
