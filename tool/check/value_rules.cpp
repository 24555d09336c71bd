// SPDX-License-Identifier: GPL-2.0-only
// Attributes whose values are outside the range of the standard.
#include "include/tci.h"
#include "tool/check/families.h"
#include "tool/model/tag_set.h"

namespace gponflow {

namespace {

constexpr uint16_t reserved_vlan = gpon::VLAN_IDS - 1;

struct value_range {
    me_class class_id;
    gpon_me_field field;
    uint32_t least;
    uint32_t most;
    uint32_t unset; ///< also valid: means that the attribute has no value
};

// The port-ID and alloc-ID of GPON have 12 bits; other ranges are those of the classes.
constexpr value_range ranges[] = {
    {me_class::gemctp, GPON_FIELD(gpon_raw_gemctp, portID, decimal), 0, 4095, 0xffff},
    {me_class::tcont, GPON_FIELD(gpon_raw_tcont, allocID, decimal), 0, 4095, 0xffff},
    {me_class::tcont, GPON_FIELD(gpon_raw_tcont, policy, decimal), 0, 2, 0},
    {me_class::ts, GPON_FIELD(gpon_raw_ts, policy, decimal), 0, 2, 0},
    {me_class::mbsp, GPON_FIELD(gpon_raw_mbsp, uniBridgingEnable, decimal), 0, 1, 0},
    {me_class::td, GPON_FIELD(gpon_raw_td, colourMode, decimal), 0, 1, 0},
    {me_class::td, GPON_FIELD(gpon_raw_td, ingressColourMode, decimal), 0, 7, 0},
    {me_class::td, GPON_FIELD(gpon_raw_td, egressColourMode, decimal), 0, 7, 0},
    {me_class::td, GPON_FIELD(gpon_raw_td, meterType, decimal), 0, 2, 0},
};

void check_range(const me_instance& one, const value_range& range, finding_list& found)
{
    const uint32_t value = gpon::field_value(range.field, one.raw.data());
    if ((value >= range.least && value <= range.most) || value == range.unset)
        return;
    found.add(at(one, {range.field.name}), "out-of-range",
              std::string(range.field.name) + " is " + std::to_string(value) + ", outside " +
                  std::to_string(range.least) + " to " + std::to_string(range.most),
              "correct the value");
}

void check_filter_list(const me_instance& filter, finding_list& found)
{
    const auto me = filter.as<gpon_raw_vtfd>();
    const std::span<const uint16_t> list = listed_tcis(me);
    for (size_t i = 0; i < list.size(); ++i)
        if (gpon::vlan_of(list[i]) == reserved_vlan)
            found.add(at(filter, "vlanFilterList", i), "out-of-range",
                      "entry " + std::to_string(i) +
                          " of vlanFilterList is VLAN 4095, which is "
                          "reserved",
                      "use VLANs 1 to 4094");
}

void check_rates(const me_instance& descriptor, finding_list& found)
{
    const auto me = descriptor.as<gpon_raw_td>();
    if (me.pir != 0 && me.pir < me.cir)
        found.add(at(descriptor, {"pir", "cir"}), "out-of-range",
                  "pir " + std::to_string(me.pir) + " is less than cir " + std::to_string(me.cir),
                  "set pir to cir or more");
}

} // namespace

void check_values(const line_model& entities, finding_list& found)
{
    for (const value_range& range : ranges)
        for (const me_instance& one : entities.instances(range.class_id))
            check_range(one, range, found);
    for (const me_instance& filter : entities.instances(me_class::vtfd))
        check_filter_list(filter, found);
    for (const me_instance& descriptor : entities.instances(me_class::td))
        check_rates(descriptor, found);
}

} // namespace gponflow
