// SPDX-License-Identifier: GPL-2.0-only
#include "tools/gponflow/account.h"

#include <algorithm>
#include <cstring>
#include <ostream>
#include <regex>
#include <vector>

#include "include/uapi/gpon_flow.h"
#include "tools/gponflow/control.h"
#include "tools/gponflow/scenario/error.h"

namespace gponflow {

namespace {

constexpr uint16_t bridge_port_class = 47;

/// Which bridge each bridge port belongs to, as the scenario configures it.
class bridge_map {
public:
    void learn(const me_command& command)
    {
        if (command.class_id != bridge_port_class || !command.raw ||
            command.raw->size() != sizeof(gpon_raw_mbpcd))
            return;
        gpon_raw_mbpcd port;
        std::memcpy(&port, command.raw->data(), sizeof(port));
        bridges_[command.instance] = port.bridgeID;
    }

    std::string bridge_of(uint16_t port) const
    {
        const auto found = bridges_.find(port);
        return found == bridges_.end() ? "?" : std::to_string(found->second);
    }

private:
    std::map<uint16_t, uint16_t> bridges_;
};

/// One frame's log, read for what happened.
struct frame_story {
    bool quick = false;
    std::vector<uint16_t> ports; ///< bridge ports in the order in which they were passed
    std::string last_complaint;

    explicit frame_story(const std::string& log)
    {
        static const std::regex port(
            R"(\[mbpcd_forward\] \[\d+\]: enter, classId=47,instId=(\d+))");
        for (std::sregex_iterator it(log.begin(), log.end(), port), end; it != end; ++it)
            ports.push_back(static_cast<uint16_t>(std::stoul((*it)[1])));
        quick = log.find("Rule already exist!") != std::string::npos;
        for (size_t at = 0; at < log.size();) {
            const size_t end = std::min(log.find('\n', at), log.size());
            consider(std::string_view(log).substr(at, end - at));
            at = end + 1;
        }
    }

    /// A walk passes through its last port; a replay through its first, as what stands deeper in
    /// a rule may be left over from a branch that was given up.
    std::string bridge(const bridge_map& bridges) const
    {
        if (ports.empty())
            return "no bridge";
        return "bridge " + bridges.bridge_of(quick ? ports.front() : ports.back());
    }

private:
    // The reason is what an instance said; what the functions above it report is only that it
    // failed.
    void consider(std::string_view line)
    {
        static const std::regex complaint(
            R"(^(?:\*\*\*ERROR\*\*\*|\*\*WARNING\*\*)(\[?\w+\]?) ?\[\d+\]:? ?(.*?)\r?$)");
        std::match_results<std::string_view::const_iterator> found;
        if (!std::regex_match(line.begin(), line.end(), found, complaint))
            return;
        const std::string name = found[1].str();
        for (const char* reporter :
             {"gpon_pkt_general_", "gpon_pkt_upstream_", "gpon_pkt_next_", "gpon_pkt_downstream_"})
            if (name.find(reporter) != std::string::npos)
                return;
        last_complaint = name + " " + found[2].str();
    }
};

class accountant {
public:
    accountant(backend& where, frame_account& account) : backend_(where), account_(account)
    {
        backend_.set_sink([this](const backend_event& event) {
            if (event.what == backend_event::kind::log)
                log_ += event.text;
        });
    }
    ~accountant() { backend_.set_sink(nullptr); }
    accountant(const accountant&) = delete;
    accountant& operator=(const accountant&) = delete;

    void execute(const load_command&) { backend_.load(); }
    void execute(const unload_command&) { backend_.unload(); }
    void execute(const me_command& command)
    {
        bridges_.learn(command);
        send(backend_, command);
    }
    void execute(const config_command& command) { send(backend_, command); }
    void execute(const debug_command& command) { send(backend_, command); }
    void execute(const clean_command& command) { send(backend_, command); }
    void execute(const ioctl_command& command) { send(backend_, command); }
    void execute(const proc_write_command& command) { backend_.proc_write(command.text); }
    void execute(const proc_read_command&) { backend_.proc_read(); }
    void execute(const advance_command& command) { backend_.advance(command.jiffies); }
    void execute(const expect_command&) {}
    void execute(const echo_command&) {}
    void execute(const fault_command& command) { backend_.arm_fault(command.what, command.nth); }

    void execute(const platform_command& command)
    {
        if (command.mapping)
            backend_.set_mapping(*command.mapping);
        if (command.queue)
            backend_.set_queue_mapping(*command.queue);
    }

    void execute(const hook_command& command)
    {
        if (command.frame && command.options.kind < account_.size())
            count(command.options, *command.frame);
        else
            backend_.hook(command.options, command.frame ? &*command.frame : nullptr);
    }

    void execute(const pcap_command& command)
    {
        for (const bytes& frame : command.frames)
            count(command.options, frame);
    }

private:
    void count(const packet_options& options, const bytes& frame)
    {
        backend_.proc_write("set debug_level 7");
        log_.clear();
        const std::optional<hook_answer> answer = backend_.hook(options, &frame);
        const frame_story story(log_);
        backend_.proc_write("set debug_level 0");
        direction_account& direction = account_.at(options.kind);
        ++direction.frames;
        direction.quick += story.quick;
        if (answer && answer->api_result == 0)
            ++direction.destinations[destination(options, *answer, story)];
        else
            ++direction
                  .drops[story.last_complaint.empty() ? "no reason given" : story.last_complaint];
    }

    std::string destination(const packet_options& options, const hook_answer& answer,
                            const frame_story& story) const
    {
        switch (options.kind) {
        case 0:
            return "into " + story.bridge(bridges_);
        case 1:
            return "GEM port " + std::to_string(answer.gem) + " from " + story.bridge(bridges_);
        case 2:
            return "out of the UNI, not walked";
        default:
            return "from GEM port " + std::to_string(answer.gem) + " into " +
                   story.bridge(bridges_);
        }
    }

    backend& backend_;
    frame_account& account_;
    bridge_map bridges_;
    std::string log_;
};

constexpr std::array<const char*, 4> direction_titles = {
    "upstream, from the UNI to the bridge", "upstream, from the bridge to the ANI",
    "downstream, from the bridge to the UNI", "downstream, from the ANI to the bridge"};

void print_lines(const char* what, const std::map<std::string, uint64_t>& lines, std::ostream& out)
{
    for (const auto& [text, frames] : lines) {
        const std::string count = std::to_string(frames);
        out << "  " << what << std::string(count.size() < 6 ? 6 - count.size() : 0, ' ') << count
            << "  " << text << '\n';
    }
}

} // namespace

exit_status account_scenario(const scenario& what, backend& where, frame_account& account,
                             std::ostream& diagnostics)
{
    accountant accountant(where, account);
    for (const scenario_line& line : what.lines) {
        try {
            std::visit([&](const auto& one) { accountant.execute(one); }, line.what);
        } catch (const refusal& why) {
            diagnostics << diagnostic{what.name, line.line, 0, why.what()}.text() << '\n';
            return not_supported;
        }
    }
    return all_held;
}

void print_account(const frame_account& account, std::ostream& out)
{
    // In the order in which a frame meets them.
    for (const size_t kind : {size_t{0}, size_t{1}, size_t{3}, size_t{2}}) {
        const direction_account& direction = account.at(kind);
        if (direction.frames == 0)
            continue;
        out << direction_titles.at(kind) << ": " << direction.frames << " frames, "
            << direction.quick << " on the quick path\n";
        print_lines("passed ", direction.destinations, out);
        print_lines("dropped", direction.drops, out);
        out << '\n';
    }
}

} // namespace gponflow
