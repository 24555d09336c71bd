// SPDX-License-Identifier: GPL-2.0-only
#include "tool/text/json_document.h"

#include <ostream>
#include <string>

#include <nlohmann/json.hpp>

namespace gponflow {

json json_document(std::string_view name, unsigned version)
{
    return {{"schema", "gponflow-" + std::string(name) + "-" + std::to_string(version)}};
}

void note_change(json& document, bool changed)
{
    if (changed)
        document["changed"] = true;
}

void print_json(const json& document, std::ostream& out)
{
    out << document.dump(2, ' ', false, json::error_handler_t::replace) << '\n';
}

void print_json_line(const json& document, std::ostream& out)
{
    out << document.dump(-1, ' ', false, json::error_handler_t::replace) << '\n';
}

} // namespace gponflow
