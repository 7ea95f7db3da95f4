NAME a_long_problem_name FREE
ROWS
 N the_objective_of_all
 G a_row_with_a_long_name
COLUMNS
 first_column_of_two the_objective_of_all 1 a_row_with_a_long_name 2
 second_column_of_two a_row_with_a_long_name 1e-3
RHS
 right a_row_with_a_long_name 4
BOUNDS
 MI bnd first_column_of_two
 FR bnd second_column_of_two
ENDATA
