// SPDX-License-Identifier: GPL-2.0-only
// The module of the running kernel, by netlink.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "tool/live/change_source.h"
#include "tool/live/module_reader.h"

namespace gponflow {

/// The module of the running kernel. Requires root. Throws refusal.
[[nodiscard]] std::unique_ptr<module_reader> make_kernel_reader();

/// The changes in the running kernel from open() on. Requires root.
class kernel_changes final : public change_source {
public:
    [[nodiscard]] static kernel_changes open(); ///< Throws refusal.
    ~kernel_changes() override;
    kernel_changes(kernel_changes&&) noexcept;
    kernel_changes& operator=(kernel_changes&&) = delete;

    [[nodiscard]] arrival read(const change_sink& sink) override;

    /// Number of the last change before the first one that can be missing: that one is missing if
    /// the first change read is not the next. Changes that came while it was read have numbers up
    /// to it. Nothing if the module does not say it.
    [[nodiscard]] std::optional<uint32_t> last_number() const;

    [[nodiscard]] std::optional<uint32_t> current_number() override;
    [[nodiscard]] int number() const override;

private:
    struct connection;
    explicit kernel_changes(std::unique_ptr<connection> opened);

    std::unique_ptr<connection> connection_;
};

} // namespace gponflow
