# shellcheck shell=bash
# To be sourced by what tests packages.

# check NAME COMMAND...: prints a line that says whether the command succeeds; when it does not,
# what it printed follows. In a function that is checked, each command has to be followed by "&&" or
# "|| return".
check() {
    local check_name=$1 output
    shift
    if output=$("$@" 2>&1 < /dev/null); then
        echo "passed: $check_name"
    else
        echo "failed: $check_name"
        # shellcheck disable=SC2001
        sed 's/^/    /' <<< "${output:-$*}"
    fi
}

# labelled LABEL COMMAND...: runs what prints lines of checks, and puts a label in front of their
# names. That it ends early is a failed check.
labelled() {
    local label=$1 output status=0
    shift
    output=$("$@" 2>&1) || status=$?
    sed -E "s/^(passed|failed): /&$label: /" <<< "$output"
    [ "$status" -eq 0 ] || grep -q '^failed' <<< "$output" ||
        echo "failed: $label: ended with status $status"
}

# refused COMMAND...: the command must fail. Prints what it prints.
refused() {
    ! "$@"
}
