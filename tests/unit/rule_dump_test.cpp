// SPDX-License-Identifier: GPL-2.0-only
#include <cstring>
#include <map>
#include <memory>

#include "tests/support/loaded_module.h"

#include "base/memory.h"
#include "hash/aging.h"
#include "hash/dump.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string EQUALS(121, '=');
const std::string HYPHENS(121, '-');
const std::string BANNER = "|" + std::string(55, '*') + "Rule Table" + std::string(55, '*') + "|";
const std::string HEADER =
    "| Index |       DstMac(Hex) |       SrcMac(Hex) | "
    "Tpid(Hex)[OUTER->INNER] | Tci(Hex)[OUTER->INNER] | PortID | Direction |";

// A key of so many tags, as packets have it.
std::vector<u8> key_of(u16 direction, size_t tags, u8 last_of_dst = 1, u16 port = 0)
{
    std::vector<u8> key = {2, 0, 0, 0, 0, last_of_dst, 0xa, 0xb, 0xc, 0xd, 0xe, 0xf};
    const auto put = [&](u16 value) {
        key.push_back(static_cast<u8>(value));
        key.push_back(static_cast<u8>(value >> 8));
    };
    put(port);
    put(direction);
    constexpr u16 pairs[][2] = {{0x8100, 0x6064}, {0x88a8, 1}, {0x9100, 0xffff}, {0x8100, 0x123}};
    for (size_t i = 0; i < tags; ++i) {
        put(pairs[i][0]);
        put(pairs[i][1]);
    }
    return key;
}

gpon_rule_trace steps_of(size_t count)
{
    gpon_rule_trace trace = {};
    for (size_t i = 0; i < count; ++i)
        trace.step[i] = {gpon::to_me_class(static_cast<u16>(11 + i)), static_cast<u16>(0x100 + i)};
    return trace;
}

class rule_dump : public loaded_module {
protected:
    static void learn(const std::vector<u8>& key, const gpon_rule_trace& trace = {})
    {
        const u32 before = gpon_hash_table_record.total_num;
        ASSERT_EQ(gpon_hash_add_node_safe(key.data(), static_cast<u16>(key.size()), &trace), 0);
        ASSERT_EQ(gpon_hash_table_record.total_num, before + 1) << "another rule has the bucket";
    }
    std::vector<std::string> dump()
    {
        log_lines();
        EXPECT_EQ(gpon_hash_dump_all_safe(), 0);
        return log_lines();
    }
    // The one bucket that is not empty.
    static gpon_hash_bucket& used_bucket()
    {
        u32 i = 0;
        while (gpon_hash_table_record.buckets[i].node_num == 0)
            ++i;
        return gpon_hash_table_record.buckets[i];
    }
    std::string row(u16 index, const std::vector<u8>& key)
    {
        gpon_hash_dump_state state = {};
        u16 direction = 0;
        gpon_hash_parsing_key(key.data(), static_cast<u16>(key.size()), &state, &direction);
        EXPECT_EQ(gpon_hash_dump_skb_info(index, &state, direction), 0);
        const std::vector<std::string> lines = log_lines();
        EXPECT_EQ(lines.size(), 3u);
        return lines.size() == 3 && lines[0] == HYPHENS && lines[1] == HEADER ? lines[2] : "";
    }
};

TEST_F(rule_dump, has_banner_counters_and_one_line_for_an_empty_table)
{
    EXPECT_THAT(dump(), ElementsAre(BANNER, " total_num = 0", " table_size = 64", " threshold = 48",
                                    EQUALS));
}

TEST_F(rule_dump, has_the_bucket_the_row_and_the_steps_of_a_rule)
{
    learn(key_of(UP_ANI, 0), steps_of(2));
    char bucket[64];
    std::snprintf(bucket, sizeof(bucket), "|** hash_val = %#x **|** node_num =1 **|",
                  used_bucket().hash_val);
    EXPECT_THAT(
        dump(),
        ElementsAre(
            BANNER, " total_num = 1", " table_size = 64", " threshold = 48", EQUALS, bucket,
            HYPHENS, HEADER,
            "|     0 | 02:00:00:00:00:01 | 0a:0b:0c:0d:0e:0f |     xxxx:xxxx:xxxx:xxxx |    "
            "xxxx:xxxx:xxxx:xxxx |      0 |    UP_ANI |",
            "| Trace:CLASS(INST)->11(0x100)->12(0x101)|", EQUALS));
}

TEST_F(rule_dump, shows_xxxx_for_a_missing_tag)
{
    const std::string start = "|     0 | 02:00:00:00:00:01 | 0a:0b:0c:0d:0e:0f |";
    const std::string end = " |      0 |  DOWN_UNI |";
    const std::string tags[] = {
        "     xxxx:xxxx:xxxx:xxxx |    xxxx:xxxx:xxxx:xxxx",
        "     8100:xxxx:xxxx:xxxx |    6064:xxxx:xxxx:xxxx",
        "     8100:88a8:xxxx:xxxx |    6064:0001:xxxx:xxxx",
        "     8100:88a8:9100:xxxx |    6064:0001:ffff:xxxx",
        "     8100:88a8:9100:8100 |    6064:0001:ffff:0123",
    };
    for (size_t n = 0; n <= 4; ++n)
        EXPECT_EQ(row(0, key_of(DOWN_UNI, n)), start + tags[n] + end) << n << " tags";
}

TEST_F(rule_dump, names_the_four_directions_and_no_other)
{
    const std::map<u16, std::string> names = {
        {1, "   UP_ANI |"}, {2, "   UP_UNI |"}, {4, " DOWN_ANI |"}, {8, " DOWN_UNI |"}};
    for (u32 direction = 0; direction <= 0xffff; direction += direction < 20 ? 1 : 4093) {
        const auto found = names.find(static_cast<u16>(direction));
        const std::string line = row(0, key_of(static_cast<u16>(direction), 0));
        EXPECT_EQ(line.substr(line.size() - 12),
                  " " + (found == names.end() ? std::string("      N/A |") : found->second))
            << direction;
    }
}

TEST_F(rule_dump, shows_index_and_port_in_decimal)
{
    EXPECT_EQ(row(65535, key_of(3, 0, 0xff, 65535)),
              "| 65535 | 02:00:00:00:00:ff | 0a:0b:0c:0d:0e:0f |     xxxx:xxxx:xxxx:xxxx |    "
              "xxxx:xxxx:xxxx:xxxx |  65535 |       N/A |");
}

TEST_F(rule_dump, shows_ten_steps_and_ends_before_the_first_empty_one)
{
    std::string all = "| Trace:CLASS(INST)";
    for (size_t n = 0; n <= 10; ++n) {
        gpon_hash_clean_all_safe();
        gpon_rule_trace trace = steps_of(n);
        if (n < 9)
            trace.step[n + 1] = {gpon::to_me_class(99), 99}; // behind the empty step
        learn(key_of(UP_UNI, 0), trace);
        const std::vector<std::string> lines = dump();
        ASSERT_EQ(lines.size(), 11u);
        EXPECT_EQ(lines[9], all + "|");
        char step[32];
        std::snprintf(step, sizeof(step), "->%zu(0x%zx)", 11 + n, 0x100 + n);
        all += step;
    }
}

TEST_F(rule_dump, repeats_the_header_for_each_rule_of_a_bucket)
{
    deliberately_broken = true;
    learn(key_of(UP_ANI, 0, 1));
    gpon_flow_rule* const first = gpon::rule_of(used_bucket().first);
    // An add never stores a second rule in a bucket, but readers of a bucket support it.
    gpon::owned<gpon_flow_rule> second = gpon::zalloc<gpon_flow_rule>();
    gpon::owned<u8> key = gpon::zalloc_bytes(16);
    std::memcpy(key.get(), key_of(UP_UNI, 0, 2).data(), 16);
    second->key = key.release();
    second->key_len = 16;
    second->index = 7;
    second->trace = gpon::zalloc<gpon_rule_trace>().release();
    second->link = {nullptr, &first->link.next};
    first->link.next = &second->link;
    second.release()->hit = 1;
    used_bucket().node_num = 2;
    gpon_hash_table_record.total_num = 2;

    const std::vector<std::string> lines = dump();
    ASSERT_EQ(lines.size(), 15u);
    EXPECT_THAT(lines[5], testing::EndsWith("node_num =2 **|"));
    EXPECT_EQ(lines[7], HEADER);
    EXPECT_THAT(lines[8], testing::StartsWith("|     0 | 02:00:00:00:00:01"));
    EXPECT_EQ(lines[11], HEADER);
    EXPECT_THAT(lines[12], testing::StartsWith("|     7 | 02:00:00:00:00:02"));
    EXPECT_EQ(lines[14], EQUALS);
}

TEST_F(rule_dump, shows_zeros_and_not_the_rule_before_if_a_rule_has_no_key)
{
    deliberately_broken = true;
    learn(key_of(UP_ANI, 2, 1), steps_of(1));
    gpon_flow_rule* const rule = gpon::rule_of(used_bucket().first);
    kfree(rule->key);
    rule->key = nullptr;
    gponDebugLevel = LOG_ERROR;
    const std::vector<std::string> lines = dump();
    ASSERT_EQ(lines.size(), 12u);
    EXPECT_EQ(lines[6], "***ERROR***[gpon_hash_parsing_key][0] input parament is NULL\r");
    EXPECT_EQ(lines[9], "|     0 | 00:00:00:00:00:00 | 00:00:00:00:00:00 |     xxxx:xxxx:xxxx:xxxx "
                        "|    xxxx:xxxx:xxxx:xxxx |      0 |       N/A |");
    EXPECT_EQ(lines[10], "| Trace:CLASS(INST)->11(0x100)|");
}

TEST_F(rule_dump, decodes_a_key_by_its_length)
{
    const std::vector<u8> key = key_of(UP_UNI, 4, 1, 0x1234);
    for (u16 length = 16; length <= 32; ++length) {
        gpon_hash_dump_state state = {};
        u16 direction = 0;
        gpon_hash_parsing_key(key.data(), length, &state, &direction);
        EXPECT_EQ(state.tag_num, (length - 16) / 4) << length;
        EXPECT_EQ(direction, UP_UNI);
        EXPECT_EQ(state.port_id, 0x1234);
        EXPECT_EQ(std::memcmp(state.dst_mac, key.data(), 6), 0);
        EXPECT_EQ(std::memcmp(state.src_mac, key.data() + 6, 6), 0);
        const u16 tpid[] = {0x8100, 0x88a8, 0x9100, 0x8100}, tci[] = {0x6064, 1, 0xffff, 0x123};
        for (u8 i = 0; i < 4; ++i) {
            EXPECT_EQ(state.tpid[i], i < state.tag_num ? tpid[i] : 0);
            EXPECT_EQ(state.tci[i], i < state.tag_num ? tci[i] : 0);
        }
    }
}

TEST_F(rule_dump, reads_no_more_of_a_key_than_its_length)
{
    for (u16 length = 0; length <= 16; ++length) {
        const std::unique_ptr<u8[]> key(new u8[length]);
        std::memset(key.get(), 0xff, length);
        gpon_hash_dump_state state = {};
        u16 direction = 0;
        gpon_hash_parsing_key(key.get(), length, &state, &direction);
        EXPECT_EQ(state.tag_num, 0);
        EXPECT_EQ(direction, length == 16 ? 0xffff : length == 15 ? 0x00ff : 0);
    }
}

TEST_F(rule_dump, only_prints_an_error_for_a_null_key_or_record)
{
    gpon_hash_dump_state state = {};
    state.port_id = 5;
    u16 direction = 6;
    gpon_hash_parsing_key(nullptr, 16, &state, &direction);
    EXPECT_EQ(gpon_hash_dump_skb_info(1, nullptr, 1), -1);
    EXPECT_THAT(log_lines(), IsEmpty());
    EXPECT_EQ(state.port_id, 5);
    EXPECT_EQ(direction, 6);
    gponDebugLevel = LOG_ERROR | LOG_TRACE;
    gpon_hash_parsing_key(nullptr, 16, &state, &direction);
    EXPECT_EQ(gpon_hash_dump_skb_info(1, nullptr, 1), -1);
    EXPECT_THAT(log_lines(),
                ElementsAre("***TRACE***[gpon_hash_parsing_key][0]: Enter",
                            "***ERROR***[gpon_hash_parsing_key][0] input parament is NULL\r",
                            "***TRACE***[gpon_hash_dump_skb_info][0]: Enter",
                            "***ERROR***[gpon_hash_dump_skb_info][0] end, Parameter is NULL"));
}

TEST_F(rule_dump, does_not_count_as_use)
{
    learn(key_of(UP_ANI, 0));
    gpon::rule_of(used_bucket().first)->hit = 0;
    dump();
    EXPECT_EQ(gpon::rule_of(used_bucket().first)->hit, 0u);
}

TEST_F(rule_dump, asks_for_no_memory)
{
    learn(key_of(UP_ANI, 4), steps_of(10));
    const uint64_t before = gpon::host::memory().allocations;
    dump();
    EXPECT_EQ(gpon::host::memory().allocations, before);
}

} // namespace
