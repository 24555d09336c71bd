// SPDX-License-Identifier: GPL-2.0-only
/*
 * The platform's packet path: the chain of hook records in order of priority, and the exported
 * functions.
 */
#include <algorithm>
#include <climits>
#include <vector>

#include "platform/host/context.h"
#include "platform/host/events.h"
#include "platform/host/faults.h"
#include "platform/host/state.h"

#include "platform/api/kernel_api.h"

namespace gpon::host {
namespace {

// Initial value of api_result; the module overwrites it on every path.
constexpr int not_written = INT_MIN;

std::vector<vorn_hook_ops*> chain = {&gpon_flow_mapping_hook_ops};
int mapping_result = 0;
int queue_mapping_result = 0;

int map_packet(sk_buff*)
{
    record_call("gpon_mapping_hook = %d", mapping_result);
    return mapping_result;
}

int map_to_queue(sk_buff* skb)
{
    record_call("gpon_queue_mapping_hook gem=%u = %d", skb->gemport_id, queue_mapping_result);
    return queue_mapping_result;
}

// The packet handling of an ONU without a flow engine.
int default_hook(api_data* data)
{
    const bool maps = data->api_type == GPON_API_UP_ANI && data->skb && gpon_mapping_hook;
    data->api_result = maps && gpon_mapping_hook(data->skb) == -1 ? 1 : 0;
    return GPON_HOOK_RETURN;
}

bool registered(const vorn_hook_ops* ops)
{
    return std::ranges::find(chain, ops) != chain.end();
}

int add_hook(vorn_hook_ops* ops)
{
    if (take_fault(fault::hook) || registered(ops))
        return -1;
    chain.insert(std::ranges::upper_bound(chain, ops->priority, {}, &vorn_hook_ops::priority), ops);
    return 0;
}

bool module_is_hooked()
{
    return std::ranges::any_of(chain, [](const vorn_hook_ops* ops) {
        return ops != &gpon_flow_mapping_hook_ops && ops->enable;
    });
}

} // namespace

std::optional<hook_return> hook(uint32_t api_type, uint32_t api_param, sk_buff* packet)
{
    if (!module_is_hooked())
        return std::nullopt;
    const softirq_section softirq;
    api_data data = {api_type, api_param, not_written, packet};
    int ret = 0;
    for (const vorn_hook_ops* ops : chain)
        if (ops->enable)
            ret = ops->hook(&data);
    return hook_return{ret, data.api_result};
}

void set_mapping(std::optional<int> result)
{
    mapping_result = result.value_or(0);
    gpon_mapping_hook = result ? map_packet : nullptr;
}

void set_queue_mapping(std::optional<int> result)
{
    queue_mapping_result = result.value_or(0);
    gpon_queue_mapping_hook = result ? map_to_queue : nullptr;
}

void drop_hooks()
{
    chain = {&gpon_flow_mapping_hook_ops};
}

} // namespace gpon::host

using namespace gpon::host;

vorn_hook_ops gpon_flow_mapping_hook_ops = {.link = {},
                                            .name = "gpon_flow_mapping_hook_ops",
                                            .enable = 1,
                                            .hook = default_hook,
                                            .hook_id = 0,
                                            .priority = 0};
int (*gpon_mapping_hook)(sk_buff*) = map_packet;
int (*gpon_queue_mapping_hook)(sk_buff*) = map_to_queue;

int vorn_register_hook(vorn_hook_ops* ops)
{
    const int ret = add_hook(ops);
    record_call("register_hook %s enable=%u id=%d priority=%d = %d", ops->name, ops->enable,
                ops->hook_id, ops->priority, ret);
    return ret;
}

int vorn_unregister_hook(vorn_hook_ops* ops)
{
    record_call("unregister_hook %s", ops->name);
    return std::erase(chain, ops) ? 0 : -1;
}
