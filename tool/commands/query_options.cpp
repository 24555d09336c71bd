// SPDX-License-Identifier: GPL-2.0-only
#include "tool/commands/query_options.h"

#include <concepts>

#include "tool/commands/arguments.h"

namespace gponflow {

namespace {

// An option whose number is a field of the query.
template <std::unsigned_integral Number>
CLI::Option* add_field(CLI::App& sub, query_options& request, const char* name, auto& field,
                       uint64_t least, Number most, const char* text)
{
    const auto take = [&request, &field](uint64_t number) {
        field = static_cast<Number>(number);
        request.asks = true;
    };
    return add_number(sub, name, take, most, least, text);
}

void add_entry_options(CLI::App& sub, query_options& request)
{
    CLI::Option* uni = add_field<uint16_t>(
        sub, request, "--uni", request.query.uni, 0, 15,
        "The frame enters at this UNI: the port number, the last byte of its instance id");
    add_field<uint16_t>(sub, request, "--gem", request.query.gem, 0, UINT16_MAX,
                        "The frame comes from the OLT on this GEM port (portID)")
        ->excludes(uni);
}

void add_tag_options(CLI::App& sub, query_options& request)
{
    const auto add_tag = [&](const char* name, std::optional<query_tag>& into, const char* text) {
        return sub
            .add_option_function<std::string>(
                name,
                [&request, &into, name](const std::string& word) {
                    const vlan_word tag = read_vlan(name, word);
                    into = {tag.vlan, tag.priority.value_or(0)};
                    request.asks = true;
                    if (&into == &request.query.outer)
                        request.tag_has_priority = tag.priority.has_value();
                },
                text)
            ->type_name("VLAN")
            ->excludes("--pcap");
    };
    add_tag("--vlan", request.query.outer,
            "VLAN id of the outer tag, with its priority after a p if it is not 0: 300p6");
    add_field<uint8_t>(sub, request, "--prio", request.priority, 0, 7,
                       "Priority of the outer tag; needs --vlan");
    add_tag("--inner", request.query.inner, "The same for the inner tag");
    add_field<uint16_t>(sub, request, "--tpid", request.query.tpid, 0x0600, UINT16_MAX,
                        "Type of the outer tag (default 0x8100)")
        ->needs("--vlan");
}

void add_field_options(CLI::App& sub, query_options& request)
{
    const auto add_address = [&](const char* name, std::string& into, const char* text) {
        sub.add_option(name, into, text)->type_name("MAC")->excludes("--pcap");
    };
    add_address("--src", request.query.source, "Source address (default 02:00:00:00:00:02)");
    add_address("--dst", request.query.destination,
                "Destination address (default 02:00:00:00:00:01)");
    add_field<uint16_t>(sub, request, "--ethertype", request.query.ethertype, 0x0600, UINT16_MAX,
                        "Type behind the tags (default 0x0800, IPv4)")
        ->excludes("--pcap");
    add_field<uint8_t>(sub, request, "--dscp", request.query.dscp, 0, 63, "DSCP of an IP frame")
        ->excludes("--pcap");
}

} // namespace

void add_query_options(CLI::App& sub, query_options& into)
{
    add_entry_options(sub, into);
    add_tag_options(sub, into);
    add_field_options(sub, into);
}

void complete(query_options& asked)
{
    asked.asks = asked.asks || !asked.query.source.empty() || !asked.query.destination.empty();
    if (asked.priority && !asked.query.outer)
        throw CLI::ValidationError("--prio needs --vlan");
    if (asked.priority && asked.tag_has_priority)
        throw CLI::ValidationError("--prio and the priority of --vlan exclude each other");
    if (asked.priority)
        asked.query.outer->priority = *asked.priority;
}

} // namespace gponflow
