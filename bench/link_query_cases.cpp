// SPDX-License-Identifier: GPL-2.0-only
#include <stdexcept>

#include "base/memory.h"
#include "bench/cases.h"
#include "bench/line.h"
#include "me/link_queries.h"
#include "pkt/flow.h"
#include "pkt/walk.h"

namespace gpon::bench {
namespace {

// The last service of a line: a search of a list for it passes all the others.
unsigned last_of(const line_shape& shape)
{
    return shape.all() - 1;
}

/* The last step of an iteration over the ids that a bridge has recorded. */
class forward_query final : public work {
public:
    explicit forward_query(line_shape shape) : line_(shape) {}

    void pass() override
    {
        const rcu_reader reader;
        gpon_me_related_id id = {1, before_last_};
        const gpon_me_relation_query query = {me_class::mbsp, bridge_, me_class::mbpcd, &id};
        gpon_flow_me_get_related_id(&frame_.packet, &query);
        keep(id);
    }

private:
    line line_;
    frame frame_{100};
    const uint16_t bridge_ = bridge_of(line_.shape, last_of(line_.shape));
    const uint16_t before_last_ = line_.shape.services > 1 ? port_of(last_of(line_.shape) - 1)
                                                           : uni_port_id;
};

/* Finds the mapper that has recorded the last bridge port. */
class reverse_query final : public work {
public:
    explicit reverse_query(line_shape shape) : line_(shape) {}

    void pass() override
    {
        const rcu_reader reader;
        gpon_me_related_id id = {};
        const gpon_me_relation_query query = {me_class::mbpcd, port_of(last_of(line_.shape)),
                                              me_class::mapper, &id};
        gpon_flow_me_reverse_get_related_id(&frame_.packet, &query);
        keep(id);
    }

private:
    line line_;
    frame frame_{100};
};

/* A full walk for a frame of the last service, without rule and queue. Upstream it tries every port
 * of the bridge, or every bridge; downstream it goes directly to the port. */
class walk final : public work {
public:
    walk(line_shape shape, bool upstream) : line_(shape), upstream_(upstream)
    {
        frame_.packet.gemport_id = gem_port_of(last_of(shape));
        pass();
        if (!arrived_)
            throw std::runtime_error("the walk does not arrive");
    }

    void pass() override
    {
        const rcu_reader reader;
        gpon_walk_result result;
        static_cast<void>(gpon_pkt_init_fwd_info(&frame_.packet, &result));
        const int walked = upstream_ ? gpon_pkt_upstream_ani(&frame_.packet, &result)
                                     : gpon_pkt_downstream_ani(&frame_.packet, &result);
        arrived_ = walked == 0 && result.ret_val == FLOW_PKT_FORWARD_DONE;
    }

private:
    line line_;
    frame frame_{vlan_of(last_of(line_.shape))};
    const bool upstream_;
    bool arrived_ = false;
};

} // namespace

void add_link_query_cases(case_list& cases)
{
    for (const unsigned count : {1u, 8u, 64u, 256u}) {
        const std::string ports = "/" + std::to_string(count) + "_ports_and_mappers";
        const line_shape one_bridge = {1, count};
        cases.push_back(make_case<forward_query>("relation/forward" + ports, one_bridge));
        cases.push_back(make_case<reverse_query>("relation/reverse" + ports, one_bridge));
    }
    for (const unsigned count : {1u, 2u, 4u, 8u, 16u, 32u, 64u, 128u, 256u}) {
        const std::string ports = "/" + std::to_string(count) + "_ports";
        const std::string bridges = "/" + std::to_string(count) + "_bridges";
        const line_shape one_bridge = {1, count};
        const line_shape one_port_each = {count, 1};
        cases.push_back(make_case<walk>("walk/up_ani" + ports, one_bridge, true));
        cases.push_back(make_case<walk>("walk/down_ani" + ports, one_bridge, false));
        cases.push_back(make_case<walk>("walk/up_ani" + bridges, one_port_each, true));
    }
}

} // namespace gpon::bench
