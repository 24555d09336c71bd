// SPDX-License-Identifier: GPL-2.0-only
// A trace buffer (instance) of the running kernel.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tool/live/descriptor.h"

struct tracefs_instance;

namespace gponflow {

/// A trace buffer of this process alone, beside those of other tracers. Requires root.
///
/// Its owner holds a lock on the folder of the buffer. A buffer without a lock is that of a killed
/// process: the kernel releases the lock at the end of a process, in every PID namespace and
/// whichever process gets the number next.
class trace_buffer {
public:
    /// Removes the buffers that killed processes left, and creates one. Throws refusal.
    [[nodiscard]] static trace_buffer create();

    [[nodiscard]] tracefs_instance* get() const { return buffer_.get(); }

private:
    struct remover {
        void operator()(tracefs_instance* buffer) const;
    };

    trace_buffer(descriptor lock, tracefs_instance* buffer)
        : lock_(std::move(lock)), buffer_(buffer)
    {
    }
    [[nodiscard]] static std::optional<trace_buffer> create(const std::string& name);

    descriptor lock_; ///< released after the buffer is removed
    std::unique_ptr<tracefs_instance, remover> buffer_;
};

} // namespace gponflow
