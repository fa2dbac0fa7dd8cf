# What the tests of the installer share. Each has a Windows of its own, which is gone afterwards.
#
# new_windows [USER] makes it. Paths: $drive is C: as this system sees it.
export LC_ALL=C.UTF-8
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source=$(cd "$here/../../.." && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/kdmx-installer.XXXXXX")
export WINEPREFIX=$work/windows WINEDEBUG=-all
# Neither .NET nor a browser engine, and nothing for the menus of this machine's desktop.
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
export HOME=$work/home
drive=$WINEPREFIX/drive_c

product="VELMAR KD-MX Series"
apps_key='HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\VELMAR.KD-MXSeries'
driver_key='HKCU\Software\VELMAR\KD-MX_Series\ASIODRIVER'
version=$(sed -n 's/^const QString version = .*"\(.*\)".*/\1/p' "$source/panel/shared/identity.h")
build=$(sed -n 's/^const QString longVersion = .*"[^ ]* \(.*\)".*/\1/p' "$source/panel/shared/identity.h")

finish() {
    if [ -d "$WINEPREFIX" ]; then
        wineserver -k || true
        wineserver -w || true
    fi
    rm -rf "$work"
}
trap finish EXIT
trap 'exit 130' INT
trap 'exit 143' TERM
mkdir "$HOME"

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

# same WHAT EXPECTED ACTUAL
same() { [ "$2" = "$3" ] || fail "$1 is \"$3\" instead of \"$2\""; }

# new_windows [USER]
new_windows() {
    user=${1:-tester}
    export USER=$user LOGNAME=$user
    wine wineboot --init >/dev/null 2>&1
    wine winecfg -v win10
    wineserver -w
    home=$drive/users/$user
    default_folder="$home/AppData/Local/Programs/VELMAR/KD-MX Series"
    ini=$home/AppData/Roaming/VELMAR/KD-MXSeries.ini
    shortcut="$home/AppData/Roaming/Microsoft/Windows/Start Menu/Programs/$product.lnk"
}

# The name that Windows has for a path below $drive.
windows_path() { printf 'C:%s' "${1#"$drive"}" | tr / '\\'; }

# run EXPECTED PROGRAM ARGUMENT ...: the program ends with this code. Arguments with blanks are passed as several.
run() {
    local expected=$1 code=0
    shift
    wine "$@" || code=$?
    [ "$code" -eq "$expected" ] || fail "\"$*\" ended with $code instead of $expected"
}

# The values of a registry key, as text: "name"="text" or "name"=dword:00000001. Ends with 1 if there is no such key.
registry() {
    wine reg export "$1" 'C:\registry.txt' /y >/dev/null 2>&1 || return 1
    iconv -f UTF-16 -t UTF-8 "$drive/registry.txt" | tr -d '\r'
    rm "$drive/registry.txt"
}

# same_app_value NAME EXPECTED, the latter as the registry is exported
same_app_value() {
    same "the value $1 of the entry in the list of apps" "$2" "$(registry "$apps_key" | sed -n "s/^\"$1\"=//p")"
}

# How a text looks in an exported registry.
quoted() { printf '"%s"' "$(printf %s "$1" | sed 's/[\\"]/\\&/g')"; }

# Everything that an installation could change: the user's files, and what the registry knows of us.
state() {
    (cd "$drive" && find . -path "./users/*/Temp" -prune -o -path ./windows -prune -o -type f -print0 | sort -z |
        xargs -0 sha256sum)
    find "$drive/users" -type d ! -path '*/Temp*' | sort
    registry "$apps_key" || echo "no entry in the list of apps"
    registry 'HKCU\Software\VELMAR' || echo "no settings"
}

# unchanged WHAT COMMAND ...: the command leaves everything as it is.
unchanged() {
    local before after what=$1
    shift
    before=$(state)
    "$@"
    after=$(state)
    [ "$before" = "$after" ] ||
        fail "$what has changed something:"$'\n'"$(diff <(echo "$before") <(echo "$after"))"
}

# same_files WHAT EXPECTED ACTUAL: the folder holds exactly these files, and what belongs to the uninstaller.
same_files() {
    local found
    found=$(diff -r -x uninstall.exe -x installed-files.txt "$2" "$3") || fail "$1 is not what it should be:"$'\n'"$found"
    [ -s "$3/uninstall.exe" ] || fail "$1: no uninstaller"
    diff <(cd "$3" && find . -type f -printf '%P\n' | sort) \
        <(tr -d '\r' <"$3/installed-files.txt" | tr '\\' / | sort) >&2 || fail "$1: the list of files is wrong"
}

# uninstall FOLDER: silently, as the list of apps does it. The uninstaller goes on as a copy of itself.
uninstall() {
    run 0 "$1/uninstall.exe" /S
    wineserver -w
}

# gone PATH ...
gone() {
    local path
    for path in "$@"; do
        [ ! -e "$path" ] || fail "still there: $path"
    done
}
