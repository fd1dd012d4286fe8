# For the scripts at the top of the tree, which source this file: finding and installing what a
# build needs, and building with the best generator that is there.

# True when what the Debian package $1 brings is on this machine, from that package or elsewhere.
has_package() {
    case $1 in
        g++) command -v c++ ;;
        cmake) command -v cmake ;;
        make) command -v make || command -v ninja ;;
        libgtest-dev) [ -e /usr/include/gtest/gtest.h ] || [ -e /usr/local/include/gtest/gtest.h ] ;;
        *) dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'ok installed$' ;;
    esac >/dev/null
}

# Sees to it that all PACKAGEs are there: need_packages PACKAGE... Silent when they are. Otherwise
# installs them where this user may, and elsewhere says what to install and ends the script.
need_packages() {
    local package missing=()
    for package in "$@"; do
        has_package "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        as_root=(sudo -n)
    fi
    if ! command -v apt-get >/dev/null || ! "${as_root[@]}" true 2>/dev/null; then
        echo "$0: this needs packages that are not installed: ${missing[*]}" >&2
        echo "Install them, for example with: sudo apt-get install ${missing[*]}" >&2
        exit 1
    fi
    echo "Installing ${missing[*]} ..."
    if ! install_packages "${missing[@]}" >/dev/null; then
        echo "$0: could not install ${missing[*]} with apt-get." >&2
        exit 1
    fi
}

# The package lists of a fresh machine are often empty or stale: they are fetched only when
# installing fails without. Uses as_root of its caller.
install_packages() {
    local install=(apt-get install -y --no-install-recommends "$@")
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive "${install[@]}" 2>/dev/null && return
    "${as_root[@]}" apt-get update -qq &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive "${install[@]}"
}

# Configures and builds in directory $1, with the further arguments for cmake. Says nothing but
# what the compiler says when it fails.
build_in() {
    local directory=$1 log
    shift
    local generator=()
    if [ ! -e "$directory/CMakeCache.txt" ] && command -v ninja >/dev/null; then
        generator=(-G Ninja)
    fi
    mkdir -p "$directory"
    log=$directory/build.log
    echo "Building in ${directory} ..."
    if ! cmake "${generator[@]}" "$@" >"$log" 2>&1 ||
        ! cmake --build "$directory" --parallel "$(nproc)" >>"$log" 2>&1; then
        tail -n 40 "$log" >&2
        echo "$0: the build failed; its whole output is in $log" >&2
        exit 1
    fi
}
