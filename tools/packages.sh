# The Debian packages that building, showing and testing need, and the function that installs the missing ones.
# Read by ./run and ./test; a reason for each stands in the README's table.

packages_build=(g++ cmake ninja-build ccache pkgconf qt6-base-dev qt6-tools-dev qt6-l10n-tools libusb-1.0-0-dev
    libcli11-dev nlohmann-json3-dev zlib1g-dev libgtest-dev libumockdev-dev umockdev libvalijson-dev
    libboost-dev libssl-dev libzip-dev)
packages_display=(xvfb openbox x11-utils xdotool maim fonts-liberation fonts-ipafont-gothic fonts-wqy-microhei)
packages_lint=(clang-format clang-tidy git python3)
packages_docs=(doxygen)
packages_documents=(mandoc python3)
packages_memory=(valgrind)
packages_guest=(qemu-system-x86 busybox-static cpio kmod xz-utils)
packages_fuzz=(clang-14 libclang-rt-14-dev)
packages_soak=(python3)
packages_coverage=(gcovr)
packages_mutation=(git python3)
packages_packing=(dpkg-dev python3)
packages_packaging=("${packages_packing[@]}" lintian desktop-file-utils appstream mmdebstrap)
packages_windows=("${packages_packing[@]}" g++-mingw-w64-x86-64-posix libz-mingw-w64-dev nsis osslsigncode)
packages_wine=(wine wine64 openssl icoutils libimage-exiftool-perl locales)
packages_benchmarks=(python3 curl libbenchmark-dev libnanopb-dev nanopb qasmixer qjackctl qpwgraph)

# ask_for_packages PACKAGE ...
#
# Prints the command that somebody with the rights has to run, and ends the script with 2.
ask_for_packages() {
    echo "These packages are missing. Install them and start again:" >&2
    echo "    sudo apt-get update && sudo apt-get install --no-install-recommends $*" >&2
    exit 2
}

# ensure_packages PACKAGE ...
#
# Installs what is missing, as root or through password-less sudo. Ends the script with 2, after printing the exact
# command, where neither is possible.
ensure_packages() {
    local package missing=()
    for package in "$@"; do
        dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        as_root=(sudo -n)
        if ! sudo -n true 2>/dev/null; then
            ask_for_packages "${missing[@]}"
        fi
    fi
    command -v apt-get >/dev/null || ask_for_packages "${missing[@]}"
    echo "Installing ${#missing[@]} packages and what they need (a few minutes): ${missing[*]}"
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -qq -y --no-install-recommends -o Dpkg::Use-Pty=0 "${missing[@]}" |
        sed -un 's/^Unpacking \([^ ]*\).*/    \1/p'
    echo "Installed."
}

# build_preset PRESET [TARGET]
#
# Configures where that has not been done yet, and builds what has changed: of one target, or of everything.
build_preset() {
    [ -f "build/$1/build.ninja" ] || cmake --preset "$1"
    cmake --build --preset "$1" --target "${2:-all}"
}
