// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/walk_reader.h"

#include <algorithm>
#include <utility>

#include "tool/explain/decision_texts.h"
#include "tool/text/pattern.h"

namespace gponflow {

namespace {

// One line of the log: the function that logs and its text.
struct log_line {
    std::string tag;
    std::string function;
    std::string text;
};

std::optional<log_line> read_line(const std::string& line)
{
    static const pattern shape(R"(^(\*+[A-Z]+\*+)?(?:Enter )?\[?(\w+)\]? ?\[\d+\]:? ?(.*?)\s*$)");
    const std::optional<pattern_match> found = shape.match(line);
    if (!found)
        return {};
    return log_line{(*found)[1], (*found)[2], (*found)[3]};
}

// The numbers of a text that matches the pattern.
std::optional<std::vector<unsigned>> numbers(const std::string& text, const pattern& shape)
{
    const std::optional<pattern_match> found = shape.search(text);
    if (!found)
        return {};
    std::vector<unsigned> result;
    // A %x of a message follows its 0x, other numbers are decimal.
    for (size_t i = 1; i < found->groups.size(); ++i)
        result.push_back(static_cast<unsigned>(std::stoul((*found)[i], nullptr, 0)));
    return result;
}

class walk_reader {
public:
    walk_reader(const line_model& entities, const bytes* frame) : model_(entities), frame_(frame) {}

    walk_story read(const std::string& log)
    {
        // The replay of a marked frame is logged only at its end.
        story_.replayed = log.find("]: Rule already exist!") != log.npos;
        for (size_t at = 0; at < log.size();) {
            const size_t end = std::min(log.find('\n', at), log.size());
            if (const auto line = read_line(log.substr(at, end - at)))
                take(*line);
            at = end + 1;
        }
        story_.inconsistent = story_.inconsistent || !open_.empty();
        if (story_.replayed)
            for (walk_step& step : story_.steps)
                step.passed = step.dead_end.empty();
        // A frame that passes was not dropped by a filter.
        for (walk_step& step : story_.steps)
            if (!story_.dropped && step.dead_end == filter_drops)
                step.dead_end = filter_blocks;
        return std::move(story_);
    }

private:
    void take(const log_line& line)
    {
        const std::string& who = line.function;
        if (who == "gpon_pkt_general_flow_func")
            take_flow(line);
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
        else if (who == "mbpcd_forward" && story_.replayed)
            take_replayed_port(line);
        else if (who == "gpon_pkt_handle_after_fwd_done" && is_complaint(line))
            take_flow(line);
        else if ((who == "gem_forward" || who == "pbit_filter_handle") && story_.replayed)
            take_replayed_gem(line);
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
        if (!is_complaint(line))
            return;
        story_.dropped = true;
        story_.complaints.push_back(line.text);
    }

    void take_step(const log_line& line)
    {
        static const pattern entry(R"(^Enter, recurse_num = (\d+))");
        static const pattern position(
            R"(^enter, classId=(\d+),instId=(0x[0-9a-f]+|0),fwd_flag=(\d+))");
        static const pattern exit(R"(^end, classId=(\d+),instId=(0x[0-9a-f]+|0), )"
                                  R"(func_ret = (-?\d+),ret_val=(\d+),recurse_num =(\d+))");
        if (numbers(line.text, entry)) {
            open_step();
            announced_ = true;
        } else if (const auto at = numbers(line.text, position)) {
            enter(*at);
        } else if (line.text.find("MAX_RECURSION_NUM") != line.text.npos && current()) {
            current()->dead_end = "the graph is deeper than the limit of a walk";
        } else if (line.text.find("can not get the entry") != line.text.npos && current()) {
            current()->dead_end = "frames do not pass through this class";
        } else if (const auto left = numbers(line.text, exit)) {
            check_nesting({static_cast<uint16_t>((*left)[0]), static_cast<uint16_t>((*left)[1])},
                          (*left)[4]);
            if (current())
                leave(static_cast<int>((*left)[2]), (*left)[3]);
        }
    }

    void open_step()
    {
        open_.push_back(story_.steps.size());
        story_.steps.push_back({{}, open_.size() - 1, false, {}, {}});
    }

    // With all log levels, another message precedes and opens the step.
    void enter(const std::vector<unsigned>& at)
    {
        if (!std::exchange(announced_, false))
            open_step();
        current()->at = {static_cast<uint16_t>(at[0]), static_cast<uint16_t>(at[1])};
        story_.ran = true;
        story_.fwd_flag = at[2];
    }

    // A replay has no enter messages.
    void check_nesting(me_id left, unsigned depth)
    {
        if (story_.replayed || open_.size() != depth + 1 || story_.steps[open_.back()].at != left)
            story_.inconsistent = true;
    }

    void leave(int answer, unsigned status)
    {
        walk_step& step = *current();
        step.passed = answer == 0 && status == 3;
        const bool last_tried = open_.back() + 1 == story_.steps.size();
        if (!step.passed && step.dead_end.empty() && last_tried)
            step.dead_end = end_text(model_, step.at);
        // A step with a successful branch is no dead end, whatever other branches missed.
        if (step.passed || !last_tried)
            step.dead_end.clear();
        open_.pop_back();
    }

    void take_next(const std::string& text)
    {
        static const pattern answer(
            R"(^nextMeClassId=(\d+), inst_id=(0x[0-9a-f]+|0), instExist=(\d+),)");
        const auto found = numbers(text, answer);
        walk_step* step = current();
        if (!found || (*found)[2] != 0 || !step)
            return;
        const bool nothing_tried = open_.back() + 1 == story_.steps.size();
        if (!nothing_tried)
            return;
        step->dead_end += step->dead_end.empty() ? "no " : " or ";
        step->dead_end += class_text((*found)[0]);
    }

    void take_replayed(const std::string& text)
    {
        static const pattern which(R"(^classId = (\d+), me_index)");
        if (const auto found = numbers(text, which))
            story_.steps.push_back(
                {{static_cast<uint16_t>((*found)[0]), 0}, story_.steps.size(), true, {}, {}});
    }

    // The replay of a marked frame logs bridge ports by their own messages; with all log levels the
    // class is logged before.
    void take_replayed_port(const log_line& line)
    {
        static const pattern entry("^enter, classId=" + std::to_string(me_class::mbpcd) +
                                   R"(,instId=(\d+))");
        const auto at = numbers(line.text, entry);
        const walk_step* last = current();
        if (at && (!last || last->at.class_id != me_class::mbpcd || last->at.instance != 0))
            story_.steps.push_back({{me_class::mbpcd, 0}, story_.steps.size(), true, {}, {}});
        if (current())
            take_decision(line, *current());
    }

    void take_replayed_gem(const log_line& line)
    {
        if (!current() || current()->at.class_id != me_class::gemiw)
            story_.steps.push_back({{me_class::gemiw, 0}, story_.steps.size(), true, {}, {}});
        take_decision(line, *current());
    }

    void take_tci(const std::string& text)
    {
        static const pattern end(R"(vlanTci=(0x[0-9a-f]+|0))");
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
            step.dead_end = filter_on_uni_side;
        else if (line.function == "pbit_filter_handle" && text == "end, return 0")
            step.decisions.push_back(selected(step) + ": match");
        else if (line.function == "gem_forward")
            take_gem_iw(text, step);
        else if (text.find("fwd_flag(") != text.npos && is_complaint(line))
            step.dead_end = "frames do not pass through it in this direction";
        else if (is_complaint(line) && step.dead_end.empty() &&
                 line.function.find("gpon_pkt") == std::string::npos)
            step.dead_end = text;
    }

    void take_bridge_port(const std::string& text, walk_step& step)
    {
        static const pattern entry("^enter, classId=" + std::to_string(me_class::mbpcd) +
                                   R"(,instId=(\d+))");
        if (const auto at = numbers(text, entry))
            step.at.instance = static_cast<uint16_t>((*at)[0]);
        else if (text.find("fwd_flag(") != text.npos)
            step.dead_end = side_text(model_, step.at);
        else if (text.find("vtfd_filter_handle fail") != text.npos) {
            end_filter(step, "drop");
            if (step.dead_end.empty())
                step.dead_end = filter_drops;
        }
    }

    void take_filter(const std::string& text, walk_step& step)
    {
        static const pattern operands(
            R"(^forwardOperation=(0x[0-9a-f]+|0),vlanTci=(0x[0-9a-f]+|0),tagFlag=(\d+))");
        const auto found = numbers(text, operands);
        if (!found) {
            if (text == "end, return 0")
                end_filter(step, "pass");
            return;
        }
        filter_ = filter_text(model_, step.at, (*found)[0], (*found)[1], (*found)[2] != 0);
    }

    void end_filter(walk_step& step, const char* outcome)
    {
        if (!filter_.empty())
            step.decisions.push_back(filter_ + ": " + outcome);
        filter_.clear();
    }

    void take_gem_iw(const std::string& text, walk_step& step)
    {
        static const pattern end(R"(^end, inst_id=(\d+))");
        if (const auto at = numbers(text, end))
            step.at.instance = static_cast<uint16_t>((*at)[0]);
        if (text.find("pbit_filter_handle fail") == text.npos)
            return;
        step.decisions.push_back(selected(step) + ": no match");
        step.dead_end = not_selected;
    }

    std::string selected(const walk_step& step) const
    {
        return priority_text(model_, step.at, tci_, frame_);
    }

    const line_model& model_;
    const bytes* frame_; ///< may be null
    walk_story story_;
    std::vector<size_t> open_; ///< steps that are entered and not left
    bool announced_ = false;   ///< the instance of the open step is not known yet
    unsigned tci_ = 0;         ///< last one read from the frame
    std::string filter_;       ///< a filter's operands, until its outcome is known
};

} // namespace

walk_story read_walk(const std::string& log, const line_model& entities, const bytes* frame)
{
    return walk_reader(entities, frame).read(log);
}

} // namespace gponflow
