# Runs the tests of several builds at the same time, the failed programs once more, and sums up.
# shellcheck shell=bash

# Areas of the tests, or none for all of them.
testAreas=()

# run_ctest BUILD REPORT OPTION...: the limit lies far beyond what the tests take: one that hangs ends as a failure instead of
# holding up everything.
run_ctest() {
    local name=$1 report=$2
    shift 2
    ctest --test-dir "$build/$name" --output-on-failure --no-tests=error --timeout 1200 --stop-time "$testsStopTime" \
        --test-output-size-passed 10000000 --test-output-size-failed 10000000 --output-junit "$report" "$@" </dev/null
}

# test_build NAME: the tests of build/NAME, each in a Windows session of its own. They wait more than they work. What they say
# is judged later, so ctest's own verdict does not matter.
test_build() {
    local start=$EPOCHREALTIME chosen=()
    ((${#testAreas[@]} == 0)) || chosen=(-L "^($(IFS='|' && printf '%s' "${testAreas[*]}"))\$")
    say ""
    say "Tests $1"
    ctest --test-dir "$build/$1" "${chosen[@]}" --show-only=json-v1 >"$logs/test-$1.json"
    run_ctest "$1" "$logs/test-$1.xml" -j "$((3 * $(nproc)))" "${chosen[@]}" &
    wait $! || true
    seconds_since "$start" >"$logs/test-$1.seconds"
}

# test_again BUILD PROGRAM: with nothing beside it. Like each test it gets a Windows session that nobody has used.
test_again() {
    say ""
    say "Once more, alone and in a fresh wine prefix: $2 ($1)"
    run_ctest "$1" "$logs/again-$1-$2.xml" -R "^$2\$" &
    wait $! || true
}

# Tests that run out of disk space fail in ways that do not tell why.
warn_of_full_disk() {
    local free=$(($(df --output=avail -m "$root" | tail -n 1)))
    ((free >= 2000)) || warn "ONLY $free MB ARE LEFT on the disk of $root."
}

# test_builds NAME...: fails unless every test of every build has passed and none was missing. With `record` set, the cases that
# there are become the expected ones.
test_builds() {
    local name program failed result=0 options=()
    [[ -z ${record:-} ]] || options=(--record)
    rm -f "$logs"/{test,again,first-try,second-try}-*.{xml,json,seconds,log} "$logs/test.sum"
    begin_wine
    side_by_side test test_build "$@" || true
    for name in "$@"; do
        mapfile -t failed < <(python3 "$root/scripts/outcome.py" failed "$logs" "$name")
        for program in "${failed[@]}"; do
            test_again "$name" "$program"
        done
    done
    python3 "$root/scripts/outcome.py" sum "${options[@]}" "$logs" "$root/tests/cases.json" "${testAreas[*]}" "$@" || result=1
    [[ ! -f $logs/test.sum ]] || closingLine=$(<"$logs/test.sum")
    ((result == 0)) || warn_of_full_disk
    return "$result"
}

# The folders of tests/ that have tests, and the simulators'.
known_areas() { (cd "$root" && grep -lE '^ *(add|kandora)_test\(' tests/*/CMakeLists.txt | cut -d/ -f2 && echo simulators) | sort; }

# read_test_arguments ARGUMENT...: [--record] [x86|x64]... [AREA]...
read_test_arguments() {
    local argument known
    testBuilds=()
    mapfile -t known < <(known_areas)
    for argument in "$@"; do
        if [[ $argument == --record ]]; then
            record=yes
        elif [[ " ${architectures[*]} " == *" $argument "* ]]; then
            testBuilds+=("$argument")
        elif [[ " ${known[*]} " == *" $argument "* ]]; then
            testAreas+=("$argument")
        else
            die "there is no test area '$argument'; known are ${known[*]}."
        fi
    done
    ((${#testBuilds[@]} > 0)) || testBuilds=("${architectures[@]}")
}

# Builds what the chosen tests need.
build_for_tests() {
    local architecture area targets=()
    for area in "${testAreas[@]}"; do
        if [[ $area == simulators ]]; then
            targets+=(simulators/{common,archive,host}/all)
        else
            targets+=("tests/$area/all")
        fi
    done
    ((${#targets[@]} > 0)) || targets=(all)
    for architecture in "${testBuilds[@]}"; do
        STEP_TAIL=80 build_step "build-$architecture" "Build ${testAreas[*]:-everything} for $architecture" \
            build_preset "$architecture" "${targets[@]}"
    done
}

# run_tests ARGUMENT...
run_tests() {
    local runnable=() architecture
    read_test_arguments "$@"
    # What holds if the command ends before the tests are judged.
    closingLine="0 passed, 1 failed"
    command_setup
    if ((${#testAreas[@]} == 0)) || [[ " ${testAreas[*]} " == *" check "* ]]; then
        ensure_browser
    fi
    build_for_tests
    for architecture in "${testBuilds[@]}"; do
        if [[ $architecture == x86 ]] && ! has_32_bit_wine; then
            warn "x86 IS NOT TESTED: 32-bit wine cannot be installed on this machine."
        else
            runnable+=("$architecture")
        fi
    done
    testsStopTime=$(date -d '+75 minutes' '+%H:%M:%S')
    test_builds "${runnable[@]}"
}
