# Runs Windows programs of either bitness: loader, prefix, virtual display.
# shellcheck shell=bash
# shellcheck source=scripts/common.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/common.sh"

wineDirectory=/usr/lib/wine

wine_loader() {
    case $1 in
        x86) printf '%s' "$wineDirectory/wine" ;;
        x64) printf '%s' "$wineDirectory/wine64" ;;
        *) die "unknown architecture $1" ;;
    esac
}

# The system directory as a program of the given bitness must name it from outside: both live in one 64-bit prefix.
wine_system_directory() {
    if [[ $1 == x86 ]]; then printf 'syswow64'; else printf 'system32'; fi
}

has_32_bit_wine() { [[ -x $wineDirectory/wine ]]; }

# use_prefix DIRECTORY: the environment of every wine program.
use_prefix() {
    export WINEPREFIX=$1
    # No downloads of .NET or an HTML engine, no menu entries in the user's desktop.
    export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
    export WINEDEBUG="${WINEDEBUG:--all}"
    unset WINEARCH WINELOADER WINESERVER
}

# What a prefix was made with; another wine, or 32-bit wine added later, calls for a new one.
prefix_identity() {
    stat -c '%n %s %Y' "$wineDirectory"/{wine,wine64,wineserver64} 2>/dev/null || true
}

prefix_is_ready() { unchanged "$WINEPREFIX/.kandora-ready" "$(prefix_identity)"; }

make_prefix() {
    local loader
    loader=$(wine_loader x64)
    stop_wineserver
    rm -rf "$WINEPREFIX"
    mkdir -p "$WINEPREFIX" &&
        WINEARCH=win64 timeout -k 10 600 "$loader" wineboot.exe -i &&
        timeout -k 10 120 "$loader" reg.exe add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f &&
        unmanage_windows &&
        timeout -k 10 120 "$wineDirectory/wineserver" -w || return
    [[ -f $WINEPREFIX/system.reg && -f $WINEPREFIX/drive_c/windows/system32/regsvr32.exe ]] || return
    ! has_32_bit_wine || [[ -f $WINEPREFIX/drive_c/windows/syswow64/regsvr32.exe ]] || return
    prefix_identity >"$WINEPREFIX/.kandora-ready"
}

# The virtual display has no window manager, and wine would wait two seconds for one whenever a window closes.
unmanage_windows() {
    timeout -k 10 120 "$(wine_loader x64)" reg.exe add 'HKCU\Software\Wine\X11 Driver' /v Managed /t REG_SZ /d N /f
}

# Makes the prefix in WINEPREFIX unless it is complete. Needs a display. Callers in parallel wait for the first one.
ensure_prefix() {
    local attempt result=1 lock
    prefix_is_ready && return
    mkdir -p "$(dirname -- "$WINEPREFIX")"
    exec {lock}>"$WINEPREFIX.lock"
    flock "$lock"
    if prefix_is_ready; then
        result=0
    else
        for attempt in 1 2; do
            echo "Making the wine prefix $WINEPREFIX, attempt $attempt"
            # The wine server outlives this call and must not inherit the lock.
            if make_prefix {lock}>&-; then
                result=0
                break
            fi
        done
    fi
    exec {lock}>&-
    return "$result"
}

# Keeps the services of WINEPREFIX running until stop_wineserver. Otherwise the first program of a session would start them
# and hand them its output, and whoever reads that output would wait until they have gone down again.
hold_session() {
    local fifo="$WINEPREFIX/.hold" input loader
    loader=$(wine_loader x64)
    rm -f "$fifo"
    mkfifo "$fifo"
    # The other end stays open in this shell: when the shell dies, however it dies, the session ends.
    exec {input}<>"$fifo"
    "$loader" cmd.exe /c pause <"$fifo" >/dev/null 2>&1 {input}>&- &
    # When a second program has run, the services are there; this one asks for the desktop, which has a process as well.
    "$loader" rundll32.exe user32.dll,GetDesktopWindow </dev/null >/dev/null 2>&1 {input}>&- || true
}

stop_wineserver() {
    [[ -d $WINEPREFIX && -x $wineDirectory/wineserver ]] || return 0
    timeout -k 5 60 "$wineDirectory/wineserver" -k >/dev/null 2>&1 || true
}

displayPid=

# Starts an X server of our own and sets DISPLAY. The server picks the number itself, so parallel starts cannot collide;
# it also ends when this shell is killed.
start_display() {
    local number descriptor
    exec {descriptor}< <(exec setpriv --pdeathsig TERM \
        Xvfb -displayfd 1 -screen 0 1280x1024x24 -dpi 96 -nolisten tcp -noreset 2>/dev/null)
    displayPid=$!
    if ! read -r -t 60 number <&"$descriptor"; then
        exec {descriptor}<&-
        warn "Xvfb did not start."
        return 1
    fi
    exec {descriptor}<&-
    export DISPLAY=":$number"
}

stop_display() {
    [[ -n $displayPid ]] || return 0
    kill "$displayPid" 2>/dev/null || true
    wait "$displayPid" 2>/dev/null || true
    displayPid=
}

# windows_path FILE: the absolute path as Windows programs see it.
windows_path() {
    local path
    path=$(realpath -ms -- "$1")
    printf '%s' "Z:${path//\//\\}"
}

# run_windows ARCHITECTURE PROGRAM ARGUMENT...: replaces the shell by the program when a display is there; otherwise runs it
# on a display of its own. A bare name such as regsvr32.exe means the system's program of that bitness.
run_windows() {
    local architecture=$1 program=$2 result=0
    shift 2
    use_prefix "${WINEPREFIX:-$build/$architecture/wine}"
    if [[ ! -x $(wine_loader "$architecture") ]]; then
        die "$(wine_loader "$architecture") is not installed; './dev setup' installs it."
    fi
    if [[ -z ${DISPLAY:-} ]]; then
        trap stop_display EXIT
        trap 'exit 129' HUP
        trap 'exit 130' INT
        trap 'exit 143' TERM
        start_display
    fi
    ensure_prefix >&2
    if [[ $program != */* && $program != *\\* && ! -e $program ]]; then
        program="C:\\windows\\$(wine_system_directory "$architecture")\\$program"
    fi
    if [[ -z $displayPid ]]; then
        exec "$(wine_loader "$architecture")" "$program" "$@"
    fi
    "$(wine_loader "$architecture")" "$program" "$@" || result=$?
    return "$result"
}
