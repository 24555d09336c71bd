// SPDX-License-Identifier: GPL-2.0-only
// The outcome of a frame in words.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tool/explain/fault.h"
#include "tool/explain/frame_query.h"

namespace gponflow {

enum class line_outcome { passed, dropped, not_classified };

struct verdict {
    line_outcome outcome = line_outcome::passed;
    std::string sentence;           ///< one sentence with a full stop
    std::vector<fault> faults;      ///< of a drop
    std::vector<std::string> notes; ///< one sentence each
};

[[nodiscard]] verdict verdict_of(const frame_path& path, const line_places& places = {});

/// The same for one hook call, of which only the outcome and the reason are known.
[[nodiscard]] verdict verdict_of(const explanation& half, const line_places& places = {});

/// "passed", "dropped", "not classified".
[[nodiscard]] std::string_view name_of(line_outcome outcome);

} // namespace gponflow
