# Shared by ./dev and its helpers: paths, messages, one line per step.
# shellcheck shell=bash
# Functions that run as a step are called where bash ignores `set -e`; they chain their commands with && instead.

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd -P)
build="$root/build"
logs="$build/logs"
architectures=(x86 x64)

# C.UTF-8 is part of every Debian system, so file names with umlauts work without installing a locale.
unset LANG LANGUAGE "${!LC_@}"
export LC_ALL=C.UTF-8
export HOME="${HOME:-$build/home}"

say() { printf '%s\n' "$*"; }
warn() { printf '%s\n' "$*" >&2; }
die() {
    warn "dev: $*"
    exit 1
}

# Seconds since START (an $EPOCHREALTIME value) with one decimal.
seconds_since() {
    local start=${1/[.,]/} now=${EPOCHREALTIME/[.,]/}
    local tenths=$(((now - start) / 100000))
    printf '%d.%d' $((tenths / 10)) $((tenths % 10))
}

# step LOG TEXT COMMAND...: runs COMMAND with its output in build/logs/LOG.log and prints one line with the time it took.
# On failure the end of the log follows and the command's exit code is returned.
step() {
    local log="$logs/$1.log" text=$2 start=$EPOCHREALTIME result=0
    shift 2
    mkdir -p "$logs"
    printf '  %-66s ' "$text"
    "$@" >"$log" 2>&1 </dev/null || result=$?
    if ((result == 0)); then
        printf '%6s s\n' "$(seconds_since "$start")"
        return 0
    fi
    printf 'FAILED after %s s\n' "$(seconds_since "$start")"
    tail -n "${STEP_TAIL:-40}" "$log" | sed 's/^/    | /' >&2
    warn "    The whole log: $log"
    return "$result"
}

# unchanged STAMP TEXT: whether STAMP holds exactly TEXT, so that a step can be left out.
unchanged() { [[ -f $1 && $(<"$1") == "$2" ]]; }
