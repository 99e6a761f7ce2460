# Every test of both architectures, built so that undefined behaviour ends the program on the spot.
# shellcheck shell=bash
# shellcheck source=scripts/test.sh
source "$root/scripts/test.sh"

run_ubsan() {
    local architecture summaries=() runnable prefixes
    for architecture in "${architectures[@]}"; do
        STEP_TAIL=80 step "build-$architecture-ubsan" "Build $architecture with traps into build/$architecture-ubsan" \
            build_preset "$architecture-ubsan"
    done
    mapfile -t runnable < <(runnable_architectures)
    prefixes=("${runnable[@]/#/$build/}")
    prefixes=("${prefixes[@]/%//wine}")
    begin_wine "${prefixes[@]}"
    testsStopTime=$(date -d '+150 minutes' '+%H:%M:%S')
    for architecture in "${runnable[@]}"; do
        run_tests "$architecture-ubsan"
    done
    say ""
    printf '%s\n' "${summaries[@]}"
    say "$passedTotal passed, $failedTotal failed"
    ((failedTotal == 0))
}
