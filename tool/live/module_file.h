// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <optional>
#include <sys/types.h>

namespace gponflow {

/// Whether the module is loaded in the running kernel.
[[nodiscard]] bool is_module_loaded();

/// The same, but not while it is being loaded or unloaded: its entry points may not exist then.
[[nodiscard]] bool is_module_ready();

/// A number that differs for each load of the module. None while the module is not loaded.
[[nodiscard]] std::optional<ino_t> module_identity();

/// Loads the module from GPON_FLOW_MODULE, or from the folders of the packages. Returns 0 or a
/// negative errno. Throws refusal if there is no file.
[[nodiscard]] int load_module();

/// Unloads the module. Returns 0 or a negative errno.
[[nodiscard]] int unload_module();

} // namespace gponflow
