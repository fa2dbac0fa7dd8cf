# What the tests of the Debian package share.
#
# Sets $source, $package (its name), $version, and $work, a folder that is gone afterwards.
export LC_ALL=C.UTF-8
source=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../.." && pwd)
package=kd-mx-series
id=example.velmar.KDMXSeries
version=$(sed -n 's/^const QString longVersion = .*"\([^ ]*\) \(.*\)".*/\1.\2/p' "$source/panel/shared/identity.h")
work=$(mktemp -d "${TMPDIR:-/tmp}/kdmx-package.XXXXXX")

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

# same WHAT EXPECTED ACTUAL
same() { [ "$2" = "$3" ] || fail "$1 is \"$3\" instead of \"$2\""; }

# debian_package BUILD: the file
debian_package() { printf %s "$1/${package}_${version}_$(dpkg --print-architecture).deb"; }
