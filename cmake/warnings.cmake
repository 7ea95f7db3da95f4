# The warnings every target of this project compiles clean with.
add_library(tavstoch_warnings INTERFACE)
target_compile_options(tavstoch_warnings INTERFACE
  -Wall -Wextra $<$<COMPILE_LANGUAGE:CXX>:-Wconversion> -Wshadow
  $<$<BOOL:${TAVSTOCH_WERROR}>:-Werror>)
