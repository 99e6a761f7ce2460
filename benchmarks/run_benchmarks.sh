#!/bin/bash
# Measures what the component costs beyond the calls that it has to make, on one processor, for both architectures.
#
#   run_benchmarks.sh [--architecture x86|x64] [--quick] [--only TEXT]     the last two are the program's, see README.md
set -euo pipefail

# shellcheck source=scripts/wine.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../scripts/wine.sh"

# Another processor can be given.
here=$root/benchmarks
processor=${KANDORA_BENCHMARK_PROCESSOR:-0}

# Everything started from here stays on one processor, the wine server and the simulators that COM starts included: calls
# between programs vary by a factor of two otherwise.
pin() { taskset --cpu-list --pid "$processor" "$$" >/dev/null; }

# run ARCHITECTURE STORE CLIENT TABLE CURVE ARGUMENT...: registers the simulators as archive and host, measures, and takes them
# away again. Names are of files in the work folder.
run() {
    local architecture=$1 store=$2 client=$3 table=$4 curve=$5 work=$build/benchmarks/$1 bin=$build/$1/bin loader result=0
    shift 5
    loader=$(wine_loader "$architecture")
    "$loader" "$bin/ArchiveSimulator.exe" --register --hidden --store "$(windows_path "$work/$store")" >/dev/null
    "$loader" "$bin/HostSimulator.exe" --register --client "$(windows_path "$work/$client")" >/dev/null
    "$loader" "$build/$architecture/benchmarks/kandora_benchmarks.exe" \
        --directory "$(windows_path "$work")" \
        --component "$(windows_path "$bin/Kandora.dll")" \
        --empty "$(windows_path "$build/$architecture/benchmarks/empty_server.dll")" \
        --table "$(windows_path "$work/$table")" \
        --curve "$(windows_path "$work/$curve")" \
        --simulator "$(windows_path "$bin/ArchiveSimulator.exe")" "$@" || result=$?
    "$loader" "$bin/HostSimulator.exe" --unregister >/dev/null || true
    "$loader" "$bin/ArchiveSimulator.exe" --unregister >/dev/null || true
    return "$result"
}

# in_session ARCHITECTURE ARGUMENT...: the same in a session in which no simulator runs yet.
in_session() {
    local result=0
    stop_wineserver
    hold_session
    run "$@" || result=$?
    stop_wineserver
    return "$result"
}

measure_component() {
    local architecture=$1 work=$build/benchmarks/$1
    shift
    python3 "$here/make_surroundings.py" store "$work/Archiv"
    python3 "$here/make_surroundings.py" store "$work/Leer" 0
    python3 "$here/make_surroundings.py" store "$work/Gross" 100000
    python3 "$here/make_surroundings.py" client "$work/client.json" "$(windows_path "$work/Platzhalter.pdf")"
    in_session "$architecture" Archiv client.json figures.txt searches.txt \
        --large "$(windows_path "$work/Gross")" --small "$(windows_path "$work/Leer")" "$@" || return
    [[ ! -s $work/searches.txt ]] ||
        python3 "$here/plot.py" "$work/searches.txt" "$work/searches.svg" "One search: the component" hits
}

# What kandora-check compares is an archive with entries of three masks for each size, and all of the client's bookings.
measure_comparison() {
    local architecture=$1 work=$build/benchmarks/$1 date
    shift
    # An archive holds dates as its users' Windows writes them.
    echo 'WScript.Echo DateSerial(2026, 1, 5)' >"$work/date.vbs"
    date=$("$(wine_loader "$architecture")" "$(system_program "$architecture" cscript.exe)" //nologo \
        "$(windows_path "$work/date.vbs")" | tr -d '\r')
    echo '%PDF-1.4' >"$work/Platzhalter.pdf"
    python3 "$here/make_surroundings.py" comparison "$work/Abgleich" "$work/Abgleich.json" \
        "$(windows_path "$work/Platzhalter.pdf")" "$date"
    in_session "$architecture" Abgleich Abgleich.json comparison.txt comparisons.txt \
        --comparison "$(windows_path "$work/Abgleich")" "$@" || return
    [[ ! -s $work/comparisons.txt ]] ||
        python3 "$here/plot.py" "$work/comparisons.txt" "$work/comparisons.svg" "One comparison: kandora-check" entries
}

# measure ARCHITECTURE ARGUMENT...: one of the two alone when only its groups are wanted.
measure() {
    local architecture=$1 work=$build/benchmarks/$1 only
    shift
    rm -rf "$work"
    mkdir -p "$work"
    printf '%s\n' "$architecture, $(date +%F)" "$(stat -c 'Kandora.dll: %s bytes' "$build/$architecture/bin/Kandora.dll")"
    only=$(wanted "$@")
    [[ -n $only && reconcile == *"$only"* ]] || measure_component "$architecture" "$@" || return
    [[ reconcile != *"$only"* ]] || measure_comparison "$architecture" "$@"
}

# The text after --only; nothing when there is none.
wanted() {
    while (($# > 1)); do
        [[ $1 != --only ]] || printf '%s' "$2"
        shift
    done
}

main() {
    local architecture selected=()
    if [[ ${1:-} == --architecture ]]; then
        selected=("$2")
        shift 2
    elif has_32_bit_wine; then
        selected=(x86 x64)
    else
        selected=(x64)
    fi
    pin
    for architecture in "${selected[@]}"; do
        ninja -C "$build/$architecture" kandora_benchmarks >"$build/benchmarks-$architecture.log"
        use_prefix "$build/$architecture/wine"
        start_display
        ensure_prefix >&2
        hold_session
        measure "$architecture" "$@"
        stop_display
    done
}

trap 'stop_wineserver; stop_display' EXIT
main "$@"
