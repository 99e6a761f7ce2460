# A year of the sample client through the component, what happens to it afterwards, and what a reconciliation says of that, with
# both stand-ins, in a Windows session of its own.
# shellcheck shell=bash

demo="$build/demo"
demoInstall="$demo/Kandora"
demoStore="$demo/Archiv"
demoClient="$demo/Muster AG.json"
demoReport="$demo/Bericht.json"
demoPrint="$demo/Druck.pdf"
demoPicture="$demo/Archiv.png"
demoDialogPicture="$demo/Auswertung.png"
demoPage="$demo/Abgleich.html"
demoArchiveLog="$logs/demo-archive-program.log"
archivePid=
demoWidth=

demo_run() { "$(wine_loader "$demoArchitecture")" "$@"; }

demo_tool() { demo_run "$(system_program "$demoArchitecture" "$1")" "${@:2}"; }

# What an administrator copies to a workstation, with an empty sample archive and settings that fit it.
install_files() {
    local bin="$build/$demoArchitecture/bin"
    # Each run starts with an empty archive and an untouched client; only the Windows session is kept.
    find "$demo" -mindepth 1 -maxdepth 1 ! -name wine ! -name wine.lock -exec rm -rf {} + &&
        mkdir -p "$demoInstall" &&
        cp "$bin/Kandora.dll" "$bin/Platzhalter.pdf" "$demoInstall" &&
        demo_run "$bin/ArchiveSimulator.exe" --create-sample-store "$(windows_path "$demoStore")" &&
        python3 "$root/scripts/fill_ini.py" "$bin/Kandora.ini.template" "$demoStore/archiv.json" \
            "$demoInstall/Kandora.ini" --folder Buchhaltung --printer-file "$(windows_path "$demoPrint")"
}

# Dates and amounts as a Swiss workstation writes them: 31.12.2026 and 1'234.50.
set_swiss_formats() {
    local file="$demo/formats.reg"
    {
        printf '%s\r\n' 'REGEDIT4' '' '[HKEY_CURRENT_USER\Control Panel\International]'
        printf '"%s"="%s"\r\n' sShortDate dd.MM.yyyy sLongDate 'dddd, d. MMMM yyyy' sDate . iDate 1 sTime : iTime 1 \
            sTimeFormat HH:mm:ss sShortTime HH:mm sDecimal . sThousand "'" sMonDecimalSep . sMonThousandSep "'" \
            sCurrency CHF iCountry 41 iMeasure 0 sList ';'
    } >"$file" &&
        demo_tool reg.exe import "$(windows_path "$file")" &&
        demo_tool reg.exe query 'HKCU\Control Panel\International' /v sShortDate | grep -F dd.MM.yyyy
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

# Asks COM for the class as any script would. The script says so itself: cscript has exit code 0 after a script error, too.
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

# Sets demoWidth to the columns of the terminal that somebody watches, or to 100 when there is none; the tables take from 80
# to 1000. Not to be called in a command substitution, where the output is no terminal.
find_width() {
    local descriptor columns
    demoWidth=100
    for descriptor in 1 2 0; do
        if [[ -t $descriptor ]] && { columns=$(stty size <&3 2>/dev/null); } 3<&"$descriptor"; then
            columns=${columns#* }
            # A terminal that does not know its size says 0.
            ((columns == 0)) || demoWidth=$((columns < 80 ? 80 : columns > 1000 ? 1000 : columns))
            return
        fi
    done
}

run_year() {
    # Through a pipe wine leaves the terminal alone.
    demo_run "$build/$demoArchitecture/bin/HostSimulator.exe" \
        --client "$(windows_path "$root/simulators/clients/Muster AG.json")" --client-copy "$(windows_path "$demoClient")" \
        --year --requests "$(windows_path "$root/simulators/clients/Aenderungen.txt")" \
        --table --width "$demoWidth" --store "$(windows_path "$demoStore")" --answer-boxes \
        --printer-file "$(windows_path "$demoPrint")" --picture-hook "$(windows_path "$demo/Auswertung")" \
        --report "$(windows_path "$demoReport")" 2>&1 </dev/null | tr -d '\r' | tee "$logs/demo-year.log"
}

# Takes a picture of the report dialog once it is filled in; it waits for that. Runs beside the year until the year ends.
photograph_dialog() {
    local ready="$demo/Auswertung.ready"
    while [[ ! -e $ready ]]; do
        kill -0 $$ 2>/dev/null || return
        sleep 0.2
    done
    wait_until "the dialog stands still" settled && import -window "Auswertung Indizieren" "$demoDialogPicture"
    touch "$demo/Auswertung.done"
}

# A picture of the archive's window with the entry that it showed last.
take_picture() {
    demo_tool cscript.exe //nologo "$(windows_path "$root/scripts/show_archive.vbs")" \
        Kandora geheim Muster-Archiv | grep '^shown' &&
        wait_until "the picture stands still" settled &&
        import -window root -trim +repage "$demoPicture"
}

# Whether the display has shown the same for a second: whatever was still being drawn is there by then.
settled() {
    local now
    now=$(display_signature) && sleep 1 && [[ $(display_signature) == "$now" ]]
}

display_signature() { import -window root rgb:- | cksum; }

# From now on COM starts the accounting with the client as the year left it.
register_client_of_year() {
    demo_run "$build/$demoArchitecture/bin/HostSimulator.exe" --register --client "$(windows_path "$demoClient")"
}

# Shows what is left to do; the whole of what kandora-check says goes to the log. Nothing wrong is as good an end as findings.
reconcile() {
    local log="$logs/demo-reconcile.log" result=0
    # No pipe: the accounting, which it starts, would keep the other end open.
    demo_run "$build/$demoArchitecture/bin/kandora-check.exe" --reconcile --html "$(windows_path "$demoPage")" \
        >"$log" 2>&1 </dev/null || result=$?
    if ((result > 1)); then
        tail -n 40 "$log"
        return "$result"
    fi
    python3 "$root/scripts/left_to_do.py" --width "$demoWidth" <"$log"
}

stop_archive() {
    demo_run "$build/$demoArchitecture/bin/ArchiveSimulator.exe" --stop --store "$(windows_path "$demoStore")" &&
        wait_until "the archive has ended" archive_ended
}

archive_ended() { ! kill -0 "$archivePid" 2>/dev/null; }

# show_result FILE TEXT [LOG]: one of the things to look at; LOG tells why when it is not there.
show_result() {
    if [[ -e $1 ]]; then
        printf '  %-16s  %s\n' "${1#"$demo/"}" "$2"
    else
        printf '  %-16s  %s%s\n' "(missing)" "$2" "${3:+; see ${3#"$build/"}}"
    fi
}

# Only what the demonstration uses.
build_for_demo() {
    STEP_TAIL=80 build_step build-demo "Build the component and the stand-ins ($demoArchitecture)" \
        build_preset "$demoArchitecture" Kandora kandora_files ArchiveSimulator HostSimulator kandora-check
}

# The wine prefix is made while the compiler works: making it is mostly waiting for the disk.
begin_template() {
    (start_display && ensure_template) >"$logs/wine-template.log" 2>&1 &
    templateProcess=$!
}

run_demo() {
    local demoArchitecture=x86 start=$EPOCHREALTIME result=0 reconciled=0 photographer templateProcess stepsTotal=12 stepNumber=0
    has_32_bit_wine || demoArchitecture=x64
    mkdir -p "$demo" "$logs"
    begin_template
    build_for_demo
    step wine "Make the wine prefix (begun beside the compiler)" wait "$templateProcess"
    use_one_processor
    begin_wine "$demo/wine"
    use_prefix "$demo/wine"
    step demo-formats "Give the Windows session Swiss formats" set_swiss_formats
    step demo-install "Install into build/demo/Kandora, with an empty archive" install_files
    step demo-register "Register the component (regsvr32)" register_component
    step demo-simulators "Register the stand-ins for archive and accounting" register_simulators
    step demo-archive "Start the archive" start_archive
    say ""
    stepNumber=$((stepNumber + 1))
    say "  $stepNumber of $stepsTotal: A year of the sample client, $demoArchitecture component:"
    photograph_dialog >"$logs/demo-dialog.log" 2>&1 &
    photographer=$!
    find_width
    run_year || result=$?
    kill "$photographer" 2>/dev/null || true
    wait "$photographer" || true
    say ""
    step demo-picture "Take a picture of the archive's window" take_picture || true
    ((result != 0)) || step demo-client "Open the year's client in the accounting" register_client_of_year
    if ((result == 0)); then
        stepNumber=$((stepNumber + 1))
        say "  $stepNumber of $stepsTotal: What is left to do, as kandora-check --reconcile tells:"
        reconcile || reconciled=$?
        say ""
    fi
    step demo-stop "Close the archive" stop_archive
    ((result == 0)) || die "The year did not go through (exit code $result)."
    ((reconciled == 0)) || die "Archive and accounting could not be compared (exit code $reconciled)."
    say ""
    say "To look at, in $demo:"
    show_result "$demoStore/Ordner" "the archive's store, folder by folder"
    show_result "$demoPicture" "its window after the run"
    show_result "$demoDialogPicture" "the dialog that describes the report" "$logs/demo-dialog.log"
    show_result "$demoPrint" "the report as it was printed"
    show_result "$demoReport" "every request with its answer"
    show_result "$demoPage" "what is left to do, to sort, filter and print in a browser"
    show_result "$demoInstall" "the installed component"
    say ""
    say "The whole demonstration took $(seconds_since "$start") s."
}
