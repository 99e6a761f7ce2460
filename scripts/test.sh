# Runs every test of both architectures and sums up.
# shellcheck shell=bash

passedTotal=0
failedTotal=0

# run_tests ARCHITECTURE: one summary line; adds to the totals.
run_tests() {
    local report="$logs/test-$1.xml" start=$EPOCHREALTIME tests passed skipped failed result=0
    rm -f "$report"
    say ""
    say "Tests $1"
    # Both limits lie far beyond what the tests take: one that hangs ends as a failure instead of holding up everything.
    ctest --test-dir "$build/$1" --output-on-failure --no-tests=error --timeout 600 \
        --stop-time "$testsStopTime" --output-junit "$report" </dev/null || result=$?
    tests=$(count_in "$report" '<testcase ')
    passed=$(count_in "$report" '<testcase .* status="run"')
    # Tests whose program or fixture is missing are marked as skipped as well, with other messages: those have failed.
    skipped=$(count_in "$report" '<skipped message="SKIP_\|<testcase .* status="disabled"')
    failed=$((tests - passed - skipped))
    if ((failed == 0 && (result != 0 || tests == 0))); then
        failed=1
    fi
    summaries+=("$1: $passed passed, $failed failed, $skipped left out, $(seconds_since "$start") s")
    passedTotal=$((passedTotal + passed))
    failedTotal=$((failedTotal + failed))
}

# count_in FILE PATTERN: the number of matching lines, 0 without the file.
count_in() {
    if [[ -f $1 ]]; then grep -c -- "$2" "$1" || true; else echo 0; fi
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
