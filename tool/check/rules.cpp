// SPDX-License-Identifier: GPL-2.0-only
#include "tool/check/rules.h"

#include <algorithm>

namespace gponflow {

namespace {

constexpr auto problem = finding_weight::problem;
constexpr auto warning = finding_weight::warning;
constexpr auto note = finding_weight::note;
constexpr bool always = false;
constexpr bool on_request = true;

constexpr check_rule rules[] = {
    {"missing-instance", problem, always, "9.2.3, 9.2.4, 9.3.4, 9.3.10",
     "pointer to an instance that does not exist",
     "A walk follows pointers from the UNI to the GEM port. A pointer to an instance that does not "
     "exist ends the path there, and the frame is dropped. If the pointer belongs to scheduling or "
     "rates, which no frame passes, the finding is a note."},
    {"not-linked", problem, always, "9.2.3, 9.2.4, 9.3.4, 9.3.10",
     "pointer whose link was never recorded",
     "The target exists, but the module did not record the link: the target was created after the "
     "pointer, or the mask of the command does not contain the attribute. The walk does not follow "
     "the pointer. For scheduling and rates the finding is a note."},
    {"row-overflow", problem, always, "9.2.3, 9.2.4, 9.3.4, 9.3.10",
     "more pointers than the target records",
     "An instance records a limited number of pointers from each class, most often one. Later "
     "pointers are not recorded, and the walk does not follow them. Use a target for each "
     "pointer."},
    {"unreachable", warning, always, "9.2.3, 9.2.4, 9.3.1, 9.3.10",
     "instance that no pointer names",
     "No instance points at this bridge, mapper, GEM interworking TP or GEM port, so no frame "
     "reaches it. Often a pointer elsewhere has a wrong id, or the instance remains from a deleted "
     "service."},
    {"no-side", problem, always, "9.3.4", "bridge port with a TP type of no known side",
     "The TP type of a bridge port decides whether it is on the UNI side or on the ANI side. No "
     "frame passes a port whose type the module does not know."},
    {"filter-on-uni-side", problem, always, "9.3.11", "VLAN filter on a port of the UNI side",
     "A VLAN filter belongs to the bridge port with the same id. The module filters on the ANI "
     "side only: a filter on a port of the UNI side drops every frame."},
    {"unknown-operation", problem, always, "9.3.11", "VLAN filter with an undefined operation",
     "Forward operations above 0x21 are not defined. The module drops every frame at such a "
     "filter."},
    {"list-too-long", problem, always, "9.3.11", "VLAN filter with more entries than its list has",
     "The list of a VLAN filter has 12 entries. With a greater count the module compares the "
     "attributes behind the list as if they were VLANs."},
    {"filter-passes-nothing", problem, always, "9.3.11", "VLAN filter that drops every frame",
     "The forward operation passes what is in the list, or what is not in it, and no tagged or "
     "untagged frame is left. Most often the list is empty or its count is 0."},
    {"shadowed-entry", warning, always, "9.3.11", "entry of a VLAN filter that has no effect",
     "An earlier entry of the list is equal in the bits that the forward operation compares: the "
     "VLAN, the priority or the whole tag. The entry changes nothing. Often the VLAN or the "
     "forward operation is wrong."},
    {"filter-compares-priority", warning, always, "9.3.11",
     "VLAN that passes with some priorities only",
     "The forward operation compares the whole tag, so the filter passes a VLAN only with the "
     "listed priority, and no other port accepts the other priorities. Voice and its signalling, "
     "for example, have the same VLAN and different priorities."},
    {"priority-leads-nowhere", problem, always, "9.3.10",
     "priority of a mapper without GEM interworking TP",
     "Frames with this priority are dropped: the mapper has no GEM interworking TP for it, or one "
     "that does not exist, that belongs to another mapper, or that was created after the pointer."},
    {"untagged-dropped", problem, always, "9.3.10", "mapper that maps no untagged frame",
     "The unmarked frame option selects the priority of untagged frames: 0 by DSCP, 1 by the "
     "default priority (0 to 7). With other values the module drops untagged frames."},
    {"wrong-direction", problem, always, "9.2.3", "GEM port whose direction does not fit its use",
     "A GEM port for downstream only (direction 2) below a GEM interworking TP carries no upstream "
     "frame. For a GEM port for upstream only (direction 1) below a multicast GEM interworking TP, "
     "and for an undefined direction, the finding is a note."},
    {"duplicate-port-id", problem, always, "9.2.3", "port-ID of two GEM ports",
     "Two GEM ports have the same port-ID in the same direction. A downstream frame is passed to "
     "the first of them only. Two GEM ports may share a port-ID if one has direction 1 and the "
     "other direction 2."},
    {"gem-port-without-alloc-id", problem, always, "9.2.2, 9.2.3",
     "GEM port whose T-CONT has no alloc-ID",
     "The OLT grants upstream time to alloc-IDs. If the T-CONT of a GEM port has none (0, 0xff or "
     "0xffff), its upstream frames stay in the ONU. The rule applies if the scenario sets at least "
     "one T-CONT."},
    {"tcont-without-queue", warning, always, "9.2.2, 9.2.10", "T-CONT without priority queue",
     "GEM ports use the T-CONT, but no priority queue belongs to it, neither by its related port "
     "nor by its scheduler. The rule applies if the scenario sets at least one queue and the ONU "
     "is not rate controlled."},
    {"queue-on-wrong-side", problem, always, "9.2.10",
     "priority queue whose id and related port disagree",
     "The id of a queue determines whether it is an upstream queue, its related port whether it "
     "belongs to a T-CONT or to a UNI. The two disagree. The rule applies if a config command sets "
     "the boundaries."},
    {"bridge-without-filter", problem, always, "9.3.11", "service that accepts every VLAN",
     "A walk tries the bridges one after the other and leaves through the first port that accepts "
     "the frame. If the line has several bridges, a port without VLAN filter takes the frames of "
     "the bridges after it. On the last bridge it is a warning: frames that no service accepts "
     "leave there instead of being dropped."},
    {"vlan-on-two-bridges", problem, always, "9.3.11", "VLAN that two bridges accept",
     "Ports of two bridges accept the same VLAN with the same priority. All upstream frames leave "
     "through the bridge that is tried first; the other GEM port never carries them."},
    {"shadowed-port", warning, always, "9.3.4, 9.3.11", "port that upstream frames never reach",
     "Ports of the same bridge that are tried first accept all frames that this port accepts."},
    {"service-without-uni", warning, always, "9.3.1, 9.3.4", "bridge without a port to a UNI",
     "The bridge has ports on the ANI side only. Frames from the fibre have no UNI to leave by. "
     "Upstream frames of other bridges may still leave here, because the walk does not restrict "
     "them to the bridge that they entered."},
    {"service-without-ani", warning, always, "9.3.1, 9.3.4", "bridge without a port to the fibre",
     "The bridge has ports on the UNI side only. Its frames leave through the filters of other "
     "bridges or are dropped."},
    {"out-of-range", warning, always, "9.2.2, 9.2.3, 9.2.11, 9.2.12, 9.3.1, 9.3.11",
     "value outside the range of the standard",
     "The attribute has a value that the standard does not define, for example a port-ID above "
     "4095, VLAN 4095, or a peak rate below the committed rate."},
    {"tagging-no-row", problem, always, "9.3.10, 9.3.11, 9.3.13",
     "VLAN that a filter passes and no row produces",
     "The UNI side of a bridge has an extended VLAN tagging operation. A VLAN filter on the ANI "
     "side lists a VLAN, but no row of the table produces frames with it, and no default row "
     "passes them unchanged. If the filter compares priorities, the row has to produce the "
     "priority too. The service carries no upstream frame. A warning if a mapper has a GEM port "
     "for priorities that no row produces: this GEM port carries no upstream frame."},
    {"tagging-shadowed-row", warning, always, "9.3.13", "row that never applies",
     "Rows that are tried first apply to all frames that the row filters, or the row has a "
     "reserved value, so its effect is not known. Rows are tried in the order of their filters, "
     "the more specific ones first; the order of creation has no effect."},
    {"tagging-unassociated", warning, always, "9.3.12, 9.3.13",
     "tagging operation that belongs to no known instance",
     "The association type and the pointer of a tagging operation name the UNI, bridge port, "
     "mapper or GEM interworking TP that it belongs to. The operation is not applied if they are "
     "missing, if the instance does not exist, or if the type is one that is not mirrored."},
    {"capacity", note, on_request, "", "link beyond the capacity of the module",
     "An instance records a limited number of pointers from each class. The pointer belongs to "
     "scheduling or rates, which no frame passes, and an operator cannot change the limit."},
};

} // namespace

const char* name_of(finding_weight weight)
{
    switch (weight) {
    case finding_weight::problem:
        return "problem";
    case finding_weight::warning:
        return "warning";
    default:
        return "note";
    }
}

std::span<const check_rule> check_rules()
{
    return rules;
}

const check_rule* find_rule(std::string_view name)
{
    const auto* found = std::ranges::find(rules, name, &check_rule::name);
    return found == std::end(rules) ? nullptr : found;
}

std::vector<std::string_view> rule_names()
{
    std::vector<std::string_view> names;
    for (const check_rule& rule : rules)
        names.push_back(rule.name);
    return names;
}

} // namespace gponflow
