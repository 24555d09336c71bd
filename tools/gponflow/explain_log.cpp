// SPDX-License-Identifier: GPL-2.0-only
// Log text to steps. The texts are the module's own and part of its behaviour.
#include <algorithm>
#include <cstdio>
#include <regex>

#include "tools/gponflow/explain.h"

namespace gponflow {

namespace {

std::string hex(unsigned value, int digits)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%0*x", digits, value);
    return text;
}

std::string class_name(unsigned class_id)
{
    const std::string text = to_text({static_cast<uint16_t>(class_id), 0});
    return text.substr(0, text.find(" 0x"));
}

// One line of the log: the function that speaks and what it says.
struct log_line {
    std::string tag;
    std::string function;
    std::string text;
};

std::optional<log_line> read_line(const std::string& line)
{
    static const std::regex shape(
        R"(^(\*+[A-Z]+\*+)?(?:Enter )?\[?(\w+)\]? ?\[\d+\]:? ?(.*?)\s*$)");
    std::smatch found;
    if (!std::regex_match(line, found, shape))
        return {};
    return log_line{found[1], found[2], found[3]};
}

// The numbers of a text that has the shape of the pattern.
std::optional<std::vector<unsigned>> numbers(const std::string& text, const std::regex& pattern)
{
    std::smatch found;
    if (!std::regex_search(text, found, pattern))
        return {};
    std::vector<unsigned> result;
    for (size_t i = 1; i < found.size(); ++i) {
        const std::string digits = found[i];
        // %x of a message stands behind its 0x, everything else is decimal.
        result.push_back(static_cast<unsigned>(std::stoul(digits, nullptr, 0)));
    }
    return result;
}

class walk_reader {
public:
    explicit walk_reader(const mirror& entities) : mirror_(entities) {}

    walk_story read(const std::string& log)
    {
        for (size_t at = 0; at < log.size();) {
            const size_t end = std::min(log.find('\n', at), log.size());
            if (const auto line = read_line(log.substr(at, end - at)))
                take(*line);
            at = end + 1;
        }
        if (story_.replayed)
            for (walk_step& step : story_.steps)
                step.passed = step.dead_end.empty();
        return std::move(story_);
    }

private:
    void take(const log_line& line)
    {
        const std::string& who = line.function;
        if (who == "gpon_pkt_general_flow_func")
            take_flow(line);
        else if (who == "gpon_hash_get_rule_safe" && line.text == "end, get rule success")
            story_.replayed = true;
        else if (who == "gpon_hash_add_node" && line.text.starts_with("table num"))
            story_.learnt = true;
        else if (who == "gpon_pkt_general_forward")
            take_step(line);
        else if (who == "gpon_pkt_next_forward")
            take_next(line.text);
        else if (who == "gpon_flow_me_get_by_classid" && story_.replayed)
            take_replayed(line.text);
        else if (who == "gpon_pkt_get_outer_vlan_tci")
            take_tci(line.text);
        else if (walk_step* step = current())
            take_decision(line, *step);
        else if (is_complaint(line))
            story_.complaints.push_back(line.text);
    }

    static bool is_complaint(const log_line& line)
    {
        return line.tag.find("ERROR") != line.tag.npos;
    }

    walk_step* current()
    {
        if (story_.replayed)
            return story_.steps.empty() ? nullptr : &story_.steps.back();
        return open_.empty() ? nullptr : &story_.steps[open_.back()];
    }

    void take_flow(const log_line& line)
    {
        story_.ran = true;
        if (is_complaint(line))
            story_.complaints.push_back(line.text);
    }

    void take_step(const log_line& line)
    {
        static const std::regex entry(R"(^Enter, recurse_num = (\d+))");
        static const std::regex where(R"(^enter, classId=(\d+),instId=(0x[0-9a-f]+|0))");
        static const std::regex exit(R"(func_ret = (-?\d+),ret_val=(\d+),recurse_num =(\d+))");
        if (numbers(line.text, entry)) {
            open_.push_back(story_.steps.size());
            story_.steps.push_back({{}, open_.size() - 1, false, {}, {}});
        } else if (const auto at = numbers(line.text, where); at && current()) {
            current()->at = {static_cast<uint16_t>((*at)[0]), static_cast<uint16_t>((*at)[1])};
        } else if (line.text.find("MAX_RECURSION_NUM") != line.text.npos && current()) {
            current()->dead_end = "the graph is deeper than a walk may go";
        } else if (line.text.find("can not get the entry") != line.text.npos && current()) {
            current()->dead_end = "frames cannot go through this class";
        } else if (const auto left = numbers(line.text, exit); left && current()) {
            leave(static_cast<int>((*left)[0]), (*left)[1]);
        }
    }

    void leave(int answer, unsigned status)
    {
        walk_step& step = *current();
        step.passed = answer == 0 && status == 3;
        const bool last_tried = open_.back() + 1 == story_.steps.size();
        if (!step.passed && step.dead_end.empty() && last_tried)
            step.dead_end = default_reason(step);
        // What led on is no end, whatever else was looked for in vain.
        if (step.passed || !last_tried)
            step.dead_end.clear();
        open_.pop_back();
    }

    std::string default_reason(const walk_step& step) const
    {
        const mirrored_instance* me = mirror_.find(step.at);
        if (!me)
            return "it does not exist";
        if (step.at.class_id == 268 && me->as<gpon_raw_gemctp>().direction == 2)
            return "its direction is 2, towards the subscriber alone";
        return "the way ends here";
    }

    void take_next(const std::string& text)
    {
        static const std::regex answer(
            R"(^nextMeClassId=(\d+), inst_id=(0x[0-9a-f]+|0), instExist=(\d+),)");
        const auto found = numbers(text, answer);
        walk_step* step = current();
        if (!found || (*found)[2] != 0 || !step)
            return;
        const bool nothing_tried = open_.back() + 1 == story_.steps.size();
        if (!nothing_tried)
            return;
        step->dead_end += step->dead_end.empty() ? "no " : " or ";
        step->dead_end += class_name((*found)[0]);
    }

    void take_replayed(const std::string& text)
    {
        static const std::regex which(R"(^classId = (\d+), me_index)");
        if (const auto found = numbers(text, which))
            story_.steps.push_back(
                {{static_cast<uint16_t>((*found)[0]), 0}, story_.steps.size(), true, {}, {}});
    }

    void take_tci(const std::string& text)
    {
        static const std::regex end(R"(vlanTci=(0x[0-9a-f]+|0))");
        if (const auto found = numbers(text, end))
            tci_ = (*found)[0];
    }

    void take_decision(const log_line& line, walk_step& step)
    {
        const std::string& text = line.text;
        if (line.function == "mbpcd_forward")
            take_bridge_port(text, step);
        else if (line.function == "vtfd_handle")
            take_filter(text, step);
        else if (line.function == "vtfd_filter_handle" && text.starts_with("op_info"))
            step.dead_end = "its VLAN filter is on the UNI side, where it passes nothing";
        else if (line.function == "pbit_filter_handle" && text == "end, return 0")
            step.decisions.push_back(priority_text(step) + ": this one");
        else if (line.function == "gem_forward")
            take_gem_iw(text, step);
        else if (text.find("fwd_flag(") != text.npos && is_complaint(line))
            step.dead_end = "frames do not go through it in this direction";
        else if (is_complaint(line) && step.dead_end.empty() &&
                 line.function.find("gpon_pkt") == std::string::npos)
            step.dead_end = text;
    }

    void take_bridge_port(const std::string& text, walk_step& step)
    {
        static const std::regex entry(R"(^enter, classId=47,instId=(\d+))");
        if (const auto at = numbers(text, entry))
            step.at.instance = static_cast<uint16_t>((*at)[0]);
        else if (text.find("fwd_flag(") != text.npos)
            step.dead_end = wrong_side(step);
        else if (text.find("vtfd_filter_handle fail") != text.npos) {
            end_filter(step, "drop");
            if (step.dead_end.empty())
                step.dead_end = "its VLAN filter drops the frame";
        }
    }

    std::string wrong_side(const walk_step& step) const
    {
        const mirrored_instance* port = mirror_.find(step.at);
        const unsigned type = port ? port->as<gpon_raw_mbpcd>().tpType : 0;
        if (type == 1 || type == 11)
            return "a port of the UNI side, not the way of this frame";
        if (type == 3 || type == 5 || type == 6)
            return "a port of the ANI side, not the way of this frame";
        return "a port of neither side: its tpType is " + std::to_string(type);
    }

    void take_filter(const std::string& text, walk_step& step)
    {
        static const std::regex operands(
            R"(^forwardOperation=(0x[0-9a-f]+|0),vlanTci=(0x[0-9a-f]+|0),tagFlag=(\d+))");
        const auto found = numbers(text, operands);
        if (!found) {
            if (text == "end, return 0")
                end_filter(step, "pass");
            return;
        }
        const unsigned tci = (*found)[1];
        filter_ = "filter " + filter_id(step) + ": code " + hex((*found)[0], 2) + ", " +
                  ((*found)[2] ? "TCI " + hex(tci, 4) + " (VLAN " + std::to_string(tci & 0xfff) +
                                     ", priority " + std::to_string(tci >> 13) + ")"
                               : std::string("untagged")) +
                  ", list " + filter_list(step);
    }

    const mirrored_instance* filter_of(const walk_step& step) const
    {
        const std::vector<me_id> filters = mirror_.related(step.at, 84);
        return filters.empty() ? nullptr : mirror_.find(filters.front());
    }

    std::string filter_id(const walk_step& step) const
    {
        const mirrored_instance* filter = filter_of(step);
        return filter ? hex(filter->id.instance, 4) : "?";
    }

    std::string filter_list(const walk_step& step) const
    {
        std::string text;
        if (const mirrored_instance* filter = filter_of(step)) {
            const auto me = filter->as<gpon_raw_vtfd>();
            for (unsigned i = 0; i < std::min<unsigned>(me.vlanFilterNums, 12); ++i)
                text += (i ? ", " : "") + hex(me.vlanFilterList[i], 4);
        }
        return "{" + text + "}";
    }

    void end_filter(walk_step& step, const char* outcome)
    {
        if (!filter_.empty())
            step.decisions.push_back(filter_ + ": " + outcome);
        filter_.clear();
    }

    void take_gem_iw(const std::string& text, walk_step& step)
    {
        static const std::regex end(R"(^end, inst_id=(\d+))");
        if (const auto at = numbers(text, end))
            step.at.instance = static_cast<uint16_t>((*at)[0]);
        if (text.find("pbit_filter_handle fail") == text.npos)
            return;
        step.decisions.push_back(priority_text(step) + ": not this one");
        step.dead_end = "the mapper does not select it for this frame";
    }

    std::string priority_text(const walk_step& step) const
    {
        const std::vector<me_id> mappers = mirror_.related(step.at, 130);
        const mirrored_instance* mapper = mappers.empty() ? nullptr : mirror_.find(mappers.front());
        if (!mapper)
            return "priority of TCI " + hex(tci_, 4);
        const auto me = mapper->as<gpon_raw_mapper>();
        const std::string name = "mapper " + hex(mapper->id.instance, 4) + ": ";
        if (tci_ == 0 && me.unmark_frame_opt == 0)
            return name + "untagged, priority by DSCP";
        if (tci_ == 0 && me.unmark_frame_opt != 1)
            return name + "untagged, unmark_frame_opt " + std::to_string(me.unmark_frame_opt);
        const unsigned priority = tci_ ? tci_ >> 13 : me.defaultPbit;
        const std::string of_frame = (tci_ ? "TCI " + hex(tci_, 4) : std::string("untagged")) +
                                     ", priority " + std::to_string(priority);
        return priority > 7
                   ? name + of_frame
                   : name + of_frame + " selects GEM IW TP " + hex(me.pbit_GemIWTP[priority], 4);
    }

    const mirror& mirror_;
    walk_story story_;
    std::vector<size_t> open_; ///< steps that are entered and not left
    unsigned tci_ = 0;         ///< last one read from the frame
    std::string filter_;       ///< a filter's operands, until its outcome is known
};

} // namespace

walk_story read_walk(const std::string& log, const mirror& entities)
{
    return walk_reader(entities).read(log);
}

std::optional<size_t> deepest_dead_end(const walk_story& story)
{
    std::optional<size_t> deepest;
    for (size_t i = 0; i < story.steps.size(); ++i) {
        const walk_step& step = story.steps[i];
        if (step.dead_end.empty())
            continue;
        // A decision tells more than a branch that was none.
        if (!deepest ||
            std::pair(step.depth, !step.decisions.empty()) >
                std::pair(story.steps[*deepest].depth, !story.steps[*deepest].decisions.empty()))
            deepest = i;
    }
    return deepest;
}

} // namespace gponflow
