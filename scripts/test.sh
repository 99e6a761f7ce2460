# Runs every test of both architectures and sums up.
# shellcheck shell=bash

passedTotal=0
failedTotal=0

# run_tests ARCHITECTURE: one summary line; adds to the totals.
run_tests() {
    local report="$logs/test-$1.xml" start=$EPOCHREALTIME passed=0 failed=0 leftOut=0 result=0
    rm -f "$report"
    say ""
    say "Tests $1"
    # Both limits lie far beyond what the tests take: one that hangs ends as a failure instead of holding up everything.
    ctest --test-dir "$build/$1" --output-on-failure --no-tests=error --timeout 600 --stop-time "$testsStopTime" \
        --test-output-size-passed 10000000 --test-output-size-failed 10000000 --output-junit "$report" \
        </dev/null || result=$?
    if [[ -f $report ]]; then
        read -r passed failed leftOut < <(python3 "$root/scripts/sum_tests.py" "$report") || result=1
    fi
    # Whatever ctest complained about beyond the tests themselves.
    if ((failed == 0 && (result != 0 || passed == 0))); then
        failed=1
    fi
    summaries+=("$1: $passed passed, $failed failed, $leftOut left out, $(seconds_since "$start") s")
    passedTotal=$((passedTotal + passed))
    failedTotal=$((failedTotal + failed))
}

run_all_tests() {
    local architecture summaries=() runnable prefixes
    mapfile -t runnable < <(runnable_architectures)
    prefixes=("${runnable[@]/#/$build/}")
    prefixes=("${prefixes[@]/%//wine}")
    begin_wine "${prefixes[@]}"
    testsStopTime=$(date -d '+75 minutes' '+%H:%M:%S')
    for architecture in "${architectures[@]}"; do
        if [[ " ${runnable[*]} " == *" $architecture "* ]]; then
            run_tests "$architecture"
        else
            summaries+=("$architecture: NOT RUN, 32-bit wine cannot be installed on this machine")
        fi
    done
    say ""
    printf '%s\n' "${summaries[@]}"
    say "$passedTotal passed, $failedTotal failed"
    ((failedTotal == 0))
}
