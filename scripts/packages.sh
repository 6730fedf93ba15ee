# shellcheck shell=bash
# ensure_packages <Debian package>...: installs those that are missing, with sudo when not root. With nothing missing it
# needs no network.
ensure_packages() {
    local missing=() package
    for package in "$@"; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    local root=()
    [ "$(id -u)" -eq 0 ] || root=(sudo)
    echo "== installing ${missing[*]}"
    "${root[@]}" apt-get update -qq
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" \
        >/dev/null
}
