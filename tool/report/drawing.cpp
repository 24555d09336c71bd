// SPDX-License-Identifier: GPL-2.0-only
#include "tool/report/drawing.h"

#include <algorithm>
#include <array>

#include "include/tp_types.h"
#include "tool/report/entity_text.h"

namespace gponflow {

namespace {

// Of a box in page.css, and the distances between the corners of neighbours.
constexpr int box_width = 156, box_height = 40, column_pitch = 192, row_pitch = 52, margin = 8;
constexpr size_t most_rows = 12; // of a column; the rest is beside it
constexpr size_t columns = 9;

// In the order of the path of a frame from the subscriber to the fibre.
size_t column_of(const line_model& entities, me_id id)
{
    const auto side_of_port = [&](me_id port) {
        const me_instance* me = entities.find(port);
        return me ? gpon::bridge_port_tp(me->as<gpon_raw_mbpcd>().tpType).side : tp_side::none;
    };
    switch (id.class_id) {
    case me_class::pptp:
    case me_class::veip:
        return 0;
    case me_class::mbpcd:
        return side_of_port(id) == tp_side::ani ? 3 : 1;
    case me_class::vtfd:
        return side_of_port({me_class::mbpcd, id.instance}) == tp_side::ani ? 3 : 1;
    case me_class::vtocd:
    case me_class::evtocd: {
        const me_id of = tagged_by(entities, id);
        return of.class_id == me_class::none || of.class_id == me_class::evtocd
                   ? 0
                   : column_of(entities, of);
    }
    case me_class::mbsp:
        return 2;
    case me_class::mapper:
        return 4;
    case me_class::gemiw:
    case me_class::multigemiw:
        return 5;
    case me_class::gemctp:
        return 6;
    case me_class::pq:
    case me_class::td:
        return 7;
    default:
        return 8;
    }
}

struct place {
    int x = 0, y = 0;
};

class service_drawing {
public:
    service_drawing(const line_model& entities, const service& drawn, const entity_numbers& numbers)
        : model_(entities), drawn_(drawn), numbers_(numbers)
    {
    }

    std::string text()
    {
        lay_out();
        std::string lines, boxes;
        for (const me_id id : drawn_.members) {
            boxes += box(id);
            if (const me_instance* me = model_.find(id))
                lines += lines_from(*me);
        }
        return "<svg width=" + std::to_string(width_) + " height=" + std::to_string(height_) +
               " viewBox=\"0 0 " + std::to_string(width_) + " " + std::to_string(height_) + "\">" +
               lines + boxes + "</svg>";
    }

private:
    // Columns without members take no place. Short columns are centred.
    void lay_out()
    {
        std::array<std::vector<me_id>, columns> of;
        size_t tallest = 1;
        for (const me_id id : drawn_.members)
            of.at(column_of(model_, id)).push_back(id);
        for (const auto& column : of)
            tallest = std::max(tallest, std::min(column.size(), most_rows));
        int x = margin;
        for (const auto& column : of)
            for (size_t start = 0; start < column.size(); start += most_rows, x += column_pitch) {
                const size_t rows = std::min(most_rows, column.size() - start);
                const int top = margin + static_cast<int>(tallest - rows) * row_pitch / 2;
                for (size_t row = 0; row < rows; ++row)
                    places_[column[start + row]] = {x, top + static_cast<int>(row) * row_pitch};
            }
        width_ = x - column_pitch + box_width + margin;
        height_ = static_cast<int>(tallest) * row_pitch + margin;
    }

    std::string number_of(me_id id) const
    {
        const auto found = numbers_.find(id);
        return found == numbers_.end() ? "" : std::to_string(found->second);
    }

    std::string box(me_id id) const
    {
        const place at = places_.at(id);
        const std::string full = to_text(id);
        const std::string number = full.substr(full.find(" 0x") + 1);
        const me_instance* me = model_.find(id);
        std::string detail = me ? known_by(*me) : "does not exist";
        if (detail.size() > most_letters) {
            detail.resize(most_letters - 1);
            detail += "…";
        }
        const std::string x = std::to_string(at.x), text_x = std::to_string(at.x + 7);
        const std::string open = me ? "<a href=#e" + number_of(id) + " class=c" : "<g class=\"no c";
        return open + std::to_string(gpon::class_number(id.class_id)) + (me ? "" : "\"") +
               "><rect x=" + x + " y=" + std::to_string(at.y) + " /><text x=" + text_x +
               " y=" + std::to_string(at.y + (detail.empty() ? 25 : 17)) + ">" +
               kind_text(id.class_id) + " " + number +
               (detail.empty() ? "" : "<tspan x=" + text_x + " dy=15>" + detail + "</tspan>") +
               "</text>" + (me ? "</a>" : "</g>");
    }

    std::string lines_from(const me_instance& me) const
    {
        std::string text;
        for (const pointer_bundle& one : bundled_pointers(model_, me))
            if (places_.contains(one.pointer.to) && is_drawn(model_, one.pointer))
                text += line(one.pointer.from, one.pointer.to, style_of(one.pointer),
                             priority_list(one.priorities));
        return text + tagging_line(me.id);
    }

    std::string tagging_line(me_id operation) const
    {
        if (operation.class_id != me_class::vtocd && operation.class_id != me_class::evtocd)
            return {};
        const me_id of = tagged_by(model_, operation);
        return places_.contains(of) ? line(operation, of, " class=same", {}) : std::string();
    }

    const char* style_of(const me_pointer& pointer) const
    {
        switch (model_.state(pointer)) {
        case pointer_state::recorded:
            return "";
        case pointer_state::missing:
            return " class=gone";
        default:
            return " class=open";
        }
    }

    // Between the sides that face each other; within a column from bottom to top.
    std::string line(me_id from, me_id to, const char* style, const std::string& label) const
    {
        place start = places_.at(from), end = places_.at(to);
        if (start.x == end.x) {
            const bool down = start.y < end.y;
            start = {start.x + box_width / 2, start.y + (down ? box_height : 0)};
            end = {end.x + box_width / 2, end.y + (down ? 0 : box_height)};
        } else {
            const bool right = start.x < end.x;
            start = {start.x + (right ? box_width : 0), start.y + box_height / 2};
            end = {end.x + (right ? 0 : box_width), end.y + box_height / 2};
        }
        std::string text = "<path data-e=" + number_of(from) + "-" + number_of(to) + style +
                           " d=\"M" + point(start) + " " + point(end) + "\"/>";
        if (!label.empty())
            text += "<text class=p x=" + std::to_string((start.x + end.x) / 2) +
                    " y=" + std::to_string((start.y + end.y) / 2 - 3) + ">" + label + "</text>";
        return text;
    }

    static std::string point(place at) { return std::to_string(at.x) + " " + std::to_string(at.y); }

    static constexpr size_t most_letters = 19;

    const line_model& model_;
    const service& drawn_;
    const entity_numbers& numbers_;
    std::map<me_id, place> places_;
    int width_ = 0, height_ = 0;
};

} // namespace

entity_numbers number_entities(const line_model& entities)
{
    entity_numbers numbers;
    for (const me_instance* one : entities.all())
        numbers.emplace(one->id, numbers.size());
    return numbers;
}

std::string draw_service(const line_model& entities, const service& drawn,
                         const entity_numbers& numbers)
{
    return service_drawing(entities, drawn, numbers).text();
}

} // namespace gponflow
