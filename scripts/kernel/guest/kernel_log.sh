# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Faults of the kernel in its log, and the lines of the modules.

# Each of these in the kernel log counts as a fault. The modules' own level tags look like **WARNING**
# and do not match.
kernel_faults='WARNING: |BUG: |BUG at |BUG [a-zA-Z0-9_-]+ \(|Oops|INFO: |general protection|Unable to handle'
kernel_faults="$kernel_faults|KASAN|UBSAN|ODEBUG|kmemleak: [0-9]|[Ll]eaking|corruption"
kernel_faults="$kernel_faults|refcount_t|while atomic|page allocation failure|usercopy: "
kernel_faults="$kernel_faults|unregister_netdevice|soft lockup|Kernel panic|circular locking"
kernel_faults="$kernel_faults|\[#[0-9]+\]|Internal error|CFI failure|suspiciously returned"

# Races without an access of our modules are those of the kernel itself. Each report is between two
# lines of "=".
without_foreign_races() {
    if [ ! -e /sys/kernel/debug/kcsan ]; then
        cat "$1"
        return
    fi
    awk '
        /={60}/ && !inside { inside = 1 ; text = "" ; race = ours = 0 ; next }
        /={60}/ { if (!race || ours) printf "%s", text ; inside = 0 ; next }
        !inside { print ; next }
        { text = text $0 "\n" }
        /BUG: KCSAN/ { race = 1 }
        /\[gpon_/ { ours = 1 }
        END { if (inside) printf "%s", text }' "$1"
}

# 5.4 walks the list of its probes without a lock when the first module is loaded, and reports it. The
# report ends with the call trace, whose lines are indented. Each kernel warns if it has no memory for
# the fields of a module's trace events, which it requests itself while it loads the module. Few logs
# contain these reports, and awk is slow. A guest has no Python.
without_known_reports() {
    if ! grep -qE ' (kprobes_module_callback|event_define_fields)[.+]' "$1"; then
        cat "$1"
        return
    fi
    awk '
        function finish() {
            if (kept !~ /^[^\n]*WARNING: CPU: | kprobes_module_callback\+/ || kept ~ /\[gpon_/)
                printf "%s", kept
            kept = "" ; trace = 0
        }
        { text = $0 ; sub(/^\[ *[0-9.]+\] /, "", text) }
        trace && text !~ /^ / { finish() }
        !kept && text != "WARNING: suspicious RCU usage" &&
            text !~ /^WARNING: CPU: .* at kernel\/trace\/.* event_define_fields[.+]/ { print ; next }
        { kept = kept $0 "\n" }
        text ~ /^Call [Tt]race:/ { trace = 1 }
        END { finish() }' "$1"
}

own_reports() {
    without_foreign_races "$1" >/tmp/reports
    without_known_reports /tmp/reports
}

kernel_log_is_clean() {
    ! own_reports "$1" | grep -qE "$kernel_faults"
}

# The reports with the lines after each, or the end of the log if there is none.
kernel_log_faults() {
    own_reports "$1" | grep -E -A 40 "$kernel_faults" || tail -n 40 "$1"
}

# The module's lines of a log: lines of the kernel begin with the name of a part of it and a colon.
module_lines() {
    tr -d '\r' | awk '
        { text = $0 ; sub(/^\[ *[0-9.]+\] /, "", text) }
        text ~ /^gpon/ || text !~ /^[A-Za-z][A-Za-z0-9_.-]*: /'
}
