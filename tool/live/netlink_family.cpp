// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/netlink_family.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <sys/socket.h>

#include "include/uapi/gpon_flow_netlink.h"
#include "tool/live/module_file.h"
#include "tool/live/netlink_attributes.h"
#include "tool/scenario/backend.h"

namespace gponflow {

namespace {

// The kernel fills at most 32 KiB of a message of a dump.
constexpr size_t buffer_bytes = 65536;
// Changes arrive in bursts: a flush deletes all rules at once.
constexpr int event_bytes = 4 << 20;
// Group "notify" of the kernel's family for families: a fixed number in every kernel.
constexpr uint32_t controller_group = GENL_ID_CTRL;

[[noreturn]] void refuse(int error)
{
    switch (error) {
    case ENOENT:
        throw refusal(is_module_ready() ? "the loaded module has no netlink family"
                                        : "the module is not loaded");
    case EPERM:
        throw refusal("the module's netlink family is for root only");
    default:
        throw refusal(std::string("netlink: ") + std::strerror(error));
    }
}

} // namespace

void netlink_family::closer::operator()(mnl_socket* socket) const
{
    mnl_socket_close(socket);
}

netlink_family::netlink_family(mnl_socket* socket) : socket_(socket), buffer_(buffer_bytes) {}

netlink_family netlink_family::connect()
{
    netlink_family result(mnl_socket_open2(NETLINK_GENERIC, SOCK_CLOEXEC));
    if (!result.socket_ || mnl_socket_bind(result.socket_.get(), 0, MNL_SOCKET_AUTOPID) < 0)
        refuse(errno);
    return result;
}

netlink_family netlink_family::open()
{
    netlink_family found = connect();
    found.find();
    return found;
}

std::optional<uint16_t> netlink_family::find_number(const char* name)
{
    netlink_family asked = connect();
    return asked.look_up(name) ? std::optional(asked.family_) : std::nullopt;
}

// Returns false if the kernel has no family of this name.
bool netlink_family::look_up(const char* name)
{
    family_ = 0;
    send(GENL_ID_CTRL, CTRL_CMD_GETFAMILY, NLM_F_ACK, name);
    while (!take(receive(), [this](const nlmsghdr& head) { read_group(head); }).done)
        continue;
    return family_ != 0;
}

void netlink_family::find()
{
    if (!look_up(GPON_FLOW_NL_FAMILY))
        refuse(ENOENT);
}

int netlink_family::number() const
{
    return mnl_socket_get_fd(socket_.get());
}

void netlink_family::send(uint16_t type, uint8_t command, uint16_t flags, const char* family_name)
{
    char request[256] = {};
    nlmsghdr* head = mnl_nlmsg_put_header(request);
    head->nlmsg_type = type;
    head->nlmsg_flags = static_cast<uint16_t>(NLM_F_REQUEST | flags);
    head->nlmsg_seq = ++sequence_;
    auto* generic = static_cast<genlmsghdr*>(mnl_nlmsg_put_extra_header(head, sizeof(genlmsghdr)));
    generic->cmd = command;
    generic->version = GPON_FLOW_NL_VERSION;
    if (family_name)
        mnl_attr_put_strz(head, CTRL_ATTR_FAMILY_NAME, family_name);
    if (mnl_socket_sendto(socket_.get(), head, head->nlmsg_len) < 0)
        refuse(errno);
}

size_t netlink_family::receive()
{
    ssize_t count = 0;
    do
        count = mnl_socket_recvfrom(socket_.get(), buffer_.data(), buffer_.size());
    while (count < 0 && errno == EINTR);
    if (count < 0)
        refuse(errno);
    return static_cast<size_t>(count);
}

netlink_family::reply netlink_family::take(size_t count, const message_sink& sink) const
{
    reply result;
    int left = static_cast<int>(count);
    for (const auto* head = reinterpret_cast<const nlmsghdr*>(buffer_.data());
         mnl_nlmsg_ok(head, left); head = mnl_nlmsg_next(head, &left)) {
        if (head->nlmsg_seq != sequence_)
            continue;
        if (head->nlmsg_flags & NLM_F_DUMP_INTR)
            result.consistent = false;
        if (head->nlmsg_type == NLMSG_ERROR) {
            const auto* error = static_cast<const nlmsgerr*>(mnl_nlmsg_get_payload(head));
            result.gone = error->error == -ENOENT;
            if (error->error != 0 && !result.gone)
                refuse(-error->error);
            result.done = true;
        } else if (head->nlmsg_type == NLMSG_DONE) {
            result.done = true;
        } else {
            sink(*head);
        }
    }
    return result;
}

netlink_family::reply netlink_family::request_once(uint8_t command, bool dump,
                                                   const message_sink& sink)
{
    send(family_, command, dump ? NLM_F_DUMP : NLM_F_ACK);
    reply whole;
    while (!whole.done) {
        const reply part = take(receive(), sink);
        whole = {part.done, whole.consistent && part.consistent, part.gone};
    }
    return whole;
}

// The family of a module that is loaded again has another number. No family has number 0, to which
// the kernel does not reply.
bool netlink_family::request(uint8_t command, bool dump, const message_sink& sink)
{
    if (family_ == 0)
        find();
    reply whole = request_once(command, dump, sink);
    if (whole.gone) {
        find();
        whole = request_once(command, dump, sink);
    }
    if (whole.gone)
        refuse(ENOENT);
    return whole.consistent;
}

void netlink_family::read_group(const nlmsghdr& head)
{
    const auto read_field = [&](uint16_t type, const nlattr& at) {
        if (type == CTRL_ATTR_MCAST_GRP_ID)
            group_ = mnl_attr_get_u32(&at);
    };
    for_each_attribute(head, [&](uint16_t type, const nlattr& at) {
        if (type == CTRL_ATTR_FAMILY_ID)
            family_ = mnl_attr_get_u16(&at);
        if (type == CTRL_ATTR_MCAST_GROUPS)
            for_each_nested(
                at, [&](uint16_t, const nlattr& group) { for_each_nested(group, read_field); });
    });
}

void netlink_family::join_events()
{
    if (group_ == 0)
        throw refusal("this kernel cannot restrict a netlink group, so the module sends no events");
    // Without the right to a large buffer, the usual one remains.
    setsockopt(number(), SOL_SOCKET, SO_RCVBUFFORCE, &event_bytes, sizeof(event_bytes));
    join(controller_group);
    join(group_);
}

void netlink_family::join(uint32_t group)
{
    if (mnl_socket_setsockopt(socket_.get(), NETLINK_ADD_MEMBERSHIP, &group, sizeof(group)) < 0)
        refuse(errno);
}

bool netlink_family::is_removal(const nlmsghdr& head) const
{
    if (head.nlmsg_type != GENL_ID_CTRL ||
        static_cast<const genlmsghdr*>(mnl_nlmsg_get_payload(&head))->cmd != CTRL_CMD_DELFAMILY)
        return false;
    bool ours = false;
    for_each_attribute(head, [&](uint16_t type, const nlattr& at) {
        ours = ours || (type == CTRL_ATTR_FAMILY_ID && mnl_attr_get_u16(&at) == family_);
    });
    return ours;
}

void netlink_family::take_events(size_t count, const message_sink& sink, arrival& result) const
{
    int left = static_cast<int>(count);
    for (const auto* head = reinterpret_cast<const nlmsghdr*>(buffer_.data());
         mnl_nlmsg_ok(head, left); head = mnl_nlmsg_next(head, &left)) {
        if (head->nlmsg_type == family_)
            sink(*head);
        result.ended = result.ended || is_removal(*head);
    }
}

netlink_family::arrival netlink_family::read_events(const message_sink& sink)
{
    arrival result{.more = true};
    for (int messages = 0; result.more && messages < most_events; ++messages) {
        const ssize_t count = recv(number(), buffer_.data(), buffer_.size(), MSG_DONTWAIT);
        if (count >= 0)
            take_events(static_cast<size_t>(count), sink, result);
        else if (errno == EAGAIN)
            result.more = false;
        else if (errno == ENOBUFS)
            result.lost = true;
        else if (errno != EINTR)
            refuse(errno);
    }
    result.ended = result.ended || (result.lost && is_gone());
    return result;
}

// The removal of the family may be among the lost messages. A module that is loaded again gets
// another number.
bool netlink_family::is_gone() const
{
    return find_number(GPON_FLOW_NL_FAMILY) != family_;
}

} // namespace gponflow
