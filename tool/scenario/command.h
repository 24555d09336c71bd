// SPDX-License-Identifier: GPL-2.0-only
// A scenario as data: the command of each line, checked and with all defaults filled in.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tool/capture/captured_frame.h"
#include "tool/check/silence.h"
#include "tool/model/omci_command.h"
#include "tool/tagging/operation.h"
#include "tool/text/line_places.h"

namespace gponflow {

struct load_command {};
struct unload_command {};

/// A hook call and the fields of its packet, in the platform's own units.
struct packet_options {
    uint32_t kind = 0;
    uint32_t param = 0;
    uint32_t port_word = 0; ///< `port` already in bits 4 to 7
    uint32_t mark_word = 0;
    uint16_t gem = 0;
    uint16_t multicast = 0;
    uint32_t flags = 0;
};

struct hook_command {
    packet_options options;
    std::optional<bytes> frame; ///< none: the packet pointer is null
};

struct debug_command {
    std::vector<std::string> words; ///< at most 4, each at most 32 bytes
};

struct clean_command {};

struct ioctl_command {
    uint32_t number = 0;
    std::optional<uint32_t> cmd; ///< of a control record that is zero otherwise; none: null
};

struct proc_write_command {
    std::string text;
};

struct proc_read_command {};

struct advance_command {
    uint64_t jiffies = 0;
};

/// New value of one of the function pointers of the platform.
struct pointer_setting {
    std::optional<int32_t> result; ///< none: unset
};

struct platform_command {
    std::optional<pointer_setting> mapping;
    std::optional<pointer_setting> queue;
};

enum class fault_kind { chrdev, proc_dir, proc_entry, hook, alloc, copy };

struct fault_command {
    fault_kind service = fault_kind::chrdev;
    uint64_t nth = 1; ///< the call from now on that fails
};

struct pcap_command {
    std::string file; ///< as written in the scenario
    packet_options options;
    bool whole_path = false; ///< the second hook call of the direction follows if a frame passes
    std::vector<captured_frame> frames; ///< filled by read_captures
};

struct expectation {
    std::string name;
    std::optional<int64_t> value; ///< none: the entry point is absent
    std::string value_text;       ///< as written
};

struct expect_command {
    std::vector<expectation> all;
};

struct echo_command {
    std::string text;
};

/// Findings of `check` that the author of the scenario accepts. The module does not see it.
struct silence_command {
    silence silenced;
};

/// Attributes of a tagging operation that the module does not store. The module does not see it.
struct tagging_command {
    tag_facts facts;
};

using any_command =
    std::variant<load_command, unload_command, hook_command, me_command, config_command,
                 debug_command, clean_command, ioctl_command, proc_write_command, proc_read_command,
                 advance_command, platform_command, fault_command, pcap_command, expect_command,
                 echo_command, silence_command, tagging_command>;

/// Whether the command states a fact for the tool: no backend runs it, and a transcript lacks it.
[[nodiscard]] inline bool is_fact(const any_command& command)
{
    return std::holds_alternative<silence_command>(command) ||
           std::holds_alternative<tagging_command>(command);
}

struct scenario_line {
    unsigned line = 0; ///< number in the file, from 1
    std::string text;  ///< without blanks at its ends
    any_command command;
};

struct scenario {
    std::string name; ///< of the file, "-" for standard input
    std::vector<scenario_line> lines = {};
    bool incomplete = false; ///< a capture is damaged or empty: the results are those of a part
    /// Of a scenario that was converted from a capture: the frames that a line was converted from.
    std::map<unsigned, std::string> frames_of_lines = {};
    std::vector<std::string> notes = {}; ///< what its captures leave out, besides cut frames
};

/// The places of its lines, for messages.
[[nodiscard]] inline line_places places_of(const scenario& script)
{
    return {script.name, script.frames_of_lines};
}

} // namespace gponflow
