// SPDX-License-Identifier: GPL-2.0-only
// The bytes of a fuzzer's input, consumed from the front. Beyond the end all bytes read as 0.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace gponflow::fuzz {

class byte_source {
public:
    byte_source(const uint8_t* data, size_t size) : rest_(data, size) {}

    bool empty() const { return rest_.empty(); }

    uint8_t u8()
    {
        if (rest_.empty())
            return 0;
        const uint8_t value = rest_.front();
        rest_ = rest_.subspan(1);
        return value;
    }

    /// Low byte first.
    uint16_t u16()
    {
        const uint8_t low = u8();
        return static_cast<uint16_t>(low | u8() << 8);
    }

    uint32_t u32()
    {
        const uint32_t low = u16();
        return low | static_cast<uint32_t>(u16()) << 16;
    }

    /// Exactly the remaining bytes, in a separate block, so that a read beyond them is detected.
    std::vector<uint8_t> some(size_t count)
    {
        const auto taken = rest_.first(std::min(count, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return {taken.begin(), taken.end()};
    }

    /// The same, padded with zeros.
    std::vector<uint8_t> exactly(size_t count)
    {
        std::vector<uint8_t> bytes = some(count);
        bytes.resize(count);
        return bytes;
    }

    std::string text(size_t count)
    {
        const std::vector<uint8_t> bytes = some(count);
        return {bytes.begin(), bytes.end()};
    }

private:
    std::span<const uint8_t> rest_;
};

} // namespace gponflow::fuzz
