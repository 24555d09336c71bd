// SPDX-License-Identifier: GPL-2.0-only
#include "tool/commands/traffic_options.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <stdexcept>
#include <utility>

#include "tool/commands/arguments.h"
#include "tool/scenario/capture_words.h"
#include "tool/scenario/final_state.h"

namespace gponflow {

namespace {

const pcap_command* path_capture(const scenario_line& line)
{
    const auto* capture = std::get_if<pcap_command>(&line.command);
    return capture && capture->whole_path ? capture : nullptr;
}

bool needs_entry(const scenario& traffic)
{
    return std::ranges::any_of(traffic.lines, path_capture);
}

std::string assumed_entry(const uni_port& uni)
{
    return "The frames enter at UNI " + std::to_string(uni.number) +
           ", the only UNI with a bridge port: neither --uni nor --gem names their entry.";
}

void set_entry(const packet_options& options, std::span<scenario_line> traffic)
{
    for (scenario_line& line : traffic)
        if (path_capture(line))
            std::get<pcap_command>(line.command).options = options;
}

} // namespace

CLI::Option* add_traffic_options(CLI::App& sub, traffic_options& into)
{
    CLI::Option* captures =
        sub.add_option("--pcap", into.captures,
                       "Capture of traffic to send through the line after its configuration, - for "
                       "standard input; may be repeated")
            ->type_name("FILE")
            ->allow_extra_args(false);
    CLI::Option* uni = add_number(
        sub, "--uni", [&into](uint64_t number) { into.entry.uni = number; }, 15, 0,
        "The captured frames enter at this UNI: the port number, the last byte of its instance "
        "id");
    uni->needs(captures);
    add_number(
        sub, "--gem", [&into](uint64_t number) { into.entry.gem = number; }, UINT16_MAX, 0,
        "The captured frames come from the OLT on this GEM port (portID)")
        ->needs(captures)
        ->excludes(uni);
    return captures;
}

scenario read_traffic(const traffic_options& from, std::ostream& diagnostics)
{
    scenario traffic;
    append_captures(from.captures, traffic, diagnostics);
    if (from.entry.is_named() && !needs_entry(traffic))
        throw std::runtime_error("--uni and --gem are for a capture without options of its own: "
                                 "--pcap FILE, not FILE,kind=up_ani");
    return traffic;
}

std::vector<std::string> append_traffic(const scenario& traffic, frame_entry entry, scenario& line)
{
    if (traffic.lines.empty())
        return {};
    line = without_last_unload(std::move(line));
    const auto own = static_cast<ptrdiff_t>(line.lines.size());
    const bool needed = needs_entry(traffic);
    const line_model entities = needed ? final_entities(line) : line_model();
    std::ranges::copy(traffic.lines, std::back_inserter(line.lines));
    line.incomplete = line.incomplete || traffic.incomplete;
    std::ranges::copy(traffic.notes, std::back_inserter(line.notes));
    if (!needed)
        return {};
    std::vector<std::string> notes;
    if (const auto uni = entry.is_named() ? std::nullopt : only_uni(entities)) {
        entry.uni = uni->number;
        notes.push_back(assumed_entry(*uni));
    }
    set_entry(first_call(entry, entities), std::span(line.lines).subspan(own));
    for (std::string& note : notes_of(entry, entities))
        notes.push_back(std::move(note));
    return notes;
}

const char* const traffic_help =
    "A captured frame passes through both hook calls of its direction, as with explain, and is "
    "counted in both. Without --uni and --gem, it enters at the only UNI with a bridge port. A "
    "capture may have the options of a pcap command after commas instead, and then makes one hook "
    "call: FILE,kind=up_uni,port=1; the default kind is up_ani.";

} // namespace gponflow
