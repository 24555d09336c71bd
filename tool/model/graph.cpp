// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/graph.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ostream>
#include <set>

namespace gponflow {

namespace {

struct look {
    uint16_t class_id;
    const char* shape;
    const char* colour;
};

// What ends a way is a house, what a frame passes a box or an ellipse, what hangs on it a note.
constexpr look looks[] = {
    {11, "house", "#cfe8cf"},          {329, "house", "#b9dfd6"},
    {45, "box3d", "#f6e3b4"},          {47, "box", "#fbf1d5"},
    {84, "note", "#e6d5f0"},           {78, "note", "#efd9e4"},
    {171, "note", "#f3dfd5"},          {130, "trapezium", "#d5e3f5"},
    {266, "ellipse", "#dcebfa"},       {281, "doubleoctagon", "#dcebfa"},
    {268, "invhouse", "#c5d9f1"},      {262, "cylinder", "#e4e4e4"},
    {278, "hexagon", "#ececec"},       {277, "cds", "#f2f2f2"},
    {280, "parallelogram", "#e9eee0"},
};

// What an operation on tags may belong to, the most likely first.
constexpr std::array<uint16_t, 3> tagged = {11, 329, 47};

std::string name_of(me_id what)
{
    return "\"" + to_text(what) + "\"";
}

// What a reader looks for in an instance.
std::string detail(const mirrored_instance& me)
{
    switch (me.id.class_id) {
    case 268:
        return "\\nport " + std::to_string(me.as<gpon_raw_gemctp>().portID);
    case 84: {
        const auto filter = me.as<gpon_raw_vtfd>();
        char text[32];
        std::snprintf(text, sizeof(text), "\\ncode 0x%02x", filter.forwardOperation);
        std::string list;
        for (unsigned i = 0; i < std::min<unsigned>(filter.vlanFilterNums, 12); ++i)
            list += (i ? ", " : ": ") + std::to_string(filter.vlanFilterList[i]);
        return text + list;
    }
    default:
        return {};
    }
}

std::string label(const mirrored_instance& me)
{
    std::string text = to_text(me.id);
    text.replace(text.find(' '), 1, "\\n");
    return text + detail(me);
}

class dot_writer {
public:
    dot_writer(const mirror& what, const std::vector<me_id>& walked, std::ostream& out)
        : mirror_(what), walked_(walked), out_(out)
    {
    }

    void write()
    {
        out_ << "digraph provisioning {\n"
                "  rankdir=LR;\n"
                "  node [fontname=\"sans-serif\", fontsize=10, style=filled];\n"
                "  edge [fontname=\"sans-serif\", fontsize=8, color=\"#666666\"];\n";
        for (const mirrored_instance* one : mirror_.all())
            write_node(*one);
        for (const mirrored_instance* one : mirror_.all())
            for (const me_pointer& pointer : mirror_.pointers(*one))
                write_edge(pointer);
        for (const mirrored_instance& operation : mirror_.instances(78))
            hang(operation);
        out_ << "}\n";
    }

private:
    void write_node(const mirrored_instance& one)
    {
        const auto* found = std::ranges::find(looks, one.id.class_id, &look::class_id);
        out_ << "  " << name_of(one.id) << " [label=\"" << label(one)
             << "\", shape=" << found->shape << ", fillcolor=\"" << found->colour << '"';
        if (std::ranges::find(walked_, one.id) != walked_.end())
            out_ << ", color=\"#d06000\", penwidth=3";
        out_ << "];\n";
    }

    void write_edge(const me_pointer& pointer)
    {
        const pointer_state state = mirror_.state(pointer);
        const bool missing = state == pointer_state::missing;
        // A mapper's entry 0 is no pointer: nobody provisions it to lead anywhere.
        if (missing && pointer.from.class_id == 130 && pointer.to.instance == 0)
            return;
        if (missing && absent_.insert(pointer.to).second)
            out_ << "  " << name_of(pointer.to) << " [label=" << name_of(pointer.to)
                 << ", color=red, fontcolor=red, fillcolor=white, style=\"filled,dashed\"];\n";
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

    // Its record names nothing: what it belongs to has the same id. The id of an extended operation
    // says nothing, and the module keeps no more of it.
    void hang(const mirrored_instance& operation)
    {
        for (const uint16_t class_id : tagged) {
            const me_id port{class_id, operation.id.instance};
            if (!mirror_.find(port))
                continue;
            out_ << "  " << name_of(operation.id) << " -> " << name_of(port)
                 << " [label=\"same id\", style=dotted];\n";
            return;
        }
    }

    // A walk goes along a pointer or against it.
    bool is_walked(const me_pointer& pointer) const
    {
        for (size_t i = 1; i < walked_.size(); ++i)
            if ((walked_[i - 1] == pointer.from && walked_[i] == pointer.to) ||
                (walked_[i - 1] == pointer.to && walked_[i] == pointer.from))
                return true;
        return false;
    }

    const mirror& mirror_;
    const std::vector<me_id>& walked_;
    std::ostream& out_;
    std::set<me_id> absent_;
};

} // namespace

void write_dot(const mirror& what, const std::vector<me_id>& walked, std::ostream& out)
{
    dot_writer(what, walked, out).write();
}

} // namespace gponflow
