// SPDX-License-Identifier: GPL-2.0-only
// Subscriber lines of any size and traffic for them, for tests and benchmarks. The same shape gives
// the same line and the same frames.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tool/scenario/command.h"

namespace gponflow::test {

/// A bridge has one port for a UNI and one port for each of its services. A service has a VLAN of
/// its own and a mapper with a GEM port for all priorities.
struct line_shape {
    unsigned bridges = 25;
    unsigned services = 19; ///< of one bridge
    unsigned frames = 100000;
    unsigned stations = 2; ///< MAC addresses of one service
    unsigned foreign = 20; ///< every such frame has a VLAN that no service has
    uint32_t seed = 1;
    unsigned busy = 0; ///< services that have frames; 0: all

    [[nodiscard]] unsigned all_services() const { return bridges * services; }
    [[nodiscard]] unsigned bridge_ports() const { return bridges + all_services(); }
};

/// The commands of the line, from load to the start of the engine. At most 3900 services. Throws
/// std::invalid_argument for more.
[[nodiscard]] std::string line_text(const line_shape& shape);

/// The frames of one direction.
struct generated_traffic {
    std::string file; ///< a name for the capture
    packet_options options;
    std::vector<bytes> frames;
};

/// Six of ten frames go to the ANI, two of ten come from UNI 1, two of ten from the first GEM port.
[[nodiscard]] std::vector<generated_traffic> line_traffic(const line_shape& shape);

/// The line with its traffic.
[[nodiscard]] scenario generated_scenario(const line_shape& shape);

} // namespace gponflow::test
