// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <unistd.h>
#include <utility>

namespace gponflow {

/// Owns a file descriptor; -1 owns none.
class descriptor {
public:
    explicit descriptor(int number = -1) : number_(number) {}
    descriptor(descriptor&& from) noexcept : number_(std::exchange(from.number_, -1)) {}
    descriptor& operator=(descriptor&& from) noexcept
    {
        std::swap(number_, from.number_);
        return *this;
    }
    ~descriptor()
    {
        if (number_ >= 0)
            close(number_);
    }

    explicit operator bool() const { return number_ >= 0; }
    [[nodiscard]] int get() const { return number_; }

private:
    int number_;
};

} // namespace gponflow
