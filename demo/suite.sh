# The demo's suite: Tandem Service, three products, a common bundle, and the updates that are published for them.

# One line a product: file name in the registry, name, installed version, published version, form of its package.
products=(
    "10-sketch|Velmora Sketch|2.0.4.0|2.1.0.0|flat"
    "20-table|Velmora Table|5.3.0.12|5.3.1.0|flat"
    "30-chronik|Velmora Überblick & Chronik|1.0.0.9|1.0.0.10|bundle"
)
common_name="Velmora Common"
common_before=1.4.0.0
common_after=1.5.2.0
service_version=2.0.0.0

# stage_suite STAGE BUILD SITE
stage_suite()
{
    local stage=$1 build=$2 site=$3
    root=$stage/root
    support="$root/Library/Application Support/Velmora/Tandem Service"
    common="$root/Library/Frameworks/$common_name.bundle"
    mkdir -p "$support/Products" "$root/Applications" "$stage/cache" "$stage/data" "$stage/www"
    install -d -m 0700 "$stage/runtime"

    cp -a "$build/suite/TandemService.app" "$support/"
    write_info_plist "$support/TandemService.app" com.velmora.Daemon TandemService "Tandem Service" \
        "$service_version" "$site"
    publish_nothing_new "$stage" "Velmora Tandem" "$service_version"

    make_bundle "$common" "$common_name" "$common_before" "$site"
    publish "$stage" "$common" "$common_name" "$common_before" "$common_after" common flat ""

    local line file name before after form app
    for line in "${products[@]}"; do
        IFS='|' read -r file name before after form <<< "$line"
        app="$root/Applications/$name.app"
        make_bundle "$app" "$name" "$before" "$site"
        register "$file" "$app"
        publish "$stage" "$app" "$name" "$before" "$after" app "$form" "$(needs_common "$file")"
    done
}

# needs_common FILE: how a product asks for the common bundle; Sketch by a section, Table by a dependency.
needs_common()
{
    local place="%VelCommon%/$common_name.bundle"
    case $1 in
        10-*) echo "<SECTIONS><SECTION section=\"1\" name=\"$common_name\" version=\"1.5\" location=\"$place\"/></SECTIONS>" ;;
        20-*) echo "<DEPENDENCIES><DEPENDENCY type=\"common\" name=\"$common_name\" version=\"1.5\" location=\"$place\"/></DEPENDENCIES>" ;;
    esac
}

escape_xml()
{
    sed -e 's/&/\&amp;/g' -e 's/</\&lt;/g' -e 's/"/\&quot;/g' <<< "$1"
}

# write_info_plist BUNDLE IDENTIFIER EXECUTABLE NAME VERSION SITE
write_info_plist()
{
    mkdir -p "$1/Contents"
    cat > "$1/Contents/Info.plist" <<PLIST
<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
    <key>CFBundleIdentifier</key><string>$2</string>
    <key>CFBundleExecutable</key><string>$3</string>
    <key>CFBundleName</key><string>$(escape_xml "$4")</string>
    <key>CFBundleVersion</key><string>$5</string>
    <key>language</key><string>eng</string>
    <key>site</key><string>$6</string>
    <key>url</key><string>/downloads/newupdate/</string>
    <key>servertimeout</key><integer>5000</integer>
</dict>
</plist>
PLIST
}

# make_bundle BUNDLE NAME VERSION SITE
make_bundle()
{
    mkdir -p "$1/Contents/Resources"
    write_info_plist "$1" "com.velmora.demo.$(tr -cd '[:alnum:]' <<< "$2")" Demo "$2" "$3" "$4"
    echo "$2 $3" > "$1/Contents/Resources/about.txt"
}

# register FILE BUNDLE
register()
{
    cat > "$support/Products/$1.plist" <<PLIST
<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
    <key>InstallPath</key><string>$(escape_xml "$2")</string>
    <key>FirstName</key><string>Velmora</string>
    <key>SecondName</key><string>$1</string>
</dict>
</plist>
PLIST
}

# descriptor_path STAGE NAME VERSION: where the descriptor of an installed product is published.
descriptor_path()
{
    echo "$1/www/downloads/newupdate/Update_$2_$3_eng_Mac.xml"
}

# publish_nothing_new STAGE NAME VERSION
publish_nothing_new()
{
    mkdir -p "$1/www/downloads/newupdate"
    cat > "$(descriptor_path "$1" "$2" "$3")" <<XML
<?xml version="1.0" encoding="UTF-8"?>
<UPDATEINFO><GENERAL><TYPE>updater</TYPE><VERSION>$3</VERSION></GENERAL><FILES/></UPDATEINFO>
XML
}

# publish STAGE BUNDLE NAME BEFORE AFTER TYPE FORM NEEDS: the package, its archive and the descriptor that offers it.
publish()
{
    local stage=$1 bundle=$2 name=$3 before=$4 after=$5 type=$6 form=$7 needs=$8
    local slug work archive
    slug=$(tr '[:upper:]' '[:lower:]' <<< "$name" | tr -cd '[:alnum:]')
    work=$stage/made/$slug
    archive=$stage/www/downloads/newupdate/$slug-$after.zip
    mkdir -p "$work/payload" "$(dirname "$archive")"
    cp -a "$bundle" "$work/payload/"
    sed -i "s|<string>$before</string>|<string>$after</string>|" "$work/payload/$(basename "$bundle")/Contents/Info.plist"
    echo "$name $after" > "$work/payload/$(basename "$bundle")/Contents/Resources/about.txt"
    # Something to download: the progress window should have a moment to be seen.
    head -c "$((700000 + RANDOM * 20))" /dev/urandom > "$work/payload/$(basename "$bundle")/Contents/Resources/data.bin"
    "make_${form}_package" "$work" "$slug.pkg"
    (cd "$work" && zip -q -r "$archive" "$slug.pkg")
    write_descriptor "$stage" "$name" "$before" "$after" "$type" "$slug" "$(stat -c %s "$archive")" "$needs"
}

# make_flat_package WORK PACKAGE: a xar archive whose Payload is a compressed cpio archive.
make_flat_package()
{
    (cd "$1/payload" && bsdtar -czf "$1/Payload" --format=cpio .)
    (cd "$1" && bsdtar -cf "$2" --format=xar Payload)
}

# make_bundle_package WORK PACKAGE: a folder with Contents/Archive.pax.gz.
make_bundle_package()
{
    mkdir -p "$1/$2/Contents"
    (cd "$1/payload" && bsdtar -czf "$1/$2/Contents/Archive.pax.gz" --format=pax .)
}

# write_descriptor STAGE NAME BEFORE AFTER TYPE SLUG SIZE NEEDS
write_descriptor()
{
    local title
    title=$(escape_xml "$2 $4")
    cat > "$(descriptor_path "$1" "$2" "$3")" <<XML
<?xml version="1.0" encoding="UTF-8"?>
<UPDATEINFO>
    <CONSTANTS><constant name="%file%" value="$6"/></CONSTANTS>
    <GENERAL><TYPE>$5</TYPE><VERSION>$4</VERSION></GENERAL>
    $8
    <FILES>
        <FILE name="$(escape_xml "$2")" check="version" version="$4" size="$7" title="$title">
            <action type="download"><destination>%updatertemp%/%file%.zip</destination><location>$6-$4.zip</location></action>
            <action type="unzip"><location>%updatertemp%/%file%.zip</location></action>
            <action type="run"><filetype>setup</filetype><location>%updatertemp%/%file%.pkg</location></action>
        </FILE>
    </FILES>
</UPDATEINFO>
XML
}

# installed_version BUNDLE: key and value may stand on two lines.
installed_version()
{
    tr -d '\n\t' < "$1/Contents/Info.plist" | grep -o '<key>CFBundleVersion</key> *<string>[^<]*' | sed 's/.*<string>//'
}

# set_version BUNDLE VERSION
set_version()
{
    local before
    before=$(installed_version "$1")
    sed -i "s|<string>$before</string>|<string>$2</string>|" "$1/Contents/Info.plist"
}

# report_versions: one line a product; fails unless each has the version that it should have.
report_versions()
{
    local line file name before after form failed=0
    printf '\n%-32s %-12s %-12s %s\n' Product Before After ""
    report_version "Tandem Service" "$support/TandemService.app" "$service_version" "$service_version" || failed=1
    report_version "$common_name" "$common" "$common_before" "$common_after" || failed=1
    for line in "${products[@]}"; do
        IFS='|' read -r file name before after form <<< "$line"
        report_version "$name" "$root/Applications/$name.app" "$before" "$after" || failed=1
    done
    return "$failed"
}

# report_version NAME BUNDLE BEFORE EXPECTED
report_version()
{
    local now verdict="ok" padding
    now=$(installed_version "$2")
    [ "$now" = "$4" ] || verdict="expected $4"
    # printf counts bytes: pad by characters.
    padding=$((32 - ${#1}))
    printf '%s%*s %-12s %-12s %s\n' "$1" "$padding" "" "$3" "$now" "$verdict"
    [ "$now" = "$4" ]
}
