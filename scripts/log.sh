# SPDX-License-Identifier: GPL-2.0-only
#
# Prints one line for each step. The output of the step goes to a log, which is shown if it fails.

# The folder for all products; with another folder, two builds of one tree can exist side by side.
GPON_BUILD_DIR=${GPON_BUILD_DIR:-build}

GPON_LOG_TAIL=120

# step NAME COMMAND...: runs the command quietly, returns its status.
step() {
    local name=$1 log=$GPON_BUILD_DIR/logs/$1.log start=$SECONDS status=0
    shift
    mkdir -p "$GPON_BUILD_DIR/logs"
    printf '%-14s ' "$name"
    "$@" >"$log" 2>&1 </dev/null || status=$?
    if [ "$status" = 0 ]; then
        printf 'ok      %4d s\n' $((SECONDS - start))
    else
        printf 'FAILED  %4d s  status %d, %s ends in\n' $((SECONDS - start)) "$status" "$log"
        tail -n "$GPON_LOG_TAIL" "$log"
    fi
    return "$status"
}
