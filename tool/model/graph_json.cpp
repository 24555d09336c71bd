// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/graph_json.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "tool/model/instance_json.h"

namespace gponflow {

namespace {

const char* state_name(pointer_state state)
{
    switch (state) {
    case pointer_state::recorded:
        return "recorded";
    case pointer_state::missing:
        return "missing";
    case pointer_state::overflowed:
        return "overflowed";
    default:
        return "unrecorded";
    }
}

bool holds(const std::vector<me_id>& all, me_id one)
{
    return std::ranges::find(all, one) != all.end();
}

} // namespace

void print_graph_json(const line_model& entities, const std::vector<me_id>& walked,
                      const std::string& file, std::ostream& out)
{
    json nodes = json::array();
    json edges = json::array();
    for (const me_instance* one : entities.all()) {
        json node = id_json(one->id);
        node["line"] = one->line;
        node["automatic"] = one->automatic;
        node["highlighted"] = holds(walked, one->id);
        node["attributes"] = attributes_json(*one);
        nodes.push_back(std::move(node));
        for (const me_pointer& pointer : entities.pointers(*one))
            edges.push_back({{"from", id_json(pointer.from)},
                             {"to", id_json(pointer.to)},
                             {"attribute", pointer.attribute},
                             {"state", state_name(entities.state(pointer))}});
    }
    json whole = json_document("graph");
    whole["scenario"] = file;
    whole["nodes"] = std::move(nodes);
    whole["edges"] = std::move(edges);
    print_json(whole, out);
}

} // namespace gponflow
