# cmake -DEXPECTED=FILE "-DCOMMAND=PROGRAM;ARGUMENT;..." -P CompareOutput.cmake: the command succeeds
# and prints FILE.
execute_process(COMMAND ${COMMAND} OUTPUT_VARIABLE printed RESULT_VARIABLE result)
file(READ ${EXPECTED} expected)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "ended with ${result}, having printed:\n${printed}")
endif()
if(NOT printed STREQUAL expected)
  message(FATAL_ERROR "printed:\n${printed}\ninstead of:\n${expected}")
endif()
