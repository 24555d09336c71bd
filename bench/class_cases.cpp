// SPDX-License-Identifier: GPL-2.0-only
#include <memory>

#include "base/memory.h"
#include "bench/cases.h"
#include "bench/line.h"
#include "me/registry.h"

namespace gpon::bench {
namespace {

constexpr uint16_t veip_port_id = 0x0201;
constexpr uint16_t veip_id = 0x0301;
constexpr uint16_t multicast_id = 0x0061;

struct step {
    const char* name;
    me_class class_id;
    uint16_t inst_id;
    uint16_t direction;
};

const step steps[] = {
    {"pptp/up_uni", me_class::pptp, uni_id, UP_UNI},
    {"bridge/up_ani", me_class::mbsp, 1, UP_ANI},
    {"bridge_port/up_uni", me_class::mbpcd, uni_port_id, UP_UNI},
    {"bridge_port/up_ani", me_class::mbpcd, port_of(0), UP_ANI},
    {"bridge_port/up_ani_refused", me_class::mbpcd, port_of(1), UP_ANI},
    {"bridge_port/down_ani", me_class::mbpcd, port_of(0), DOWN_ANI},
    {"mapper/up_ani", me_class::mapper, mapper_of(0), UP_ANI},
    {"mapper/down_ani", me_class::mapper, mapper_of(0), DOWN_ANI},
    {"gem_iw/up_ani", me_class::gemiw, gem_iw_of(0), UP_ANI},
    {"gem_iw/down_ani", me_class::gemiw, gem_iw_of(0), DOWN_ANI},
    {"gem_ctp/up_ani", me_class::gemctp, gem_ctp_of(0), UP_ANI},
    {"multicast_gem_iw/down_ani", me_class::multigemiw, multicast_id, DOWN_ANI},
    {"veip/up_uni", me_class::veip, veip_id, UP_UNI},
};

/* One class's forward function for one frame. */
class forward final : public work {
public:
    explicit forward(step which) : step_{which.class_id, which.inst_id, which.direction}
    {
        const gpon_raw_multigemiw multicast = {multicast_id, gem_ctp_of(0)};
        command(ZR_OMCI_MSG_TYPE_CREAT, me_class::multigemiw, multicast_id, 0xffff, &multicast);
        gpon_raw_mbpcd port = {};
        port.instID = veip_port_id;
        port.bridgeID = 1;
        port.tpType = 11;
        port.tpPointer = veip_id;
        command(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbpcd, veip_port_id, 0xffff, &port);
        entry_ = gpon_flow_me_get_by_classid(which.class_id);
    }

    void pass() override
    {
        const rcu_reader reader;
        for (unsigned i = 0; i < operations(); ++i) {
            gpon_walk_result result = {};
            keep(entry_->fwd_op->forward(&frame_.packet, &step_, &result));
            keep(result);
        }
    }
    uint32_t operations() const override { return 16; }

private:
    line line_{line_shape{1, 8}};
    frame frame_{vlan_of(0)};
    const gpon_fwd_info step_;
    const gpon_me_entry* entry_ = nullptr;
};

} // namespace

void add_class_cases(case_list& cases)
{
    for (const step& which : steps)
        cases.push_back(make_case<forward>(std::string("forward/") + which.name, which));
}

} // namespace gpon::bench
