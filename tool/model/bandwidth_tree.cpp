// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/bandwidth_tree.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <ostream>
#include <set>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "tool/model/upstream_queue.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

struct rates {
    uint64_t committed = 0; ///< bytes per second
    uint64_t peak = 0;
};

struct tree_port {
    me_id ctp;
    gpon_raw_gemctp attributes{};
    std::optional<rates> upstream;
    std::optional<rates> downstream;
    std::optional<uint16_t> queue;            ///< upstream
    std::optional<uint16_t> downstream_queue; ///< of a UNI
};

struct tree_branch {
    std::optional<me_id> tcont; ///< none: downstream only, or of no existing T-CONT
    std::optional<uint16_t> alloc_id;
    std::vector<tree_port> ports;
    std::set<uint16_t> queues; ///< of the T-CONT, and those of its GEM ports
};

std::optional<rates> rates_of(const line_model& entities, uint16_t descriptor)
{
    const me_instance* found = entities.find({me_class::td, descriptor});
    if (found == nullptr)
        return {};
    const auto me = found->as<gpon_raw_td>();
    return rates{me.cir, me.pir};
}

const queue_facts* facts_of(const scheduling& from, uint16_t queue)
{
    const auto found = from.queues.find(queue);
    return found == from.queues.end() ? nullptr : &found->second;
}

// 0 is a null pointer, unless the ONU has such a queue.
std::optional<uint16_t> downstream_queue(uint16_t ctp, const scheduling& from)
{
    constexpr uint16_t null_pointer = 0xffff;
    const auto found = from.downstream_queues.find(ctp);
    if (found == from.downstream_queues.end() || found->second == null_pointer)
        return {};
    if (found->second == 0 && facts_of(from, 0) == nullptr)
        return {};
    return found->second;
}

tree_port port_of(const line_model& entities, const scheduling& from, const me_instance& ctp)
{
    const auto me = ctp.as<gpon_raw_gemctp>();
    tree_port port{
        ctp.id, me, rates_of(entities, me.TDProPtrUp), rates_of(entities, me.TDProPtrDown), {}, {}};
    if (const std::optional<me_id> queue = upstream_queue(ctp, entities))
        port.queue = queue->instance;
    port.downstream_queue = downstream_queue(ctp.id.instance, from);
    return port;
}

// The ONU assigns queues to T-CONTs.
std::set<uint16_t> queues_of(const scheduling& from, uint16_t tcont)
{
    std::set<uint16_t> queues;
    for (const auto& [id, queue] : from.queues)
        if (is_upstream_queue(id) && queue.related_port && *queue.related_port >> 16 == tcont)
            queues.insert(id);
    return queues;
}

// Nothing if the OLT has not assigned one.
std::optional<uint16_t> alloc_id_of(const me_instance& tcont)
{
    const uint16_t id = tcont.as<gpon_raw_tcont>().allocID;
    if (tcont.automatic || !is_assigned_alloc_id(id))
        return {};
    return id;
}

std::vector<tree_branch> tree_of(const line_model& entities, const scheduling& from)
{
    std::vector<tree_branch> tree;
    for (const me_instance& one : entities.instances(me_class::tcont))
        tree.push_back({one.id, alloc_id_of(one), {}, queues_of(from, one.id.instance)});
    tree_branch rest;
    for (const me_instance& one : entities.instances(me_class::gemctp)) {
        tree_port port = port_of(entities, from, one);
        const me_id tcont{me_class::tcont, port.attributes.tcontID};
        const auto found = std::ranges::find(tree, tcont, &tree_branch::tcont);
        tree_branch& owner = found == tree.end() ? rest : *found;
        if (port.queue)
            owner.queues.insert(*port.queue);
        owner.ports.push_back(std::move(port));
    }
    if (!rest.ports.empty())
        tree.push_back(std::move(rest));
    return tree;
}

const char* direction_text(unsigned direction)
{
    constexpr std::array<const char*, 4> names = {"no direction", "upstream", "downstream",
                                                  "both directions"};
    return direction < names.size() ? names.at(direction) : "undefined direction";
}

std::string rates_text(const char* side, const std::optional<rates>& of)
{
    if (!of)
        return {};
    return std::string(", ") + side + " committed " + rate_text(of->committed) + ", peak " +
           rate_text(of->peak);
}

std::string policy_text(std::optional<uint8_t> policy)
{
    constexpr std::array<const char*, 3> names = {"no policy", "strict priority",
                                                  "weighted round robin"};
    if (!policy)
        return {};
    return *policy < names.size() ? names.at(*policy) : "policy " + std::to_string(*policy);
}

// Parts of a line behind the id of its instance.
class details {
public:
    void add(const std::string& text)
    {
        if (!text.empty())
            text_ += (text_.empty() ? "  " : ", ") + text;
    }
    [[nodiscard]] const std::string& text() const { return text_; }

private:
    std::string text_;
};

std::string instance_text(me_class class_id, uint16_t instance)
{
    return to_text(me_id{class_id, instance});
}

void print_port(const tree_port& port, const scheduling& from, int depth, std::ostream& out)
{
    out << std::string(static_cast<size_t>(depth) * 2, ' ') << "GEM port " << port.attributes.portID
        << "  " << to_text(port.ctp) << ", " << direction_text(port.attributes.direction)
        << rates_text("upstream", port.upstream) << rates_text("downstream", port.downstream);
    if (port.downstream_queue) {
        out << ", downstream " << instance_text(me_class::pq, *port.downstream_queue);
        const queue_facts* queue = facts_of(from, *port.downstream_queue);
        if (queue && queue->related_port)
            out << " (priority " << (*queue->related_port & 0xffff) << ")";
    }
    out << '\n';
}

std::string queue_text(uint16_t id, const tree_branch& branch, const scheduling& from)
{
    details parts;
    if (const queue_facts* queue = facts_of(from, id)) {
        if (queue->related_port)
            parts.add("priority " + std::to_string(*queue->related_port & 0xffff));
        if (queue->weight)
            parts.add("weight " + std::to_string(*queue->weight));
        if (queue->scheduler.value_or(0) != 0)
            parts.add("by " + instance_text(me_class::ts, *queue->scheduler));
        const uint32_t owner = queue->related_port.value_or(0) >> 16;
        if (queue->related_port && branch.tcont && owner != branch.tcont->instance)
            parts.add("of " + instance_text(me_class::tcont, static_cast<uint16_t>(owner)));
    }
    return instance_text(me_class::pq, id) + parts.text();
}

bool has_ports(const tree_branch& branch, uint16_t queue)
{
    return std::ranges::any_of(branch.ports,
                               [queue](const tree_port& port) { return port.queue == queue; });
}

void print_queues(const tree_branch& branch, const scheduling& from, std::ostream& out)
{
    std::set<uint32_t> unused; ///< priorities
    size_t count = 0;
    for (const uint16_t id : branch.queues) {
        if (!has_ports(branch, id)) {
            unused.insert(*facts_of(from, id)->related_port & 0xffff);
            ++count;
            continue;
        }
        out << "  " << queue_text(id, branch, from) << '\n';
        for (const tree_port& port : branch.ports)
            if (port.queue == id)
                print_port(port, from, 2, out);
    }
    if (count == 0)
        return;
    out << "  " << counted(count, "queue") << " without a GEM port: priority";
    for (const char* separator = " "; const uint32_t priority : unused)
        out << std::exchange(separator, ", ") << priority;
    out << '\n';
}

void print_schedulers(const tree_branch& branch, const scheduling& from, std::ostream& out)
{
    for (const auto& [id, scheduler] : from.schedulers) {
        if (!branch.tcont || scheduler.tcont != branch.tcont->instance)
            continue;
        details parts;
        parts.add(policy_text(scheduler.policy));
        if (scheduler.weight)
            parts.add("priority or weight " + std::to_string(*scheduler.weight));
        if (scheduler.parent.value_or(0) != 0)
            parts.add("below " + instance_text(me_class::ts, *scheduler.parent));
        out << "  " << instance_text(me_class::ts, id) << parts.text() << '\n';
    }
}

std::optional<uint8_t> policy_of(const tree_branch& branch, const scheduling& from)
{
    const auto found = from.tcont_policies.find(branch.tcont ? branch.tcont->instance : 0);
    if (!branch.tcont || found == from.tcont_policies.end())
        return {};
    return found->second;
}

void print_branch(const tree_branch& branch, const scheduling& from, std::ostream& out)
{
    if (branch.tcont) {
        const std::string policy = policy_text(policy_of(branch, from));
        out << to_text(*branch.tcont) << "  "
            << (branch.alloc_id ? "alloc-ID " + std::to_string(*branch.alloc_id) : "no alloc-ID")
            << (policy.empty() ? "" : ", ") << policy << '\n';
    } else {
        out << "no T-CONT\n";
    }
    print_schedulers(branch, from, out);
    print_queues(branch, from, out);
    for (const tree_port& port : branch.ports)
        if (!port.queue)
            print_port(port, from, 1, out);
}

json rates_json(const std::optional<rates>& of)
{
    if (!of)
        return nullptr;
    return {{"committed_bytes_per_second", of->committed}, {"peak_bytes_per_second", of->peak}};
}

// T-CONTs that the ONU reported and the OLT does not use.
void print_unassigned(const line_model& entities, const scheduling& from, std::ostream& out)
{
    constexpr size_t shown = 8;
    std::string ids;
    size_t count = 0;
    for (const auto& [id, policy] : from.tcont_policies)
        if (entities.find({me_class::tcont, id}) == nullptr && ++count <= shown)
            ids += (ids.empty() ? "" : ", ") + instance_text(me_class::tcont, id);
    if (count > shown)
        ids += " and " + std::to_string(count - shown) + " more";
    if (count != 0)
        out << "without an alloc-ID: " << ids << '\n';
}

template <typename value> json optional_json(const std::optional<value>& of)
{
    return of ? json(*of) : json(nullptr);
}

json port_json(const tree_port& port)
{
    return {{"gem_port", port.attributes.portID},
            {"instance", port.ctp.instance},
            {"direction", port.attributes.direction},
            {"queue", port.queue.value_or(0)},
            {"downstream_queue", optional_json(port.downstream_queue)},
            {"upstream", rates_json(port.upstream)},
            {"downstream", rates_json(port.downstream)}};
}

json queues_json(const tree_branch& branch, const scheduling& from)
{
    json all = json::array();
    for (const uint16_t id : branch.queues) {
        const queue_facts* known = facts_of(from, id);
        const queue_facts queue = known ? *known : queue_facts{};
        json entry{{"instance", id},
                   {"scheduler", optional_json(queue.scheduler)},
                   {"weight", optional_json(queue.weight)}};
        entry["priority"] = queue.related_port ? json(*queue.related_port & 0xffff) : json(nullptr);
        all.push_back(std::move(entry));
    }
    return all;
}

json schedulers_json(const tree_branch& branch, const scheduling& from)
{
    json all = json::array();
    for (const auto& [id, one] : from.schedulers)
        if (branch.tcont && one.tcont == branch.tcont->instance)
            all.push_back({{"instance", id},
                           {"parent", optional_json(one.parent)},
                           {"policy", optional_json(one.policy)},
                           {"weight", optional_json(one.weight)}});
    return all;
}

json branch_json(const tree_branch& branch, const scheduling& from)
{
    json ports = json::array();
    for (const tree_port& port : branch.ports)
        ports.push_back(port_json(port));
    json entry;
    entry["t_cont"] = branch.tcont ? json(branch.tcont->instance) : json(nullptr);
    entry["alloc_id"] = optional_json(branch.alloc_id);
    entry["policy"] = optional_json(policy_of(branch, from));
    entry["schedulers"] = schedulers_json(branch, from);
    entry["queues"] = queues_json(branch, from);
    entry["gem_ports"] = std::move(ports);
    return entry;
}

} // namespace

std::string rate_text(uint64_t bytes_per_second)
{
    double bits = static_cast<double>(bytes_per_second) * 8;
    constexpr std::array<const char*, 4> units = {"bit/s", "kbit/s", "Mbit/s", "Gbit/s"};
    size_t unit = 0;
    for (; bits >= 1000 && unit + 1 < units.size(); ++unit)
        bits /= 1000;
    std::array<char, 40> text;
    std::snprintf(text.data(), text.size(), "%.3f", bits);
    std::string number = text.data();
    number.erase(number.find_last_not_of('0') + 1);
    if (number.ends_with('.'))
        number.pop_back();
    return number + " " + units.at(unit);
}

void print_bandwidth_tree(const line_model& entities, const scheduling& queues, std::ostream& out)
{
    for (const tree_branch& branch : tree_of(entities, queues))
        print_branch(branch, queues, out);
    print_unassigned(entities, queues, out);
}

json bandwidth_json(const line_model& entities, const scheduling& queues)
{
    json tree = json::array();
    for (const tree_branch& branch : tree_of(entities, queues))
        tree.push_back(branch_json(branch, queues));
    return tree;
}

} // namespace gponflow
