# shellcheck shell=bash
# Installs Debian packages that a script needs. To be sourced.

# need_packages PKG...: makes sure that the packages are there. Root gets the missing ones installed;
# anybody else is told which they are. Returns 1 when some are missing in the end.
need_packages() {
    local package missing=()
    for package in "$@"; do
        if ! dpkg-query -W -f '${Status}\n' "$package" 2>/dev/null | grep -q ' installed$'; then
            missing+=("$package")
        fi
    done
    if [ ${#missing[@]} -eq 0 ]; then
        return 0
    fi
    if [ "$(id -u)" -ne 0 ]; then
        echo "Missing packages: ${missing[*]}" >&2
        echo "Install them with: sudo apt-get install --no-install-recommends ${missing[*]}" >&2
        return 1
    fi
    apt-get update && install_packages "${missing[@]}"
}

# install_packages PKG...: as root, and without running the services that come with some of them, now
# or after the next start of the machine: nobody asked for them.
install_packages() (
    policy=/usr/sbin/policy-rc.d
    before=$(enabled_services)
    if [ ! -e "$policy" ]; then
        trap 'rm -f "$policy"' EXIT
        trap 'exit 1' INT TERM HUP
        printf '#!/bin/sh\nexit 101\n' > "$policy"
        chmod +x "$policy"
    fi
    DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "$@" || exit 1
    { enabled_services | grep -vxF -e "$before" || true; } | xargs -r systemctl disable
)

enabled_services() {
    [ ! -d /run/systemd/system ] ||
        systemctl list-unit-files --state=enabled --no-legend | sed 's/ .*//'
}
