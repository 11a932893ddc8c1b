# Checks for the tests of scripts/: each case runs a line of bash in a fresh
# bash that sourced one of the scripts (whose main then does not run), and
# asserts the exit status and the text of its output.
set -uo pipefail

repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
failures=0
output=""
status=0

# run_sourced SCRIPT CODE [ARGUMENT...] runs CODE, which sees the arguments
# as $1..., in a new bash that sourced scripts/SCRIPT; sets output (standard
# output and error together) and status.
run_sourced() {
  local script=$1 code=$2
  shift 2
  output=$(bash -c "source '$repo/scripts/$script'; $code" "$script" "$@" 2>&1)
  status=$?
}

check() {
  local what=$1
  shift
  if "$@"; then
    echo "ok: $what"
  else
    echo "FAILED: $what"
    echo "--- status $status, output:"
    echo "$output"
    echo "---"
    failures=$((failures + 1))
  fi
}

failed_with() {
  [ "$status" -ne 0 ] && grep -qF -- "$1" <<<"$output"
}

passed_with() {
  [ "$status" -eq 0 ] && grep -qF -- "$1" <<<"$output"
}

output_lacks() {
  ! grep -qF -- "$1" <<<"$output"
}

# A build folder that cannot be configured: its cache belongs to another
# source folder, as when a tree is reused from another checkout.
broken_build_dir() {
  local dir=$scratch/broken-$RANDOM
  mkdir -p "$dir"
  printf '%s\n' "CMAKE_HOME_DIRECTORY:INTERNAL=$scratch/elsewhere" \
    "CMAKE_CACHEFILE_DIR:INTERNAL=$dir" >"$dir/CMakeCache.txt"
  echo "$dir"
}

# A configured folder of a project without a single test or target.
empty_build_dir() {
  local dir=$scratch/empty-$RANDOM
  mkdir -p "$dir/source"
  printf '%s\n' "cmake_minimum_required(VERSION 3.25)" "project(empty NONE)" \
    "enable_testing()" >"$dir/source/CMakeLists.txt"
  cmake -S "$dir/source" -B "$dir/build" >/dev/null || exit 1
  echo "$dir/build"
}

finish() {
  if [ "$failures" -ne 0 ]; then
    echo "$failures check(s) failed"
    exit 1
  fi
  echo "all checks passed"
}
