* A small linear program: two foods, three needs. Bread and milk at least cost.
NAME          DIET
ROWS
 N  COST
 G  ENERGY
 G  PROTEIN
 L  WEIGHT
COLUMNS
    BREAD     COST               2.0   ENERGY            10.0
    BREAD     PROTEIN            4.0   WEIGHT             1.0
    MILK      COST               3.0   ENERGY             6.0
    MILK      PROTEIN            8.0   WEIGHT             1.0
RHS
    NEED      ENERGY            60.0   PROTEIN           40.0
    NEED      WEIGHT            12.0
ENDATA
