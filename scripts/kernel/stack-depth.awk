# SPDX-License-Identifier: GPL-2.0-only
#
# usage: awk -f stack-depth.awk -v limit=BYTES FILE.ci...
#
# Deepest stack that the module itself can use below its packet entry, from the call graphs and
# frame sizes that the compiler wrote (-fcallgraph-info=su). The walk calls itself: nine steps are
# made and a tenth is refused, so its step function stands on the stack ten times at most. A rule
# table that grows adds its rules anew, once. What the kernel's own functions use is not in the
# sum. Any other recursion, or a call through a pointer with no candidates, is an error.

BEGIN {
    entry = "gpon_flow_api_dispatch"
    step = "gpon_pkt_general_forward"
    steps = 10
    add = "gpon_hash_add_node"
    adds = 2
    # Calls through pointers: a step of a walk or of a replay runs a class's forward function, a few
    # callers reach functions of the platform, and whoever else does it has a table in its own file,
    # of functions that nobody calls by name.
    class_function = "_forward$"
    caller_of_class_function = "walk_step|replay_step|^gpon_pkt_(general|quick)_forward$"
    caller_of_platform = "^gpon_flow_api_dispatch$|choose_queue|hand_over"
}

function quoted(line, word,    at) {
    at = index(line, word ": \"")
    if (!at) return ""
    line = substr(line, at + length(word) + 3)
    at = index(line, "\"")
    line = substr(line, 1, at - 1)
    sub(/^[*]/, "", line)
    return line
}

function plain(name) {
    sub(/^.*:/, "", name)
    return name
}

# The source file of a function that only its own file knows, else nothing.
function file_of(name) {
    return sub(/:[^:]*$/, "", name) ? name : ""
}

/^node:/ {
    name = quoted($0, "title")
    if (match($0, /[0-9]+ bytes \(/)) {
        frame[name] = substr($0, RSTART, RLENGTH) + 0
        home[name] = source
        if (plain(name) ~ class_function && plain(name) !~ /^gpon_pkt_|^_Z/) class_functions[name] = 1
    }
}

/^edge:/ {
    from = quoted($0, "sourcename")
    to = quoted($0, "targetname")
    if (!((from, to) in seen)) {
        seen[from, to] = 1
        callees[from] = callees[from] "\n" to
        called[to] = 1
    }
}

/^graph:/ { source = quoted($0, "title") }

function complain(text) {
    if (!(text in said)) print "stack-depth: " text > "/dev/stderr"
    said[text] = 1
    failed = 1
}

# What a call through a pointer may reach, a line each.
function candidates(name,    all, one) {
    if (plain(name) ~ caller_of_platform) return ""
    for (one in frame)
        if (plain(name) ~ caller_of_class_function ? one in class_functions : \
            !(one in called) && file_of(one) != "" && file_of(one) == home[name])
            all = all "\n" one
    if (all == "") complain("call through a pointer in " plain(name))
    return all
}

# Callees of a function, a line each.
function calls(name,    list, i, count, all) {
    count = split(callees[name], list, "\n")
    for (i = 2; i <= count; i++)
        all = all (list[i] == "__indirect_call" ? candidates(name) : "\n" list[i])
    return all
}

# Bytes from a function's frame on, with this many activations of the two recursive ones above.
function deepest(name, in_step, in_add,    key, list, count, i, below, best) {
    if (!(name in frame)) return 0
    if (name == step) in_step++
    if (name == add) in_add++
    if (in_step > steps || in_add > adds) return 0
    key = name SUBSEP in_step SUBSEP in_add
    if (key in depth) return depth[key]
    if (key in active) {
        complain("recursion through " plain(name))
        return 0
    }
    active[key] = 1
    count = split(calls(name), list, "\n")
    for (i = 2; i <= count; i++) {
        # The tenth activation of the step function refuses, and calls nothing but the log.
        if (name == step && in_step == steps && list[i] !~ /printk|gpon_log|pr_cont/) continue
        below = deepest(list[i], in_step, in_add)
        if (below > best) {
            best = below
            way[key] = list[i]
        }
    }
    delete active[key]
    return depth[key] = frame[name] + best
}

function show_way(name, in_step, in_add,    key) {
    while (name in frame) {
        if (name == step) in_step++
        if (name == add) in_add++
        printf "%6d %s\n", frame[name], plain(name)
        key = name SUBSEP in_step SUBSEP in_add
        if (!(key in way)) break
        name = way[key]
    }
}

END {
    if (!(entry in frame) || !(step in frame)) {
        complain("there is no " entry " or " step " in the call graphs")
        exit 1
    }
    bytes = deepest(entry, 0, 0)
    print bytes " bytes of stack at most below " entry
    if (bytes > limit) complain(bytes " bytes of stack are more than " limit)
    if (failed || verbose) show_way(entry, 0, 0)
    exit failed
}
