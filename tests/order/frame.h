// SPDX-License-Identifier: GPL-2.0-only
// The frames of the order tests. Around the code under test are a rule table that knows the flow or
// does not, and a store of one word, the state, which a replay and a walk add to the GEM port.
#pragma once

#include <array>

#include "base/types.h"

namespace order {

/* What the rule table and the store do with a frame. A frame whose walk or replay fails remembers
 * nothing and does not take the lock for it. */
enum class path : u8 { replay, failing_replay, failing_walk };

/* Flow n has the GEM ports from 100 * n. */
constexpr u16 PORTS_OF_A_FLOW = 100;

extern u64 store_state;

} // namespace order

struct sk_buff {
    std::array<u8, 24> bytes;
    u32 flag_word;
    u16 gemport_id;
    u16 flow;
    order::path path;
};
