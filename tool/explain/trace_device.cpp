// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/trace_device.h"

#include <chrono>
#include <ostream>
#include <tuple>

#include "tool/explain/active_filter.h"
#include "tool/explain/answer_output.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/replay.h"
#include "tool/explain/walk_reader.h"
#include "tool/explain/walk_splitter.h"
#include "tool/live/instances.h"
#include "tool/live/kernel_log.h"
#include "tool/live/rule_table.h"
#include "tool/live/stop_signals.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

constexpr int quiet_milliseconds = 200;

class frame_printer {
public:
    frame_printer(captured_run& run, const trace_filter& filter, std::ostream& out,
                  const palette& colours, bool json)
        : run_(run), filter_(filter), out_(out), colours_(colours), json_(json)
    {
    }

    uint64_t frames() const { return frames_; }

    void print(const std::string& log)
    {
        ++frames_;
        // Queried for each frame: commands may have changed them in between.
        const line_model entities =
            model_of(read_instances(run_.query("show raw_data").value_or("")));
        walk_story story = read_walk(log, entities);
        if (story.replayed)
            name_steps(story);
        if (json_) {
            print_trace_json({frames_, story, entities, {}}, out_);
            out_ << std::flush;
            return;
        }
        out_ << colours_.heading("frame " + std::to_string(frames_)) << ", ";
        print_marked_frame(story, entities, out_, colours_);
        out_ << std::endl;
    }

private:
    void name_steps(walk_story& story)
    {
        auto table = read_rule_table(run_.query("show flow_rule").value_or(""));
        if (!table)
            return;
        std::erase_if(table->rules,
                      [&](const dumped_rule& rule) { return !may_mark(filter_, rule.key); });
        if (const dumped_rule* rule = rule_of_replay(story, table->rules))
            name_replay(story, *rule);
    }

    captured_run& run_;
    const trace_filter& filter_;
    std::ostream& out_;
    const palette& colours_;
    bool json_;
    uint64_t frames_ = 0;
};

bool is_over(const trace_limits& limits, uint64_t frames,
             std::chrono::steady_clock::time_point start)
{
    const auto passed = std::chrono::steady_clock::now() - start;
    return (limits.frames != 0 && frames >= limits.frames) ||
           (limits.seconds != 0 && passed >= std::chrono::seconds(limits.seconds));
}

} // namespace

exit_status trace_device(captured_run& run, const trace_filter& filter, const trace_limits& limits,
                         std::ostream& out, std::ostream& diagnostics, const palette& colours)
{
    const auto start = std::chrono::steady_clock::now();
    stop_signals stop;
    kernel_log log;
    frame_printer printer(run, filter, out, colours, limits.json);
    walk_splitter splitter([&](const std::string& one) {
        if (!is_over({limits.frames, 0, false}, printer.frames(), start))
            printer.print(one);
    });
    const active_filter active(run, filter);
    if (!active.is_set())
        throw refusal("the module is not loaded");
    diagnostics << "gponflow: tracing; press Ctrl-C to stop" << std::endl;
    while (out && !is_over(limits, printer.frames(), start)) {
        const bool stopped = stop.wait(log.number(), quiet_milliseconds);
        bool any = false;
        if (log.read_available([&](std::string_view line) {
                any = true;
                splitter.line(line);
            })) {
            splitter.drop();
            diagnostics << "gponflow: kernel log lines were lost, frames are missing: boot with a "
                           "larger log_buf_len, or use a narrower filter"
                        << std::endl;
        }
        if (!any || stopped)
            splitter.flush();
        if (stopped)
            break;
    }
    // Losses of the queries in between are reported above or irrelevant.
    std::ignore = run.lost_lines();
    diagnostics << "gponflow: " << counted(printer.frames(), "frame") << "; the filter is off"
                << std::endl;
    return status_ok;
}

} // namespace gponflow
