// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/walk_reader.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <utility>

#include "include/packet_flow.h"
#include "tool/explain/decision_texts.h"

namespace gponflow {

namespace {

// One line of the log: the function that logs and its text.
struct log_line {
    std::string_view tag;
    std::string_view function;
    std::string_view text;
};

bool is_capital(char c)
{
    return c >= 'A' && c <= 'Z';
}

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

bool is_word(char c)
{
    return is_capital(c) || is_digit(c) || (c >= 'a' && c <= 'z') || c == '_';
}

/// Takes a line apart from its front. A log has thousands of lines for each frame on a large line,
/// so this reads each character once.
class line_scanner {
public:
    explicit line_scanner(std::string_view text) : rest_(text) {}

    template <typename predicate> std::string_view take_while(predicate holds)
    {
        const auto end = std::ranges::find_if_not(rest_, holds);
        const auto count = static_cast<size_t>(end - rest_.begin());
        const std::string_view taken = rest_.substr(0, count);
        rest_.remove_prefix(count);
        return taken;
    }

    bool take(std::string_view words)
    {
        if (!rest_.starts_with(words))
            return false;
        rest_.remove_prefix(words.size());
        return true;
    }

    std::string_view rest() const { return rest_; }

private:
    std::string_view rest_;
};

std::string_view without_end_blanks(std::string_view text)
{
    const size_t last = text.find_last_not_of(" \t\r\n\v\f");
    return text.substr(0, last + 1);
}

// "***ERROR***[function][12]: text": the tag, "Enter ", the brackets of the function, the colon and
// the blanks may be missing.
std::optional<log_line> read_line(std::string_view line)
{
    line_scanner scan(line);
    log_line result;
    const auto is_star = [](char c) { return c == '*'; };
    if (line.starts_with('*')) {
        const size_t stars = scan.take_while(is_star).size();
        const size_t level = scan.take_while(is_capital).size();
        result.tag = line.substr(0, stars + level + scan.take_while(is_star).size());
        if (level == 0 || !result.tag.ends_with('*'))
            return {};
    }
    scan.take("Enter ");
    scan.take("[");
    result.function = scan.take_while(is_word);
    scan.take("]");
    scan.take(" ");
    if (result.function.empty() || !scan.take("[") || scan.take_while(is_digit).empty() ||
        !scan.take("]"))
        return {};
    scan.take(":");
    scan.take(" ");
    result.text = without_end_blanks(scan.rest());
    return result;
}

using number_list = std::array<unsigned, 6>;

// The numbers of a text that begins like the shape, where each # is a number; decimal, or
// hexadecimal behind 0x.
std::optional<number_list> numbers(std::string_view text, std::string_view shape)
{
    number_list result{};
    size_t count = 0;
    line_scanner scan(text);
    for (;;) {
        const size_t words = std::min(shape.find('#'), shape.size());
        if (!scan.take(shape.substr(0, words)))
            return {};
        if (words == shape.size())
            return result;
        shape.remove_prefix(words + 1);
        const bool negative = scan.take("-");
        const int base = scan.take("0x") ? 16 : 10;
        const std::string_view digits =
            scan.take_while([](char c) { return is_digit(c) || (c >= 'a' && c <= 'f'); });
        unsigned value = 0;
        const auto end = std::from_chars(digits.begin(), digits.end(), value, base);
        if (end.ec != std::errc() || end.ptr != digits.end())
            return {};
        result.at(count++) = negative ? 0 - value : value;
    }
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
            if (const auto line = read_line(std::string_view(log).substr(at, end - at)))
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
        const std::string_view who = line.function;
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
            story_.complaints.emplace_back(line.text);
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
        story_.complaints.emplace_back(line.text);
    }

    void take_step(const log_line& line)
    {
        if (numbers(line.text, "Enter, recurse_num = #")) {
            open_step();
            announced_ = true;
        } else if (const auto at = numbers(line.text, "enter, classId=#,instId=#,fwd_flag=#")) {
            enter(*at);
        } else if (line.text.find("MAX_RECURSION_NUM") != line.text.npos && current()) {
            current()->dead_end = "the graph is deeper than the limit of a walk";
        } else if (line.text.find("can not get the entry") != line.text.npos && current()) {
            current()->dead_end = "frames do not pass through this class";
        } else if (const auto left = numbers(line.text, "end, classId=#,instId=#, func_ret = #,"
                                                        "ret_val=#,recurse_num =#")) {
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
    void enter(const number_list& at)
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
        step.passed = answer == 0 && status == FLOW_PKT_FORWARD_DONE;
        const bool last_tried = open_.back() + 1 == story_.steps.size();
        if (!step.passed && step.dead_end.empty() && last_tried)
            step.dead_end = end_text(model_, step.at);
        // A step with a successful branch is no dead end, whatever other branches missed.
        if (step.passed || !last_tried)
            step.dead_end.clear();
        open_.pop_back();
    }

    void take_next(std::string_view text)
    {
        const auto found = numbers(text, "nextMeClassId=#, inst_id=#, instExist=#,");
        walk_step* step = current();
        if (!found || (*found)[2] != 0 || !step)
            return;
        const bool nothing_tried = open_.back() + 1 == story_.steps.size();
        if (!nothing_tried)
            return;
        step->dead_end += step->dead_end.empty() ? "no " : " or ";
        step->dead_end += class_text((*found)[0]);
    }

    void take_replayed(std::string_view text)
    {
        if (const auto found = numbers(text, "classId = #, me_index"))
            story_.steps.push_back(
                {{static_cast<uint16_t>((*found)[0]), 0}, story_.steps.size(), true, {}, {}});
    }

    static std::optional<uint16_t> port_entered(std::string_view text)
    {
        const auto at = numbers(text, "enter, classId=#,instId=#");
        if (!at || (*at)[0] != me_class::mbpcd)
            return {};
        return static_cast<uint16_t>((*at)[1]);
    }

    // The replay of a marked frame logs bridge ports by their own messages; with all log levels the
    // class is logged before.
    void take_replayed_port(const log_line& line)
    {
        const bool at = port_entered(line.text).has_value();
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

    void take_tci(std::string_view text)
    {
        const size_t at = text.find("vlanTci=");
        if (at == text.npos)
            return;
        if (const auto found = numbers(text.substr(at), "vlanTci=#"))
            tci_ = (*found)[0];
    }

    void take_decision(const log_line& line, walk_step& step)
    {
        const std::string_view text = line.text;
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
                 line.function.find("gpon_pkt") == std::string_view::npos)
            step.dead_end = std::string(text);
    }

    void take_bridge_port(std::string_view text, walk_step& step)
    {
        if (const auto at = port_entered(text))
            step.at.instance = *at;
        else if (text.find("fwd_flag(") != text.npos)
            step.dead_end = side_text(model_, step.at);
        else if (text.find("vtfd_filter_handle fail") != text.npos) {
            end_filter(step, "drop");
            if (step.dead_end.empty())
                step.dead_end = filter_drops;
        }
    }

    void take_filter(std::string_view text, walk_step& step)
    {
        const auto found = numbers(text, "forwardOperation=#,vlanTci=#,tagFlag=#");
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

    void take_gem_iw(std::string_view text, walk_step& step)
    {
        if (const auto at = numbers(text, "end, inst_id=#"))
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
