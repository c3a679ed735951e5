# Runs vesk-report with `--report json=REPORT` and checks the report with
# validate_json.py (see vesk_json_report_test in report_schema.cmake).
#
#   cmake -DEXE=path -DARGS="a|b" -DWORKDIR=dir -DREPORT=file
#         [-DSTDIN=file] -DEXPECTED_STATUS=n [-DEXPECT=file] [-DIGNORE="k1|k2"]
#         -DPYTHON=python -DVALIDATOR=validate_json.py -DSCHEMA=schema
#         -P json_report_case.cmake
string(REPLACE "|" ";" args "${ARGS}")
if(NOT STDIN)
  set(STDIN /dev/null)
endif()
file(REMOVE ${REPORT})
execute_process(
  COMMAND ${EXE} ${args} --report json=${REPORT}
  WORKING_DIRECTORY ${WORKDIR}
  INPUT_FILE ${STDIN}
  OUTPUT_QUIET
  ERROR_VARIABLE err
  RESULT_VARIABLE status)
if(NOT status STREQUAL EXPECTED_STATUS)
  message(FATAL_ERROR
    "vesk-report ${ARGS}: exit status ${status}, expected "
    "${EXPECTED_STATUS}; standard error:\n${err}")
endif()
if(NOT EXISTS ${REPORT})
  message(FATAL_ERROR "vesk-report ${ARGS}: no report written")
endif()
set(options "")
if(EXPECT)
  list(APPEND options --expect ${EXPECT})
  string(REPLACE "|" ";" ignore "${IGNORE}")
  foreach(key IN LISTS ignore)
    list(APPEND options --ignore ${key})
  endforeach()
endif()
execute_process(
  COMMAND ${PYTHON} ${VALIDATOR} --schema ${SCHEMA} ${options} ${REPORT}
  OUTPUT_VARIABLE out
  ERROR_VARIABLE out
  RESULT_VARIABLE valid)
if(NOT valid STREQUAL "0")
  message(FATAL_ERROR "vesk-report ${ARGS}: the JSON report is not as "
                      "expected:\n${out}")
endif()
