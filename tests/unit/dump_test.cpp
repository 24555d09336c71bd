// SPDX-License-Identifier: GPL-2.0-only
#include "tests/unit/store_access.h"

#include "me/dump.h"
#include "me_class/classes.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What the printer of the class below writes.
struct cells {
    std::string titles, values, extra;
    i32 result = 0;
} printed;

i32 print_cells(const gpon_me_list_info&, const void*, char* values, char* header, char* extra,
                i32 length)
{
    EXPECT_EQ(length, 512);
    const auto put = [&](char* to, const std::string& text) {
        EXPECT_STREQ(to, "") << "left over from the row before";
        text.copy(to, 511);
    };
    put(values, printed.values);
    put(header, printed.titles);
    put(extra, printed.extra);
    return printed.result;
}

constexpr gpon_me_attr_op NO_HANDLERS[] = {{}};

// A class of the test, with the links that a test sets.
class instance_dump : public loaded_module {
protected:
    instance_dump() { printed = {}; }
    ~instance_dump() override { gpon_flow_list_delete_inst(&entry, 0, 1); }

    void give_links(std::vector<gpon_me_related_info> table)
    {
        rows = std::move(table);
        rows.push_back({});
        info.related_info = rows.data();
        info.related_info_size = static_cast<i32>(rows.size() * sizeof(rows[0]));
    }
    gpon_me_inst* add(u16 id)
    {
        if (rows.empty())
            give_links({});
        const gpon_me_cmd cmd =
            gpon::test::command(ZR_OMCI_MSG_TYPE_CREAT, gpon::to_me_class(700), id, &id);
        EXPECT_EQ(gpon_flow_list_add_inst(&entry, &cmd), 0);
        return gpon::find_inst(&list, id);
    }
    static void link(gpon_me_inst* inst, me_class class_id, std::vector<u16> ids)
    {
        gpon_me_related_info* row = gpon::find_row(inst->related, class_id);
        for (size_t i = 0; i < ids.size(); ++i)
            row->related_ids[i] = {1, ids[i]};
    }
    std::vector<std::string> dump(u16 id = 0, u32 all = 1)
    {
        gpon_flow_general_dump_inst(&entry, id, all);
        return log_lines();
    }

    list_head list = {&list, &list};
    std::vector<gpon_me_related_info> rows;
    gpon_me_list_info info = {print_cells, 2, nullptr, 0, nullptr, NO_HANDLERS, &list};
    gpon_me_entry entry = {gpon::to_me_class(700), "OWN", 1, &info, nullptr};
};

const char* const TITLE = "dump OWN(classId = 700):";

std::string dashes(size_t count)
{
    return std::string(count, '-');
}

TEST_F(instance_dump, prints_nothing_without_a_class_or_its_list)
{
    gpon_flow_general_dump_inst(nullptr, 0, 1);
    gpon_flow_general_dump_inst(&me_table[0], 0, 1);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(instance_dump, prints_the_title_alone_without_a_matching_instance)
{
    EXPECT_THAT(dump(), ElementsAre(TITLE));
    add(1);
    EXPECT_THAT(dump(2, 0), ElementsAre(TITLE));
}

TEST_F(instance_dump, needs_any_flag_but_1_for_one_id)
{
    printed = {"T | ", "V | ", "", 4};
    add(1);
    add(2);
    for (u32 flag : {0u, 2u, 0xffffffffu})
        EXPECT_THAT(dump(2, flag), ElementsAre(TITLE, "T | ", dashes(4), "V | ", dashes(4)));
    EXPECT_THAT(dump(2, 1),
                ElementsAre(TITLE, "T | ", dashes(4), "V | ", dashes(4), "V | ", dashes(4)));
}

TEST_F(instance_dump, single_links_follow_the_printer_s_columns)
{
    printed = {"titles | ", "values | ", "", 9};
    give_links({{me_class::mbpcd, "short", nullptr, 1},
                {gpon::to_me_class(48), "twelve_chars", nullptr, 1}});
    link(add(1), me_class::mbpcd, {0x1a});
    EXPECT_THAT(dump(), ElementsAre(TITLE, "titles |      short | twelve_chars | ", dashes(37),
                                    "values |     0x001a |          N/A | ", dashes(37)));
}

TEST_F(instance_dump, a_single_link_is_shown_only_when_its_mark_is_1)
{
    give_links({{me_class::mbpcd, "link", nullptr, 1}});
    gpon_me_inst* inst = add(1);
    inst->related[0].related_ids[0] = {2, 5};
    EXPECT_EQ(dump().at(3), "       N/A | ");
    inst->related[0].related_ids[0] = {1, 0};
    EXPECT_EQ(dump().at(3), "    0x0000 | ");
}

TEST_F(instance_dump, lists_are_below_the_row_and_not_in_the_header)
{
    printed = {"T | ", "V | ", "", 4};
    give_links({{me_class::mbpcd, "first", nullptr, 2},
                {gpon::to_me_class(48), "link", nullptr, 1},
                {gpon::to_me_class(49), "second", nullptr, 3}});
    gpon_me_inst* inst = add(1);
    link(inst, me_class::mbpcd, {7});
    link(inst, gpon::to_me_class(49), {8, 9});
    EXPECT_THAT(dump(), ElementsAre(TITLE, "T |       link | ", dashes(17), "V |        N/A | ",
                                    "first = 0x0007 ", "second = 0x0008 0x0009 ", dashes(17)));
}

TEST_F(instance_dump, a_full_list_has_no_line_end_so_the_next_one_shares_its_line)
{
    printed = {"T | ", "V | ", "", 4};
    give_links(
        {{me_class::mbpcd, "first", nullptr, 2}, {gpon::to_me_class(49), "second", nullptr, 2}});
    gpon_me_inst* inst = add(1);
    link(inst, me_class::mbpcd, {1, 2});
    EXPECT_THAT(dump(), ElementsAre(TITLE, "T | ", dashes(4), "V | ",
                                    "first = 0x0001 0x0002 second = ", dashes(4)));
    link(inst, gpon::to_me_class(49), {3, 4});
    EXPECT_THAT(dump(), ElementsAre(TITLE, "T | ", dashes(4), "V | ",
                                    "first = 0x0001 0x0002 second = 0x0003 0x0004 " + dashes(4)));
}

TEST_F(instance_dump, extra_text_follows_the_lists)
{
    printed = {"T | ", "V | ", "more = 1\n", 4};
    give_links({{me_class::mbpcd, "list", nullptr, 2}});
    add(1);
    EXPECT_THAT(dump(),
                ElementsAre(TITLE, "T | ", dashes(4), "V | ", "list = ", "more = 1", dashes(4)));
}

TEST_F(instance_dump, without_a_printer_the_links_start_at_the_left)
{
    info.dump_raw = nullptr;
    give_links({{me_class::mbpcd, "link", nullptr, 1}});
    add(1);
    add(2);
    EXPECT_THAT(dump(), ElementsAre(TITLE, "      link | ", dashes(13), "       N/A | ", dashes(13),
                                    "       N/A | ", dashes(13)));
}

TEST_F(instance_dump, without_printer_and_links_rows_are_empty_and_there_are_no_dashes)
{
    info.dump_raw = nullptr;
    add(1);
    EXPECT_THAT(dump(), ElementsAre(TITLE, "", ""));
}

TEST_F(instance_dump, the_printer_s_return_value_sets_the_start_of_the_links)
{
    printed = {"T", "V", "", 1};
    give_links({{me_class::mbpcd, "link", nullptr, 1}});
    add(1);
    EXPECT_THAT(dump(),
                ElementsAre(TITLE, "T      link | ", dashes(14), "V       N/A | ", dashes(14)));
}

TEST_F(instance_dump, an_instance_without_links_of_its_own_has_no_value_line)
{
    printed = {"T | ", "V | ", "more\n", 4};
    gpon_me_inst* inst = add(1);
    gpon_me_related_info* const kept = inst->related;
    inst->related = nullptr;
    EXPECT_THAT(dump(), ElementsAre(TITLE, "T | ", dashes(4), "more", dashes(4)));
    inst->related = kept;
}

TEST_F(instance_dump, a_class_without_link_table_is_as_wide_as_its_printer_says)
{
    printed = {"T | ", "V | ", "", 4};
    add(1);
    info.related_info = nullptr;
    EXPECT_THAT(dump(), ElementsAre(TITLE, "T | ", dashes(4), "V | ", dashes(4)));
}

TEST_F(instance_dump, dashes_end_with_the_buffer)
{
    add(1);
    for (const auto& [width, count] : {std::pair<i32, size_t>{-1, 0},
                                       {0, 0},
                                       {1, 1},
                                       {510, 510},
                                       {511, 511},
                                       {513, 511},
                                       {100000, 511}}) {
        printed = {"T", "V", "", width};
        const std::vector<std::string> lines = dump();
        if (count == 0)
            EXPECT_THAT(lines, ElementsAre(TITLE, "T", "V")) << width;
        else
            EXPECT_THAT(lines, ElementsAre(TITLE, "T", dashes(count), "V", dashes(count))) << width;
    }
}

TEST_F(instance_dump, lines_are_cut_at_511_characters)
{
    const std::string name(69, 'n');
    std::vector<gpon_me_related_info> table(8);
    for (gpon_me_related_info& row : table) {
        row.related_class_id = me_class::mbpcd;
        name.copy(row.name, 69);
        row.related_inst_num = 1;
    }
    give_links(table);
    add(1);
    std::string titles, values;
    for (int i = 0; i < 8; ++i) {
        titles += name + " | ";
        values += std::string(66, ' ') + "N/A | ";
    }
    EXPECT_THAT(dump(), ElementsAre(TITLE, titles.substr(0, 511), dashes(511),
                                    values.substr(0, 511), dashes(511)));
}

TEST_F(instance_dump, links_that_start_behind_the_buffer_are_dropped)
{
    give_links({{me_class::mbpcd, "link", nullptr, 1}});
    add(1);
    for (i32 start : {511, 512, 513, 100000}) {
        printed = {"T", "V", "", start};
        EXPECT_THAT(dump(), ElementsAre(TITLE, "T", dashes(511), "V", dashes(511))) << start;
    }
    printed = {std::string(509, 'T'), std::string(509, 'V'), "", 509};
    EXPECT_THAT(dump(), ElementsAre(TITLE, std::string(509, 'T') + "  ", dashes(511),
                                    std::string(509, 'V') + "  ", dashes(511)));
}

TEST_F(instance_dump, the_extra_text_may_fill_its_buffer)
{
    printed = {"T | ", "V | ", std::string(511, 'e'), 4};
    add(1);
    EXPECT_THAT(dump(),
                ElementsAre(TITLE, "T | ", dashes(4), "V | ", std::string(511, 'e') + dashes(4)));
}

TEST_F(instance_dump, two_list_rows_share_511_characters)
{
    printed = {"T | ", "V | ", "", 4};
    give_links({{me_class::mbpcd, "a", nullptr, 70}, {gpon::to_me_class(48), "b", nullptr, 70}});
    gpon_me_inst* inst = add(1);
    link(inst, me_class::mbpcd, std::vector<u16>(70, 0xabcd));
    link(inst, gpon::to_me_class(48), std::vector<u16>(3, 0xef01));
    std::string wanted = "a = ";
    for (int i = 0; i < 70; ++i)
        wanted += "0xabcd ";
    wanted += "b = 0xef01 0xef01 0xef01 \n";
    ASSERT_GT(wanted.size(), 511u);
    EXPECT_EQ(dump().at(4), wanted.substr(0, 511) + dashes(4));
}

TEST_F(instance_dump, a_row_leaves_nothing_for_the_next_dump)
{
    printed = {std::string(400, 'T'), std::string(400, 'V'), std::string(400, 'e') + "\n", 400};
    add(1);
    dump();
    printed = {"T | ", "V | ", "", 4};
    EXPECT_THAT(dump(), ElementsAre(TITLE, "T | ", dashes(4), "V | ", dashes(4)));
}

TEST_F(instance_dump, asks_for_no_memory)
{
    add(1);
    const uint64_t before = gpon::host::memory().allocations;
    dump();
    gpon_flow_dump_all_me_inst();
    EXPECT_EQ(gpon::host::memory().allocations, before);
}

TEST_F(instance_dump, follows_the_class_table_for_all_classes)
{
    EXPECT_EQ(gpon_flow_dump_all_me_inst(), 0);
    const std::vector<std::string> lines = log_lines();
    ASSERT_EQ(lines.size(), GPON_ME_ROWS - 1u);
    for (u16 row = 1; row < GPON_ME_ROWS; ++row)
        EXPECT_EQ(lines[row - 1u], "dump " + std::string(me_table[row].name) + "(classId = " +
                                       std::to_string(gpon::class_number(me_table[row].class_id)) +
                                       "):");
}

class bridge_ports : public loaded_module {
protected:
    static void fill_bridge(u16 ports)
    {
        gpon::test::create_bridge(1);
        for (u16 id = 1; id <= ports; ++id)
            ASSERT_EQ(gpon::test::create_port(id, 1), 0);
    }
    std::string list_line()
    {
        log_lines();
        gpon_flow_general_dump_inst(gpon::mirrored_class(me_class::mbsp), 1, 0);
        const std::vector<std::string> lines = log_lines();
        return lines.size() > 4 ? lines[4] : "";
    }
    static std::string wanted(u16 ports)
    {
        std::string line = "mbpcdInst = ";
        char id[16];
        for (u16 i = 1; i <= ports; ++i) {
            std::snprintf(id, sizeof(id), "0x%04x ", i);
            line += id;
        }
        return line;
    }
};

TEST_F(bridge_ports, show_in_full_up_to_71_with_their_line_end)
{
    fill_bridge(71);
    EXPECT_EQ(list_line(), wanted(71));
}

TEST_F(bridge_ports, are_cut_if_one_list_row_has_512)
{
    fill_bridge(512);
    EXPECT_EQ(gpon::test::recorded(me_class::mbsp, 1, me_class::mbpcd).size(), 512u);
    EXPECT_EQ(list_line(), wanted(512).substr(0, 511) + dashes(67));
}

TEST_F(bridge_ports, more_than_512_change_nothing)
{
    fill_bridge(512);
    const std::string full = list_line();
    EXPECT_EQ(gpon::test::create_port(513, 1), 0);
    EXPECT_EQ(list_line(), full);
    EXPECT_EQ(gpon::test::recorded(me_class::mbsp, 1, me_class::mbpcd).size(), 512u);
}

} // namespace
