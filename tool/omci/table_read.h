// SPDX-License-Identifier: GPL-2.0-only
// Tables that the OLT reads: a get returns the size of the table, get next its bytes in parts
// (G.988 clauses A.2.14 and A.2.15).
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tool/omci/pairing.h"
#include "tool/omci/tagging_text.h"

namespace gponflow::omci {

/// The bytes of one response, and its frames.
struct table_part {
    std::vector<uint8_t> bytes;
    std::string frames;
};

/// Collects the received frame VLAN tagging operation tables (class 171) of one ONU.
class table_reader {
public:
    /// A get response announced this number of bytes. An earlier read of the table is given up.
    void begin(uint16_t instance, uint32_t size);

    /// Takes a get next with its response. Returns the whole table with its last part.
    [[nodiscard]] std::optional<read_table> take(const exchange& item);

private:
    struct pending_table {
        size_t size = 0;
        std::map<uint16_t, table_part> parts; ///< by their number
    };

    std::map<uint16_t, pending_table> pending_;
};

} // namespace gponflow::omci
