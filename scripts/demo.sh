# A year of the sample client through the component, with both stand-ins, in a Windows session of its own.
# shellcheck shell=bash

demo="$build/demo"
demoInstall="$demo/Kandora"
demoStore="$demo/Archiv"
demoClient="$demo/Muster AG.json"
demoReport="$demo/Bericht.json"
demoPicture="$demo/Archiv.png"
demoArchiveLog="$logs/demo-archive-program.log"
archivePid=

demo_run() { "$(wine_loader "$demoArchitecture")" "$@"; }

demo_tool() { demo_run "C:\\windows\\$(wine_system_directory "$demoArchitecture")\\$1" "${@:2}"; }

# What an administrator copies to a workstation, with the settings of the sample archive.
install_files() {
    local bin="$build/$demoArchitecture/bin"
    # Each run starts with an empty archive and an untouched client; only the Windows session is kept.
    find "$demo" -mindepth 1 -maxdepth 1 ! -name wine ! -name wine.lock -exec rm -rf {} + &&
        mkdir -p "$demoInstall" &&
        cp "$bin/Kandora.dll" "$bin/Platzhalter.pdf" "$demoInstall" &&
        demo_run "$bin/ArchiveSimulator.exe" --create-sample-store "$(windows_path "$demoStore")" &&
        python3 "$root/scripts/fill_ini.py" "$bin/Kandora.ini.template" "$demoStore/archiv.json" \
            "$demoInstall/Kandora.ini" --folder Buchhaltung --printer-file "$(windows_path "$demo/Druck.pdf")"
}

register_component() {
    demo_tool regsvr32.exe /s "$(windows_path "$demoInstall/Kandora.dll")" &&
        demo_tool reg.exe query 'HKCR\Kandora.ELOProvider\CLSID'
}

register_simulators() {
    local bin="$build/$demoArchitecture/bin"
    demo_run "$bin/ArchiveSimulator.exe" --register --store "$(windows_path "$demoStore")" &&
        demo_run "$bin/HostSimulator.exe" --register
}

# Started by hand, as a person would.
start_archive() {
    demo_run "$build/$demoArchitecture/bin/ArchiveSimulator.exe" --store "$(windows_path "$demoStore")" \
        >"$demoArchiveLog" 2>&1 </dev/null &
    archivePid=$!
    wait_until "the archive is ready" archive_ready && wait_until "the archive answers" archive_answers
}

archive_ready() {
    if ! kill -0 "$archivePid" 2>/dev/null; then
        cat "$demoArchiveLog"
        return 2
    fi
    grep -qs '^Bereit: ' "$demoArchiveLog" || return 1
}

# Asks COM for the class as any script would. A script error of cscript leaves its exit code 0, hence the last line.
archive_answers() {
    printf '%s\r\n' 'Set archive = CreateObject("ELO.professional")' 'WScript.Echo "answers"' >"$demo/probe.vbs"
    [[ $(demo_tool cscript.exe //nologo "$(windows_path "$demo/probe.vbs")" 2>/dev/null) == answers* ]]
}

# wait_until TEXT CONDITION: asks again until CONDITION holds; gives up when it returns 2 or after two minutes.
wait_until() {
    local limit=$((SECONDS + 120)) result
    while true; do
        result=0
        "$2" || result=$?
        ((result != 0)) || return 0
        if ((result == 2 || SECONDS > limit)); then
            echo "Waited in vain until $1."
            return 1
        fi
        sleep 0.1
    done
}

run_year() {
    # Through a pipe wine leaves the terminal alone.
    demo_run "$build/$demoArchitecture/bin/HostSimulator.exe" \
        --client "$(windows_path "$root/simulators/clients/Muster AG.json")" --client-copy "$(windows_path "$demoClient")" \
        --year --table --store "$(windows_path "$demoStore")" --answer-boxes \
        --report "$(windows_path "$demoReport")" 2>&1 </dev/null | tr -d '\r' | tee "$logs/demo-year.log"
}

# A picture of the archive's window with the debtors' folder open and its first entry chosen.
take_picture() {
    local before now entry
    before=$(display_signature) &&
        entry=$(find "$demoStore/Ordner" -path '*/Debi/*' -name '[0-9]*.json' -printf '%f\n' | sort -n | head -n 1) &&
        demo_tool cscript.exe //nologo "$(windows_path "$root/scripts/show_entry.vbs")" \
            Kandora geheim Muster-Archiv "${entry%.json}" | grep '^shown' || return
    drawn() { [[ $(display_signature) != "$before" ]]; }
    settled() { now=$(display_signature) && sleep 0.3 && [[ $(display_signature) == "$now" ]]; }
    wait_until "the window is drawn" drawn && wait_until "the picture stands still" settled &&
        import -window root -trim +repage "$demoPicture"
}

display_signature() { import -window root rgb:- | cksum; }

stop_archive() {
    demo_run "$build/$demoArchitecture/bin/ArchiveSimulator.exe" --stop --store "$(windows_path "$demoStore")" &&
        wait_until "the archive has ended" archive_ended
}

archive_ended() { ! kill -0 "$archivePid" 2>/dev/null; }

run_demo() {
    local demoArchitecture=x86 start=$EPOCHREALTIME result=0
    has_32_bit_wine || demoArchitecture=x64
    mkdir -p "$demo"
    begin_wine "$demo/wine"
    use_prefix "$demo/wine"
    step demo-install "Install into build/demo/Kandora, with an empty archive" install_files
    step demo-register "Register the component (regsvr32)" register_component
    step demo-simulators "Register the stand-ins for archive and accounting" register_simulators
    step demo-archive "Start the archive" start_archive
    say ""
    say "A year of the sample client, $demoArchitecture component:"
    run_year || result=$?
    say ""
    step demo-picture "Take a picture of the archive's window" take_picture || demoPicture="none, see above"
    step demo-stop "Close the archive" stop_archive
    ((result == 0)) || die "The year did not go through (exit code $result)."
    say ""
    say "The archive's store, folder by folder:  $demoStore/Ordner"
    say "Its window after the run:               $demoPicture"
    say "Every request with its answer:          $demoReport"
    say "The installed component:                $demoInstall"
    say "The whole demonstration took $(seconds_since "$start") s."
}
