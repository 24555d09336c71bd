// SPDX-License-Identifier: GPL-2.0-only
// The module in this process.
#pragma once

#include <memory>

#include "tool/live/module_reader.h"

namespace gponflow {

/// The module in this process.
[[nodiscard]] std::unique_ptr<module_reader> make_process_reader();

/// Passes on the changes of the module in this process during its lifetime. One object at a time.
class process_changes {
public:
    explicit process_changes(change_sink sink);
    ~process_changes();
    process_changes(const process_changes&) = delete;
    process_changes& operator=(const process_changes&) = delete;
};

} // namespace gponflow
