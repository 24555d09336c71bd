// SPDX-License-Identifier: GPL-2.0-only
// An explanation as text.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>

#include "tool/explain/explain_frame.h"
#include "tool/text/terminal.h"

namespace gponflow {

/// Prints the walk as an indented tree, and its result.
void print_explanation(const explanation& explained, std::ostream& out, const palette& colours = {},
                       const line_places& places = {});

/// The same for a marked frame of which only the events are known.
void print_marked_frame(const walk_record& walk, const line_model& entities, std::ostream& out,
                        const palette& colours = {});

/// One instance with its attributes and decisions, indented by its depth.
void print_step(const walk_step& step, const line_model& entities, std::ostream& out,
                const palette& colours = {});

/// Tagging operations on the path of a frame that were not applied.
[[nodiscard]] std::vector<tag_gap> gaps_of(const explanation& explained);

/// The frame at each UNI of its bridge, after a hook call of kind down_ani; none for other kinds
/// and for a frame that the walk drops.
[[nodiscard]] std::vector<leaving_frame> leaving_frames(const explanation& explained);

/// The operations at these UNIs. Nothing for UNIs without one.
void print_leaving(const explanation& explained, const line_places& places, std::ostream& out,
                   const palette& colours = {});

/// The kind of hook call of a direction (enum fwd_flag); UINT32_MAX if it has none.
[[nodiscard]] uint32_t kind_of_direction(unsigned fwd_flag);

/// "upstream, from the UNI to the bridge", by kind of hook call.
[[nodiscard]] const char* kind_title(uint32_t kind);

/// "up_uni" and so on, as in scenarios and JSON; "other" for a kind without a direction.
[[nodiscard]] const char* hook_kind_name(uint32_t kind);

/// "A and B: the reason; C: another one" for the deepest branches. Of branches with the same
/// reason, at most `most` are named and the rest is counted; 0 names all.
[[nodiscard]] std::string dead_ends_text(const walk_record& walk, size_t most = 0);

/// "its tags are not in the capture", "the module is not loaded": of a frame without an outcome.
[[nodiscard]] std::string why_unclassified(const explanation& explained);

/// The field that is not in the capture, and without which the outcome is not known; empty if no
/// field is missing.
[[nodiscard]] std::string missing_field(const explanation& explained);

/// Why a frame passes although steps of its replay refused it or failed. One sentence each.
[[nodiscard]] std::vector<std::string> replay_notes(const walk_record& walk);

/// Why the frame of this walk failed.
[[nodiscard]] std::string drop_text(const walk_record& walk);

} // namespace gponflow
