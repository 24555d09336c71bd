// SPDX-License-Identifier: GPL-2.0-only
// A MIB upload: the report of the ONU about all of its instances (G.988 clauses A.1.5 and A.2.13).
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "include/me_class_id.h"
#include "tool/omci/mib.h"

namespace gponflow::omci {

/// Uploaded instances of a class that the module does not mirror.
struct upload_count {
    std::set<uint16_t> instances;
    size_t attributes = 0;
};

/// What the uploads of a capture contain.
struct upload_summary {
    size_t parts = 0;                              ///< responses with instances
    size_t missing = 0;                            ///< announced, but not captured
    size_t written = 0;                            ///< instances that became commands
    std::map<me_class, upload_count> unmirrored;   ///< by class
    std::map<me_class, size_t> left_to_the_module; ///< instances by class, see upload_lines
};

/// Follows one upload: its announced number of parts, and those that were captured.
class upload_tracker {
public:
    void begin(std::optional<uint16_t> announced);
    /// `number` is that of the request. Some OLTs do not count: then the contents distinguish the
    /// parts.
    void part(uint16_t number, std::span<const uint8_t> content);
    /// Parts that were announced and not captured. Without an announcement, those before the
    /// greatest captured number.
    [[nodiscard]] size_t missing() const;

private:
    std::optional<uint16_t> announced_;
    std::set<uint16_t> numbers_;
    std::set<std::vector<uint8_t>> contents_;
};

/// The classes of which commands create instances. A pointer is recorded only if its target exists,
/// so a class comes behind those that its pointers name.
[[nodiscard]] std::vector<const class_record*> creation_order();

/// Commands that create the uploaded instances that no command has created yet, targets of pointers
/// first, and marks them as written. Instances that an ONU creates itself (UNIs, VEIPs, schedulers,
/// queues) are left to the module, which creates them for the pointers, and so are T-CONTs without
/// an alloc-ID. They are counted in the summary. Empty if there is nothing to create.
[[nodiscard]] std::string upload_lines(record_store& store, upload_summary& counts);

} // namespace gponflow::omci
