# The commands on a new machine of another release: a minimal system in a folder, from this machine's own package sources.
# shellcheck shell=bash
# shellcheck source=scripts/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/setup.sh"

elsewhere="$build/elsewhere"
# In MB: what the system takes with everything built in it.
elsewhereRoom=8000

# machine_sources ETC: the lines "ADDRESS SUITE" of the sources of packages whose component is main.
machine_sources() {
    local etc=$1/apt file
    for file in "$etc/sources.list" "$etc/sources.list.d"/*.list; do
        [[ ! -f $file ]] || sed -nE 's/^[ \t]*deb[ \t]+(\[[^]]*\][ \t]*)?//p' "$file"
    done | awk '{ sub(/#.*/, ""); for (at = 3; at <= NF; at++) if ($at == "main") print $1, $2 }'
    for file in "$etc/sources.list.d"/*.sources; do
        [[ ! -f $file ]] || { sed '/^#/d' "$file" && echo; }
    done | awk '
        function finish(   u, s) {
            if ((" " value["types:"] " ") ~ / deb / && (" " value["components:"] " ") ~ / main / && value["enabled:"] !~ /no|false/)
                for (u = split(value["uris:"], uri, " "); u > 0; u--)
                    for (s = split(value["suites:"], suite, " "); s > 0; s--) print uri[u], suite[s]
            split("", value)
        }
        /^[ \t]*$/ { finish(); next }
        /^[^ \t]/ { field = tolower($1); $1 = "" }
        { value[field] = value[field] " " $0 }
        END { finish() }'
}

# A list of mirrors stands for the first one on it.
first_mirrors() {
    local address suite
    while read -r address suite; do
        case $address in
            mirror+file:*) address=$(grep -m 1 -oE '^[a-z]+:[^[:space:]]+' "${address#mirror+file:}") || continue ;;
        esac
        say "$address" "$suite"
    done
}

# release_sources RELEASE OWN: of the machine's sources on stdin those of a Debian release, for RELEASE instead of its OWN.
release_sources() { first_mirrors | sed -nE "s/ ($2|stable|oldstable|testing)(-updates|-security)?\$/ $1\\2/p" | sort -u; }

# What apt needs to reach the sources as this machine reaches them: proxies, certificates, names, keys.
copy_access() {
    local system=$1 path
    apt-config dump | grep -E '^Acquire::' | grep -vE '^Acquire::(IndexTargets|Changelogs)' >"$system/etc/apt/apt.conf.d/99machine"
    # Certificates that the configuration names lie where it says.
    while read -r path; do
        [[ ! -f $path ]] || install -D -m 644 "$path" "$system$path"
    done < <(grep -oE '"/[^"]+"' "$system/etc/apt/apt.conf.d/99machine" | tr -d '"')
    for path in /etc/apt/auth.conf /etc/apt/auth.conf.d /etc/apt/trusted.gpg.d /etc/ssl/certs/ca-certificates.crt \
        /usr/local/share/ca-certificates /etc/resolv.conf /etc/hosts; do
        if [[ -d $path ]]; then
            mkdir -p "$system$path" && cp -RL "$path/." "$system$path"
        elif [[ -f $path ]]; then
            mkdir -p "$(dirname "$system$path")" && cp -L --remove-destination "$path" "$system$path"
        fi || return
    done
}

# make_system RELEASE SYSTEM: a system like a new machine's; made once, later only unpacked.
make_system() {
    local release=$1 system=$2 base="$elsewhere/$1.tar.gz" mirror
    mirror=$(awk -v suite="$release" '$2 == suite { print $1; exit }' "$elsewhere/$release.sources")
    mkdir -p "$system"
    if [[ -f $base ]]; then
        tar -C "$system" -xzpf "$base" || return
    else
        eval "$(apt-config shell http_proxy Acquire::http::Proxy https_proxy Acquire::https::Proxy)" &&
            export http_proxy https_proxy &&
            debootstrap --variant=minbase "$release" "$system" "$mirror" &&
            tar -C "$system" -czf "$base.new" . && mv "$base.new" "$base" || return
    fi
    sed 's/.*/deb & main/' "$elsewhere/$release.sources" >"$system/etc/apt/sources.list" && copy_access "$system"
}

# What a running system has from its kernel. In a namespace of our own: no mount outlives it, nobody else sees one.
mount_kernel() {
    local system=$1
    mount -t proc proc "$system/proc" &&
        mount -t sysfs -o ro sysfs "$system/sys" &&
        mount -t devpts -o newinstance,mode=620,ptmxmode=666 devpts "$system/dev/pts" &&
        mount -t tmpfs -o mode=1777 shm "$system/dev/shm"
}

# The checkout as it is committed, whoever owns it.
clone_checkout() {
    git -c safe.directory='*' -C "$root" bundle create "$1/root/kandora.bundle" HEAD &&
        git clone "$1/root/kandora.bundle" "$1/root/kandora"
}

# run_there SYSTEM COMMAND...: ./dev COMMAND... as root of the system; warnings of its compiler are errors.
run_there() {
    local system=$1 name access=()
    for name in http_proxy https_proxy no_proxy; do
        [[ -z ${!name:-} ]] || access+=("$name=${!name}")
    done
    shift
    chroot "$system" /usr/bin/env -i "${access[@]}" HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin TERM=dumb CI=true \
        /root/kandora/dev "$@"
}

# elsewhere_inside RELEASE COMMAND...: in namespaces of its own.
elsewhere_inside() {
    local release=$1 system="$elsewhere/$1/system" command result=0
    logs="$elsewhere/$release"
    shift
    step system "Make a minimal system of $release" make_system "$release" "$system"
    step mounts "Mount what the kernel has to say" mount_kernel "$system"
    step clone "Clone the checkout" clone_checkout "$system"
    for command in "$@"; do
        # shellcheck disable=SC2086 # a command and its arguments
        step "$command" "./dev $command" run_there "$system" $command || result=1
        tail -n 1 "$logs/$command.log"
        rm -rf "${logs:?}/$command"
        cp -R "$system/root/kandora/build/logs" "$logs/$command" 2>/dev/null || true
    done
    return "$result"
}

elsewherePid=
elsewhereSystem=

# Whatever ended it, the processes go first, with them the mounts, and then the folder.
leave_elsewhere() {
    trap '' HUP INT TERM
    if [[ -n $elsewherePid ]]; then
        kill -KILL "$elsewherePid" 2>/dev/null || true
        wait "$elsewherePid" 2>/dev/null || true
    fi
    [[ -z $elsewhereSystem ]] || rm -rf --one-file-system "$elsewhereSystem"
}

# Free room in MB beside the checkout.
free_room() { df --output=avail -m "$build" | tail -n 1 | tr -d ' '; }

run_elsewhere() {
    local release=${1:-} own commands result=0 start=$EPOCHREALTIME changes
    [[ $release =~ ^[a-z]+$ ]] || die "which release? './dev elsewhere trixie' tries ./dev demo and ./dev test on Debian 13."
    shift
    commands=("$@")
    (($# > 0)) || commands=(demo test)
    (($(id -u) == 0)) || die "'elsewhere' makes a system in a folder and enters it: it needs root."
    own=$(release_codename)
    mkdir -p "$elsewhere"
    machine_sources /etc | release_sources "$release" "$own" >"$elsewhere/$release.sources"
    grep -q " $release\$" "$elsewhere/$release.sources" ||
        die "this machine has no package sources of a Debian release (/etc/apt/sources.list and sources.list.d)."
    exec {elsewhereLock}>"$elsewhere/$release.lock"
    flock -n "$elsewhereLock" || die "another ./dev elsewhere $release is running."
    ensure_packages "Install debootstrap" setup-elsewhere debootstrap
    trap leave_elsewhere EXIT
    elsewhereSystem="$elsewhere/$release/system"
    rm -rf --one-file-system "${elsewhere:?}/$release"
    (($(free_room) >= elsewhereRoom)) || die "less than $elsewhereRoom MB are free on the disk of $build."
    changes=$(git -c safe.directory='*' -C "$root" status --short)
    [[ -z $changes ]] || warn "Not committed and therefore not tried:"$'\n'"$changes"
    say "Logs: $elsewhere/$release"
    # shellcheck disable=SC2016 # what the inner shell puts in
    # It ends with us, its processes with it, and the mounts with the last of them.
    setpriv --pdeathsig KILL unshare --mount --propagation private --pid --kill-child=KILL \
        bash -euo pipefail -c 'source "$0" && elsewhere_inside "$@"' "$root/scripts/elsewhere.sh" "$release" "${commands[@]}" \
        {elsewhereLock}>&- &
    elsewherePid=$!
    wait "$elsewherePid" || result=$?
    elsewherePid=
    say "$release: $( ((result == 0)) && echo passed || echo failed) after $(seconds_since "$start") s"
    return "$result"
}
