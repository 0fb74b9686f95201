# Sourced by ./dev: the Debian packages that each kind of work needs, installed when missing.
packages_build=(clang g++ g++-mingw-w64-x86-64-posix cmake ninja-build ccache libgtest-dev rapidjson-dev libboost-dev libcli11-dev libssl-dev)
packages_run=(wine64 libgnutls30 xvfb imagemagick fonts-wine fonts-liberation2 fonts-open-sans)
packages_bench=(libbenchmark-dev)
packages_format=(clang-format git)
packages_lint=(clang-format clang-tidy cppcheck git)
packages_fuzz=(libclang-rt-14-dev)

package_installed() { [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

install_packages() {
    local missing=() package root=()
    for package in "$@"; do package_installed "$package" || missing+=("$package"); done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing Debian packages: ${missing[*]}"
    [ "$(id -u)" -eq 0 ] || root=(sudo)
    "${root[@]}" apt-get update -qq
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}
