#!/usr/bin/env bash
# scripts/lib: configuring, building and running tests fail on a broken build
# folder, a missing target and an empty test list; a stage stops at its first
# failed step and fails the run.
source "$(dirname "${BASH_SOURCE[0]}")/script_checks.sh"

broken=$(broken_build_dir)
empty=$(empty_build_dir)

run_sourced lib 'configure "$1"' "$broken"
check "configure fails on a broken build folder" \
  failed_with "lib: cmake could not configure $broken"

run_sourced lib 'build "$1" no_such_target' "$empty"
check "build fails when a named target does not exist" \
  failed_with "lib: the build failed in $empty"

run_sourced lib 'run_ctest "$1"' "$empty"
check "run_ctest fails when no test ran" failed_with "lib: tests failed or none ran in $empty"

# A stage that leans on "set -e" alone: run_stage must still stop it.
stage_code='
  leaning_stage() { configure "$1"; echo "step after the failed configure"; }
  run_stage "example" leaning_stage "$1"
  finish_stages'
run_sourced lib "$stage_code" "$broken"
check "a stage stops at its first failed step" output_lacks "step after the failed configure"
check "a failed stage names itself and says why" \
  failed_with "lib: example: cmake could not configure $broken"
check "the summary lists the failed stage and the run fails" \
  failed_with "example                  FAILED"
check "the run ends with FAILED" failed_with "lib: FAILED"

run_sourced lib 'run_stage "example" true; run_stage "other" false; finish_stages'
check "a failed stage after a passed one fails the run" failed_with "other                    FAILED"

run_sourced lib 'run_stage "example" true; finish_stages'
check "a run of passed stages passes" passed_with "example                  passed"

finish
