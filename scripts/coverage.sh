# Which lines and branches the tests reach, measured with the 32-bit build.
# shellcheck shell=bash

coveragePreset=coverage-x86

# The programs whose runs are worth their time: the whole runs and the long ones reach nothing that these do not.
coveragePrograms=(unit_tests protocol_tests component_tests library_failure_tests outside_tests ui_tests badinput_tests
    badinput_component_tests fault_sweep allocation_sweep reentry_sweep model_tests cost_tests)

build_for_coverage() {
    configure_preset "$coveragePreset" &&
        cmake --build "$build/$coveragePreset" -j "$(nproc)" --target "${coveragePrograms[@]}"
}

measure() {
    local names
    names=$(IFS='|' && printf '%s' "${coveragePrograms[*]}")
    find "$build/$coveragePreset" -name '*.gcda' -delete || return
    # The recorded data goes where the compiler left its notes; the drive makes it independent of a test's folder. One
    # program after the other: each adds its data to that of those before it, and nothing keeps two from doing so at once.
    GCOV_PREFIX=Z: ctest --test-dir "$build/$coveragePreset" -R "^($names)(_[0-9]+)?\$" -j 1 \
        --output-on-failure --no-tests=error --timeout 3600
}

# The component itself; the stand-ins, tools and tests around it are not measured.
coverageFolders=(src/{provider,archive,accounting,ui,support,automation,component})

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
        --txt "$folder/lines.txt" --json-summary "$folder/summary.json" --html-details "$folder/index.html" \
        --print-summary -j 1 "$build/$coveragePreset"
}

# One line per source folder and one for all, from gcovr's summary.
print_coverage() {
    python3 - "$build/coverage/summary.json" "${coverageFolders[@]}" <<'END'
import collections
import json
import sys

KINDS = ("line_covered", "line_total", "branch_covered", "branch_total")
folders = collections.defaultdict(collections.Counter)
with open(sys.argv[1], encoding="utf-8") as file:
    for source in json.load(file)["files"]:
        folder = "/".join(source["filename"].split("/")[:-1])
        for name in (folder, "all"):
            folders[name].update({kind: source[kind] for kind in KINDS})


def share(covered, total):
    return f"{covered:6d} of {total:6d} {100 * covered / total:6.1f} %" if total else f"{'none':>25}"


print(f"  {'':24}{'lines':>25}{'branches':>28}")
for name in [*sys.argv[2:], "all"]:
    count = folders[name]
    print(f"  {name:24}{share(count['line_covered'], count['line_total'])}"
          f"   {share(count['branch_covered'], count['branch_total'])}")
END
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
    print_coverage
    say ""
    say "Branches that only an exception takes are not counted. docs/coverage.md tells what no test reaches, and why."
    say "Line by line: $build/coverage/index.html"
    ((failed == 0)) || die "Tests failed; the figures above are those of a broken run."
}
