# shellcheck shell=bash
# The state directory of the console. To be sourced by bash.

# make_console_state DIR ROOT BUILD: makes a state directory: default items, a secret, a certificate,
# the web server's password file. What is there stays as it is.
make_console_state() {
    local state=$1 root=$2 build=$3
    mkdir -p "$state"/{certificates,firmware,keys,run,uploads}
    tar -C "$root/examples/console/default" -c . | tar -C "$state" -x --skip-old-files
    touch "$state/log"
    if [ ! -s "$state/secret" ]; then
        head -c 48 /dev/urandom | base64 -w 0 > "$state/secret"
    fi
    if [ ! -e "$state/certificates/router.pem" ]; then
        openssl req -x509 -newkey rsa:2048 -nodes -days 3650 -subj "/CN=router.home.example" \
            -keyout "$state/keys/router.key" -out "$state/certificates/router.pem" \
            2> "$state/run/openssl.log" || { cat "$state/run/openssl.log" >&2; return 1; }
    fi
    "$build/examples/console/console-htpasswd" "$state"
}

# name_service STATE: a process that stands for a service of the device. It writes a line into the log
# when it is told to restart.
name_service() {
    trap 'echo "$(date "+%F %T") Name service: restarted" >> "$1/log"' HUP
    trap 'exit' TERM
    trap 'kill "$!" 2> /dev/null || true' EXIT
    while :; do
        sleep 3600 &
        wait "$!" || true  # a signal ends it
        kill "$!" 2> /dev/null || true
    done
}

# start_name_service STATE: runs it; its number goes into service_pid and an item.
start_name_service() {
    name_service "$1" &
    service_pid=$!
    service_item=$1/run/names.pid
    echo "$service_pid" > "$service_item"
}

stop_name_service() {
    [ -n "$service_pid" ] || return 0
    kill "$service_pid" 2>/dev/null || true
    wait "$service_pid" 2>/dev/null || true
    rm -f "$service_item"
}
