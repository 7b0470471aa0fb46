# Coverage of src/ by the test suite (g++ --coverage, gcovr). With
# TQBASE_COVERAGE=ON every target is instrumented and the test coverage.gate
# reports line and branch figures per file and fails below the thresholds.
# The `coverage` workflow runs the suite first, then the gate alone.
option(TQBASE_COVERAGE "Instrument for coverage and add the coverage.gate test" OFF)

# The gate, in one place. Branches are counted without the ones that only
# throw and the ones the compiler proves unreachable.
set(TQBASE_COVERAGE_MIN_LINES 97)
set(TQBASE_COVERAGE_MIN_BRANCHES 92)

if(TQBASE_COVERAGE)
  add_compile_options(--coverage -O0)
  add_link_options(--coverage)
  find_program(TQBASE_GCOVR gcovr REQUIRED)
  if(BUILD_TESTING)
    add_test(NAME coverage.gate
      COMMAND ${TQBASE_GCOVR}
        --root ${PROJECT_SOURCE_DIR}
        --filter ${PROJECT_SOURCE_DIR}/src/
        --exclude-throw-branches --exclude-unreachable-branches
        --txt - --print-summary
        --fail-under-line ${TQBASE_COVERAGE_MIN_LINES}
        --fail-under-branch ${TQBASE_COVERAGE_MIN_BRANCHES}
        ${PROJECT_BINARY_DIR})
    set_tests_properties(coverage.gate PROPERTIES LABELS coverage TIMEOUT 300)
  endif()
endif()
