NAME          SETS
ROWS
 N  COST
 L  CAP
 E  PICK
COLUMNS
    M1        'MARKER'                 'INTORG'
    I1        CAP                1.0   COST               2.0
    M2        'MARKER'                 'INTEND'
    PICK      'MARKER'                 'SOSORG'
    P1        CAP                1.0
    M3        'MARKER'                 'SOSEND'
 S2 M4        'MARKER'                 'SOSORG'
    W1        CAP                1.0
    W2        CAP                1.0
    M5        'MARKER'                 'SOSEND'
    S         'MARKER'                 'SEPORG'
    Q1        CAP                1.0   COST               1.0
    Q2        CAP                1.0   COST               3.0
    T         'MARKER'                 'SEPEND'
RHS
BOUNDS
 BV BND       I1
 UI BND       W1                 4.0
ENDATA
