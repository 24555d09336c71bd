// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/graph.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <ostream>
#include <set>

#include "tool/model/tag_places.h"
#include "tool/model/tag_set.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

struct look {
    me_class class_id;
    const char* shape;
    const char* colour;
};

// A path ends at a "house" and passes boxes and ellipses; a "note" belongs to one of them.
constexpr look looks[] = {
    {me_class::pptp, "house", "#cfe8cf"},       {me_class::veip, "house", "#b9dfd6"},
    {me_class::mbsp, "box3d", "#f6e3b4"},       {me_class::mbpcd, "box", "#fbf1d5"},
    {me_class::vtfd, "note", "#e6d5f0"},        {me_class::vtocd, "note", "#efd9e4"},
    {me_class::evtocd, "note", "#f3dfd5"},      {me_class::mapper, "trapezium", "#d5e3f5"},
    {me_class::gemiw, "ellipse", "#dcebfa"},    {me_class::multigemiw, "doubleoctagon", "#dcebfa"},
    {me_class::gemctp, "invhouse", "#c5d9f1"},  {me_class::tcont, "cylinder", "#e4e4e4"},
    {me_class::ts, "hexagon", "#ececec"},       {me_class::pq, "cds", "#f2f2f2"},
    {me_class::td, "parallelogram", "#e9eee0"},
};

constexpr look default_look = {me_class::none, "box", "#ffffff"};

const look& look_of(me_class class_id)
{
    const auto* found = std::ranges::find(looks, class_id, &look::class_id);
    return found == std::end(looks) ? default_look : *found;
}

std::string name_of(me_id id)
{
    return "\"" + to_text(id) + "\"";
}

// The most useful attributes of an instance, for its label.
std::string detail(const me_instance& me)
{
    switch (me.id.class_id) {
    case me_class::gemctp:
        return "\\nport " + std::to_string(me.as<gpon_raw_gemctp>().portID);
    case me_class::vtfd: {
        const auto filter = me.as<gpon_raw_vtfd>();
        char text[32];
        std::snprintf(text, sizeof(text), "\\ncode 0x%02x", filter.forwardOperation);
        std::string list;
        for (const uint16_t tci : listed_tcis(filter))
            list += (list.empty() ? ": " : ", ") + std::to_string(tci);
        return text + list;
    }
    default:
        return {};
    }
}

std::string label(const me_instance& me)
{
    std::string text = to_text(me.id);
    text.replace(text.find(' '), 1, "\\n");
    return text + detail(me);
}

bool is_in(const std::vector<me_id>& all, me_id one)
{
    return std::ranges::find(all, one) != all.end();
}

class dot_writer {
public:
    dot_writer(const line_model& entities, const std::vector<me_id>& walked, std::ostream& out)
        : model_(entities), walked_(walked), out_(out)
    {
    }

    void write()
    {
        out_ << "digraph provisioning {\n"
                "  rankdir=LR;\n"
                "  node [fontname=\"sans-serif\", fontsize=10, style=filled];\n"
                "  edge [fontname=\"sans-serif\", fontsize=8, color=\"#666666\"];\n";
        for (const me_instance* one : model_.all())
            write_node(*one);
        for (const me_instance* one : model_.all())
            for (const me_pointer& pointer : model_.pointers(*one))
                write_edge(pointer);
        for (const me_id operation : model_.tag_operations())
            write_tagging_edge(operation);
        out_ << "}\n";
    }

private:
    void write_node(const me_instance& one)
    {
        const look& drawn = look_of(one.id.class_id);
        out_ << "  " << name_of(one.id) << " [label=\"" << label(one) << table_size(one.id)
             << "\", shape=" << drawn.shape << ", fillcolor=\"" << drawn.colour << '"';
        if (is_in(walked_, one.id))
            out_ << ", color=\"#d06000\", penwidth=3";
        out_ << "];\n";
    }

    std::string table_size(me_id id) const
    {
        const tag_operation* operation = model_.operation(id);
        return operation && operation->table_known ? "\\n" + counted(operation->rows.size(), "row")
                                                   : "";
    }

    void write_edge(const me_pointer& pointer)
    {
        const pointer_state state = model_.state(pointer);
        const bool missing = state == pointer_state::missing;
        // By convention a mapper's entry 0 means no pointer.
        if (missing && pointer.from.class_id == me_class::mapper && pointer.to.instance == 0)
            return;
        if (missing)
            write_absent_node(pointer.to);
        out_ << "  " << name_of(pointer.from) << " -> " << name_of(pointer.to) << " [label=\""
             << pointer.attribute << '"';
        if (missing)
            out_ << ", color=red, fontcolor=red";
        else if (state != pointer_state::recorded)
            out_ << ", style=dashed, color=\"#b08000\"";
        else if (is_walked(pointer))
            out_ << ", color=\"#d06000\", penwidth=3";
        out_ << "];\n";
    }

    // The record of an operation has no pointer: the association is a fact of the scenario, or its
    // port has the same id.
    void write_tagging_edge(me_id operation)
    {
        if (!model_.find(operation))
            write_plain_node(operation);
        const std::optional<me_id> place = place_of(model_, operation);
        if (!place)
            return;
        const bool exists = model_.find(*place) != nullptr;
        if (!exists)
            write_absent_node(*place);
        const bool same_id = !model_.operation(operation);
        out_ << "  " << name_of(operation) << " -> " << name_of(*place) << " [label=\""
             << (same_id ? "same id" : "tagging") << "\", style=dotted"
             << (!exists ? ", color=red, fontcolor=red"
                 : is_in(walked_, operation) && is_in(walked_, *place)
                     ? ", color=\"#d06000\", penwidth=3"
                     : "")
             << "];\n";
    }

    // An operation that the scenario describes, but that the module does not have.
    void write_plain_node(me_id id)
    {
        me_instance node;
        node.id = id;
        write_node(node);
    }

    void write_absent_node(me_id id)
    {
        if (absent_.insert(id).second)
            out_ << "  " << name_of(id) << " [label=" << name_of(id)
                 << ", color=red, fontcolor=red, fillcolor=white, style=\"filled,dashed\"];\n";
    }

    // A walk follows a pointer in either direction.
    bool is_walked(const me_pointer& pointer) const
    {
        for (size_t i = 1; i < walked_.size(); ++i)
            if ((walked_[i - 1] == pointer.from && walked_[i] == pointer.to) ||
                (walked_[i - 1] == pointer.to && walked_[i] == pointer.from))
                return true;
        return false;
    }

    const line_model& model_;
    const std::vector<me_id>& walked_;
    std::ostream& out_;
    std::set<me_id> absent_;
};

} // namespace

void write_dot(const line_model& entities, const std::vector<me_id>& walked, std::ostream& out)
{
    dot_writer(entities, walked, out).write();
}

} // namespace gponflow
