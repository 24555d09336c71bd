// SPDX-License-Identifier: GPL-2.0-only
// What each class records of the classes that point at it, and which pointers each record holds.
#include <algorithm>
#include <array>

#include "tool/model/line_model.h"
#include "tool/model/me_fields.h"

namespace gponflow {

namespace {

constexpr uint16_t no_pointer = 0xffff;

uint16_t class_of_bridge_tp(uint8_t type)
{
    switch (type) {
    case 1:
        return 11;
    case 3:
        return 130;
    case 5:
        return 266;
    case 6:
        return 281;
    case 11:
        return 329;
    default:
        return 0;
    }
}

// Collects the pointers of one instance.
struct pointer_list {
    me_id from;
    std::vector<me_pointer> all;

    void add(uint16_t class_id, uint16_t instance, const std::string& attribute, uint16_t mask)
    {
        if (class_id != 0)
            all.push_back({from, {class_id, instance}, attribute, mask});
    }

    void add_unless_zero(uint16_t class_id, uint16_t instance, const char* attribute, uint16_t mask)
    {
        if (instance != 0)
            add(class_id, instance, attribute, mask);
    }
};

void add_bridge_port(pointer_list& list, const gpon_raw_mbpcd& me)
{
    list.add(class_of_bridge_tp(me.tpType), me.tpPointer, "tpPointer", 0x3000);
    list.add(45, me.bridgeID, "bridgeID", 0xb000);
}

void add_mapper(pointer_list& list, const gpon_raw_mapper& me)
{
    if (me.tpType == 1 || me.tpType == 7)
        list.add(me.tpType == 1 ? 11 : 329, me.tpPointer, "tpPointer", 0x8008);
    for (unsigned i = 0; i < 8; ++i)
        if (me.pbit_GemIWTP[i] != no_pointer)
            list.add(266, me.pbit_GemIWTP[i], "pbit_GemIWTP[" + std::to_string(i) + "]",
                     static_cast<uint16_t>(0x4000 >> i));
}

void add_gem_ctp(pointer_list& list, const gpon_raw_gemctp& me, bool rate_controlled)
{
    list.add_unless_zero(262, me.tcontID, "tcontID", 0x4000);
    if (!rate_controlled)
        list.add_unless_zero(277, me.trafficMgrPtrUp, "trafficMgrPtrUp", 0x1000);
    list.add_unless_zero(280, me.TDProPtrUp, "TDProPtrUp", 0x800);
    list.add_unless_zero(280, me.TDProPtrDown, "TDProPtrDown", 0x200);
}

void add_queue(pointer_list& list, const gpon_raw_pq& me, uint32_t boundary)
{
    const uint16_t target = me.relatedPort >= boundary ? 262 : 11;
    list.add(target, static_cast<uint16_t>(me.relatedPort >> 16), "relatedPort", 0x400);
    list.add(278, me.tsPointer, "tsPointer", 0x200);
}

} // namespace

const std::vector<recording_rule>& recording_rules()
{
    static const std::vector<recording_rule> rules = {
        {11, 47, 1},    {11, 130, 1},  {11, 78, 1},   {11, 171, 1},   {11, 277, 1},  {45, 47, 512},
        {47, 84, 1},    {47, 78, 1},   {47, 171, 1},  {130, 47, 1},   {130, 78, 1},  {130, 171, 1},
        {262, 268, 32}, {262, 277, 1}, {262, 278, 1}, {266, 47, 1},   {266, 130, 1}, {266, 78, 1},
        {266, 171, 1},  {268, 266, 1}, {268, 281, 1}, {277, 268, 32}, {278, 277, 8}, {280, 268, 1},
        {281, 47, 1},   {281, 78, 1},  {281, 171, 1}, {329, 47, 1},   {329, 130, 1}, {329, 78, 1},
        {329, 171, 1}};
    return rules;
}

bool is_created_by_links(uint16_t class_id)
{
    constexpr std::array<uint16_t, 5> created = {11, 329, 262, 278, 277};
    return std::find(created.begin(), created.end(), class_id) != created.end();
}

std::vector<me_pointer> mirror::pointers(const mirrored_instance& from) const
{
    pointer_list list{from.id, {}};
    // The module reports no pointer of what it made itself.
    if (from.automatic)
        return list.all;
    switch (from.id.class_id) {
    case 47:
        add_bridge_port(list, from.as<gpon_raw_mbpcd>());
        break;
    case 84:
        list.add(47, from.id.instance, "instID", 0xe000);
        break;
    case 130:
        add_mapper(list, from.as<gpon_raw_mapper>());
        break;
    case 266:
        list.add(268, from.as<gpon_raw_gemiw>().gemCTPInstID, "gemCTPInstID", 0x8000);
        break;
    case 268:
        add_gem_ctp(list, from.as<gpon_raw_gemctp>(), configuration_.traffic_mgmt_option == 1);
        break;
    case 277:
        add_queue(list, from.as<gpon_raw_pq>(), configuration_.related_port_boundary);
        break;
    case 281:
        list.add(268, from.as<gpon_raw_multigemiw>().GemCTPInstID, "GemCTPInstID", 0x8000);
        break;
    default:
        break;
    }
    return list.all;
}

} // namespace gponflow
