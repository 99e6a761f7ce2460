# The pictures of README and handbook, made anew: two of them by the demo, one of the page that the demo has written, one of the
# installation, three of a workstation whose folders have the names that an administrator knows.
# shellcheck shell=bash
# shellcheck source=scripts/demo.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/demo.sh"
# shellcheck source=scripts/package.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/package.sh"

pictures="$root/docs/images"
sessionDrive="$demo/wine/drive_c"

# save_picture NAME: the picture on stdin, reduced to 256 colours and without metadata.
save_picture() { convert - -strip -colors 256 "PNG8:$pictures/$1.png"; }

# photograph NAME TITLE: the window of that title once it stands still.
photograph() {
    local windowTitle=$2
    wait_until "the window «$2» is there" window_is_there && wait_until "it stands still" settled &&
        import -window "$(the_window)" png:- | save_picture "$1"
}

the_window() { xdotool search --onlyvisible --name "^$windowTitle\$" 2>/dev/null | head -n 1; }

window_is_there() { [[ -n $(the_window) ]]; }

# click TITLE X Y: at this place of the window.
click() {
    local windowTitle=$1
    xdotool mousemove --window "$(the_window)" "$2" "$3" click 1
}

# The files where an administrator would have them. The registrations of the demo are replaced.
install_workstation() {
    local bin="$build/$demoArchitecture/bin" programs="$sessionDrive/Program Files (x86)/Kandora" name
    mkdir -p "$programs/Werkzeuge" "$sessionDrive/Demo" "$sessionDrive/Daten/Druck" "$sessionDrive/Daten/Mandanten" &&
        cp "$bin/Kandora.dll" "$bin/Platzhalter.pdf" "$programs" &&
        cp "$bin/kandora-check.exe" "$programs/Werkzeuge" &&
        cp "$bin/ArchiveSimulator.exe" "$bin/HostSimulator.exe" "$sessionDrive/Demo" &&
        cp "$root/simulators/clients/Muster AG.json" "$sessionDrive/Daten/Mandanten" &&
        # What the package grants to all users; wine takes a file's Unix rights for its access list.
        chmod a+w "$programs" "$sessionDrive/Daten/Druck" || return
    demo_run 'C:\Demo\ArchiveSimulator.exe' --create-sample-store 'C:\Daten\Archiv' &&
        demo_run 'C:\Demo\ArchiveSimulator.exe' --register --store 'C:\Daten\Archiv' &&
        demo_run 'C:\Demo\HostSimulator.exe' --register --client 'C:\Daten\Mandanten\Muster AG.json' &&
        demo_tool regsvr32.exe /s 'C:\Program Files (x86)\Kandora\Kandora.dll' &&
        python3 "$root/scripts/fill_ini.py" "$bin/Kandora.ini.template" "$sessionDrive/Daten/Archiv/archiv.json" \
            "$programs/Kandora.ini" --folder Buchhaltung --printer-file 'C:\Daten\Druck\Auswertung.pdf'
    for name in CodePage:65001 "WindowSize:$((45 << 16 | 105))" "ScreenBufferSize:$((45 << 16 | 105))"; do
        demo_tool reg.exe add 'HKCU\Console' /v "${name%:*}" /t REG_DWORD /d "${name#*:}" /f || return
    done
}

# start_accounting: the host's start, with the window that comes with it left open.
start_accounting() {
    echo InitProvider >"$demo/Start.txt"
    demo_run 'C:\Demo\HostSimulator.exe' --client 'C:\Daten\Mandanten\Muster AG.json' \
        --requests "$(windows_path "$demo/Start.txt")" </dev/null >"$logs/pictures-host.log" 2>&1 &
    accountingPid=$!
}

# A new client is set up.
photograph_input() {
    local accountingPid
    start_accounting
    photograph archivpfad "Archivpfad erstellen" && click "Archivpfad erstellen" 305 46 && wait "$accountingPid"
}

photograph_check() {
    printf '@%s\r\n' cls '"C:\Program Files (x86)\Kandora\Werkzeuge\kandora-check.exe"' 'echo >C:\Demo\geprueft.txt' \
        'pause >nul' >"$sessionDrive/Demo/pruefen.cmd"
    demo_tool wineconsole.exe 'C:\windows\system32\cmd.exe' /c 'C:\Demo\pruefen.cmd' </dev/null >/dev/null 2>&1 &
    wait_until "everything is checked" everything_is_checked && photograph kandora-check '.*cmd.exe'
}

everything_is_checked() { [[ -e $sessionDrive/Demo/geprueft.txt ]]; }

photograph_error() {
    local accountingPid settings="$sessionDrive/Program Files (x86)/Kandora/Kandora.ini"
    sed -i 's/^ELOPW=[^\r]*/ELOPW=falsch/' "$settings"
    start_accounting
    photograph fehler Kandora && click Kandora 165 108
    wait "$accountingPid" || true
}

# The first two windows of an installation, which is cancelled then.
photograph_installation() {
    local windowTitle='Kandora \(32 Bit\) einrichten' before installerPid
    local package=("$packages"/Kandora-*-x86.msi)
    demo_tool msiexec.exe /i "$(windows_path "${package[0]}")" </dev/null >/dev/null 2>&1 &
    installerPid=$!
    wait_until "the licence is shown" window_is_there && wait_until "it stands still" settled &&
        import -window "$(the_window)" "$demo/licence.png" && xdotool key space && wait_until "it is agreed to" settled || return
    before=$(display_signature)
    xdotool key alt+w && wait_until "the folder is shown" display_has_changed && wait_until "it stands still" settled &&
        import -window "$(the_window)" "$demo/folder.png" &&
        convert "$demo/licence.png" "$demo/folder.png" -bordercolor white -border 4 +append png:- | save_picture installation &&
        xdotool key Escape && wait_until "it asks" settled && xdotool key alt+j && wait_until "it has cancelled" settled &&
        xdotool key Return && wait_until "the installer has ended" installer_has_ended
}

# It says that it was cancelled, by an exit code of its own.
installer_has_ended() { ! kill -0 "$installerPid" 2>/dev/null; }

display_has_changed() { [[ $(display_signature) != "$before" ]]; }

# The page of the demo's reconciliation, in a browser.
photograph_page() {
    PYTHONDONTWRITEBYTECODE=1 python3 "$root/scripts/photograph_page.py" "$demoPage" "$demo/page.png" &&
        save_picture abgleich <"$demo/page.png"
}

# The package brings the handbook, which cannot be made without its pictures: a new one begins as an empty one.
stand_in_for_missing_pictures() {
    local name
    while read -r name; do
        [[ -e $pictures/$name.png ]] || convert -size 8x8 xc:white png:- | save_picture "$name" || return
    done < <(sed -n 's|.*](images/\([a-z-]*\)\.png).*|\1|p' "$root/docs/Handbuch.md")
}

# The demo's pictures as they are.
take_over_pictures() {
    save_picture archiv <"$demoPicture" && save_picture auswertung <"$demoDialogPicture"
}

run_pictures() {
    local demoArchitecture=x86
    run_demo
    say ""
    step pictures-missing "Stand-ins for pictures that are new" stand_in_for_missing_pictures
    step pictures-build "Build kandora-check and what the package brings" \
        build_preset "$demoArchitecture" kandora-check kandora_documents kandora_licences
    step pictures-package "Package" make_packages "$demoArchitecture"
    step pictures-demo "Pictures of the demo" take_over_pictures
    step pictures-page "A picture of the page of the reconciliation" photograph_page
    step pictures-installation "A picture of the installation" photograph_installation
    step pictures-install "Install a workstation" install_workstation
    demoStore="$sessionDrive/Daten/Archiv"
    step pictures-archive "Start its archive" start_archive
    step pictures-input "A picture of the input box" photograph_input
    step pictures-check "A picture of kandora-check" photograph_check
    step pictures-error "A picture of an error" photograph_error
    step pictures-stop "Close the archive" stop_archive
}
