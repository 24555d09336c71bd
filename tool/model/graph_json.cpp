// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/graph_json.h"

#include <algorithm>
#include <optional>

#include <nlohmann/json.hpp>

#include "tool/model/instance_json.h"
#include "tool/model/tag_places.h"

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

// Tagging operations with what they belong to: their records have no pointers.
json operations_json(const line_model& entities, const std::vector<me_id>& walked)
{
    json operations = json::array();
    for (const me_id id : entities.tag_operations()) {
        json operation = id_json(id);
        operation["highlighted"] = holds(walked, id);
        if (const std::optional<me_id> place = place_of(entities, id))
            operation["at"] = id_json(*place);
        operations.push_back(std::move(operation));
    }
    return operations;
}

} // namespace

void print_graph_json(const line_model& entities, const std::vector<me_id>& walked,
                      const std::string& file, std::ostream& out)
{
    json nodes = json::array();
    json edges = json::array();
    for (const me_instance* one : entities.all()) {
        json node = id_json(one->id);
        node["line"] = one->source_line;
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
    whole["operations"] = operations_json(entities, walked);
    print_json(whole, out);
}

} // namespace gponflow
