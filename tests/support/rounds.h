/* SPDX-License-Identifier: GPL-2.0-only */
/* The length of random tests. */
#pragma once

namespace gpon::test {

/* The number of rounds of a test that makes `all` rounds: a tenth under a sanitizer. A round takes
 * up to thirty times as long there, and what the test compares does not depend on the sanitizer. */
inline constexpr int rounds(int all)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return all / 10;
#else
    return all;
#endif
}

} // namespace gpon::test
