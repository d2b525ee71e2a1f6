#!/usr/bin/env bash
# Builds the optimised benchmarks (preset mingw-release, with Google Benchmark,
# SimpleIni and, when its source can be had, inih) and runs them under Wine.
# Every figure is a ratio of two measurements of the same run; the ratios are
# printed at the end of each program's output.
#
#   scripts/bench.sh                      both programs
#   scripts/bench.sh --benchmark_filter=Ini   extra flags go to Google Benchmark
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"
GRS_DEPS_PREFIX=$(GRS_WITH_BENCHMARK=1 "$ROOT/scripts/bootstrap.sh" | tail -n 1)
export GRS_DEPS_PREFIX
cmake --preset mingw-release >/dev/null
cmake --build build-release --target bench_parsers bench_startup -j "$(nproc 2>/dev/null || echo 2)"

for program in bench_startup bench_parsers; do
  echo
  echo "== $program"
  build-release/wine-run.sh "build-release/bin/$program.exe" --benchmark_min_time=0.2 "$@"
done
