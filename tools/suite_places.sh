# Where the installed suite lies: below $root, which is empty for this machine itself. Sourced by install_suite and
# uninstall_suite.

service="$root/Library/Application Support/Velmora/Tandem Service"
programs="$service/TandemService.app/Contents/Linux"
installer="$root/usr/sbin/installer"
starter_folder="$root/usr/libexec/velmora-tandem"
# What the user is asked for administrator's rights: for the starter, and for the installer.
starter_policy="$root/usr/share/polkit-1/actions/com.velmora.tandem.selfrepair.policy"
installer_policy="$root/usr/share/polkit-1/actions/com.velmora.tandem.install.policy"
entries=("$root/usr/share/applications/com.velmora.Daemon.desktop" "$root/etc/xdg/autostart/com.velmora.Daemon.desktop")

as_root()
{
    if [ "$(id -u)" = 0 ] || { [ -n "$root" ] && [ -w "$root" ]; }; then
        "$@"
    else
        sudo "$@"
    fi
}

# Whether the installer at the fixed place is the suite's, of whatever version: the folder that it works in tells.
installer_is_ours()
{
    grep -qaF .velmora-install "$installer" 2> /dev/null
}
