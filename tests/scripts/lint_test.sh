#!/usr/bin/env bash
# scripts/lint: a clang-tidy that fails shows its own error output (without
# its counts of warnings it did not report) and fails the run; one that
# passes adds nothing. clang-tidy and cppcheck are stand-ins here that fail
# or pass on demand; the compile database is the real one.
source "$(dirname "${BASH_SOURCE[0]}")/script_checks.sh"

tools=$scratch/tools
mkdir -p "$tools"
cat >"$tools/clang-tidy" <<'TOOL'
#!/bin/sh
echo "12 warnings generated." >&2
if [ -n "${LINT_TEST_TIDY_ERROR:-}" ]; then
  echo "$LINT_TEST_TIDY_ERROR" >&2
  exit 1
fi
TOOL
printf '#!/bin/sh\nexit 0\n' >"$tools/cppcheck"
chmod +x "$tools/clang-tidy" "$tools/cppcheck"
export PATH="$tools:$PATH"

LINT_TEST_TIDY_ERROR="x.cpp:1:1: error: a finding of the stand-in [clang-diagnostic-error]" \
  run_sourced lint 'stage_lint "$1"' "$scratch/build-lint"
check "a failing clang-tidy fails the run" failed_with "lint: findings above"
check "its own error output is shown" \
  failed_with "x.cpp:1:1: error: a finding of the stand-in [clang-diagnostic-error]"
check "its count of unreported warnings is left out" output_lacks "12 warnings generated."

run_sourced lint 'stage_lint "$1"' "$scratch/build-lint"
check "a clean run passes" passed_with "== lint: cppcheck"
check "a clean run shows no error output" output_lacks "clang-tidy's own error output"

finish
