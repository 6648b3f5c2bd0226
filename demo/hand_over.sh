# The demo of the hand-over: a program that an update delivered replaces TandemService.app itself, while the helper tool
# waits for it; then the tool starts the service again.

hand_over_after=2.2.0.0
helper_folder=

# publish_hand_over STAGE: what follows service_after.
publish_hand_over()
{
    local stage=$1 work=$1/made/hand-over name="Velmora Tandem"
    local app=$work/payload/TandemService.app archive=$1/www/downloads/newupdate/updater.zip
    mkdir -p "$work/payload"
    cp -a "$support/TandemService.app" "$work/payload/"
    set_version "$app" "$hand_over_after"
    set_version "$app/Contents/PlugIns/Update.bundle" "$hand_over_after"
    make_flat_package "$work" tandem.pkg
    write_updater "$work/Updater"
    (cd "$work" && zip -q "$archive" Updater tandem.pkg)
    cat > "$(descriptor_path "$stage" "$name" "$service_after")" <<XML
<?xml version="1.0" encoding="UTF-8"?>
<UPDATEINFO>
    <GENERAL><TYPE>updater</TYPE><VERSION>$hand_over_after</VERSION><CLOSEAPPLICATION>True</CLOSEAPPLICATION></GENERAL>
    <FILES>
        <FILE name="$name" check="version" version="$hand_over_after" size="$(stat -c %s "$archive")">
            <action type="download"><destination>%updatertemp%/updater.zip</destination><location>updater.zip</location></action>
            <action type="unzip"><location>%updatertemp%/updater.zip</location></action>
            <action type="run"><location>%updatertemp%/Updater</location></action>
        </FILE>
    </FILES>
</UPDATEINFO>
XML
    publish_nothing_new "$stage" "$name" "$hand_over_after"
}

# write_updater FILE: the program that is delivered. It gives the service a moment to end.
write_updater()
{
    cat > "$1" <<UPDATER
#!/bin/sh
sleep 1
"$support/TandemService.app/Contents/Linux/installer" -pkg "\${0%/*}/tandem.pkg" -target "$support"
UPDATER
    chmod +x "$1"
}

# carry_out_hand_over STAGE BUILD: a program in the service's place carries the update's actions out.
carry_out_hand_over()
{
    helper_folder=$1/cache/VelmoraWatchSelfUpdate
    publish_hand_over "$1"
    cp "$2/demo/CarryOutUpdate" "$support/TandemService.app/Contents/Linux/"
    "$support/TandemService.app/Contents/Linux/CarryOutUpdate" >> "$1/service.log" 2>&1
}

# wait_for_helper_end: until the helper tool is gone, with the marker that told it what to do.
wait_for_helper_end()
{
    local attempt
    for attempt in $(seq 100); do
        if ! is_running "$helper_folder/WatchSelfUpdate" && [ ! -e "$helper_folder/20071023TwoParams.txt" ]; then
            return 0
        fi
        sleep 0.1
    done
    return 1
}

# is_running PROGRAM
is_running()
{
    local process
    for process in /proc/[0-9]*; do
        [ "$(readlink "$process/exe" 2>/dev/null)" != "$1" ] || return 0
    done
    return 1
}

# report_hand_over STAGE BUILD: carries the hand-over out, then says the versions and which process runs now.
report_hand_over()
{
    local stage=$1 failed=0
    printf '\nThen an update of the updater itself, which the helper tool waits for.\n'
    if ! carry_out_hand_over "$stage" "$2"; then
        echo "The update of the updater failed; see $stage/service.log" >&2
        return 1
    fi
    if ! wait_for_new_service || ! wait_for_check "$stage" "$hand_over_after"; then
        echo "The helper tool did not start Tandem Service again; see $stage/service.log" >&2
        return 1
    fi
    printf '\n%-32s %-12s %-12s %s\n' Product Before After ""
    report_version "Tandem Service" "$support/TandemService.app" "$service_after" "$hand_over_after" || failed=1
    report_version "Update plug-in" "$support/TandemService.app/Contents/PlugIns/Update.bundle" \
        "$service_after" "$hand_over_after" || failed=1
    if ! wait_for_helper_end; then
        echo "The helper tool is still there." >&2
        return 1
    fi
    echo
    echo "The helper tool waited for the update, started Tandem Service as process $new_service_pid, and is gone."
    return "$failed"
}
