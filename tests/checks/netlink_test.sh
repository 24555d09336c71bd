# SPDX-License-Identifier: GPL-2.0-only
# shellcheck disable=SC2016 # names in the page have backticks
set -eu
. tests/checks/proof.sh
description=docs/netlink/gpon_flow.yaml
header=src/include/uapi/gpon_flow_netlink.h
page=docs/observability.md

compare() {
    python3 scripts/check-netlink.py "$tree/description" "$tree/header" "$tree/page"
}

copies() {
    fresh_tree
    cp $description "$tree/description"
    cp $header "$tree/header"
    cp $page "$tree/page"
}

# TITLE TEXT FILE EXPRESSION: the description, the header or the page, edited by sed, fails with TEXT.
wrong() {
    copies
    sed -i "$4" "$tree/$3"
    if cmp -s "$tree/description" $description && cmp -s "$tree/header" $header &&
        cmp -s "$tree/page" $page; then
        echo "nothing is edited: $1"
        proofs_failed=1
    fi
    fails "$1" "$2" compare
}

copies
passes "the description of the module" compare

wrong "a command without description" 'GPON_FLOW_NL_CMD_RULE_OLD is 9 in the header, None' header \
    '/CMD_RULE_RELEARNT/i\    GPON_FLOW_NL_CMD_RULE_OLD, /* event */'
wrong "an attribute without description" 'GPON_FLOW_NL_STEP_DEPTH is 2 in the header, None' header \
    '/STEP_INSTANCE/i\    GPON_FLOW_NL_STEP_DEPTH, /* u8 */'
wrong "another order of attributes" 'GPON_FLOW_NL_TAG_TPID is 1 in the header, 2' description \
    '/^        name: tpid$/,/^        name: tci$/{s/: tpid$/: x/;s/: tci$/: tpid/;s/: x$/: tci/}'
wrong "another value of a command" 'GPON_FLOW_NL_CMD_TABLE_GROWN is 8 in the header, 18' \
    description 's/value: 8$/value: 18/'
wrong "another value of an enum" 'GPON_FLOW_NL_RULE_LOST is 5 in the header, 4' header \
    's/RULE_LOST = 4/RULE_LOST = 5/'
wrong "a described attribute that does not exist" 'is None in the header' header \
    '/GPON_FLOW_NL_COUNTER_VALUE/d'
wrong "another type" "u32: 0 = disabled */' in the header, u8" description \
    '/name: engine/{n;s/u32/u8/}'
wrong "an attribute of another set" 'get-counters: there is no attribute hits' description \
    's/\[ name, meaning, value \]/[ name, hits ]/'
wrong "an unknown set" 'there is no set tags' description 's/nested-attributes: tag$/nested-attributes: tags/'
wrong "an unknown enum" 'there is no enum ends' description 's/enum: rule-end$/enum: ends/'
wrong "an unknown group" 'there is no group other' description '0,/mcgrp: events/s//mcgrp: other/'
wrong "another family" 'GPON_FLOW_NL_FAMILY is gpon, not gpon_flow' header \
    's/NL_FAMILY "gpon_flow"/NL_FAMILY "gpon"/'
wrong "another version" 'GPON_FLOW_NL_VERSION is 1, not 2' description 's/^version: 1/version: 2/'
wrong "a request without a row" '`GET_STATE` is in no table' page '/^| `GET_STATE`/d'
wrong "an event without a row" '`TABLE_GROWN` is in no table' page '/^| `TABLE_GROWN`/d'
wrong "an attribute without a row" '`STATE_STORE` with the type u64 is in no table' page '/^| `STATE_STORE`/d'
wrong "another type in the page" '`RULE_USED` with the type u8 is in no table' page \
    '/^| `RULE_USED`/s/u8/u16/'
wrong "another value in the page" 'lost = 4 of rule-end is in no table' page 's/4 `lost`/5 `lost`/'
exit "$proofs_failed"
