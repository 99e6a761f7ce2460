# Runs Windows programs of either bitness: loader, prefix, virtual display.
# shellcheck shell=bash
# shellcheck source=scripts/common.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/common.sh"

# Where wine lies; nothing else knows it. Debian 12 and 13 have a loader for each architecture in a folder of their own, later
# releases have one for both, beside the libraries.
wineFolder=/usr/lib/wine
wineLibraries=/usr/lib/x86_64-linux-gnu/wine

has_joint_loader() { [[ ! -x $wineFolder/wine64 && -x $wineLibraries/wine ]]; }

wine_loader() {
    [[ $1 == x86 || $1 == x64 ]] || die "unknown architecture $1"
    if has_joint_loader; then
        printf '%s' "$wineLibraries/wine"
    elif [[ $1 == x86 ]]; then
        printf '%s' "$wineFolder/wine"
    else
        printf '%s' "$wineFolder/wine64"
    fi
}

wine_server() {
    if has_joint_loader; then
        printf '%s' "$wineLibraries/wineserver"
    else
        printf '%s' "$wineFolder/wineserver"
    fi
}

# Where the interface compiler finds the platform's interface files and type libraries.
wine_interfaces() { printf '/usr/include/wine/wine/windows'; }
wine_type_libraries() { printf '%s' "$wineLibraries/x86_64-windows"; }

# The system directory of the given bitness, as a 64-bit program names it: both are in one 64-bit prefix.
wine_system_directory() {
    if [[ $1 == x86 ]]; then printf 'syswow64'; else printf 'system32'; fi
}

# system_program ARCHITECTURE NAME: a program of the platform, of that bitness whichever loader starts it.
system_program() { printf 'C:\\windows\\%s\\%s' "$(wine_system_directory "$1")" "$2"; }

# A joint loader may have come without the 32-bit libraries.
has_32_bit_wine() { [[ -x $(wine_loader x86) ]] && { ! has_joint_loader || [[ -d $wineLibraries/i386-windows ]]; }; }

# use_prefix DIRECTORY: the environment of every wine program.
use_prefix() {
    export WINEPREFIX=$1
    # No downloads of .NET or an HTML engine, no menu entries in the user's desktop.
    export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
    export WINEDEBUG="${WINEDEBUG:--all}"
    unset WINEARCH WINELOADER WINESERVER
}

# What is built lies on a drive of its own. Wine's COM starts no program whose registered command has more than 260 characters,
# and a checkout may lie deep.
buildDrive=K:

# What a prefix was made with; another wine, 32-bit wine added later, or other settings call for a new one.
prefix_identity() {
    stat -c '%n %s %Y' "$(wine_loader x86)" "$(wine_loader x64)" "$(wine_server)" 2>/dev/null || true
    echo "without a debugger, with symbols, $buildDrive $build"
}

prefix_is_ready() { unchanged "$WINEPREFIX/.kandora-ready" "$(prefix_identity)"; }

# All prefixes are copies of this one: making one takes long and much room.
templatePrefix="$build/wine"

make_template() {
    local loader
    loader=$(wine_loader x64)
    stop_wineserver
    rm -rf "$WINEPREFIX"
    mkdir -p "$WINEPREFIX" &&
        WINEARCH=win64 timeout -k 10 600 "$loader" wineboot.exe -i &&
        do_without_debugger &&
        unmanage_windows &&
        give_symbols &&
        timeout -k 10 120 "$(wine_server)" -w || return
    [[ -f $WINEPREFIX/system.reg && -f $WINEPREFIX/drive_c/windows/system32/regsvr32.exe ]] || return
    ! has_32_bit_wine || [[ -f $WINEPREFIX/drive_c/windows/syswow64/regsvr32.exe ]] || return
    prefix_identity >"$WINEPREFIX/.kandora-ready"
}

# The buttons of title bars are letters of a symbol font. Not every wine looks for its own fonts where its package puts them;
# the buttons then read 0, 1 and r. No other font is copied: that would change how wide texts are.
wineSymbols=/usr/share/wine/fonts/marlett.ttf
give_symbols() {
    local folder
    folder=$(find "$WINEPREFIX/drive_c/windows" -maxdepth 1 -type d -iname fonts -print -quit) || return
    [[ ! -f $wineSymbols || -z $folder ]] || cp -- "$wineSymbols" "$folder/"
}

# The virtual display has no window manager, and wine would wait two seconds for one whenever a window closes.
unmanage_windows() {
    timeout -k 10 120 "$(wine_loader x64)" reg.exe add 'HKCU\Software\Wine\X11 Driver' /v Managed /t REG_SZ /d N /f
}

# Without a debugger, a fault ends its program with an exit code of its own and one line that tells it. With one, both would end
# the program, and its exit code would be 0 as often as not.
do_without_debugger() {
    local view
    for view in 32 64; do
        timeout -k 10 120 "$(wine_loader x64)" reg.exe add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' \
            /v Debugger /t REG_SZ /d '' /f "/reg:$view" || return
    done
}

# Makes the prefix that the others are copied from unless it is complete. Needs a display. Callers in parallel wait for the
# first one.
ensure_template() {
    local WINEPREFIX=$templatePrefix attempt result=1 lock
    use_prefix "$templatePrefix"
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
            if make_template {lock}>&-; then
                result=0
                break
            fi
        done
    fi
    exec {lock}>&-
    return "$result"
}

# copy_template FOLDER: Windows' own programs and libraries, which nobody writes to, are the template's files under a second
# name: a copy takes a moment and next to no room. All else is copied.
copy_template() {
    local copy="$1.new"
    rm -rf "$copy" &&
        { cp -al -- "$templatePrefix" "$copy" 2>/dev/null || { rm -rf "$copy" && cp -a -- "$templatePrefix" "$copy"; }; } &&
        (cd "$templatePrefix" && find . -type f ! \( -path './drive_c/windows/*' \( -iname '*.dll' -o -iname '*.exe' \
            -o -iname '*.drv' -o -iname '*.sys' -o -iname '*.tlb' -o -iname '*.ocx' -o -iname '*.nls' \) \) -print0 |
            xargs -0 cp -a --parents --remove-destination -t "$copy") &&
        ln -sfn -- "$build" "$copy/dosdevices/${buildDrive,,}" &&
        rm -rf "$1" &&
        mv -T -- "$copy" "$1"
}

# Makes the prefix in WINEPREFIX unless it is complete. Needs a display when there is no template yet.
ensure_prefix() {
    local lock
    prefix_is_ready && return
    ensure_template && mkdir -p "$(dirname -- "$WINEPREFIX")" || return
    exec {lock}>"$WINEPREFIX.lock"
    flock "$lock"
    if ! prefix_is_ready; then
        stop_wineserver
        copy_template "$WINEPREFIX"
    fi
    exec {lock}>&-
    prefix_is_ready
}

processorLock=

# use_one_processor: what this shell starts from here on runs on one processor, the one that the fewest shells have taken in
# this way. Programs and wine's server wait for each other with every call; when both are on the same processor, calls take a
# quarter of the time and of the work. What must run at the same time has KANDORA_PROCESSORS=all.
use_one_processor() {
    local folder="$build/processors" range slot allowed=()
    [[ ${KANDORA_PROCESSORS:-one} == one ]] || return 0
    for range in $(taskset -cp $$ | sed 's/.*: //; s/,/ /g'); do
        mapfile -t -O "${#allowed[@]}" allowed < <(seq "${range%-*}" "${range#*-}")
    done
    mkdir -p "$folder"
    for ((slot = 0; ; slot++)); do
        exec {processorLock}>"$folder/$slot"
        ! flock -n "$processorLock" || break
        exec {processorLock}>&-
    done
    taskset -cp "${allowed[slot % ${#allowed[@]}]}" $$ >/dev/null
}

# Unlocked, not closed: whatever is still running keeps the file open.
leave_processor() { [[ -z $processorLock ]] || flock -u "$processorLock"; }

# begin_session FOLDER: a Windows session with a fresh prefix in FOLDER and a display of its own, until end_session.
begin_session() {
    use_one_processor
    use_prefix "$1"
    stop_wineserver
    rm -rf "$WINEPREFIX"
    start_display && ensure_prefix && hold_session
}

end_session() {
    stop_wineserver
    stop_display
    rm -rf "$WINEPREFIX" "$WINEPREFIX.lock"
    leave_processor
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
    "$loader" "$(system_program x64 cmd.exe)" /c pause <"$fifo" >/dev/null 2>&1 {input}>&- &
    # When a second program has run, the services are there; this one asks for the desktop, which has a process as well.
    "$loader" "$(system_program x64 rundll32.exe)" user32.dll,GetDesktopWindow </dev/null >/dev/null 2>&1 {input}>&- || true
}

stop_wineserver() {
    [[ -d $WINEPREFIX && -x $(wine_server) ]] || return 0
    timeout -k 5 60 "$(wine_server)" -k >/dev/null 2>&1 || true
}

displayPid=

# Starts an X server of our own and sets DISPLAY. The server picks the number itself, so parallel starts cannot collide;
# it also ends when this shell is killed.
start_display() {
    local number descriptor said
    said=$(mktemp)
    exec {descriptor}< <(exec setpriv --pdeathsig TERM \
        Xvfb -displayfd 1 -screen 0 1280x1024x24 -dpi 96 -nolisten tcp -noreset 2>"$said")
    displayPid=$!
    # On a machine that is busy enough, a minute was not enough.
    if ! read -r -t 600 number <&"$descriptor"; then
        exec {descriptor}<&-
        warn "Xvfb did not start. $(<"$said")"
        rm -f "$said"
        return 1
    fi
    exec {descriptor}<&-
    rm -f "$said"
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
    if [[ $path == "$build"/* ]]; then
        path=$buildDrive${path#"$build"}
    else
        path=Z:$path
    fi
    printf '%s' "${path//\//\\}"
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
        program=$(system_program "$architecture" "$program")
    fi
    if [[ -z $displayPid ]]; then
        exec "$(wine_loader "$architecture")" "$program" "$@"
    fi
    "$(wine_loader "$architecture")" "$program" "$@" || result=$?
    return "$result"
}
