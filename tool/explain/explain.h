// SPDX-License-Identifier: GPL-2.0-only
// The way of one frame through the managed entities, told from the module's own log.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "tool/model/line_model.h"
#include "tool/scenario/backend.h"
#include "tool/scenario/command.h"
#include "tool/scenario/run.h"
#include "tool/text/terminal.h"

namespace gponflow {

/// One instance that the walk, or the replay of a rule, tried.
struct walk_step {
    me_id at;
    size_t depth = 0;                   ///< 0 where the frame enters
    bool passed = false;                ///< on the way that the frame took
    std::vector<std::string> decisions; ///< filters and priorities, with their operands
    std::string dead_end;               ///< why this branch ended here; empty when it did not
};

/// What the log of one hook call says.
struct walk_story {
    std::vector<walk_step> steps;        ///< in the order in which they were tried
    bool ran = false;                    ///< the engine looked at the frame at all
    bool replayed = false;               ///< a rule was there; the steps are those of the rule
    bool learnt = false;                 ///< a rule was added
    std::vector<std::string> complaints; ///< errors that belong to no step
    unsigned fwd_flag = 0;               ///< direction of the walk: 2 up from the UNI, 1 up to the
                                         ///< ANI, 4 down from the ANI; 0 when the log has no walk
    bool dropped = false;                ///< the log says that the frame failed
    bool garbled = false;                ///< what is entered and what is left do not fit together:
                                         ///< lines of another frame are among these, or some lack
};

/// Reads the log text of one hook call, at full detail or of a marked frame. Numbers in it that no
/// message carries are taken from the mirror, and from the frame unless that is null.
walk_story read_walk(const std::string& log, const mirror& entities, const bytes* frame = nullptr);

/// A frame and how it reaches the hook.
struct explained_frame {
    packet_options options;
    bytes frame;
};

struct explanation {
    explained_frame what;
    walk_story story;
    std::optional<hook_answer> answer;
    mirror entities;           ///< as they stood when the frame came
    bool lines_lost = false;   ///< log text is missing
    bool others_mixed = false; ///< other frames of the same addresses came at the same time
};

/// How the module is made to tell a frame's way.
enum class told_by {
    full_detail, ///< all of its messages, of whatever goes on
    trace_mark   ///< those about the frame alone, on a line with traffic; what entities and rules
                 ///< there are is asked of the module
};

/// Runs the scenario, then the frame; without a frame, the last frame of a hook command of the
/// scenario takes its place and is not run twice. Nothing when the backend refused or there is no
/// frame: `status` and `diagnostics` say so.
std::optional<explanation> explain_frame(const scenario& what, backend& where,
                                         const std::optional<explained_frame>& frame,
                                         std::ostream& diagnostics, exit_status& status,
                                         told_by how = told_by::full_detail);

/// Prints the walk as an indented tree, and what came of it.
void print_explanation(const explanation& what, std::ostream& out, const palette& colours = {});

/// The same of a marked frame that passed by, of which there is the log alone.
void print_marked_frame(const walk_story& story, const mirror& entities, std::ostream& out,
                        const palette& colours = {});

/// Index of the deepest step that ended a branch; nothing when none did.
std::optional<size_t> deepest_dead_end(const walk_story& story);

/// The same of all branches that came equally far, in the order in which they were tried: which of
/// them should have led on, only a reader can know.
std::vector<size_t> deepest_dead_ends(const walk_story& story);

/// Indices of the steps from where the frame entered to that one.
std::vector<size_t> branch_to(const walk_story& story, size_t last);

/// "A, B: the reason; C: another one", of those branches. Of many that end for one reason, those
/// beyond `most` are counted, unless it is 0.
std::string dead_ends_text(const walk_story& story, size_t most = 0);

/// How a frame is named on a command line.
struct frame_choice {
    std::vector<std::string> words; ///< hook options: kind=up_ani port=1 frame=0200...
    std::string capture;            ///< or a capture file, the words without frame
    size_t number = 1;              ///< of the frame in it, from 1
};

/// Nothing when the choice names no frame. Throws std::runtime_error that says what is wrong.
std::optional<explained_frame> choose_frame(const frame_choice& from);

} // namespace gponflow
