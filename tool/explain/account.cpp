// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/account.h"

#include <algorithm>
#include <cstring>
#include <ostream>
#include <vector>

#include "include/uapi/gpon_flow.h"
#include "tool/explain/tagging_entry.h"
#include "tool/model/line_model.h"
#include "tool/scenario/captured_run.h"
#include "tool/scenario/final_state.h"
#include "tool/tagging/frame_tags.h"
#include "tool/text/pattern.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

/// Which bridge each bridge port belongs to, as the scenario configures it.
class bridge_map {
public:
    void learn(const me_command& command)
    {
        if (command.class_id != me_class::mbpcd || !command.raw ||
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

/// The log of one frame as data.
struct frame_story {
    bool quick = false;
    std::vector<uint16_t> ports; ///< bridge ports in the order of the path
    std::string last_complaint;

    explicit frame_story(const std::string& log)
    {
        quick = log.find("Rule already exist!") != std::string::npos;
        for (size_t at = 0; at < log.size();) {
            const size_t end = std::min(log.find('\n', at), log.size());
            consider(std::string_view(log).substr(at, end - at));
            at = end + 1;
        }
    }

    /// A walk passes through its last port. A replay passes through its first: deeper steps of a
    /// rule may be left from an abandoned branch.
    std::string bridge(const bridge_map& bridges) const
    {
        if (ports.empty())
            return "no bridge";
        return "bridge " + bridges.bridge_of(quick ? ports.front() : ports.back());
    }

private:
    void consider(std::string_view line)
    {
        static const pattern port(": enter, classId=" + std::to_string(me_class::mbpcd) +
                                  R"(,instId=(\d+))");
        std::optional<pattern_match> at;
        if (line.find("[mbpcd_forward]") != line.npos)
            at = port.search(line);
        if (at)
            ports.push_back(static_cast<uint16_t>(std::stoul((*at)[1])));
        else if (line.starts_with('*'))
            complain(line);
    }

    // The reason is the message of the instance; the functions above it only report a failure.
    void complain(std::string_view line)
    {
        static const pattern complaint(
            R"(^(?:\*\*\*ERROR\*\*\*|\*\*WARNING\*\*)(\[?\w+\]?) ?\[\d+\]:? ?(.*?)\r?$)");
        const std::optional<pattern_match> found = complaint.match(line);
        if (!found)
            return;
        const std::string& name = (*found)[1];
        for (const char* reporter :
             {"gpon_pkt_general_", "gpon_pkt_upstream_", "gpon_pkt_next_", "gpon_pkt_downstream_"})
            if (name.find(reporter) != std::string::npos)
                return;
        last_complaint = name + " " + (*found)[2];
        if (name == "[mbpcd_forward]" && !ports.empty())
            last_complaint += " " + to_text(me_id{me_class::mbpcd, ports.back()});
    }
};

class frame_counter final : public captured_run {
public:
    frame_counter(backend& target, frame_account& account) : captured_run(target), account_(account)
    {
        show_progress();
    }

    exit_status count(const scenario& input, std::ostream& diagnostics)
    {
        for (const scenario_line& line : input.lines) {
            apply(line, entities_);
            const exit_status status = run({input.name, {line}}, diagnostics);
            if (status != status_ok)
                return status;
        }
        for (const auto& [operation, why] : gaps_)
            diagnostics << input.name << ": warning: " << to_text(operation)
                        << ": an operation exists here and was not applied: " << why << '\n';
        return status_ok;
    }

private:
    void on_me(const me_command& command) override
    {
        bridges_.learn(command);
        captured_run::on_me(command);
    }

    void on_frame(const packet_options& options, const captured_frame& frame) override
    {
        if (options.kind < account_.size())
            count_carried(options, frame);
        else
            captured_run::on_frame(options, frame);
    }

    // A frame that a tagging operation discards never reaches the hook call.
    void count_carried(const packet_options& options, const captured_frame& frame)
    {
        const carried_frame carried = carry_to_hook(entities_, options, frame);
        for (const tag_gap& gap : carried.gaps)
            gaps_.emplace(gap.operation, gap.why);
        if (!carried.discarded)
            return count_frame(options, carried.frame);
        direction_account& direction = account_.at(options.kind);
        ++direction.frames;
        ++direction.drops[tags_text(frame.data) + ": " + discard_text(carried)];
    }

    void count_frame(const packet_options& options, const bytes& frame)
    {
        const std::optional<hook_answer> answer = hook_in_detail(options, frame);
        const frame_story story(log());
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

    frame_account& account_;
    bridge_map bridges_;
    line_model entities_; ///< at the current command
    std::map<me_id, std::string> gaps_;
};

constexpr std::array<const char*, 4> direction_titles = {
    "upstream, from the UNI to the bridge", "upstream, from the bridge to the ANI",
    "downstream, from the bridge to the UNI", "downstream, from the ANI to the bridge"};

void print_lines(const char* outcome, const std::map<std::string, uint64_t>& lines,
                 std::ostream& out)
{
    for (const auto& [text, frames] : lines) {
        const std::string count = std::to_string(frames);
        out << "  " << outcome << std::string(count.size() < 6 ? 6 - count.size() : 0, ' ') << count
            << "  " << text << '\n';
    }
}

} // namespace

exit_status account_scenario(const scenario& input, backend& target, frame_account& account,
                             std::ostream& diagnostics)
{
    return frame_counter(target, account).count(input, diagnostics);
}

void print_account(const frame_account& account, std::ostream& out)
{
    if (std::ranges::all_of(account, [](const direction_account& one) { return one.frames == 0; }))
        out << "no frames\n";
    // In the order of the path of a frame.
    for (const size_t kind : {size_t{0}, size_t{1}, size_t{3}, size_t{2}}) {
        const direction_account& direction = account.at(kind);
        if (direction.frames == 0)
            continue;
        out << direction_titles.at(kind) << ": " << counted(direction.frames, "frame") << ", "
            << direction.quick << " on the quick path\n";
        print_lines("passed ", direction.destinations, out);
        print_lines("dropped", direction.drops, out);
        out << '\n';
    }
}

} // namespace gponflow
