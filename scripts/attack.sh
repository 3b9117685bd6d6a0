#!/usr/bin/env bash
# The long form of the fault tests: attack.sh [trials [seed]] makes that many trials of each kind (1000, 1), each drawn
# from the seed, and prints a line for each kind and every complaint. It ends with 1 when there was one.
set -uo pipefail
cd "$(dirname "$0")/.."

export FAULTS_TRIALS=${1:-1000} FAULTS_SEED=${2:-1}
export QT_QPA_PLATFORM=offscreen QTEST_FUNCTION_TIMEOUT=86400000
subjects=(fault_sweep interrupted_runs meanwhile corrupt_stores hostile_evidence planted_links)

. scripts/homebrew-paths.sh
cmake --preset dev >/dev/null && cmake --build --preset dev >build/dev/attack-build.log ||
    { tail -n 40 build/dev/attack-build.log >&2; exit 1; }

echo "$FAULTS_TRIALS trials of each kind, seed $FAULTS_SEED"
ended=0
for subject in "${subjects[@]}"; do
    log=build/dev/attack-$subject.log
    started=$SECONDS
    build/dev/tests/tst_"$subject" -maxwarnings 0 >"$log" 2>&1 || ended=1
    sed -n 's/^QWARN  : //p; s/^FAIL!  : //p' "$log"
    printf '%-18s %4d s  %s\n' "$subject" $((SECONDS - started)) "$(grep '^Totals:' "$log" || echo "did not end, see $log")"
done
exit $ended
