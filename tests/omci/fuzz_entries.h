// SPDX-License-Identifier: GPL-2.0-only
// Entry points for a fuzzer with any input bytes. Each returns 0, and aborts if a guarantee is
// broken.
#pragma once

#include <cstddef>
#include <cstdint>

namespace gponflow::omci::test {

/// The bytes of one OMCI message.
int fuzz_message(const uint8_t* data, size_t size);

/// The bytes of a capture file.
int fuzz_capture(const uint8_t* data, size_t size);

/// Messages without a capture file around them, each behind a byte that holds its length: what
/// the capture format would make hard to reach.
int fuzz_session(const uint8_t* data, size_t size);

} // namespace gponflow::omci::test
