# SPDX-License-Identifier: GPL-2.0-only
#
# One line for each step; what the step itself printed goes to a log and is shown when it failed.

# Where everything that is made goes; another folder lets two builds of one tree live side by side.
GPON_BUILD_DIR=${GPON_BUILD_DIR:-build}

GPON_LOG_TAIL=120

# step NAME COMMAND...: runs the command quietly, answers its status.
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
