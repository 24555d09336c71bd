/* SPDX-License-Identifier: GPL-2.0-only */
/* The length of random tests. */
#pragma once

namespace gpon::test {

/* gcc defines macros, clang has features. */
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool sanitized = true;
#elif defined(__has_feature)
inline constexpr bool sanitized =
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool sanitized = false;
#endif

/* The number of rounds of a test that makes `all` rounds: a tenth under a sanitizer. A round takes
 * up to thirty times as long there, and what the test compares does not depend on the sanitizer. */
inline constexpr int rounds(int all)
{
    return all / (sanitized ? 10 : 1);
}

} // namespace gpon::test
