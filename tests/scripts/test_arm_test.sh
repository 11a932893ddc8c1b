#!/usr/bin/env bash
# scripts/test-arm: its stages fail on a broken build folder, a program that
# was not built and an empty test list, also when called from a condition,
# where bash ignores "set -e".
source "$(dirname "${BASH_SOURCE[0]}")/script_checks.sh"

broken=$(broken_build_dir)
empty=$(empty_build_dir)

run_sourced test-arm 'stage_cross_build "$1" "$2" "$3" || { echo "stage status $?"; exit 1; }' \
  "$broken" "$scratch/sysroot" "$empty"
check "the cross build fails on a broken build folder" \
  failed_with "test-arm: cmake could not configure $broken"
check "the cross build runs nothing after the failed configure" output_lacks "the build failed"
check "the cross build returns its failure to a condition" failed_with "stage status 1"

run_sourced test-arm 'stage_suite_build "$1"' "$broken"
check "the host build fails on a broken build folder" \
  failed_with "test-arm: cmake could not configure $broken"

run_sourced test-arm 'check_device_binary "$(arm_program "$1")"' "$empty"
check "a device program that was not built fails the check" \
  failed_with "test-arm: $empty/service/qav/qav_mnt/core_src/bin/fwupdate/qav_mnt_fwupdate was not built"

run_sourced test-arm 'stage_arm_unit_tests "$1"' "$empty"
check "the unit tests under qemu-arm fail when none ran" \
  failed_with "test-arm: tests failed or none ran in $empty"

run_sourced test-arm 'stage_arm_end_to_end "$1" "$2"' "$empty" "$broken"
check "the end-to-end tests against the armhf program fail when none ran" \
  failed_with "test-arm: tests failed or none ran in $empty"

run_sourced test-arm 'arm_stage "cross build" stage_cross_build "$1" "$2" "$3"; echo "next stage"' \
  "$broken" "$scratch/sysroot" "$empty"
check "the first failed stage ends the run" output_lacks "next stage"
check "the run names the failed stage" failed_with "cross build              FAILED"

finish
