// SPDX-License-Identifier: GPL-2.0-only
// Frames after an operation, as text.
#pragma once

#include <string>

#include "tests/tagging/rows.h"
#include "tool/tagging/apply.h"

namespace gponflow {

inline std::string text_of(const tag_rewriting& done)
{
    if (done.outcome == tag_outcome::discarded)
        return "discarded by " + done.row;
    if (done.outcome == tag_outcome::unknown)
        return "unknown: " + done.why;
    return tags_text(done.frame);
}

inline std::string up(const tag_operation& operation, const octets& frame)
{
    return text_of(rewrite_upstream(operation, frame));
}

inline std::string down(const tag_operation& operation, const octets& frame)
{
    return text_of(rewrite_downstream(operation, frame));
}

/// Class 78. TCI 0x6064: priority 3, VLAN 100.
inline tag_operation plain(uint8_t upstream_mode, uint8_t downstream_mode)
{
    tag_operation op;
    op.class_id = me_class::vtocd;
    op.upstream_mode = upstream_mode;
    op.upstream_tci = 0x6064;
    op.downstream_mode = downstream_mode;
    return op;
}

} // namespace gponflow
