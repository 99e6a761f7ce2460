# Runs every test of several builds at the same time and sums up.
# shellcheck shell=bash

# test_build NAME: the tests of build/NAME on a display and in a Windows session of their own.
test_build() {
    local report="$logs/test-$1.xml" start=$EPOCHREALTIME passed=0 failed=0 leftOut=0 result=0
    say ""
    say "Tests $1"
    begin_wine "$build/${1%%-*}/wine"
    # Both limits lie far beyond what the tests take: one that hangs ends as a failure instead of holding up everything.
    ctest --test-dir "$build/$1" --output-on-failure --no-tests=error --timeout 1200 --stop-time "$testsStopTime" \
        --test-output-size-passed 10000000 --test-output-size-failed 10000000 --output-junit "$report" \
        </dev/null &
    wait $! || result=$?
    if [[ -f $report ]]; then
        say ""
        say "What the long tests of $1 went through:"
        python3 "$root/scripts/sum_tests.py" --counts "$report" || result=1
        read -r passed failed leftOut < <(python3 "$root/scripts/sum_tests.py" "$report") || result=1
    fi
    # Whatever ctest complained about beyond the tests themselves.
    if ((failed == 0 && (result != 0 || passed == 0))); then
        failed=1
    fi
    echo "$passed $failed $leftOut $(seconds_since "$start")" >"$logs/test-$1.sum"
}

# Tests that lack disk fail in ways that do not tell why.
warn_of_full_disk() {
    local free=$(($(df --output=avail -m "$root" | tail -n 1)))
    ((free >= 2000)) || warn "ONLY $free MB ARE LEFT on the disk of $root."
}

# test_builds NAME...: one summary line for each and one for all. Fails unless every test of every build has passed.
test_builds() {
    local name summaries=() passed failed leftOut seconds passedTotal=0 failedTotal=0
    for name in "$@"; do
        rm -f "$logs/test-$name".{xml,sum}
    done
    side_by_side test test_build "$@" || true
    for name in "$@"; do
        # Without a sum the run was broken off.
        passed=0 failed=1 leftOut=0 seconds=0
        [[ ! -f $logs/test-$name.sum ]] || read -r passed failed leftOut seconds <"$logs/test-$name.sum"
        summaries+=("$name: $passed passed, $failed failed, $leftOut left out, $seconds s")
        passedTotal=$((passedTotal + passed))
        failedTotal=$((failedTotal + failed))
    done
    say ""
    printf '%s\n' "${summaries[@]}"
    say "$passedTotal passed, $failedTotal failed"
    ((failedTotal == 0)) || warn_of_full_disk
    ((failedTotal == 0))
}

run_all_tests() {
    local runnable
    mapfile -t runnable < <(runnable_architectures)
    testsStopTime=$(date -d '+75 minutes' '+%H:%M:%S')
    has_32_bit_wine || warn "x86 IS NOT TESTED: 32-bit wine cannot be installed on this machine."
    test_builds "${runnable[@]}"
}
