#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: fleet_hosts_test.sh GPONFLOW
#
# Many lines on two machines, as docs/fleet.md describes it: two ssh servers on this machine, with
# keys that exist as long as the test does. Skipped where a program is missing.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"
PATH=$PATH:/usr/sbin
for program in parallel sqlite3 ssh sshd ssh-keygen; do
    command -v "$program" >/dev/null || exit 77
done

servers=()
stop_servers() {
    [ ${#servers[@]} = 0 ] || kill "${servers[@]}" 2>/dev/null || true
    rm -rf "$folder"
}
trap stop_servers EXIT
[ "$(id -u)" != 0 ] || mkdir -p /run/sshd # sshd requires it of root

free_port() {
    python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

start_server() { # NAME
    local port
    port=$(free_port)
    ssh-keygen -q -t ed25519 -N '' -f "$folder/$1.key"
    printf '%s\n' "Port $port" 'ListenAddress 127.0.0.1' "HostKey $folder/$1.key" 'UsePAM no' \
        'PidFile none' 'StrictModes no' 'PasswordAuthentication no' \
        "AuthorizedKeysFile $folder/user.key.pub" "SetEnv FLEET_HOST=$1" >"$1.sshd"
    "$(command -v sshd)" -D -e -f "$folder/$1.sshd" 2>"$1.log" &
    servers+=($!)
    printf '%s\n' "Host $1" 'HostName 127.0.0.1' "Port $port" "User $(id -un)" \
        "IdentityFile $folder/user.key" 'IdentitiesOnly yes' 'BatchMode yes' \
        'StrictHostKeyChecking no' "UserKnownHostsFile $folder/known" 'LogLevel ERROR' >>ssh.config
}

reachable() { # NAME
    for _ in $(seq 100); do
        ! ssh -F ssh.config "$1" true 2>/dev/null || return 0
        sleep 0.1
    done
    cat "$1.log" >&2
    return 1
}

ssh-keygen -q -t ed25519 -N '' -f user.key
start_server first
start_server second
for host in first second; do
    reachable "$host" || { complain "no ssh server $host"; exit 1; }
done

python3 "$root/docs/fleet/generate-lines.py" "$folder/lines" 300
status=0
"$tool" check --files lines/list >alone.jsonl || status=$?
[ "$status" = 1 ] || complain "one machine: exit status $status"

# The hosts see the same files. The command notes on which host it runs.
printf '%s\n' first second >hosts
parallel --will-cite --sshloginfile hosts --ssh "ssh -F $folder/ssh.config" --jobs 1 --keep-order \
    --pipe -N 50 "echo \$FLEET_HOST >>$folder/used; $tool check --jobs 2 --files -" \
    <lines/list >findings.jsonl || true
cmp -s alone.jsonl findings.jsonl || complain 'two machines print other lines than one'
[ "$(sort -u used | tr '\n' ' ')" = 'first second ' ] || complain "hosts used: $(sort used | uniq -c)"
[ "$(wc -l <used)" = 6 ] || complain 'not six parts'

# Files that only this machine has are sent, and removed again.
mkdir sent
parallel --will-cite --sshloginfile hosts --ssh "ssh -F $folder/ssh.config" --jobs 1 --keep-order \
    --workdir "$folder/sent" --transferfile {} --cleanup -N 3 "$tool check --jobs 2 {}" \
    < <(sed "s,^$folder/,," lines/list | head -n 6) >sent.jsonl 2>sent.err || true
[ "$(wc -l <sent.jsonl)" = 6 ] || complain "$(wc -l <sent.jsonl) lines of 6 sent files: $(cat sent.err)"
[ "$(head -n 6 alone.jsonl | sed "s,$folder/,,g" | diff - sent.jsonl | wc -l)" = 0 ] ||
    complain 'sent files give other lines'

# The results as tables.
sqlite3 fleet.db <"$root/docs/fleet/tables.sql" || complain 'the tables cannot be made'
[ "$(sqlite3 fleet.db 'SELECT count(*) FROM line')" = 300 ] || complain 'not all lines are in the table'
wrong=$(sqlite3 fleet.db "SELECT DISTINCT firmware FROM finding JOIN line USING (input)
                          WHERE rule = 'priority-leads-nowhere'")
[ "$wrong" = 2.1.0 ] || complain "the firmware at fault is '$wrong'"
since=$(sqlite3 fleet.db "SELECT date(min(captured)) FROM finding JOIN line USING (input)
                          WHERE rule = 'filter-compares-priority'")
[[ "$since" > 2026-09-19 ]] || complain "the filters are wrong since '$since'"
exit "$failed"
