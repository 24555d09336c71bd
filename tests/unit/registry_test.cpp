// SPDX-License-Identifier: GPL-2.0-only
#include <map>

#include "tests/support/loaded_module.h"

#include "me/registry.h"
#include "me_class/classes.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class class_table : public loaded_module {};

struct class_row {
    u16 class_id;
    const char* name;
    u32 explicit_create;
    const gpon_me_list_info* list_info;
    const gpon_me_fwd_op* fwd_op;
    const list_head* head;
    i32 raw_size;
    i32 related_rows; // closing row included
};

const class_row rows[] = {
    {11, "PPTP_ETHERNET_UNI", 0, &pptpListInfo, &pptpFwdOp, &gpon_pptp_uni_list, 2, 6},
    {45, "MAC_BRIDGE_SERVICE_PROFILE", 1, &mbspListInfo, &mbspFwdOp, &gpon_mbsp_list, 8, 2},
    {47, "MAC_BRIDGE_PORT_CON_DATA", 1, &mbpcdListInfo, &mbpcdFwdOp, &gpon_mbpcd_list, 8, 4},
    {84, "VLAN_TAG_FILTER_DATA", 1, &vtfdListInfo, nullptr, &gpon_vtfd_list, 28, 1},
    {130, "802_1P_MAPPER", 1, &mapperListInfo, &mapperFwdOp, &gpon_mapper_list, 48, 4},
    {266, "GEM_INTERWORK_TP", 1, &gemIwListInfo, &gemIwFwdOp, &gpon_gemiw_list, 4, 5},
    {268, "GEM_PORT_CTP", 1, &gemCtpListInfo, &gemCtpFwdOp, &gpon_gemctp_list, 20, 3},
    {329, "VIRTUAL_ETHERNET_INTERFACE_POINT", 0, &veipListInfo, &veipFwdOp, &gpon_veip_list, 2, 5},
    {281, "MULTICAST_GEM_INTERWORK_TP", 1, &multiGemIwListInfo, &multiGemIwFwdOp,
     &gpon_multigemiw_list, 4, 4},
    {262, "T_CONT", 0, &tcontListInfo, &tcontFwdOp, &gpon_tcont_list, 6, 4},
    {278, "TRAFFIC_SCHEDULER", 0, &tsListInfo, &tsFwdOp, &gpon_ts_list, 8, 2},
    {280, "TRAFFIC_DESCRIPTOR", 1, &tdListInfo, &tdFwdOp, &gpon_td_list, 24, 2},
    {277, "PRIORITY_QUEUE", 0, &priorityQListInfo, &priorityQFwdOp, &gpon_pq_list, 12, 2},
    {78, "VLAN_TAG_OPERATE", 1, &vtocdListInfo, nullptr, &gpon_vtocd_list, 2, 1},
    {171, "VLAN_TAG_EXTEND_OPERATE", 1, &evtocdListInfo, nullptr, &gpon_evtocd_list, 2, 1},
};
static_assert(sizeof(rows) / sizeof(rows[0]) == GPON_ME_ROWS - 1);

TEST_F(class_table, rows_stand_in_their_fixed_order)
{
    for (u16 row = 1; row < GPON_ME_ROWS; ++row) {
        SCOPED_TRACE(rows[row - 1].name);
        const class_row& wanted = rows[row - 1];
        EXPECT_EQ(gpon::class_number(me_table[row].class_id), wanted.class_id);
        EXPECT_STREQ(me_table[row].name, wanted.name);
        EXPECT_EQ(me_table[row].explicit_create, wanted.explicit_create);
        EXPECT_EQ(me_table[row].list_info, wanted.list_info);
        EXPECT_EQ(me_table[row].fwd_op, wanted.fwd_op);
    }
}

TEST_F(class_table, row_zero_is_empty)
{
    const gpon_me_entry nothing = {};
    EXPECT_EQ(me_table[0].class_id, me_class::none);
    EXPECT_STREQ(me_table[0].name, nothing.name);
    EXPECT_EQ(me_table[0].explicit_create, 0u);
    EXPECT_EQ(me_table[0].list_info, nullptr);
    EXPECT_EQ(me_table[0].fwd_op, nullptr);
}

TEST_F(class_table, every_class_has_its_own_list_and_record_size)
{
    for (const class_row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.list_info->head, row.head);
        EXPECT_EQ(row.list_info->raw_size, row.raw_size);
        EXPECT_NE(row.list_info->dump_raw, nullptr);
        EXPECT_EQ(row.head->next, row.head) << "empty after load";
        EXPECT_EQ(row.head->prev, row.head);
    }
}

TEST_F(class_table, every_class_has_a_template_of_links_without_arrays)
{
    for (const class_row& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_NE(row.list_info->related_info, nullptr);
        EXPECT_EQ(row.list_info->related_info_size, row.related_rows * 88);
        for (i32 i = 0; i < row.related_rows; ++i) {
            const gpon_me_related_info& link = row.list_info->related_info[i];
            EXPECT_EQ(link.related_ids, nullptr);
            EXPECT_EQ(link.related_class_id == me_class::none, i == row.related_rows - 1);
        }
    }
}

struct link_row {
    u16 class_id;
    const char* name;
    i32 places;
    friend bool operator==(const link_row& a, const link_row& b)
    {
        return a.class_id == b.class_id && std::string_view(a.name) == b.name &&
               a.places == b.places;
    }
};

std::vector<link_row> links_of(const gpon_me_list_info& info)
{
    std::vector<link_row> links;
    for (const gpon_me_related_info* row = info.related_info;
         row->related_class_id != me_class::none; ++row)
        links.push_back(
            {gpon::class_number(row->related_class_id), row->name, row->related_inst_num});
    return links;
}

TEST_F(class_table, has_the_links_that_each_class_can_hold)
{
    const link_row port = {47, "mbpcdInst", 1};
    const link_row mapper = {130, "mapperInst", 1};
    const link_row vlan = {78, "vtocdInst", 1};
    const link_row extended = {171, "evtocdInst", 1};
    EXPECT_THAT(links_of(mapperListInfo), ElementsAre(port, vlan, extended));
    EXPECT_THAT(links_of(mbspListInfo), ElementsAre(link_row{47, "mbpcdInst", 512}));
    EXPECT_THAT(links_of(mbpcdListInfo), ElementsAre(link_row{84, "vtfdInst", 1}, vlan, extended));
    EXPECT_THAT(links_of(gemCtpListInfo),
                ElementsAre(link_row{266, "gemIwInst", 1}, link_row{281, "multiGemIwInst", 1}));
    EXPECT_THAT(links_of(gemIwListInfo), ElementsAre(port, mapper, vlan, extended));
    EXPECT_THAT(links_of(multiGemIwListInfo), ElementsAre(port, vlan, extended));
    EXPECT_THAT(links_of(pptpListInfo),
                ElementsAre(port, mapper, vlan, extended, link_row{277, "pqInst", 1}));
    EXPECT_THAT(links_of(veipListInfo), ElementsAre(port, mapper, vlan, extended));
    EXPECT_THAT(links_of(priorityQListInfo), ElementsAre(link_row{268, "gemCtpInst", 32}));
    EXPECT_THAT(links_of(tcontListInfo),
                ElementsAre(link_row{268, "gemCtpInst", 32}, link_row{277, "pqInst", 1},
                            link_row{278, "tsInst", 1}));
    EXPECT_THAT(links_of(tdListInfo), ElementsAre(link_row{268, "gemCtpInst", 1}));
    EXPECT_THAT(links_of(tsListInfo), ElementsAre(link_row{277, "pqInst", 8}));
    EXPECT_THAT(links_of(vtfdListInfo), IsEmpty());
    EXPECT_THAT(links_of(vtocdListInfo), IsEmpty());
    EXPECT_THAT(links_of(evtocdListInfo), IsEmpty());
}

TEST_F(class_table, only_queues_have_defaults)
{
    for (const class_row& row : rows)
        EXPECT_EQ(row.list_info->fill_raw_data != nullptr, row.class_id == 277) << row.name;
}

TEST_F(class_table, classes_without_pointers_have_empty_handler_tables)
{
    const std::map<u16, std::vector<u16>> masks = {
        {130, {0x8008, 0x7f80}}, {47, {0x3000, 0xb000}}, {268, {0x4000, 0x1000, 0x800, 0x200}},
        {266, {0x8000}},         {281, {0x8000}},        {277, {0x400, 0x400, 0x200}},
        {84, {0xe000}},
    };
    for (const class_row& row : rows) {
        ASSERT_NE(row.list_info->attr_ops, nullptr) << row.name;
        std::vector<u16> found;
        for (const gpon_me_attr_op* op = row.list_info->attr_ops; op->mask; ++op) {
            EXPECT_NE(op->handler, nullptr);
            found.push_back(op->mask);
        }
        const auto wanted = masks.find(row.class_id);
        EXPECT_EQ(found, wanted == masks.end() ? std::vector<u16>() : wanted->second) << row.name;
    }
}

class class_lookup : public loaded_module {};

TEST_F(class_lookup, finds_the_mirrored_classes_and_no_other)
{
    size_t found = 0;
    for (u32 id = 0; id <= 0xffff; ++id) {
        const gpon_me_entry* entry =
            gpon_flow_me_get_by_classid(gpon::to_me_class(static_cast<u16>(id)));
        EXPECT_EQ(gpon::mirrored_class(gpon::to_me_class(static_cast<u16>(id))), entry);
        if (!entry)
            continue;
        ++found;
        EXPECT_EQ(gpon::class_number(entry->class_id), id);
    }
    EXPECT_EQ(found, std::size(rows));
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(class_lookup, row_numbers_do_not_follow_class_numbers)
{
    EXPECT_EQ(gpon_flow_me_get_by_classid(me_class::veip), &me_table[8]);
    EXPECT_EQ(gpon_flow_me_get_by_classid(me_class::multigemiw), &me_table[9]);
    EXPECT_EQ(gpon_flow_me_get_by_classid(me_class::tcont), &me_table[10]);
    EXPECT_EQ(gpon_flow_me_get_by_classid(me_class::ts), &me_table[11]);
}

TEST_F(class_lookup, traces_the_row_found)
{
    gponDebugLevel = LOG_TRACE;
    EXPECT_EQ(gpon_flow_me_get_by_classid(me_class::veip), &me_table[8]);
    EXPECT_THAT(log_lines(), ElementsAre("***TRACE***[gpon_flow_me_get_by_classid][0]: classId = "
                                         "329, me_index = 8."));
}

TEST_F(class_lookup, class_zero_and_the_neighbours_of_reserved_ranges_are_unknown_without_error)
{
    for (const u16 id : u16s{0, 1, 239, 256, 349, 400, 511}) {
        gponDebugLevel = LOG_ERROR;
        EXPECT_EQ(gpon_flow_me_get_by_classid(gpon::to_me_class(id)), nullptr);
        EXPECT_THAT(log_lines(), IsEmpty()) << id;
        gponDebugLevel = LOG_TRACE;
        EXPECT_EQ(gpon_flow_me_get_by_classid(gpon::to_me_class(id)), nullptr);
        EXPECT_THAT(log_lines(),
                    ElementsAre("***TRACE***[gpon_flow_me_get_by_classid][0]: classId = " +
                                std::to_string(id) + ", me_index = 0."));
    }
}

TEST_F(class_lookup, reserved_classes_are_refused_with_an_error)
{
    std::vector<u16> reserved = {512, 513, 1000, 65534, 65535};
    for (u16 id = 240; id <= 255; ++id)
        reserved.push_back(id);
    for (u16 id = 350; id <= 399; ++id)
        reserved.push_back(id);
    gponDebugLevel = LOG_ERROR | LOG_TRACE;
    for (const u16 id : reserved) {
        EXPECT_EQ(gpon_flow_me_get_by_classid(gpon::to_me_class(id)), nullptr);
        EXPECT_THAT(log_lines(),
                    ElementsAre("***ERROR***[gpon_flow_me_get_by_classid][0]unkown reserved ME(" +
                                std::to_string(id) + ") ."));
    }
}

TEST_F(class_lookup, map_can_be_built_again)
{
    gpon_flow_init_me_map();
    for (u16 row = 1; row < GPON_ME_ROWS; ++row)
        EXPECT_EQ(gpon_flow_me_get_by_classid(me_table[row].class_id), &me_table[row]);
}

} // namespace
