# Every test of both architectures, built so that undefined behaviour ends the program on the spot.
# shellcheck shell=bash
# shellcheck source=scripts/test.sh
source "$root/scripts/test.sh"

run_ubsan() {
    local architecture runnable
    for architecture in "${architectures[@]}"; do
        STEP_TAIL=80 build_step "build-$architecture-ubsan" "Build $architecture with traps into build/$architecture-ubsan" \
            build_preset "$architecture-ubsan" all
    done
    mapfile -t runnable < <(runnable_architectures)
    testsStopTime=$(date -d '+150 minutes' '+%H:%M:%S')
    test_builds "${runnable[@]/%/-ubsan}"
}
