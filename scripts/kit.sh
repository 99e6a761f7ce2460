# Runs the kits for a real Windows whole, from their zips, each in a fresh Windows session where no build is in sight.
# shellcheck shell=bash
# shellcheck source=scripts/package.sh
source "$root/scripts/package.sh"

# try_kit ARCHITECTURE: with all processors, as on a real machine.
try_kit() {
    KANDORA_PROCESSORS=all PYTHONDONTWRITEBYTECODE=1 "$root/scripts/in-session" "$build/kit/$1" \
        python3 "$root/scripts/kit.py" "$(wine_loader "$1")" "$packages"/Kandora-*-pruefung-"$1".zip "$logs/kit-$1"
}

run_kit() {
    local architecture result=0 runnable
    mapfile -t runnable < <(runnable_architectures)
    begin_wine
    run_package
    for architecture in "${runnable[@]}"; do
        say ""
        say "The kit for $architecture, in a fresh wine prefix:"
        try_kit "$architecture" || result=1
    done
    return "$result"
}
