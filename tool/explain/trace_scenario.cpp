// SPDX-License-Identifier: GPL-2.0-only
#include "tool/explain/trace_scenario.h"

#include <ostream>

#include "tool/explain/event_reader.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/trace_output.h"
#include "tool/live/instances.h"
#include "tool/scenario/captured_run.h"
#include "tool/text/text_table.h"

namespace gponflow {

namespace {

class tracer final : public captured_run {
public:
    tracer(backend& target, const trace_filter& filter, uint64_t most, std::ostream& out,
           const palette& colours, bool as_json)
        : captured_run(target), filter_(filter), most_(most), out_(out), colours_(colours),
          json_(as_json)
    {
    }

    uint64_t marked() const { return marked_; }
    uint64_t frames() const { return frames_; }

private:
    void on_change() override { entities_.reset(); }

    void on_frame(const packet_options& options, const captured_frame& frame) override
    {
        ++frames_;
        const flow_key key = key_of(options, frame.data);
        if (!may_mark(filter_, key) || (most_ != 0 && marked_ == most_))
            return captured_run::on_frame(options, frame);
        ++marked_;
        if (!entities_)
            entities_ = model_of(read_instances(query("show raw_data").value_or("")));
        const traced_call call = traced_hook(options, frame.data);
        explanation explained{{options, frame}, {}, call.returned, *entities_};
        explained.walk = walk_of(call, explained.entities, frame.data);
        explained.events_lost = call.lost;
        explained.others_mixed = call.others;
        if (json_) {
            print_trace_json({frames_, options.kind, explained.walk, frame}, out_);
            return;
        }
        out_ << colours_.heading("frame " + std::to_string(frames_)) << ", ";
        print_explanation(explained, out_, colours_);
        out_ << '\n';
    }

    const trace_filter& filter_;
    uint64_t most_;
    std::ostream& out_;
    const palette& colours_;
    bool json_;
    std::optional<line_model> entities_; ///< current state; queried on demand
    uint64_t frames_ = 0;
    uint64_t marked_ = 0;
};

} // namespace

exit_status trace_scenario(const scenario& input, backend& target, const trace_filter& filter,
                           uint64_t most, std::ostream& out, std::ostream& diagnostics,
                           const palette& colours, bool as_json)
{
    tracer run(target, filter, most, out, colours, as_json);
    const exit_status status = run.run(input, diagnostics);
    if (!as_json)
        out << run.marked() << " of " << counted(run.frames(), "frame")
            << (run.marked() == 1 ? " matches the filter\n" : " match the filter\n");
    return status;
}

} // namespace gponflow
