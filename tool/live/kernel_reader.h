// SPDX-License-Identifier: GPL-2.0-only
// The module of the running kernel, by netlink.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "tool/live/module_reader.h"

namespace gponflow {

/// The module of the running kernel. Requires root. Throws refusal.
[[nodiscard]] std::unique_ptr<module_reader> make_kernel_reader();

/// The changes in the running kernel from open() on. Requires root.
class kernel_changes {
public:
    [[nodiscard]] static kernel_changes open(); ///< Throws refusal.
    ~kernel_changes();
    kernel_changes(kernel_changes&&) noexcept;
    kernel_changes& operator=(kernel_changes&&) = delete;

    struct arrival {
        bool lost = false;     ///< the kernel dropped changes: the next number has a gap
        bool unloaded = false; ///< no more changes come, also if the module is loaded again
    };

    /// Passes on the changes that have arrived. Throws refusal.
    [[nodiscard]] arrival read(const change_sink& sink);

    /// Number of the last change before the first one that can be missing: that one is missing if
    /// the first change read is not the next. Changes that came while it was read have numbers up
    /// to it. Nothing if the module does not say it.
    [[nodiscard]] std::optional<uint32_t> last_number() const;

    /// Number of the last change so far. Nothing if the module does not say it. Throws refusal.
    [[nodiscard]] static std::optional<uint32_t> current_number();

    /// Descriptor to poll for changes.
    [[nodiscard]] int number() const;

private:
    struct connection;
    explicit kernel_changes(std::unique_ptr<connection> opened);

    std::unique_ptr<connection> connection_;
};

} // namespace gponflow
