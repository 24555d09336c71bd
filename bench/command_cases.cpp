// SPDX-License-Identifier: GPL-2.0-only
#include "bench/cases.h"
#include "bench/line.h"
#include "include/uapi/gpon_flow.h"

namespace gpon::bench {
namespace {

/* A set that moves a filter to another VLAN, as an OLT does when a service changes. */
class set_filter final : public work {
public:
    set_filter()
    {
        filter_.instID = port_of(0);
        filter_.vlanFilterList[0] = vlan_of(0);
        filter_.forwardOperation = 0x04;
        filter_.vlanFilterNums = 1;
    }

    void pass() override
    {
        command(ZR_OMCI_MSG_TYPE_SET, me_class::vtfd, filter_.instID, 0xe000, &filter_);
    }

private:
    line line_{line_shape{1, 8}};
    gpon_raw_vtfd filter_ = {};
};

/* Creates and deletes a bridge port, with the links that other entities record. */
class create_and_delete final : public work {
public:
    create_and_delete()
    {
        port_.instID = port_id;
        port_.bridgeID = 1;
        port_.tpType = 3;
        port_.tpPointer = mapper_of(0);
    }

    void pass() override
    {
        command(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbpcd, port_id, 0xffff, &port_);
        command(ZR_OMCI_MSG_TYPE_DELETE, me_class::mbpcd, port_id, 0, nullptr);
    }
    uint32_t operations() const override { return 2; }

private:
    static constexpr uint16_t port_id = 0x2001;
    line line_{line_shape{1, 8}};
    gpon_raw_mbpcd port_ = {};
};

/* Loads the module and provisions a line of 8 services. */
class provision final : public work {
public:
    void pass() override { const line provisioned(line_shape{1, 8}); }
};

} // namespace

void add_command_cases(case_list& cases)
{
    cases.push_back(make_case<set_filter>("command/set_filter"));
    cases.push_back(make_case<create_and_delete>("command/create_and_delete_port"));
    cases.push_back(make_case<provision>("command/load_and_provision_8_services"));
    cases.back().resets = true;
    // The thread that runs deferred frees runs at any time.
    for (size_t i = cases.size() - 3; i < cases.size(); ++i)
        cases[i].counted = false;
}

} // namespace gpon::bench
