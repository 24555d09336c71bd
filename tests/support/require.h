// SPDX-License-Identifier: GPL-2.0-only
// Guarantees that hold for every input of a fuzzer.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace gponflow::test {

/// Ends the process if the condition does not hold; the fuzzer reports this as a finding.
inline void require(bool holds, const char* promise)
{
    if (holds)
        return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

} // namespace gponflow::test
