// SPDX-License-Identifier: GPL-2.0-only
#pragma once

namespace gponflow {

/// True when the running kernel has the module.
bool is_module_loaded();

/// Loads the module from GPON_FLOW_MODULE, or from where packages put it. 0 or a negative errno.
/// Throws refusal when there is no file.
int load_module();

/// Unloads it; 0 or a negative errno.
int unload_module();

} // namespace gponflow
