# The demo of the service's own update: a package that replaces TandemService.app, its plug-in included, and the service
# that was started again from it.

service_after=2.1.0.0
plugin_after=2.1.0.0
# How long the new service may take to be seen, in tenths of a second.
new_service_limit=300
new_service_pid=

# publish_service_update STAGE
publish_service_update()
{
    local stage=$1 new=$1/made/new/TandemService.app
    mkdir -p "$stage/made/new"
    cp -a "$support/TandemService.app" "$stage/made/new/"
    plugin_before=$(installed_version "$new/Contents/PlugIns/Update.bundle")
    set_version "$new/Contents/PlugIns/Update.bundle" "$plugin_after"
    publish "$stage" "$new" "Velmora Tandem" "$service_version" "$service_after" updater flat ""
    publish_nothing_new "$stage" "Velmora Tandem" "$service_after"
}

# wait_for_new_service: finds the process that runs the replaced program; fails when there is none in time.
wait_for_new_service()
{
    local attempt process
    for attempt in $(seq "$new_service_limit"); do
        for process in /proc/[0-9]*; do
            # That of an ended or replaced program reads otherwise.
            if [ "$(readlink "$process/exe" 2>/dev/null)" = "$service" ] && runs_new_plugin "$process"; then
                new_service_pid=${process#/proc/}
                return 0
            fi
        done
        sleep 0.1
    done
    return 1
}

# runs_new_plugin PROCESS-FOLDER: whether the process has loaded the plug-in's present file, not the one before it.
runs_new_plugin()
{
    local module="$support/TandemService.app/Contents/PlugIns/Update.bundle/Contents/Linux/Update"
    grep -F " $module" "$1/maps" 2>/dev/null | grep -qv '(deleted)$'
}

# wait_for_check STAGE VERSION: until the new service has asked for the descriptor of its own, new version.
wait_for_check()
{
    local attempt
    for attempt in $(seq "$new_service_limit"); do
        ! grep -q "Update_Velmora%20Tandem_$2_eng_Mac.xml HTTP" "$1/nginx/access.log" || return 0
        sleep 0.1
    done
    return 1
}

# end_staged_processes STAGE: ends what still runs of the staged suite, within five seconds: a service that was started
# again, and after an interruption the helper tool, which would start another one.
end_staged_processes()
{
    local attempt processes
    for attempt in $(seq 50); do
        processes=$(staged_processes "$1")
        [ -n "$processes" ] || return 0
        # shellcheck disable=SC2086 # one word a process
        kill $processes 2>/dev/null || true
        sleep 0.1
    done
    echo "Of the demo there still run: $processes" >&2
}

# staged_processes STAGE: the processes whose programs lie there, one a line.
staged_processes()
{
    local process
    for process in /proc/[0-9]*; do
        case $(readlink "$process/exe" 2>/dev/null) in
            "$1"/*) echo "${process#/proc/}" ;;
        esac
    done
}

# report_self_update STAGE: the versions, and which process runs now.
report_self_update()
{
    local stage=$1 failed=0
    printf '\n%-32s %-12s %-12s %s\n' Product Before After ""
    report_version "Tandem Service" "$support/TandemService.app" "$service_version" "$service_after" || failed=1
    report_version "Update plug-in" "$support/TandemService.app/Contents/PlugIns/Update.bundle" \
        "$plugin_before" "$plugin_after" || failed=1
    if ! wait_for_new_service; then
        echo "Tandem Service was not started again; see $stage/service.log" >&2
        return 1
    fi
    if ! wait_for_check "$stage" "$service_after"; then
        echo "The new Tandem Service did not check for updates; see $stage/service.log" >&2
        return 1
    fi
    echo
    echo "Tandem Service was started again with its new plug-in, as process $new_service_pid."
    return "$failed"
}
