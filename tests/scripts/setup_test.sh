#!/usr/bin/env bash
# scripts/setup [BUILD_DIR] [-- cmake arguments]: the build folder and the
# cmake arguments, with and without a build folder.
source "$(dirname "${BASH_SOURCE[0]}")/script_checks.sh"

arguments='parse_setup_arguments "$@"; echo "dir[$build_dir] args[${cmake_arguments[*]}]"'

run_sourced setup "$arguments"
check "no arguments build into build/" passed_with "dir[$repo/build] args[]"

run_sourced setup "$arguments" -- -DX=1 -DY=2
check "cmake arguments alone go to build/, not to a folder named --" \
  passed_with "dir[$repo/build] args[-DX=1 -DY=2]"

run_sourced setup "$arguments" /tmp/somewhere
check "a build folder alone" passed_with "dir[/tmp/somewhere] args[]"

run_sourced setup "$arguments" /tmp/somewhere -- -DX=1
check "a build folder and cmake arguments" passed_with "dir[/tmp/somewhere] args[-DX=1]"

run_sourced setup "$arguments" /tmp/somewhere -DX=1
check "cmake arguments without -- are refused" \
  failed_with "setup: usage: scripts/setup [BUILD_DIR] [-- cmake arguments]"

finish
