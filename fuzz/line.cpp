// SPDX-License-Identifier: GPL-2.0-only
#include "fuzz/line.h"

#include <iostream>
#include <map>
#include <tuple>

#include "tests/support/invariants.h"
#include "tool/scenario/control.h"
#include "tool/scenario/host_backend.h"
#include "tool/scenario/open.h"

#include "base/log.h"

// Short call stacks of allocations: the default length took half of the time of a run. Options in
// the environment override these.
extern "C" const char* __asan_default_options();
const char* __asan_default_options()
{
    return "malloc_context_size=4:quarantine_size_mb=16";
}

namespace gponflow::fuzz {

namespace {

// Outcomes of packet calls; -1 is that of an unknown kind.
bool is_outcome(const packet_options& options, int api_result)
{
    return api_result == 0 || api_result == 1 || (api_result == -1 && options.kind > 4);
}

// The commands of a scenario file up to its first packet; read once.
const std::vector<any_command>& provisioning_of(const std::string& file)
{
    static std::map<std::string, std::vector<any_command>> known;
    const auto [place, is_new] = known.try_emplace(file);
    if (!is_new)
        return place->second;
    const std::optional<scenario> parsed = open_scenario(file, std::cerr);
    require(parsed.has_value(), "a scenario can be read from the root of the tree");
    for (const scenario_line& each : parsed->lines) {
        const auto* hook = std::get_if<hook_command>(&each.command);
        if ((hook && hook->frame) || std::get_if<pcap_command>(&each.command))
            break;
        place->second.push_back(each.command);
    }
    return place->second;
}

} // namespace

line::line(bool listening) : module_(make_host_backend())
{
    // A background thread that frees blocks would only compete with this one for the processor.
    gpon::host::set_grace(gpon::host::grace::on_demand);
    listen(listening);
    require(module_->load() == 0, "a fresh module loads");
}

line::~line()
{
    gpon::host::disarm_faults();
    gpon::host::unload();
    gpon::host::rcu_settle();
    // A module that panicked releases nothing.
    require(gpon::host::is_loaded() || gpon::host::memory().live_blocks == 0,
            "nothing is allocated after unload");
}

bool line::execute(const any_command& step)
{
    return std::visit([this](const auto& command) { return run(command); }, step);
}

void line::listen(bool listening)
{
    module_->set_sink(listening ? backend_sink([](const backend_event&) {}) : nullptr);
}

void line::provision(const std::string& file)
{
    for (const any_command& each : provisioning_of(file))
        execute(each);
    check();
}

void line::check()
{
    gpon::test::invariants all;
    const std::string broken = all.broken();
    require(broken.empty(), broken.c_str());
    store_blocks_ = all.store_blocks();
}

void line::check_after(const any_command& step)
{
    if (!std::holds_alternative<hook_command>(step) &&
        !std::holds_alternative<advance_command>(step))
        return check();
    const std::string broken = gpon::test::invariants().broken_rules(store_blocks_);
    require(broken.empty(), broken.c_str());
}

bool line::run(const load_command&)
{
    return gpon::host::is_loaded() || module_->load().has_value();
}

bool line::run(const unload_command&)
{
    if (!gpon::host::is_loaded())
        return true;
    module_->unload();
    require(gpon::host::memory().live_blocks == 0, "nothing is allocated after unload");
    return true;
}

bool line::run(const hook_command& call)
{
    const auto returned = module_->hook(call.options, call.frame ? &*call.frame : nullptr);
    if (returned) {
        require(returned->ret == GPON_HOOK_RETURN,
                "the hook always returns the same to the framework");
        require(is_outcome(call.options, returned->api_result), "a packet passes or fails");
        // The switch ignores the packet.
        require(!call.frame || call.options.kind == GPON_API_SWITCH ||
                    !(returned->flags & GPON_FLOW_TRACE_MARK),
                "no trace mark is left");
    }
    return true;
}

bool line::run(const me_command& command)
{
    const std::optional<long> returned = send(*module_, command);
    require(!returned || *returned == 0 || *returned == -1, "a command succeeds or fails");
    return true;
}

bool line::run(const config_command& command)
{
    std::ignore = send(*module_, command);
    return true;
}

bool line::run(const debug_command& command)
{
    std::ignore = send(*module_, command);
    return true;
}

bool line::run(const clean_command& command)
{
    std::ignore = send(*module_, command);
    return true;
}

bool line::run(const ioctl_command& command)
{
    std::ignore = send(*module_, command);
    return true;
}

bool line::run(const proc_write_command& command)
{
    const std::optional<long> returned = module_->proc_write(command.text);
    require(!returned || *returned < 0 || *returned == static_cast<long>(command.text.size()),
            "a line is taken whole or not at all");
    return true;
}

bool line::run(const proc_read_command&)
{
    std::ignore = module_->proc_read();
    return true;
}

bool line::run(const advance_command& command)
{
    // All periods are alike; years of them would only make the run slow.
    module_->advance(std::min<uint64_t>(command.jiffies, 100000));
    return true;
}

bool line::run(const platform_command& command)
{
    if (command.mapping)
        module_->set_mapping(*command.mapping);
    if (command.queue)
        module_->set_queue_mapping(*command.queue);
    return true;
}

bool line::run(const fault_command& command)
{
    module_->arm_fault(command.service, command.nth);
    return true;
}

} // namespace gponflow::fuzz
