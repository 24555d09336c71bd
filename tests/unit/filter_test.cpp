// SPDX-License-Identifier: GPL-2.0-only
// Every forward operation of the VLAN filter against a simple list of the frames that it passes.
#include "tests/unit/store_access.h"

#include "me_class/vtfd_vlan_tagging_filter_data.h"

namespace {

using gpon::test::apply;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr u16 LISTED[] = {0x6064, 0x00c8}; // priority 3 and VID 100, priority 0 and VID 200

enum class verdict { pass, drop, if_listed, unless_listed };

// For tagged frames, in ranges of codes.
verdict tagged_verdict(u32 code)
{
    if (code == 1)
        return verdict::drop;
    if (code == 0 || code == 2 || (code >= 0x15 && code <= 0x1b))
        return verdict::pass;
    const bool inverse = code == 0x05 || code == 0x06 || code == 0x09 || code == 0x0a ||
                         code == 0x0d || code == 0x0e;
    return inverse ? verdict::unless_listed : verdict::if_listed;
}

// Up to 0x14 the odd codes pass untagged frames, from 0x16 the even ones.
bool passes_untagged(u32 code)
{
    if (code == 0)
        return true;
    return code < 0x15 ? code % 2 == 1 : code > 0x15 && code % 2 == 0;
}

enum class part { vid, priority, tci };

part compared(u32 code)
{
    const auto within = [=](u32 first, u32 last) { return code >= first && code <= last; };
    if (within(0x03, 0x06) || within(0x0f, 0x10) || within(0x1c, 0x1d))
        return part::vid;
    if (within(0x07, 0x0a) || within(0x11, 0x12) || within(0x1e, 0x1f))
        return part::priority;
    return part::tci;
}

u32 part_of(u16 tci, part which)
{
    switch (which) {
    case part::vid:
        return tci % 0x1000u;
    case part::priority:
        return tci / 0x2000u;
    default:
        return tci;
    }
}

bool passes(u32 code, u16 tci, u32 listed)
{
    if (tci == 0)
        return passes_untagged(code);
    bool found = false;
    for (u32 i = 0; i < listed; ++i)
        found = found || part_of(tci, compared(code)) == part_of(LISTED[i], compared(code));
    switch (tagged_verdict(code)) {
    case verdict::pass:
        return true;
    case verdict::drop:
        return false;
    case verdict::if_listed:
        return found;
    default:
        return !found;
    }
}

class vlan_filter : public loaded_module {
protected:
    sk_buff packet_with(u16 tci)
    {
        frame[14] = static_cast<u8>(tci >> 8);
        frame[15] = static_cast<u8>(tci);
        sk_buff packet;
        packet.data = frame;
        packet.bytes = sizeof(frame);
        return packet;
    }

    // A TCI of 0 counts as no tag.
    bool filter_passes(u16 tci, u16 direction = UP_ANI)
    {
        const sk_buff packet = packet_with(tci);
        const op_info op = {7, 1, direction};
        return vtfd_filter_handle(&packet, &op) == 0;
    }

    static void set_filter(u32 code, u8 listed)
    {
        const gpon_raw_vtfd raw = {1, {LISTED[0], LISTED[1]}, static_cast<u8>(code), listed};
        ASSERT_EQ(apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::vtfd, 1, &raw), 0);
    }

    u8 frame[20] = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 0x81, 0};
};

TEST_F(vlan_filter, every_forward_operation_is_known_for_tagged_and_untagged_frames)
{
    for (u32 code = 0; code <= 0x21; ++code) {
        set_filter(code, 2);
        log_lines();
        gponDebugLevel = LOG_ERROR;
        for (const u16 tci : {u16{0}, LISTED[0]})
            static_cast<void>(filter_passes(tci));
        gponDebugLevel = 0;
        EXPECT_THAT(log_lines(), Not(Contains("***ERROR***[vtfd_handle][0]: end, return -1")))
            << code;
    }
}

TEST_F(vlan_filter, every_forward_operation_passes_its_frames_only)
{
    constexpr u16 tcis[] = {0, 0x6064, 0x00c8, 0x0064, 0x60c9, 0x1064, 0x4001, 0x60c8, 0xffff};
    for (u32 code = 0; code <= 0x21; ++code)
        for (u8 listed = 0; listed <= 2; ++listed) {
            set_filter(code, listed);
            for (const u16 tci : tcis)
                for (const u16 direction : {u16{UP_ANI}, u16{DOWN_ANI}})
                    EXPECT_EQ(filter_passes(tci, direction), passes(code, tci, listed))
                        << std::hex << "operation " << code << " TCI " << tci << " of "
                        << u32{listed};
        }
}

TEST_F(vlan_filter, an_unknown_operation_drops_every_frame)
{
    for (u32 code = 0x22; code <= 0xff; ++code) {
        set_filter(code, 2);
        EXPECT_FALSE(filter_passes(0)) << code;
        EXPECT_FALSE(filter_passes(LISTED[0])) << code;
    }
}

TEST_F(vlan_filter, a_count_beyond_the_record_reads_zeros)
{
    set_filter(0x0b, 255);
    EXPECT_TRUE(filter_passes(LISTED[1]));
    EXPECT_FALSE(filter_passes(0x7777));
}

TEST_F(vlan_filter, reports_null_arguments)
{
    const sk_buff packet = packet_with(0);
    const op_info op = {1, 1, UP_ANI};
    gponDebugLevel = 1;
    EXPECT_EQ(vtfd_filter_handle(nullptr, &op), -1);
    EXPECT_EQ(vtfd_filter_handle(&packet, nullptr), -1);
    EXPECT_EQ(vtfd_action_h(1, nullptr, 0xfff), -1);
    EXPECT_EQ(vtfd_action_g(1, nullptr, 0xfff), -1);
    const std::string line = "***ERROR***[vtfd_filter_handle][0]: Parameter is NULL: Fail\r";
    EXPECT_THAT(log_lines(),
                ElementsAre(line, line, "***ERROR***[vtfd_action_h][0]: Parameter is NULL: Fail\r",
                            "***ERROR***vtfd_action_g [0]: Parameter is NULL: Fail\r"));
}

TEST_F(vlan_filter, an_absent_filter_fails_silently)
{
    gponDebugLevel = 3;
    EXPECT_FALSE(filter_passes(0));
    EXPECT_THAT(log_lines(), IsEmpty());
}

} // namespace
