# shellcheck shell=bash
# Starts the web server for the examples. To be sourced by bash; needs QMV_* as
# scripts/lib/lighttpd.conf describes them.

# make_state DIR: makes a state directory with default items; what is there stays as it is.
make_state() {
    local item
    mkdir -p "$1/uploads"
    for item in device_name=router user_name=admin password=change-me; do
        [ -e "$1/${item%%=*}" ] || echo "${item#*=}" > "$1/${item%%=*}"
    done
}

# start_web_server CONFIG: runs lighttpd in the background, with its number in server_pid, and waits
# until it listens. Returns 1 when it ended instead, on a port that is taken for example.
start_web_server() {
    PATH=$PATH:/usr/sbin lighttpd -D -f "$1" &
    server_pid=$!
    until [ -s "$QMV_WORK/pid" ]; do
        if ! kill -0 "$server_pid" 2>/dev/null; then
            wait "$server_pid" || true
            return 1
        fi
        sleep 0.05
    done
}

# stop_web_server: ends it and waits for its end.
stop_web_server() {
    [ -n "$server_pid" ] || return 0
    kill "$server_pid" 2>/dev/null || true
    wait "$server_pid" 2>/dev/null || true
}
