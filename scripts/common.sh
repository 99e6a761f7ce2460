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

# Where a command knows how many steps it has, each says which one it is.
stepsTotal=0
stepNumber=0

# begin_step TEXT: the beginning of a step's line.
begin_step() {
    local text=$1
    if ((stepsTotal > 0)); then
        stepNumber=$((stepNumber + 1))
        text="$stepNumber of $stepsTotal: $text"
    fi
    printf '  %-66s ' "$text"
}

# end_step LOG START RESULT: the line's end. On failure the end of the log follows, and RESULT is returned.
end_step() {
    local log=$1 start=$2 result=$3
    if ((result == 0)); then
        printf '%6s s\n' "$(seconds_since "$start")"
        return 0
    fi
    printf 'FAILED after %s s\n' "$(seconds_since "$start")"
    tail -n "${STEP_TAIL:-40}" "$log" | sed 's/^/    | /' >&2
    warn "    The whole log: $log"
    return "$result"
}

# step LOG TEXT COMMAND...: runs COMMAND with its output in build/logs/LOG.log and prints one line with the time it took.
# On failure the end of the log follows and the command's exit code is returned.
step() {
    local log="$logs/$1.log" start=$EPOCHREALTIME result=0
    mkdir -p "$logs"
    begin_step "$2"
    shift 2
    "$@" >"$log" 2>&1 </dev/null || result=$?
    end_step "$log" "$start" "$result"
}

# build_step LOG TEXT COMMAND...: a step whose output has lines like "[1/20] ...". While it runs, they show how far it is: in
# place on a terminal, elsewhere once for each quarter. COMMAND runs in a shell of its own.
build_step() {
    local log="$logs/$1.log" start=$EPOCHREALTIME result=0 process made all quarter=1 before
    local pauses=(0.02 0.05 0.1 0.2 0.5) looks=0
    mkdir -p "$logs"
    before=$(begin_step "$2")
    ((stepsTotal == 0)) || stepNumber=$((stepNumber + 1))
    shift 2
    : >"$log"
    "$@" >"$log" 2>&1 </dev/null &
    process=$!
    [[ ! -t 1 ]] || printf '%s ' "$before"
    while kill -0 "$process" 2>/dev/null; do
        # Short pauses first, so that a short command is not held up.
        sleep "${pauses[looks < 4 ? looks : 4]}"
        looks=$((looks + 1))
        read -r made all < <(tail -c 4000 "$log" | sed -n 's|^\[\([0-9]*\)/\([0-9]*\)\].*|\1 \2|p' | tail -n 1) || continue
        if [[ -t 1 ]]; then
            printf '\r%s %8s' "$before" "$made/$all"
        elif ((4 * made >= quarter * all && made < all)); then
            ((quarter > 1)) || printf '%s\n' "$before"
            printf '    %d of %d done\n' "$made" "$all"
            quarter=$((4 * made / all + 1))
        fi
    done
    wait "$process" || result=$?
    if [[ -t 1 ]]; then
        printf '\r%s%9s\r' "$before" ""
    fi
    printf '%s ' "$before"
    end_step "$log" "$start" "$result"
}

# descendants PROCESS...: what these processes have started, and what that has.
descendants() {
    sed -n 's/^\([0-9]*\) (.*) [A-Za-z] \([0-9]*\) .*/\1 \2/p' /proc/[0-9]*/stat 2>/dev/null | awk -v from="$*" '
        { parent[$1] = $2 }
        END {
            for (at = split(from, names, " "); at > 0; at--) is[names[at]] = 1
            for (process in parent) {
                for (one = parent[process]; one in parent && !(one in is); one = parent[one]) { }
                if (one in is) print process
            }
        }'
}

# unchanged STAMP TEXT: whether STAMP holds exactly TEXT, so that a step can be left out.
unchanged() { [[ -f $1 && $(<"$1") == "$2" ]]; }
