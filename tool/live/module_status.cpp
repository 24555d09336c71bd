// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/module_status.h"

#include "tool/text/lines.h"

namespace gponflow {

module_status read_status(captured_run& run)
{
    module_status status;
    const auto on = run.query("show en_flag");
    if (!on)
        return status;
    status.loaded = true;
    status.enabled = read_switch(*on).value_or(false);
    status.rules = read_rule_table(run.query("show flow_rule").value_or("")).value_or(rule_table{});
    status.instances = read_instances(run.query("show raw_data").value_or(""));
    return status;
}

module_status read_status(module_reader& reader)
{
    return reader.of_one_module([&reader] {
        return module_status{true, reader.state().enabled, reader.table(), reader.instances()};
    });
}

std::optional<bool> read_switch(std::string_view log)
{
    std::optional<bool> on;
    for_each_line(log, [&](std::string_view line) {
        if (line.starts_with("gpon flow is ["))
            on = line.find("[ENABLE]") != line.npos;
    });
    return on;
}

} // namespace gponflow
