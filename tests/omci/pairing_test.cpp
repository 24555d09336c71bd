// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/pairing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>

#include "tests/omci/line_builder.h"
#include "tool/omci/outcome.h"

namespace gponflow::omci::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Decoded messages with the bytes that they point into.
class conversation {
public:
    conversation& say(const bytes& message)
    {
        const decoded result = decode_message(storage.emplace_back(message));
        items.push_back({items.size() + 1, *result.msg});
        return *this;
    }

    pairing paired() const { return pair_messages(items); }

private:
    std::list<bytes> storage;
    std::vector<numbered_message> items;
};

bytes query(uint16_t transaction, std::string_view content = {})
{
    return baseline(transaction, request_bit, set, 262, 0x8000, content);
}

bytes reply(uint16_t transaction, std::string_view content = "00")
{
    return baseline(transaction, response_bit, set, 262, 0x8000, content);
}

TEST(omci_pairing, responses_find_their_requests_in_any_order)
{
    const pairing pairs =
        conversation().say(query(1)).say(query(0x8001)).say(reply(0x8001)).say(reply(1)).paired();
    ASSERT_EQ(pairs.exchanges.size(), 2u);
    EXPECT_EQ(pairs.exchanges[0].response->frame, 4u);
    EXPECT_EQ(pairs.exchanges[1].response->frame, 3u);
    EXPECT_THAT(pairs.unpaired_responses, IsEmpty());
}

TEST(omci_pairing, response_without_request_is_kept_apart)
{
    const pairing pairs = conversation().say(reply(5)).say(query(6)).say(reply(7)).paired();
    ASSERT_EQ(pairs.unpaired_responses.size(), 2u);
    EXPECT_EQ(pairs.unpaired_responses[0].frame, 1u);
    EXPECT_EQ(pairs.unpaired_responses[1].frame, 3u);
    EXPECT_FALSE(pairs.exchanges[0].response);
}

TEST(omci_pairing, response_of_another_type_or_class_is_not_a_response)
{
    const pairing pairs = conversation()
                              .say(query(1))
                              .say(baseline(1, response_bit, get, 262, 0x8000))
                              .say(baseline(1, response_bit, set, 277, 0x8000))
                              .paired();
    EXPECT_FALSE(pairs.exchanges[0].response);
    EXPECT_EQ(pairs.unpaired_responses.size(), 2u);
}

TEST(omci_pairing, request_sent_again_joins_the_first)
{
    const pairing pairs = conversation()
                              .say(query(1, "8000 0001"))
                              .say(query(1, "8000 0001"))
                              .say(query(1, "8000 0001"))
                              .say(reply(1))
                              .paired();
    ASSERT_EQ(pairs.exchanges.size(), 1u);
    EXPECT_THAT(pairs.exchanges[0].repeats, ElementsAre(2, 3));
    EXPECT_EQ(pairs.exchanges[0].response->frame, 4u);
}

TEST(omci_pairing, same_transaction_with_other_contents_is_a_new_request)
{
    const pairing pairs = conversation()
                              .say(query(1, "8000 0001"))
                              .say(reply(1))
                              .say(query(1, "8000 0002"))
                              .say(reply(1))
                              .paired();
    ASSERT_EQ(pairs.exchanges.size(), 2u);
    EXPECT_EQ(pairs.exchanges[0].response->frame, 2u);
    EXPECT_EQ(pairs.exchanges[1].response->frame, 4u);
}

TEST(omci_pairing, same_request_long_after_is_a_new_one)
{
    conversation talk;
    for (int round = 0; round < 2; ++round) {
        for (uint16_t transaction = 1; transaction <= 20; ++transaction)
            talk.say(query(transaction)).say(reply(transaction));
    }
    EXPECT_EQ(talk.paired().exchanges.size(), 40u);
}

TEST(omci_pairing, success_counts_over_refusals_before_and_after_it)
{
    const pairing pairs = conversation()
                              .say(query(1))
                              .say(reply(1, "06"))
                              .say(query(1))
                              .say(reply(1, "00"))
                              .say(query(1))
                              .say(reply(1, "07"))
                              .paired();
    ASSERT_EQ(pairs.exchanges.size(), 1u);
    EXPECT_EQ(pairs.exchanges[0].response->frame, 4u);
}

TEST(omci_pairing, notifications_are_counted_and_never_requests)
{
    const pairing pairs = conversation()
                              .say(baseline(0, 0, 16, 11, 0x0101))
                              .say(baseline(0, 0, 17, 11, 0x0101))
                              .say(baseline(0, 0, 27, 263, 0))
                              .paired();
    EXPECT_EQ(pairs.notifications, 3u);
    EXPECT_THAT(pairs.exchanges, IsEmpty());
}

TEST(omci_outcome, request_without_response_counts_as_done)
{
    const conversation asked = std::move(conversation().say(query(1)));
    EXPECT_TRUE(judge(asked.paired().exchanges[0]).done);
    EXPECT_THAT(judge(asked.paired().exchanges[0]).note, HasSubstr("no response captured"));
    const conversation unasked = std::move(conversation().say(baseline(1, 0, set, 262, 0)));
    EXPECT_TRUE(judge(unasked.paired().exchanges[0]).done);
    EXPECT_THAT(judge(unasked.paired().exchanges[0]).note, IsEmpty());
}

TEST(omci_outcome, every_result_but_success_refuses)
{
    for (int code = 1; code < 256; ++code) {
        char content[3];
        std::snprintf(content, sizeof(content), "%02x", code);
        const conversation talk = std::move(conversation().say(query(1)).say(reply(1, content)));
        const outcome result = judge(talk.paired().exchanges[0]);
        EXPECT_FALSE(result.done) << code;
        EXPECT_EQ(result.why, result_name(static_cast<uint8_t>(code)));
    }
    EXPECT_EQ(result_name(7), "instance exists");
    EXPECT_EQ(result_name(8), "result 8");
    EXPECT_EQ(result_name(200), "result 200");
}

TEST(omci_outcome, set_with_failed_attributes_is_done_for_the_others)
{
    const conversation talk =
        std::move(conversation().say(query(1, "e000")).say(reply(1, "09 4000 2000")));
    const outcome result = judge(talk.paired().exchanges[0]);
    EXPECT_TRUE(result.done);
    EXPECT_EQ(result.refused_mask, 0x6000);
    EXPECT_THAT(result.note, HasSubstr("0x4000"));
}

TEST(omci_outcome, set_with_all_attributes_failed_is_refused)
{
    const conversation talk =
        std::move(conversation().say(query(1, "8000")).say(reply(1, "09 0000 8000")));
    EXPECT_FALSE(judge(talk.paired().exchanges[0]).done);
}

TEST(omci_outcome, response_without_a_result_refuses)
{
    const conversation talk = std::move(conversation()
                                            .say(extended(1, request_bit, mib_reset, 2, 0))
                                            .say(extended(1, response_bit, mib_reset, 2, 0)));
    const outcome result = judge(talk.paired().exchanges[0]);
    EXPECT_FALSE(result.done);
    EXPECT_EQ(result.why, "the response has no result code");
}

} // namespace
} // namespace gponflow::omci::test
