// SPDX-License-Identifier: GPL-2.0-only
// A MIB upload as the source of a line.
#include <algorithm>
#include <set>
#include <sstream>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "include/me_class_id.h"
#include "tests/omci/line_builder.h"
#include "tool/model/line_diff.h"
#include "tool/model/omci_attributes.h"
#include "tool/omci/convert_file.h"
#include "tool/omci/statistics.h"
#include "tool/omci/upload.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/parse.h"

namespace gponflow::omci::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

struct created {
    uint16_t class_id;
    uint16_t instance;
    std::string content;
};

// A line with a mapper and two services, in the order of an OLT.
const std::vector<created> instances = {
    {280, 1, "001312d0 00bebc20 00010000 00020000 00 00 00 00"},
    {268, 1, "0401 8000 03 0003 0001 0000 0000 00"},
    {268, 3, "041a 8001 03 0000 0000 0000 0000 00"},
    {266, 0x11, "0001 01 0001 0000 0001"},
    {266, 0x21, "0003 05 0002 0000 0001"},
    {130, 1, "ffff 0011 0011 0011 0011 0011 0011 0011 ffff 01 00 00"},
    {45, 1, "00 01 01 8000 1400 0200 0f00 00 ff 0000012c"},
    {45, 2, "00 01 01 8000 1400 0200 0f00 00 ff 0000012c"},
    {47, 0x0101, "0001 01 01 0101 0000 0001 00 00 00 00"},
    {47, 0x1001, "0001 02 03 0001 0000 0001 00 00 00 00"},
    {47, 0x0201, "0002 01 01 0102 0000 0001 00 00 00 00"},
    {47, 0x2001, "0002 02 05 0021 0000 0001 00 00 00 00"},
    {84, 0x1001, "0064" + std::string(44, '0') + "0f 01"},
    {84, 0x2001, "a12c" + std::string(44, '0') + "14 01"},
};

std::string hex_word(unsigned number)
{
    char text[8];
    std::snprintf(text, sizeof(text), "%04x ", number & 0xffff);
    return text;
}

void add_bring_up(line& to)
{
    to.done(mib_reset, 2, 0);
    to.done(set, 262, 0x8000, "a000 0400 01").done(set, 262, 0x8001, "a000 0401 01");
    for (const created& one : instances)
        to.done(create, one.class_id, one.instance, one.content);
}

// The ONU reports its own instances too, and T-CONTs that the OLT does not use.
void add_upload(line& to)
{
    uint16_t number = 0;
    const auto part = [&](uint16_t class_id, uint16_t instance, unsigned mask,
                          const std::string& values) {
        to.replied(mib_upload_next, 2, 0, hex_word(number++),
                   hex_word(class_id) + hex_word(instance) + hex_word(mask) + values);
    };
    const auto parts = static_cast<unsigned>(instances.size() + 7);
    to.replied(mib_upload, 2, 0, "", hex_word(parts));
    part(11, 0x0101, 0x8000, "00");
    part(11, 0x0102, 0x8000, "00");
    part(277, 0x8000, 0x0700, "80000000 8000 01");
    part(262, 0x8000, 0xe000, "0400 01 01");
    part(262, 0x8001, 0xe000, "0401 01 01");
    part(262, 0x8002, 0xe000, "ffff 01 01");
    part(5, 0x0101, 0xc000, "18 18");
    for (const created& one : instances)
        part(one.class_id, one.instance,
             set_by_create_mask(*find_attribute_class(gpon::to_me_class(one.class_id))),
             one.content);
}

line_model model_of(const line& session)
{
    const parse_result parsed = parse_scenario(session.converted().scenario, "x.scn");
    EXPECT_TRUE(parsed.errors.empty());
    return final_entities(parsed.input);
}

TEST(omci_upload, gives_the_line_of_the_bring_up)
{
    line bring_up;
    add_bring_up(bring_up);
    line later;
    add_upload(later);
    const line_model left = model_of(bring_up);
    const line_model right = model_of(later);
    EXPECT_EQ(left.all().size(), instances.size() + 5); // and T-CONTs, UNIs and a queue
    const line_difference difference = difference_of(left, right);
    std::ostringstream text;
    print_difference(difference, left, right, text);
    EXPECT_TRUE(difference.empty()) << text.str();
    for (const me_instance* one : left.all())
        for (const me_pointer& pointer : left.pointers(*one))
            EXPECT_EQ(left.state(pointer), right.state(pointer)) << to_text(one->id);
}

// The module records a pointer only if its target exists.
TEST(omci_upload, targets_are_created_first)
{
    const std::vector<const class_record*> order = creation_order();
    std::set<me_class> later;
    for (const class_record* one : order)
        later.insert(one->id);
    EXPECT_EQ(later.size(), order.size());
    for (const class_record* one : order) {
        later.erase(one->id);
        for (const class_record* target : order)
            for (const recordable_links& links : target->links)
                EXPECT_FALSE(links.class_id == one->id && later.contains(target->id))
                    << one->name << " before " << target->name;
    }
}

TEST(omci_upload, an_order_contains_the_classes_that_commands_create_and_the_t_cont)
{
    std::set<me_class> wanted = {me_class::tcont};
    for (const class_record& one : me_classes())
        if (!one.created_by_links)
            wanted.insert(one.id);
    std::set<me_class> found;
    for (const class_record* one : creation_order())
        found.insert(one->id);
    EXPECT_EQ(found, wanted);
}

TEST(omci_upload, commands_after_it_act_on_its_instances)
{
    line later;
    add_upload(later);
    later.done(set, 84, 0x2001, "4000 10").done(delete_me, 84, 0x1001);
    const line_model model = model_of(later);
    EXPECT_EQ(model.find({me_class::vtfd, 0x1001}), nullptr);
    EXPECT_EQ(model.find({me_class::vtfd, 0x2001})->as<gpon_raw_vtfd>().forwardOperation, 0x10);
    EXPECT_EQ(model.find({me_class::vtfd, 0x2001})->as<gpon_raw_vtfd>().vlanFilterList[0], 0xa12c);
}

// The upload after a reset lists what the ONU creates itself.
TEST(omci_upload, adds_no_command_after_a_reset)
{
    line session;
    session.done(mib_reset, 2, 0);
    add_upload(session);
    EXPECT_THAT(session.commands(),
                ElementsAre("config related_port_boundary=0x80000000", "clean"));
}

TEST(omci_upload, instances_that_are_not_mirrored_are_counted_by_class)
{
    line later;
    add_upload(later);
    const conversion result = later.converted();
    EXPECT_EQ(result.counts.uploads.unmirrored.at(gpon::to_me_class(5)).attributes, 2u);
    EXPECT_EQ(result.counts.uploads.missing, 0u);
    EXPECT_THAT(result.scenario, HasSubstr("# Uploaded, not mirrored: 5 "));
    EXPECT_THAT(result.scenario, HasSubstr(": 1 instance, 2 attributes\n"));
    EXPECT_THAT(result.scenario, HasSubstr("# Uploaded, left to the module, which creates it for "
                                           "pointers: 277 "));
    EXPECT_THAT(result.scenario, Not(HasSubstr("T_CONT 0x8002")));
}

// What an ONU reports before its activation.
TEST(omci_upload, is_an_empty_line_without_an_instance_of_the_olt)
{
    line later;
    later.replied(mib_upload, 2, 0, "", "0001");
    later.replied(mib_upload_next, 2, 0, "0000", "000b 0101 8000 00");
    EXPECT_EQ(later.converted().counts.uploads.written, 0u);
    const loaded_capture loaded{"x.pcap", later.captured(), later.converted()};
    EXPECT_EQ(status_of(loaded), 1);
    std::ostringstream warnings;
    print_warnings(loaded, warnings);
    EXPECT_EQ(warnings.str(), "x.pcap: warning: no command of the OLT and no instance of it in a "
                              "MIB upload: the line is empty\n");
    add_upload(later);
    EXPECT_EQ(later.converted().counts.uploads.written, instances.size() + 2); // and two T-CONTs
}

TEST(omci_upload, missing_parts_are_counted)
{
    line later;
    add_upload(later);
    later.frames.resize(later.frames.size() - 4);
    const conversion result = later.converted();
    EXPECT_EQ(result.counts.uploads.missing, 2u);
    EXPECT_THAT(result.scenario, HasSubstr("# Parts of the MIB upload that were not captured: 2"));
}

// Real OLTs send 0 as the number of each part.
TEST(omci_upload, parts_of_an_olt_that_does_not_number_them_are_not_missing)
{
    line later;
    later.replied(mib_upload, 2, 0, "", "0003");
    later.replied(mib_upload_next, 2, 0, "0000", "000b 0101 8000 00");
    later.replied(mib_upload_next, 2, 0, "0000", "000b 0102 8000 00");
    EXPECT_EQ(later.converted().counts.uploads.missing, 1u);
    later.replied(mib_upload_next, 2, 0, "0000", "000b 0103 8000 00");
    EXPECT_EQ(later.converted().counts.uploads.missing, 0u);
}

TEST(omci_upload, parts_before_the_capture_are_missing)
{
    line later;
    later.replied(mib_upload_next, 2, 0, "0003", "000b 0101 8000 00");
    later.replied(mib_upload_next, 2, 0, "0004", "000b 0102 8000 00");
    EXPECT_EQ(later.converted().counts.uploads.missing, 3u);
}

// Class 171: association type 2 (PPTP), associated ME 0x0101. No upload contains a table.
void add_uploaded_operation(line& to)
{
    to.replied(mib_upload, 2, 0, "", "0002");
    to.replied(mib_upload_next, 2, 0, "0000", "00ab 0001 f800 02 0010 88a8 8100 03");
    to.replied(mib_upload_next, 2, 0, "0001", "00ab 0001 0200 0101");
}

const tag_operation& operation_1(const line_model& model)
{
    const tag_operation* found = model.operation({me_class::evtocd, 1});
    if (!found)
        throw std::runtime_error("no facts about the operation");
    return *found;
}

TEST(omci_upload, the_table_of_an_operation_is_not_known)
{
    line later;
    add_uploaded_operation(later);
    const tag_operation operation = operation_1(model_of(later));
    EXPECT_EQ(operation.association, 2);
    EXPECT_EQ(operation.associated, 0x0101);
    EXPECT_EQ(operation.input_tpid, 0x88a8);
    EXPECT_EQ(operation.downstream_mode, 3);
    EXPECT_EQ(table_fault(operation), "its table is not known");
}

TEST(omci_upload, a_row_after_it_is_a_part_of_the_table)
{
    line later;
    add_uploaded_operation(later);
    later.done(set, 171, 1, "0400 f8000000 80320000 400f0000 00080320");
    const tag_operation operation = operation_1(model_of(later));
    EXPECT_EQ(operation.rows.size(), 1u);
    EXPECT_EQ(table_fault(operation), "only a part of its table is known");
}

// Three rows are 48 bytes: 29 in the first part, 19 in the second. The default row of untagged
// frames is not among them: it was deleted.
const std::string first_part = "00 0400 f8000000 80320000 400f0000 00080320 f8000000 e8000000 "
                               "c00f0000 00";
const std::string second_part = "00 0400 0f0000 e8000000 e8000000 000f0000 000f0000";

TEST(omci_upload, get_next_reads_the_table)
{
    line later;
    add_uploaded_operation(later);
    later.replied(get, 171, 1, "0400", "00 0400 00000030");
    later.replied(get_next, 171, 1, "0400 0000", first_part);
    EXPECT_EQ(table_fault(operation_1(model_of(later))), "its table is not known");
    later.replied(get_next, 171, 1, "0400 0001", second_part);
    const tag_operation operation = operation_1(model_of(later));
    EXPECT_EQ(table_fault(operation), "");
    std::vector<std::string> rows;
    for (const tag_row& row : operation.rows)
        rows.push_back(row_text(row));
    EXPECT_THAT(rows,
                ElementsAre("single-tagged, VLAN 100: remove 1 tag, add VLAN 100 with the "
                            "priority of the inner tag",
                            "other double-tagged: no change", "other single-tagged: discard"));
}

TEST(omci_upload, each_row_is_below_the_frames_of_the_response_that_completes_it)
{
    line later;
    add_uploaded_operation(later);
    later.replied(get, 171, 1, "0400", "00 0400 00000030");
    later.replied(get_next, 171, 1, "0400 0000", first_part);
    later.replied(get_next, 171, 1, "0400 0001", second_part);
    const std::string scenario = later.converted().scenario;
    const std::string tagging = "tagging VLAN_TAG_EXTEND_OPERATE 0x0001 ";
    EXPECT_THAT(scenario, HasSubstr("# frame 11, response 12: reported by the ONU\n" + tagging +
                                    "rows=default\n"
                                    "# frame 9, response 10: reported by the ONU\n"
                                    "#   row: single-tagged, VLAN 100: "));
    EXPECT_THAT(scenario, HasSubstr("# frame 11, response 12: reported by the ONU\n"
                                    "#   row: other single-tagged: discard\n"));
}

TEST(omci_upload, each_instance_is_below_the_frames_that_report_it)
{
    line later;
    add_uploaded_operation(later);
    EXPECT_THAT(
        later.converted().scenario,
        HasSubstr("# frames 3 to 6: extended VLAN tagging operation configuration data 0x0001\n"
                  "me create VLAN_TAG_EXTEND_OPERATE 0x0001 mask=0x8200\n"
                  "# frame 3, response 4: reported by the ONU\n"
                  "tagging VLAN_TAG_EXTEND_OPERATE 0x0001 association=2 "));
}

TEST(omci_upload, a_table_without_rows_is_read_too)
{
    line later;
    add_uploaded_operation(later);
    later.replied(get, 171, 1, "0400", "00 0400 00000000");
    const tag_operation operation = operation_1(model_of(later));
    EXPECT_EQ(table_fault(operation), "");
    EXPECT_TRUE(operation.rows.empty());
}

// The OLT compares what it has set: its commands are in the scenario already.
TEST(omci_upload, a_table_that_the_capture_created_is_not_read_again)
{
    line session;
    session.done(create, 171, 1, "02 0101");
    const std::vector<std::string> before = session.commands();
    session.replied(get, 171, 1, "0400", "00 0400 00000030");
    session.replied(get_next, 171, 1, "0400 0000", first_part);
    session.replied(get_next, 171, 1, "0400 0001", second_part);
    EXPECT_EQ(session.commands(), before);
}

TEST(omci_upload, an_attribute_that_a_get_reports_is_a_fact)
{
    line session;
    session.done(create, 171, 1, "02 0101");
    session.replied(get, 171, 1, "0800", "00 0800 05");
    session.replied(get, 171, 1, "0800", "00 0800 05");
    EXPECT_EQ(operation_1(model_of(session)).downstream_mode, 5);
    EXPECT_THAT(session.commands().back(),
                "tagging VLAN_TAG_EXTEND_OPERATE 0x0001 downstream_mode=5");
    EXPECT_EQ(std::ranges::count(session.commands(), session.commands().back()), 1);
}

numbered_message at_time(size_t frame, uint64_t time, const bytes& from)
{
    return {frame, *decode_message(from).msg, time};
}

TEST(omci_statistics, show_times_repetitions_and_silence)
{
    const bytes asked = baseline(1, request_bit, get, 256, 0, "8000");
    const bytes reply = baseline(1, response_bit, get, 256, 0, "00");
    const bytes slow = baseline(2, request_bit, set, 84, 1, "8000");
    const bytes slow_reply = baseline(2, response_bit, set, 84, 1, "00");
    const bytes silent = baseline(3, request_bit, create, 84, 2);
    const std::vector<numbered_message> messages = {
        at_time(1, 1000, asked), at_time(2, 3000, reply),      at_time(3, 5000, slow),
        at_time(4, 6000, slow),  at_time(5, 9000, slow_reply), at_time(6, 9500, silent)};
    const response_statistics found = statistics_of(pair_messages(messages));
    EXPECT_EQ(found.requests, 3u);
    EXPECT_EQ(found.answered, 2u);
    EXPECT_EQ(found.longest, 4000u);
    EXPECT_EQ(found.slowest.frame, 3u);
    ASSERT_EQ(found.repeated.size(), 1u);
    EXPECT_THAT(found.repeated[0].text, HasSubstr("repeated 1 time"));
    ASSERT_EQ(found.unanswered.size(), 1u);
    EXPECT_EQ(found.unanswered[0].frame, 6u);
}

// A request each 10 us. In order, the responses take 1, 3, 7, 9 and 20 us; of the first four 1, 3,
// 7 and 9, of the first three 1, 3 and 9. Of two in the middle, the greater one is the median.
TEST(omci_statistics, median_is_the_response_time_in_the_middle)
{
    constexpr uint64_t microsecond = 1000;
    std::vector<numbered_message> messages;
    uint16_t transaction = 0;
    for (const uint64_t duration : {3, 9, 1, 7, 20}) {
        const uint64_t sent = (1 + 10 * uint64_t{transaction}) * microsecond;
        ++transaction;
        messages.push_back(at_time(messages.size() + 1, sent,
                                   baseline(transaction, request_bit, get, 256, 0, "8000")));
        messages.push_back(at_time(messages.size() + 1, sent + duration * microsecond,
                                   baseline(transaction, response_bit, get, 256, 0, "00")));
    }
    const response_statistics five = statistics_of(pair_messages(messages));
    EXPECT_EQ(five.median, 7 * microsecond);
    EXPECT_EQ(five.longest, 20 * microsecond);
    EXPECT_EQ(five.slowest.frame, 9u);
    messages.resize(8);
    EXPECT_EQ(statistics_of(pair_messages(messages)).median, 7 * microsecond);
    messages.resize(6);
    EXPECT_EQ(statistics_of(pair_messages(messages)).median, 3 * microsecond);
}

TEST(omci_statistics, a_capture_without_times_has_none)
{
    line session;
    session.done(mib_reset, 2, 0);
    const capture cap = session.captured();
    EXPECT_FALSE(statistics_of(pair_messages(cap.messages)).median);
}

} // namespace
} // namespace gponflow::omci::test
