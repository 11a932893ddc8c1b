#!/usr/bin/env bash
# scripts/test: every stage fails on a broken build folder before it runs
# anything, also when called from a condition, where bash ignores "set -e".
source "$(dirname "${BASH_SOURCE[0]}")/script_checks.sh"

# check_stage_fails STAGE_FUNCTION: the stage, called inside a condition,
# fails at its configure step and runs no later step.
check_stage_fails() {
  local stage=$1 broken
  broken=$(broken_build_dir)
  run_sourced test "$stage"' "$1" || { echo "stage status $?"; exit 1; }' "$broken"
  check "$stage fails on a broken build folder" \
    failed_with "test: cmake could not configure $broken"
  check "$stage runs nothing after the failed configure" output_lacks "the build failed"
  check "$stage returns its failure to a condition" failed_with "stage status 1"
}

check_stage_fails stage_suite
check_stage_fails stage_thread_sanitizer
check_stage_fails stage_fuzz
check_stage_fails stage_lint

broken=$(broken_build_dir)
run_sourced test 'run_stage "thread sanitizer" stage_thread_sanitizer "$1"; finish_stages' "$broken"
check "a failed thread sanitizer stage fails the run, named and with its reason" \
  failed_with "test: thread sanitizer: cmake could not configure $broken"
check "the summary shows the thread sanitizer stage failed" \
  failed_with "thread sanitizer         FAILED"

run_sourced test 'main --no-such-option'
check "an unknown option is refused" failed_with "usage: scripts/test [--full]"

finish
