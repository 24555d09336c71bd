// SPDX-License-Identifier: GPL-2.0-only
#include "tool/text/text_table.h"

#include <algorithm>
#include <ostream>

namespace gponflow {

namespace {

std::string line_of(const std::vector<std::string>& cells, const std::vector<size_t>& widths)
{
    std::string line;
    for (size_t i = 0; i < cells.size(); ++i) {
        line += cells[i];
        if (i + 1 < cells.size())
            line += std::string(widths[i] - cells[i].size() + 2, ' ');
    }
    return line;
}

} // namespace

std::string counted(uint64_t count, const std::string& noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::vector<std::string> text_table::lines() const
{
    std::vector<size_t> widths(titles.size());
    const auto widen = [&](const std::vector<std::string>& cells) {
        for (size_t i = 0; i < widths.size(); ++i)
            widths[i] = std::max(widths[i], cells[i].size());
    };
    widen(titles);
    std::ranges::for_each(rows, widen);
    std::vector<std::string> result = {line_of(titles, widths)};
    for (const auto& row : rows)
        result.push_back(line_of(row, widths));
    return result;
}

void text_table::print(std::ostream& out, const palette& colours, const std::string& indent) const
{
    bool first = true;
    for (const std::string& line : lines()) {
        out << indent << (first ? colours.heading(line) : line) << '\n';
        first = false;
    }
}

} // namespace gponflow
