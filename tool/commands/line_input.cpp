// SPDX-License-Identifier: GPL-2.0-only
#include "tool/commands/line_input.h"

#include <iostream>
#include <stdexcept>
#include <utility>

#include "tool/capture/capture_file.h"
#include "tool/omci/convert_file.h"
#include "tool/omci/summary_output.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/open.h"
#include "tool/scenario/parse.h"
#include "tool/text/exit_status.h"
#include "tool/text/source_text.h"

namespace gponflow {

bool looks_like_capture(const std::string& file)
{
    return file != "-" && is_capture_start(first_bytes(file, 4));
}

std::optional<opened_line> open_line(const std::string& file, std::ostream& diagnostics)
{
    if (!looks_like_capture(file)) {
        std::optional<scenario> parsed = open_scenario(file, diagnostics);
        if (!parsed)
            return {};
        // A capture that was never written is an empty file too.
        if (parsed->lines.empty())
            diagnostics << file << ": warning: no command: the line is empty\n";
        const bool complete = !parsed->lines.empty();
        return opened_line{std::move(*parsed), nullptr, complete};
    }
    try {
        const omci::loaded_capture loaded = omci::load_capture(file, {});
        omci::print_warnings(loaded, diagnostics);
        return opened_line{parse_scenario(loaded.result.scenario, file).input,
                           omci::origin_json(loaded.cap, loaded.result),
                           omci::status_of(loaded) == status_ok};
    } catch (const std::runtime_error& why) {
        diagnostics << why.what() << '\n';
        return {};
    }
}

line_model read_line(const std::string& file, const std::string& onu)
{
    if (!looks_like_capture(file)) {
        const std::optional<scenario> parsed = open_scenario(file, std::cerr);
        if (!parsed)
            throw std::runtime_error(file + ": no scenario and no capture");
        return final_entities(*parsed);
    }
    const omci::loaded_capture loaded = omci::load_capture(file, onu);
    omci::print_warnings(loaded, std::cerr);
    return final_entities(parse_scenario(loaded.result.scenario, file).input);
}

} // namespace gponflow
