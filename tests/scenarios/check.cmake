# Runs fenn-sim on one scenario and checks its exit status and what it printed.
#   cmake -DSIM=<fenn-sim> -DSCENARIO=<file> -DEXIT=<status> -DMATCH=<regex> -P check.cmake
execute_process(COMMAND ${SIM} ${SCENARIO} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
set(all "${out}${err}")
if(NOT status EQUAL EXIT)
  message(FATAL_ERROR "exit status ${status}, expected ${EXIT}; output:\n${all}")
endif()
if(NOT all MATCHES "${MATCH}")
  message(FATAL_ERROR "output does not match '${MATCH}':\n${all}")
endif()
message("${all}")
