# Installs what the machine lacks. Asks dpkg each time: a stamp would not notice a removed package.
# shellcheck shell=bash
# shellcheck source=scripts/common.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/common.sh"

packagesBuild=(cmake ninja-build g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix mingw-w64-tools libwine-dev
    nlohmann-json3-dev libcli11-dev googletest python3 python3-markdown python3-yaml msitools gcab osslsigncode openssl)
packagesWine64=(wine wine64 fonts-wine fonts-liberation fonts-dejavu-core)
packagesWine32=(wine32:i386)
packagesDisplay=(xvfb xauth xdotool imagemagick)
packagesBrowser=(chromium)
packagesLint=(shellcheck flake8 yamllint msitools gcab)
# The first is the reference, which Debian 12 and 13 both have. The others are for systems that lack it: they format alike.
clangVersions=(22 19)
packagesCoverage=(gcovr)

# There while 32-bit wine cannot be installed; the next attempt is made after an hour.
no32BitWine="$build/no-32-bit-wine"

aptDirectory="$build/apt"
aptListsFresh=
aptFilteredListsFresh=

# missing_packages NAME[:ARCH]...: prints those that are not installed, one per line.
missing_packages() {
    dpkg-query -W -f='${Package} ${Architecture} ${db:Status-Status}\n' 2>/dev/null |
        awk -v wanted="$*" -v native="$(dpkg --print-architecture)" '
            $3 == "installed" { have[$1 ":" $2] = 1; if ($2 == native || $2 == "all") have[$1] = 1 }
            END { n = split(wanted, names, " "); for (i = 1; i <= n; i++) if (!(names[i] in have)) print names[i] }'
}

as_root() {
    if (($(id -u) == 0)); then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        warn "Packages are missing, and installing them needs root or sudo."
        return 1
    fi
}

apt() { as_root env DEBIAN_FRONTEND=noninteractive apt-get -y -q -o DPkg::Lock::Timeout=600 "$@"; }

# Copies the machine's own package sources to DIRECTORY without the security suite.
# The security suite's index of a foreign architecture at times lags behind the others; its native packages are then newer
# than their i386 twins, which makes wine32 uninstallable. Without that suite both architectures agree.
copy_sources_without_security() {
    local directory=$1 file
    rm -rf "$directory"
    mkdir -p "$directory"
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        [[ -f $file ]] || continue
        awk '/^[ \t]*deb/ {
                line = $0
                sub(/^[ \t]*deb(-src)?[ \t]+(\[[^]]*\][ \t]*)?/, "", line)
                split(line, part, /[ \t]+/)
                if (part[2] ~ /-security|\/updates/) next
                print
            }' "$file" >"$directory/$(basename -- "$file" .list)-list.list"
    done
    for file in /etc/apt/sources.list.d/*.sources; do
        [[ -f $file ]] || continue
        awk 'function finish() { if (stanza != "" && suites != "") printf "%s\n", stanza; stanza = ""; suites = "" }
            /^[ \t]*$/ { finish(); next }
            /^#/ { next }
            /^[^ \t]/ { field = tolower($1) }
            field == "suites:" {
                line = $0
                sub(/^[Ss][Uu][Ii][Tt][Ee][Ss]:/, "", line)
                n = split(line, names, /[ \t]+/)
                for (i = 1; i <= n; i++) {
                    if (names[i] == "" || names[i] ~ /-security|\/updates/) continue
                    suites = suites " " names[i]
                    stanza = stanza "Suites: " names[i] "\n"
                }
                next
            }
            { stanza = stanza $0 "\n" }
            END { finish() }' "$file" | merge_suites >"$directory/$(basename -- "$file" .sources)-sources.sources"
    done
}

# A stanza may name its suites over several lines; apt wants the field once.
merge_suites() {
    awk '/^Suites:/ { suites = suites " " $2; next }
        /^$/ { if (suites != "") print "Suites:" suites; suites = ""; print; next }
        { print }'
}

apt_update() {
    # A stale index of one suite must not end the setup: installing shows whether the packages can be had.
    [[ -n $aptListsFresh ]] || apt update || warn "apt-get update reported errors; going on with the lists at hand."
    aptListsFresh=yes
}

# apt_filtered COMMAND...: apt-get with the filtered sources and package lists of its own.
apt_filtered() {
    apt -o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts="$aptDirectory/sources" \
        -o Dir::State::Lists="$aptDirectory/lists" -o APT::Sandbox::User=root "$@"
}

apt_filtered_update() {
    [[ -z $aptFilteredListsFresh ]] || return 0
    mkdir -p "$aptDirectory/lists/partial" &&
        copy_sources_without_security "$aptDirectory/sources" || return
    apt_filtered update || warn "apt-get update reported errors; going on with the lists at hand."
    aptFilteredListsFresh=yes
}

# install_packages NAME...: first from the machine's sources as they are, then without the security suite, at last with
# permission to replace security versions of libraries by those of the base suite. Never removes a package.
install_packages() {
    local plain=(--no-install-recommends --no-remove install "$@")
    apt_update
    apt "${plain[@]}" && return
    warn "Trying again without the security suite."
    apt_filtered_update && apt_filtered "${plain[@]}" && return
    warn "Trying again without the security suite and with downgrades."
    printf 'Package: *\nPin: release n=%s*\nPin-Priority: 1001\n' "$(release_codename)" >"$aptDirectory/preferences"
    apt_filtered -o Dir::Etc::preferences="$aptDirectory/preferences" --allow-downgrades "${plain[@]}"
}

release_codename() { (. /etc/os-release && printf '%s' "$VERSION_CODENAME"); }

enable_i386() {
    dpkg --print-foreign-architectures | grep -qx i386 && return
    as_root dpkg --add-architecture i386
}

install_wine32() { enable_i386 && install_packages "$@"; }

# report_downgrades LOG: names the security versions that install_packages gave up, if it came to that.
report_downgrades() {
    local names
    names=$(sed -n '/^The following packages will be DOWNGRADED:/,/^[^ ]*[0-9]* upgraded/{/^  /p}' "$logs/$1.log" |
        tr -s '\n ' ' ')
    [[ -n $names ]] || return 0
    warn "  *** The package sources lack the i386 twins of security versions installed here; wine needs both alike, so"
    warn "  *** these went back to the version of the base suite:$names"
    warn "  *** 'apt-get update && apt-get upgrade' brings the security versions back once the sources have them."
}

# ensure_packages TEXT LOG NAME...: installs what is missing of the packages; silent when nothing is.
ensure_packages() {
    local text=$1 log=$2 missing
    shift 2
    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]} > 0)) || return 0
    step "$log" "$text (${#missing[@]} packages)" install_packages "${missing[@]}"
    report_downgrades "$log"
}

ensure_wine() {
    local missing
    mkdir -p "$build"
    # wine goes first, 32-bit together with 64-bit: libraries that other packages pull in from the security suite could
    # keep their i386 twins out.
    if ! has_32_bit_wine && [[ -z $(find "$no32BitWine" -mmin -60 2>/dev/null) ]]; then
        mapfile -t missing < <(missing_packages "${packagesWine32[@]}" "${packagesWine64[@]}")
        if step setup-wine "Install wine, 32 and 64 bit (${#missing[@]} packages)" install_wine32 "${missing[@]}"; then
            report_downgrades setup-wine
        else
            date >"$no32BitWine"
        fi
    fi
    ensure_packages "Install wine, 64 bit" setup-wine64 "${packagesWine64[@]}"
    if has_32_bit_wine; then
        rm -f "$no32BitWine"
    else
        warn "  *** 32-bit wine cannot be installed on this machine. Everything is built, but only the 64-bit"
        warn "  *** programs and tests are RUN. The next attempt is made after an hour; log: $logs/setup-wine.log"
    fi
    ensure_packages "Install a virtual display" setup-display "${packagesDisplay[@]}"
}

ensure_build_tools() { ensure_packages "Install compilers and build tools" setup-build "${packagesBuild[@]}"; }

# For tests that look at a page: 120 MB to fetch, so only when these are run. They fail without it and say why.
ensure_browser() {
    ensure_packages "Install a browser" setup-browser "${packagesBrowser[@]}" ||
        warn "The tests that need a browser will fail."
}

# system_fault ETC ARCHITECTURE: one sentence when a system with these files in /etc and this processor cannot work. Derived
# systems say in debian_version which Debian they stem from: a number, or "NAME/sid" before the release of that name.
system_fault() {
    local etc=$1 name version needed="this needs Debian 12 or later, or a system derived from it, on a 64-bit PC (amd64)."
    name=$(. "$etc/os-release" 2>/dev/null && printf '%s' "${PRETTY_NAME:-}") || name=
    name=${name:-This system}
    if [[ ! -f $etc/debian_version ]]; then
        say "$name is not Debian: $needed"
        return
    fi
    version=$(<"$etc/debian_version")
    if [[ $version =~ ^([0-9]+) ]] && ((BASH_REMATCH[1] < 12)) || [[ $version =~ ^(buster|bullseye|bookworm)/ ]]; then
        say "$name is too old: $needed"
    elif [[ $2 != amd64 ]]; then
        say "$name runs on another processor ($2): $needed"
    fi
}

check_system() {
    local fault
    fault=$(system_fault /etc "$(dpkg --print-architecture 2>/dev/null || uname -m)")
    [[ -z $fault ]] || die "$fault"
}
