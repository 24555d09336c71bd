// SPDX-License-Identifier: GPL-2.0-only
// The attributes of a netlink message; the macros of libmnl are for C.
#pragma once

#include <cstdint>

#include <libmnl/libmnl.h>
#include <linux/genetlink.h>

namespace gponflow {

/// Calls sink(type, attribute) for each attribute of a block.
template <typename Sink> void for_each_attribute(const void* first, const void* end, Sink sink)
{
    const auto left = [&](const nlattr* at) {
        return static_cast<int>(static_cast<const char*>(end) - reinterpret_cast<const char*>(at));
    };
    for (const auto* at = static_cast<const nlattr*>(first); mnl_attr_ok(at, left(at));
         at = mnl_attr_next(at))
        sink(mnl_attr_get_type(at), *at);
}

/// The same for a generic netlink message.
template <typename Sink> void for_each_attribute(const nlmsghdr& head, Sink sink)
{
    for_each_attribute(mnl_nlmsg_get_payload_offset(&head, sizeof(genlmsghdr)),
                       mnl_nlmsg_get_payload_tail(&head), sink);
}

/// The same for a nest.
template <typename Sink> void for_each_nested(const nlattr& nest, Sink sink)
{
    const auto* first = static_cast<const char*>(mnl_attr_get_payload(&nest));
    for_each_attribute(first, first + mnl_attr_get_payload_len(&nest), sink);
}

} // namespace gponflow
