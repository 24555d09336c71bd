// SPDX-License-Identifier: GPL-2.0-only
// The text of a scenario file. If it can be parsed, it runs and its transcript is written.
#include <sstream>
#include <string_view>

#include "fuzz/line.h"
#include "tool/scenario/host_backend.h"
#include "tool/scenario/parse.h"
#include "tool/scenario/run.h"

using namespace gponflow;
using gponflow::fuzz::require;

namespace {

// Long times and the files that a text names are left out.
void tame(scenario& script)
{
    for (scenario_line& line : script.lines) {
        if (auto* advance = std::get_if<advance_command>(&line.command))
            advance->jiffies %= 100000;
        if (auto* pcap = std::get_if<pcap_command>(&line.command))
            pcap->frames = {captured_frame(bytes(20, 2))};
    }
    if (script.lines.size() > 200)
        script.lines.resize(200);
}

void check_faults(const parse_result& result)
{
    unsigned last = 0;
    for (const diagnostic& fault : result.errors) {
        require(fault.line > last, "a faulty line is reported once, in order");
        require(!fault.text().empty(), "a fault has a text");
        last = fault.line;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    parse_result result = parse_scenario({reinterpret_cast<const char*>(data), size}, "fuzz");
    check_faults(result);
    tame(result.input);
    const std::unique_ptr<backend> target = make_host_backend();
    std::ostringstream transcript;
    std::ostringstream refused;
    const exit_status status = run_scenario(result.input, *target, transcript, refused, true);
    require((status == status_unsupported) == !refused.str().empty(), "a refusal has a reason");
    return 0;
}
