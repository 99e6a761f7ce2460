# Which lines and branches the tests reach, measured with the 32-bit build.
# shellcheck shell=bash

coveragePreset=coverage-x86

# The programs that are run: the whole runs and the long ones reach nothing that these do not.
coveragePrograms=(unit_tests protocol_tests component_tests library_failure_tests outside_tests foreign_tests ui_tests
    badinput_tests badinput_component_tests fault_sweep allocation_sweep reentry_sweep model_tests cost_tests)

build_for_coverage() {
    configure_preset "$coveragePreset" &&
        cmake --build "$build/$coveragePreset" -j "$(nproc)" --target "${coveragePrograms[@]}"
}

measure() {
    local names
    names=$(IFS='|' && printf '%s' "${coveragePrograms[*]}")
    find "$build/$coveragePreset" -name '*.gcda' -delete || return
    # The recorded data goes where the compiler left its notes; with the drive, whatever folder a test runs in. One program
    # after the other: each adds its data to that of those before it, and nothing keeps two from doing so at once.
    GCOV_PREFIX=Z: ctest --test-dir "$build/$coveragePreset" -R "^($names)(_[0-9]+)?\$" -j 1 \
        --output-on-failure --no-tests=error --timeout 3600
}

# The component itself; the stand-ins, tools and tests around it are not measured.
coverageFolders=(src/{provider,archive,accounting,ui,support,automation,component,interfaces})

report_coverage() {
    local folder="$build/coverage" filters=() name
    mkdir -p "$folder" || return
    for name in "${coverageFolders[@]}"; do
        filters+=(--filter "$root/$name/")
    done
    # The compiler gives every call a second way out, for an exception, and counts both as branches. These are left out:
    # they drown the branches that somebody wrote. One job only: with several, gcovr waits for ever after an error of its own.
    gcovr --root "$root" --object-directory "$build/$coveragePreset" "${filters[@]}" --exclude '.*/tests/.*' \
        --gcov-executable i686-w64-mingw32-gcov-posix --exclude-throw-branches --exclude-unreachable-branches \
        --txt "$folder/lines.txt" --json "$folder/record.json" --html-details "$folder/index.html" \
        --print-summary -j 1 "$build/$coveragePreset"
}

run_coverage() {
    local failed=0
    ensure_packages "Install the coverage report" setup-coverage "${packagesCoverage[@]}"
    has_32_bit_wine || die "Coverage is measured with the 32-bit build, and 32-bit wine cannot be installed here."
    step build-coverage "Build with coverage" build_for_coverage
    begin_wine "$build/x86/wine"
    step coverage-tests "Run the tests" measure || failed=1
    step coverage-report "Collect the figures" report_coverage
    say ""
    python3 "$root/scripts/reached.py" "$build/coverage/record.json" "$root/docs/coverage.md" "${coverageFolders[@]}"
    say ""
    say "Branches that only an exception takes are not counted. The reasons are those of docs/coverage.md."
    say "Line by line: $build/coverage/index.html"
    ((failed == 0)) || die "Tests failed; the figures above are those of a broken run."
}
