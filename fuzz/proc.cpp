// SPDX-License-Identifier: GPL-2.0-only
// Lines written to the proc entry of a module with instances and rules.
#include <optional>
#include <string_view>

#include "fuzz/line.h"
#include "platform/host/host.h"

using namespace gponflow;
using namespace gponflow::fuzz;

namespace {

const hook_command& known_packet()
{
    static const hook_command packet = [] {
        hook_command up;
        up.options.kind = GPON_API_UP_ANI;
        up.frame = bytes{2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 1, 1, 0x81, 0, 0, 100, 8, 0, 0x45, 0};
        return up;
    }();
    return packet;
}

// The line of the tour. If the number of blocks shows that a proc line deleted instances, the line
// is provisioned again.
line& provisioned_line()
{
    static std::optional<line> current;
    static uint64_t blocks = 0;
    if (current) {
        current->execute(proc_write_command{"clean flow_rule 0 0"});
        gpon::host::rcu_settle();
    }
    if (!current || gpon::host::memory().live_blocks != blocks) {
        current.reset();
        current.emplace(true);
        current->provision("scenarios/tour.scn");
        blocks = gpon::host::memory().live_blocks;
    }
    for (const char* setting : {"set enable 1", "set debug_level 0", "set trace disable"})
        current->execute(proc_write_command{setting});
    current->execute(known_packet());
    return *current;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    line& module = provisioned_line();
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    for (int lines = 0; !rest.empty() && lines < 64; ++lines) {
        const std::string_view one =
            rest.substr(0, rest.find('\n') + 1 ? rest.find('\n') + 1 : rest.size());
        rest.remove_prefix(one.size());
        module.execute(proc_write_command{std::string(one)});
        module.execute(known_packet());
        module.check();
    }
    module.execute(proc_read_command{});
    return 0;
}
