// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/check.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "include/tp_types.h"

namespace gponflow {

namespace {

constexpr uint16_t no_gem_iw = 0xffff;
constexpr unsigned priorities = 8;
constexpr uint8_t last_forward_operation = 0x21;
constexpr uint8_t filter_places = 12;

std::string hex(unsigned value, int digits)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%0*x", digits, value);
    return text;
}

tp_side side_of(const me_instance& port)
{
    return gpon::bridge_port_tp(port.as<gpon_raw_mbpcd>().tpType).side;
}

// "1, 11".
std::string tp_types_of(tp_side side)
{
    std::string text;
    for (const tp_type& type : BRIDGE_PORT_TP_TYPES)
        if (type.side == side)
            text += (text.empty() ? "" : ", ") + std::to_string(type.value);
    return text;
}

bool is_scheduling(uint16_t class_id)
{
    const class_record* known = find_me_class(class_id);
    return known && known->scheduling;
}

// Links that no walk follows: they describe scheduling and rates.
bool is_followed(const me_pointer& pointer)
{
    return !is_scheduling(pointer.to.class_id) && !is_scheduling(pointer.from.class_id);
}

class checker {
public:
    explicit checker(const line_model& what) : model_(what) {}

    std::vector<finding> run()
    {
        for (const me_instance* one : model_.all()) {
            check_pointers(*one);
            check_class(*one);
        }
        std::ranges::stable_sort(found_, [](const finding& left, const finding& right) {
            return std::pair(left.weight, left.line) < std::pair(right.weight, right.line);
        });
        return std::move(found_);
    }

private:
    void add(const me_instance& where, finding_weight weight, const char* kind,
             const std::string& reason, const std::string& change)
    {
        found_.push_back({weight, kind, where.id, where.line, reason, change});
    }

    void problem(const me_instance& where, const char* kind, const std::string& reason,
                 const std::string& change)
    {
        add(where, finding_weight::problem, kind, reason, change);
    }

    void check_class(const me_instance& one)
    {
        switch (one.id.class_id) {
        case me_class::mbpcd:
            return check_bridge_port(one);
        case me_class::vtfd:
            return check_filter(one);
        case me_class::mapper:
            return check_mapper(one);
        case me_class::gemiw:
            return check_direction(one, one.as<gpon_raw_gemiw>().gemCTPInstID);
        case me_class::gemctp:
            return check_known_direction(one);
        case me_class::pq:
            return check_queue(one);
        case me_class::multigemiw:
            return check_stream(one, one.as<gpon_raw_multigemiw>().GemCTPInstID);
        default:
            return;
        }
    }

    void check_pointers(const me_instance& from)
    {
        for (const me_pointer& pointer : model_.pointers(from)) {
            // The priorities of a mapper are reported once per mapper.
            if (from.id.class_id == me_class::mapper && pointer.list_element)
                continue;
            check_pointer(from, pointer);
        }
    }

    void check_pointer(const me_instance& from, const me_pointer& pointer)
    {
        const auto weight = is_followed(pointer) ? finding_weight::problem : finding_weight::note;
        const std::string target = to_text(pointer.to);
        switch (model_.state(pointer)) {
        case pointer_state::recorded:
            return;
        case pointer_state::missing:
            return add(from, weight, "missing-instance",
                       pointer.attribute + " names " + target + ", which does not exist",
                       "create it before this instance, or correct the pointer");
        case pointer_state::unrecorded:
            return add(from, weight, "not-linked",
                       pointer.attribute + " names " + target +
                           ", but the link is not recorded: the target was created later, or "
                           "the mask does not include the attribute",
                       "set " + pointer.attribute + " again after the target is created");
        case pointer_state::overflowed:
            return add(from, weight, "row-overflow",
                       target + " has no free entry for it (" + taken_by(pointer) + ")",
                       "use a separate target; only the first pointers are recorded");
        }
    }

    std::string taken_by(const me_pointer& pointer) const
    {
        const recorded_row* row = model_.find(pointer.to)->row_of(pointer.from.class_id);
        if (row->instances.empty())
            return "no entries";
        return std::to_string(row->places) + (row->places == 1 ? " entry" : " entries") +
               ", used first by " + to_text({pointer.from.class_id, row->instances.front()});
    }

    void check_bridge_port(const me_instance& port)
    {
        const uint8_t type = port.as<gpon_raw_mbpcd>().tpType;
        if (side_of(port) != tp_side::none)
            return;
        problem(port, "no-side",
                "tpType " + std::to_string(type) + " is neither a UNI type (" +
                    tp_types_of(tp_side::uni) + ") nor an ANI type (" + tp_types_of(tp_side::ani) +
                    "): no frame passes",
                "set tpType and tpPointer to the termination point behind the port");
    }

    void check_filter(const me_instance& filter)
    {
        const auto me = filter.as<gpon_raw_vtfd>();
        if (me.forwardOperation > last_forward_operation)
            problem(filter, "unknown-operation",
                    "forwardOperation " + hex(me.forwardOperation, 2) +
                        " is not defined: every frame is dropped",
                    "use 0x00 to 0x21");
        if (me.vlanFilterNums > filter_places)
            problem(filter, "list-too-long",
                    "vlanFilterNums is " + std::to_string(me.vlanFilterNums) +
                        ", but the list has 12 entries",
                    "set it to the number of entries in use");
        const me_instance* port = model_.find({me_class::mbpcd, filter.id.instance});
        if (port && port->records(filter.id) && side_of(*port) == tp_side::uni)
            problem(filter, "filter-on-uni-side",
                    "its bridge port is on the UNI side, where a filter drops every frame",
                    "delete it, or use the id of the bridge port on the ANI side");
    }

    // Empty if the priority leads to a GEM IW TP that a walk reaches.
    std::string dead_end(const me_instance& mapper, uint16_t gem_iw) const
    {
        const me_id target{me_class::gemiw, gem_iw};
        if (gem_iw == 0 || gem_iw == no_gem_iw)
            return "no GEM IW TP";
        const me_instance* found = model_.find(target);
        if (!found)
            return to_text(target) + " does not exist";
        if (found->records(mapper.id))
            return {};
        const recorded_row* row = found->row_of(me_class::mapper);
        if (row && !row->instances.empty())
            return to_text(target) + " is used by " +
                   to_text({me_class::mapper, row->instances.front()});
        return to_text(target) + " was created after the pointer to it";
    }

    void check_mapper(const me_instance& mapper)
    {
        const auto me = mapper.as<gpon_raw_mapper>();
        // Priorities with the same reason are reported together.
        std::vector<std::pair<std::string, std::string>> reasons;
        for (unsigned priority = 0; priority < priorities; ++priority) {
            const std::string why = dead_end(mapper, me.pbit_GemIWTP[priority]);
            if (why.empty())
                continue;
            const auto same =
                std::ranges::find(reasons, why, &std::pair<std::string, std::string>::first);
            if (same == reasons.end())
                reasons.emplace_back(why, std::to_string(priority));
            else
                same->second += ", " + std::to_string(priority);
        }
        for (const auto& [why, which] : reasons)
            problem(mapper, "priority-leads-nowhere", "priority " + which + ": " + why,
                    "set pbit_GemIWTP of these priorities to a GEM IW TP of this mapper; create it "
                    "first");
        check_untagged(mapper, me);
    }

    void check_untagged(const me_instance& mapper, const gpon_raw_mapper& me)
    {
        if (me.unmark_frame_opt > 1)
            problem(mapper, "untagged-dropped",
                    "unmark_frame_opt " + std::to_string(me.unmark_frame_opt) +
                        " does not map untagged frames",
                    "use 0 (by DSCP) or 1 (defaultPbit)");
        else if (me.unmark_frame_opt == 1 && me.defaultPbit >= priorities)
            problem(mapper, "untagged-dropped",
                    "defaultPbit " + std::to_string(me.defaultPbit) + " is not a priority",
                    "use 0 to 7");
    }

    void check_direction(const me_instance& gem_iw, uint16_t ctp_id)
    {
        const me_instance* ctp = model_.find({me_class::gemctp, ctp_id});
        if (!ctp || ctp->as<gpon_raw_gemctp>().direction != 2)
            return;
        problem(gem_iw, "wrong-direction",
                to_text(ctp->id) + " has direction 2 (downstream only): no upstream frame passes",
                "set its direction to 3, or point at it from a MULTICAST_GEM_INTERWORK_TP");
    }

    // The module does not depend on the following two checks: it treats every direction except 2 as
    // upstream, and ignores the direction downstream. The hardware uses it.
    void check_known_direction(const me_instance& ctp)
    {
        const uint32_t direction = ctp.as<gpon_raw_gemctp>().direction;
        if (direction >= 1 && direction <= 3)
            return;
        add(ctp, finding_weight::note, "wrong-direction",
            "direction " + std::to_string(direction) +
                " is not defined; the module treats it as upstream",
            "use 1 (upstream), 2 (downstream) or 3 (both)");
    }

    void check_stream(const me_instance& gem_iw, uint16_t ctp_id)
    {
        const me_instance* ctp = model_.find({me_class::gemctp, ctp_id});
        if (!ctp || ctp->as<gpon_raw_gemctp>().direction != 1)
            return;
        add(gem_iw, finding_weight::note, "wrong-direction",
            to_text(ctp->id) + " has direction 1 (upstream only): it carries no downstream stream",
            "set its direction to 2");
    }

    void check_queue(const me_instance& queue)
    {
        const gpon_flow_cfg_data& cfg = model_.configuration();
        // Without a configuration there are no sides.
        if (cfg.upstream_queue_num == 0 && cfg.related_port_boundary == 0)
            return;
        const bool by_id = queue.id.instance < cfg.upstream_queue_num;
        const uint32_t port = queue.as<gpon_raw_pq>().relatedPort;
        if (by_id == (port >= cfg.related_port_boundary))
            return;
        problem(queue, "queue-on-wrong-side",
                std::string("its id is that of ") + (by_id ? "an upstream" : "a downstream") +
                    " queue (upstream_queue_num " + std::to_string(cfg.upstream_queue_num) +
                    "), its relatedPort " + hex(port, 8) + " belongs to a " +
                    (by_id ? "UNI" : "T-CONT") + " (related_port_boundary " +
                    hex(cfg.related_port_boundary, 8) + ")",
                "correct relatedPort, or the configuration");
    }

    const line_model& model_;
    std::vector<finding> found_;
};

} // namespace

std::vector<finding> check_provisioning(const line_model& what)
{
    return checker(what).run();
}

} // namespace gponflow
