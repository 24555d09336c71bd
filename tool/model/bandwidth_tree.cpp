// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/bandwidth_tree.h"

#include <array>
#include <cstdio>
#include <optional>
#include <ostream>
#include <vector>

#include <nlohmann/json.hpp>

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
};

struct tree_branch {
    std::optional<me_id> tcont; ///< none: downstream only, or of no existing T-CONT
    uint16_t alloc_id = 0;
    std::vector<tree_port> ports;
};

std::optional<rates> rates_of(const line_model& line, uint16_t descriptor)
{
    const me_instance* found = line.find({me_class::td, descriptor});
    if (found == nullptr)
        return {};
    const auto me = found->as<gpon_raw_td>();
    return rates{me.cir, me.pir};
}

std::vector<tree_branch> tree_of(const line_model& line)
{
    std::vector<tree_branch> tree;
    for (const me_instance& one : line.instances(me_class::tcont))
        tree.push_back({one.id, one.as<gpon_raw_tcont>().allocID, {}});
    tree_branch rest;
    for (const me_instance& one : line.instances(me_class::gemctp)) {
        const auto me = one.as<gpon_raw_gemctp>();
        const me_id tcont{me_class::tcont, me.tcontID};
        tree_branch* owner = &rest;
        for (tree_branch& branch : tree)
            if (branch.tcont == tcont)
                owner = &branch;
        owner->ports.push_back(
            {one.id, me, rates_of(line, me.TDProPtrUp), rates_of(line, me.TDProPtrDown)});
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

void print_port(const tree_port& port, std::ostream& out)
{
    out << "  GEM port " << port.attributes.portID << "  " << to_text(port.ctp) << ", "
        << direction_text(port.attributes.direction);
    if (port.attributes.trafficMgrPtrUp != 0)
        out << ", " << to_text(me_id{me_class::pq, port.attributes.trafficMgrPtrUp});
    out << rates_text("upstream", port.upstream) << rates_text("downstream", port.downstream)
        << '\n';
}

json rates_json(const std::optional<rates>& of)
{
    if (!of)
        return nullptr;
    return {{"committed_bytes_per_second", of->committed}, {"peak_bytes_per_second", of->peak}};
}

json port_json(const tree_port& port)
{
    return {{"gem_port", port.attributes.portID},     {"instance", port.ctp.instance},
            {"direction", port.attributes.direction}, {"queue", port.attributes.trafficMgrPtrUp},
            {"upstream", rates_json(port.upstream)},  {"downstream", rates_json(port.downstream)}};
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

void print_bandwidth_tree(const line_model& line, std::ostream& out)
{
    for (const tree_branch& branch : tree_of(line)) {
        if (branch.tcont)
            out << to_text(*branch.tcont) << "  alloc-ID " << branch.alloc_id << '\n';
        else
            out << "no T-CONT\n";
        for (const tree_port& port : branch.ports)
            print_port(port, out);
    }
}

json bandwidth_json(const line_model& line)
{
    json tree = json::array();
    for (const tree_branch& branch : tree_of(line)) {
        json ports = json::array();
        for (const tree_port& port : branch.ports)
            ports.push_back(port_json(port));
        json entry;
        entry["t_cont"] = branch.tcont ? json(branch.tcont->instance) : json(nullptr);
        entry["alloc_id"] = branch.tcont ? json(branch.alloc_id) : json(nullptr);
        entry["gem_ports"] = std::move(ports);
        tree.push_back(std::move(entry));
    }
    return tree;
}

} // namespace gponflow
