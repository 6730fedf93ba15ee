# The program that README.md shows is the one the package test runs.
file(READ ${CMAKE_CURRENT_LIST_DIR}/readme_program.c program)
file(READ ${CMAKE_CURRENT_LIST_DIR}/../../../README.md readme)
string(FIND "${readme}" "${program}" position)
if(position LESS 0)
  message(FATAL_ERROR "README.md does not show tests/abi/package/readme_program.c as it is")
endif()
message("README.md shows the program as it is")
