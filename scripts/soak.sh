# The long runs: hours instead of minutes, with new random courses each time.
# shellcheck shell=bash

# Counted by each architecture's run in its own shell.
soakFailures=0

# soak ARCHITECTURE NAME TEXT PATTERN COMMAND...: one line for the step, and what the run says of itself from PATTERN on.
soak() {
    local architecture=$1 name=$2 text=$3 pattern=$4 log="$logs/soak-$1-$2.log"
    shift 4
    # A run that says nothing of itself did not come to its end, whatever its exit code.
    if ! step "soak-$architecture-$name" "$architecture: $text" "$@"; then
        soakFailures=$((soakFailures + 1))
    elif ! grep -oE "$pattern.*" "$log" | sed 's/^/    /'; then
        say "    It did not come to its end: $log"
        soakFailures=$((soakFailures + 1))
    fi
}

# Runs a test program of the build in the prefix that the run has begun.
soak_program() {
    local architecture=$1 folder=$2 program=$3
    shift 3
    WINEPREFIX="$build/$architecture/wine" "$root/scripts/run-$architecture" \
        "$build/$architecture/tests/$folder/$program.exe" "$@"
}

# A whole run with both simulators, in its own Windows session.
soak_whole_run() {
    local architecture=$1 module=$2
    env PYTHONPATH="$root/tests/stress:$root/tests/check" "$root/tests/endtoend/run_in_session.sh" "$architecture" \
        "$build/$architecture/bin" "$build/$architecture/endtoend" "$module"
}

soak_architecture() {
    local architecture=$1 start=$EPOCHREALTIME
    say ""
    say "Long runs $architecture"
    begin_wine "$build/$architecture/wine"
    soak "$architecture" model "a million requests against the model" '[0-9]+ sequences' \
        soak_program "$architecture" model model_tests --requests "${KANDORA_SOAK_REQUESTS:-1000000}"
    OANOCACHE=1 soak "$architecture" leaks "100 000 requests and 1000 hosts in one process" '[0-9]+ requests disturbed' \
        soak_program "$architecture" stress leak_tests --requests 100000 --rounds 1000
    KANDORA_KILLS=all soak "$architecture" kills "the archive killed at every call of every request" \
        'the archive was killed' soak_whole_run "$architecture" test_kills
    KANDORA_MANY=year soak "$architecture" many "eight accountings file a year each at the same time" \
        '[0-9]+ accountings' soak_whole_run "$architecture" test_many
    KANDORA_PLANTED=all soak "$architecture" planted "an archive of 30 000 entries is compared with the accounting" \
        'findings planted and found' soak_whole_run "$architecture" test_check_planted
    say "$architecture: $soakFailures failures in five long runs, $(seconds_since "$start") s"
    ((soakFailures == 0))
}

run_soak() {
    local runnable
    mapfile -t runnable < <(runnable_architectures)
    has_32_bit_wine || warn "x86 IS NOT TESTED: 32-bit wine cannot be installed on this machine."
    side_by_side soak soak_architecture "${runnable[@]}"
}
