# Checking JSON reports against docs/report.schema.json from any suite.
#
# The validator is tests/support/validate_json.py run by Debian's Python,
# which has python3-jsonschema (a Python earlier on PATH may lack it).
set(VESK_SYSTEM_PYTHON /usr/bin/python3 CACHE FILEPATH
    "Python with the jsonschema module, for validating JSON reports")
set(VESK_VALIDATE_JSON ${CMAKE_CURRENT_LIST_DIR}/validate_json.py)
set(VESK_REPORT_SCHEMA ${PROJECT_SOURCE_DIR}/docs/report.schema.json)
set(VESK_JSON_REPORT_CASE ${CMAKE_CURRENT_LIST_DIR}/json_report_case.cmake)

# vesk_use_report_schema(target)
#
# Lets the C++ test `target` call vesk::testing::validate_json_reports()
# (tests/support/report_schema.hpp).
function(vesk_use_report_schema target)
  target_compile_definitions(${target} PRIVATE
    VESK_SYSTEM_PYTHON="${VESK_SYSTEM_PYTHON}"
    VESK_VALIDATE_JSON="${VESK_VALIDATE_JSON}"
    VESK_REPORT_SCHEMA="${VESK_REPORT_SCHEMA}")
endfunction()

# vesk_validate_json_files(name file...)
#
# A test that validates existing JSON report files.
function(vesk_validate_json_files name)
  add_test(NAME ${name}
    COMMAND ${VESK_SYSTEM_PYTHON} ${VESK_VALIDATE_JSON}
            --schema ${VESK_REPORT_SCHEMA} ${ARGN})
endfunction()

# vesk_json_report_test(name status [ARGS arg...] [EXPECT file]
#                       [IGNORE key...] [WORKDIR dir] [STDIN file])
#
# A test that runs `vesk-report ARGS... --report json=FILE` (FILE a fresh
# file in the build tree) with STDIN (default: /dev/null) as standard
# input, expects exit status `status` and validates FILE against the
# schema; with EXPECT, FILE must also equal that document, member order
# included, but for the top-level members IGNORE names.
function(vesk_json_report_test name status)
  cmake_parse_arguments(J "" "EXPECT;WORKDIR;STDIN" "ARGS;IGNORE" ${ARGN})
  if(NOT J_STDIN)
    set(J_STDIN /dev/null)
  endif()
  if(NOT J_WORKDIR)
    set(J_WORKDIR ${CMAKE_CURRENT_SOURCE_DIR})
  endif()
  string(REPLACE ";" "|" args "${J_ARGS}")
  string(REPLACE ";" "|" ignore "${J_IGNORE}")
  add_test(NAME ${name}
    COMMAND ${CMAKE_COMMAND} -DEXE=$<TARGET_FILE:vesk-report>
            "-DARGS=${args}" -DWORKDIR=${J_WORKDIR}
            -DREPORT=${CMAKE_CURRENT_BINARY_DIR}/${name}.json
            -DSTDIN=${J_STDIN}
            -DEXPECTED_STATUS=${status} -DEXPECT=${J_EXPECT}
            "-DIGNORE=${ignore}"
            -DPYTHON=${VESK_SYSTEM_PYTHON} -DVALIDATOR=${VESK_VALIDATE_JSON}
            -DSCHEMA=${VESK_REPORT_SCHEMA}
            -P ${VESK_JSON_REPORT_CASE})
endfunction()
