// SPDX-License-Identifier: GPL-2.0-only
// Which messages of a dump are marked as inconsistent (src/platform/linux/netlink.c).
#include <gtest/gtest.h>

#include <cstdlib>
#include <span>
#include <utility>
#include <vector>

#include "netlink/net/genetlink.h"

#include "include/uapi/gpon_flow_netlink.h"
#include "platform/api/observe.h"

extern "C" genl_family gpon_glue_family;

namespace {

// What the core returns to one call: so many rules, of this revision.
struct batch {
    unsigned rules;
    uint64_t revision;
};

std::vector<batch> batches;
size_t next_batch;

const genl_ops& rules_dump()
{
    for (const genl_ops& one : std::span(gpon_glue_family.ops, gpon_glue_family.n_ops))
        if (one.cmd == GPON_FLOW_NL_CMD_GET_RULES)
            return one;
    std::abort();
}

// The flags of all messages of a dump, and those of its end, in buffers of this many messages.
std::vector<bool> marks(std::vector<batch> of_core, int room)
{
    batches = std::move(of_core);
    next_batch = 0;
    netlink_callback cb = {};
    const nlmsghdr request = {1};
    cb.nlh = &request;
    std::vector<bool> marked;
    EXPECT_EQ(rules_dump().start(&cb), 0);
    for (;;) {
        sk_buff buffer = {};
        buffer.room = room;
        if (rules_dump().dumpit(&buffer, &cb) == 0)
            break;
        for (int i = 0; i < buffer.len; ++i)
            marked.push_back((buffer.flags[i] & NLM_F_DUMP_INTR) != 0);
    }
    unsigned end = 0;
    genl_dump_check_consistent(&cb, &end);
    marked.push_back((end & NLM_F_DUMP_INTR) != 0);
    rules_dump().done(&cb);
    return marked;
}

using flags = std::vector<bool>;

TEST(netlink_dump, is_not_marked_if_the_revision_stays)
{
    EXPECT_EQ(marks({{2, 7}, {0, 7}, {1, 7}}, 1), (flags{false, false, false, false}));
}

TEST(netlink_dump, is_marked_once_if_the_revision_changes_between_messages)
{
    EXPECT_EQ(marks({{1, 7}, {2, 8}}, 8), (flags{false, true, false, false}));
}

TEST(netlink_dump, is_marked_if_the_revision_changes_before_its_first_message)
{
    EXPECT_EQ(marks({{0, 7}, {1, 8}}, 8), (flags{true, false}));
    EXPECT_EQ(marks({{0, 7}, {0, 8}, {0, 8}}, 8), (flags{true}));
}

TEST(netlink_dump, is_marked_if_the_revision_changes_before_a_message_that_does_not_fit)
{
    EXPECT_EQ(marks({{2, 7}, {1, 8}}, 2), (flags{false, false, true, false}));
}

TEST(netlink_dump, a_revision_whose_lower_half_is_zero_counts)
{
    EXPECT_EQ(marks({{0, uint64_t{1} << 32}, {1, 7}}, 8), (flags{true, false}));
}

} // namespace

void* genlmsg_put(sk_buff* msg, u32, u32, const genl_family*, unsigned flags, u8)
{
    unsigned* header = &msg->flags[msg->len];
    *header = flags;
    return header;
}

void genlmsg_cancel(sk_buff*, void*) {}

void genlmsg_end(sk_buff* msg, void*)
{
    ++msg->len;
}

void genl_dump_check_consistent(netlink_callback* cb, void* header)
{
    if (cb->prev_seq && cb->seq != cb->prev_seq)
        *static_cast<unsigned*>(header) |= NLM_F_DUMP_INTR;
    cb->prev_seq = cb->seq;
}

extern "C" {

int gpon_glue_put_rule(sk_buff* msg, const void*)
{
    return msg->len == msg->room;
}

unsigned gpon_observe_rules(unsigned* bucket, gpon_seen_rule*, unsigned, uint64_t* revision)
{
    const batch& now = batches.at(next_batch++);
    *bucket = next_batch == batches.size() ? GPON_SEEN_ALL : static_cast<unsigned>(next_batch);
    *revision = now.revision;
    return now.rules;
}

// Needed to link; no dump of rules calls them.
const gpon_counter_text gpon_counter_texts[GPON_COUNTERS] = {};

int gpon_glue_put_counter(sk_buff*, const void*)
{
    std::abort();
}

int gpon_glue_put_instance(sk_buff*, const void*)
{
    std::abort();
}

int gpon_glue_put_state(sk_buff*, const void*)
{
    std::abort();
}

void gpon_counters_read(uint64_t*)
{
    std::abort();
}

int gpon_observe_instance(unsigned*, unsigned*, gpon_seen_instance*, uint64_t*)
{
    std::abort();
}

void gpon_observe_state(gpon_seen_state*)
{
    std::abort();
}

u32 gpon_glue_last_event()
{
    std::abort();
}

void gpon_glue_open_events()
{
    std::abort();
}

void gpon_glue_close_events()
{
    std::abort();
}
}

sk_buff* genlmsg_new(size_t, unsigned)
{
    std::abort();
}

void nlmsg_free(sk_buff*)
{
    std::abort();
}

int genlmsg_reply(sk_buff*, genl_info*)
{
    std::abort();
}

int genl_register_family(genl_family*)
{
    std::abort();
}

int genl_unregister_family(const genl_family*)
{
    std::abort();
}

void* kzalloc(size_t bytes, unsigned)
{
    return std::calloc(1, bytes);
}

void kfree(const void* block)
{
    std::free(const_cast<void*>(block));
}
