// SPDX-License-Identifier: GPL-2.0-only
// Arguments of the command line. All functions throw CLI::ValidationError with the reason and a
// suggestion.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "include/me_class_id.h"

namespace gponflow {

/// A class of the module by name, in any letter case, or by number.
[[nodiscard]] me_class read_class(const std::string& word);

/// An instance id, decimal or hexadecimal after 0x.
[[nodiscard]] uint16_t read_instance(const std::string& word);

/// A number within bounds, decimal or hexadecimal after 0x; `name` names it in messages.
[[nodiscard]] uint64_t read_number(const std::string& name, const std::string& word, uint64_t most,
                                   uint64_t least = 0);

/// An option with a number within bounds. `take` receives the number.
CLI::Option* add_number(CLI::App& app, const std::string& name,
                        const std::function<void(uint64_t)>& take, uint64_t most, uint64_t least,
                        const std::string& description);

/// The option --onu, which chooses one of several ONUs of a capture.
CLI::Option* add_onu_option(CLI::App& app, std::string& into);

/// A VLAN id, 0 to 4095, and its priority after a p, or nothing: "100", "100p5".
struct vlan_word {
    uint16_t vlan = 0;
    std::optional<uint8_t> priority;
};
[[nodiscard]] vlan_word read_vlan(const std::string& name, const std::string& word);

} // namespace gponflow
