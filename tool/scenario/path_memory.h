// SPDX-License-Identifier: GPL-2.0-only
// Remembers which frames take the same path.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>

#include "tool/scenario/backend.h"

namespace gponflow {

/// The path of a frame and the result of its hook call depend on the managed entities, on the
/// options of the call, on the tags, the type and the DSCP of the frame, and on the steps of its
/// rule, if it has one. Addresses only select the rule.
class path_memory {
public:
    struct path {
        std::optional<hook_return> returned;
        size_t number = 0;
    };

    /// The key of a frame, whose rule is in that place.
    [[nodiscard]] static std::string key_of(const packet_options& options, const bytes& frame,
                                            const rule_place& place);

    /// Null for an unknown path.
    [[nodiscard]] const path* find(const std::string& key) const;
    void add(std::string key, const path& found);
    /// After a change of the managed entities or of the platform.
    void forget() { known_.clear(); }

private:
    std::unordered_map<std::string, path> known_;
};

} // namespace gponflow
