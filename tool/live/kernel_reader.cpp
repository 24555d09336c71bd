// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/kernel_reader.h"

#include <algorithm>
#include <cstring>
#include <tuple>
#include <utility>

#include "include/uapi/gpon_flow_netlink.h"
#include "tool/live/netlink_attributes.h"
#include "tool/live/netlink_family.h"
#include "tool/scenario/backend.h"

namespace gponflow {

namespace {

// Dumps of a changing table before one is accepted: each rule in it is consistent.
constexpr int most_dumps = 5;

// A number of any width. The module's numbers have the byte order of the machine.
uint64_t number_of(const nlattr& at)
{
    switch (mnl_attr_get_payload_len(&at)) {
    case sizeof(uint8_t):
        return mnl_attr_get_u8(&at);
    case sizeof(uint16_t):
        return mnl_attr_get_u16(&at);
    case sizeof(uint32_t):
        return mnl_attr_get_u32(&at);
    case sizeof(uint64_t):
        return mnl_attr_get_u64(&at);
    default:
        return 0;
    }
}

// A text without its final zero.
std::string text_of(const nlattr& at)
{
    const auto* text = static_cast<const char*>(mnl_attr_get_payload(&at));
    return {text, strnlen(text, mnl_attr_get_payload_len(&at))};
}

template <size_t N> void copy_bytes(unsigned char (&to)[N], const nlattr& at)
{
    std::memcpy(to, mnl_attr_get_payload(&at), std::min<size_t>(N, mnl_attr_get_payload_len(&at)));
}

// The first two numbers of a nest, which have the types 1 and 2.
void add_pair(unsigned short* first, unsigned short* second, const nlattr& nest)
{
    for_each_nested(nest, [&](uint16_t type, const nlattr& at) {
        if (type == 1 || type == 2)
            *(type == 1 ? first : second) = static_cast<unsigned short>(number_of(at));
    });
}

void take_part(gpon_seen_rule& rule, uint16_t type, const nlattr& at)
{
    switch (type) {
    case GPON_FLOW_NL_RULE_DST_MAC:
        copy_bytes(rule.dst_mac, at);
        break;
    case GPON_FLOW_NL_RULE_SRC_MAC:
        copy_bytes(rule.src_mac, at);
        break;
    case GPON_FLOW_NL_RULE_DIRECTION:
        rule.direction = static_cast<unsigned short>(number_of(at));
        break;
    case GPON_FLOW_NL_RULE_TAG:
        if (rule.tags < GPON_SEEN_TAGS) {
            add_pair(&rule.tpid[rule.tags], &rule.tci[rule.tags], at);
            ++rule.tags;
        }
        break;
    case GPON_FLOW_NL_RULE_STEP:
        if (rule.steps < GPON_SEEN_STEPS) {
            add_pair(&rule.class_id[rule.steps], &rule.inst_id[rule.steps], at);
            ++rule.steps;
        }
        break;
    case GPON_FLOW_NL_RULE_GEM_PORT:
        rule.remembered = 1;
        rule.gemport_id = static_cast<unsigned short>(number_of(at));
        break;
    case GPON_FLOW_NL_RULE_HITS:
        rule.hits = number_of(at);
        break;
    case GPON_FLOW_NL_RULE_IDLE_MS:
        rule.idle = static_cast<unsigned long>(number_of(at));
        break;
    default:
        break;
    }
}

seen_rule rule_in(const nlmsghdr& head)
{
    gpon_seen_rule rule{};
    for_each_attribute(head, [&](uint16_t type, const nlattr& at) { take_part(rule, type, at); });
    return rule_of(rule);
}

counter_value counter_in(const nlmsghdr& head)
{
    counter_value result;
    for_each_attribute(head, [&](uint16_t type, const nlattr& at) {
        if (type == GPON_FLOW_NL_COUNTER_NAME)
            result.name = text_of(at);
        else if (type == GPON_FLOW_NL_COUNTER_MEANING)
            result.meaning = text_of(at);
        else if (type == GPON_FLOW_NL_COUNTER_VALUE)
            result.value = number_of(at);
    });
    return result;
}

engine_state state_in(const nlmsghdr& head)
{
    engine_state result;
    for_each_attribute(head, [&](uint16_t type, const nlattr& at) {
        const auto value = static_cast<unsigned>(number_of(at));
        if (type == GPON_FLOW_NL_STATE_STORE)
            result.store = number_of(at);
        else if (type == GPON_FLOW_NL_STATE_ENGINE)
            result.enabled = value != 0;
        else if (type == GPON_FLOW_NL_STATE_RULES)
            result.rules = value;
        else if (type == GPON_FLOW_NL_STATE_BUCKETS)
            result.buckets = value;
        else if (type == GPON_FLOW_NL_STATE_THRESHOLD)
            result.threshold = value;
    });
    return result;
}

// Adds one row of links; ids beyond the record's room are left out.
void take_links(gpon_seen_instance& seen, unsigned& ids, const nlattr& links)
{
    if (seen.rows >= GPON_SEEN_ROWS)
        return;
    const unsigned row = seen.rows++;
    for_each_nested(links, [&](uint16_t type, const nlattr& at) {
        if (type == GPON_FLOW_NL_LINKS_CLASS)
            seen.row_class[row] = static_cast<unsigned short>(number_of(at));
        if (type != GPON_FLOW_NL_LINKS_IDS)
            return;
        const size_t count = std::min<size_t>(mnl_attr_get_payload_len(&at) / sizeof(seen.id[0]),
                                              GPON_SEEN_IDS - ids);
        std::memcpy(seen.id + ids, mnl_attr_get_payload(&at), count * sizeof(seen.id[0]));
        seen.row_ids[row] = static_cast<unsigned short>(count);
        ids += static_cast<unsigned>(count);
    });
}

dumped_instance instance_in(const nlmsghdr& head)
{
    gpon_seen_instance seen{};
    unsigned ids = 0;
    for_each_attribute(head, [&](uint16_t type, const nlattr& at) {
        if (type == GPON_FLOW_NL_INSTANCE_CLASS)
            seen.class_id = static_cast<unsigned short>(number_of(at));
        else if (type == GPON_FLOW_NL_INSTANCE_ID)
            seen.inst_id = static_cast<unsigned short>(number_of(at));
        else if (type == GPON_FLOW_NL_INSTANCE_RAW)
            copy_bytes(seen.raw, at);
        else if (type == GPON_FLOW_NL_INSTANCE_LINKS)
            take_links(seen, ids, at);
    });
    return instance_of(seen);
}

class kernel_reader final : public module_reader {
public:
    explicit kernel_reader(netlink_family family) : family_(std::move(family)) {}

    std::vector<counter_value> counters() override
    {
        std::vector<counter_value> result;
        std::ignore =
            family_.request(GPON_FLOW_NL_CMD_GET_COUNTERS, true,
                            [&](const nlmsghdr& head) { result.push_back(counter_in(head)); });
        return result;
    }

    engine_state state() override
    {
        engine_state result;
        std::ignore = family_.request(GPON_FLOW_NL_CMD_GET_STATE, false,
                                      [&](const nlmsghdr& head) { result = state_in(head); });
        return result;
    }

    std::vector<seen_rule> rules() override { return dump(GPON_FLOW_NL_CMD_GET_RULES, rule_in); }

    std::vector<dumped_instance> instances() override
    {
        return dump(GPON_FLOW_NL_CMD_GET_INSTANCES, instance_in);
    }

    unsigned load_number() const override { return family_.family_number(); }

private:
    template <typename T> std::vector<T> dump(uint8_t command, T (*record_in)(const nlmsghdr& head))
    {
        std::vector<T> result;
        for (int dumps = 0; dumps < most_dumps; ++dumps) {
            result.clear();
            if (family_.request(command, true,
                                [&](const nlmsghdr& head) { result.push_back(record_in(head)); }))
                return result;
        }
        changed_ = true;
        return result;
    }

    netlink_family family_;
};

unsigned char command_of(const nlmsghdr& head)
{
    return static_cast<const genlmsghdr*>(mnl_nlmsg_get_payload(&head))->cmd;
}

void read_rule_event(const nlmsghdr& head, gpon_event& event, uint32_t& number)
{
    for_each_attribute(head, [&](uint16_t type, const nlattr& at) {
        take_part(event.rule, type, at);
        if (type == GPON_FLOW_NL_RULE_END)
            event.cause = static_cast<unsigned>(number_of(at));
        else if (type == GPON_FLOW_NL_RULE_EVENT)
            number = static_cast<uint32_t>(number_of(at));
    });
}

void read_instance_event(const nlmsghdr& head, gpon_event& event, uint32_t& number)
{
    for_each_attribute(head, [&](uint16_t type, const nlattr& at) {
        const auto value = static_cast<uint32_t>(number_of(at));
        if (type == GPON_FLOW_NL_INSTANCE_CLASS)
            event.class_id = static_cast<unsigned short>(value);
        else if (type == GPON_FLOW_NL_INSTANCE_ID)
            event.inst_id = static_cast<unsigned short>(value);
        else if (type == GPON_FLOW_NL_INSTANCE_CHANGE)
            event.cause = value;
        else if (type == GPON_FLOW_NL_INSTANCE_EVENT)
            number = value;
    });
}

void read_table_event(const nlmsghdr& head, gpon_event& event, uint32_t& number)
{
    for_each_attribute(head, [&](uint16_t type, const nlattr& at) {
        if (type == GPON_FLOW_NL_STATE_BUCKETS)
            event.buckets = static_cast<unsigned>(number_of(at));
        else if (type == GPON_FLOW_NL_STATE_EVENT)
            number = static_cast<uint32_t>(number_of(at));
    });
}

// By a socket of its own: events may already be queued on the one that has joined. Nothing if the
// module does not number its events, or if another module replies: it was loaded meanwhile.
std::optional<uint32_t> last_event(const netlink_family& of)
{
    std::optional<uint32_t> number;
    netlink_family asked = netlink_family::open();
    std::ignore = asked.request(GPON_FLOW_NL_CMD_GET_STATE, false, [&](const nlmsghdr& head) {
        for_each_attribute(head, [&](uint16_t type, const nlattr& at) {
            if (type == GPON_FLOW_NL_STATE_EVENT)
                number = static_cast<uint32_t>(number_of(at));
        });
    });
    if (asked.family_number() != of.family_number())
        return {};
    return number;
}

// Nothing for a message that is no event of this version.
std::optional<module_change> change_in(const nlmsghdr& head)
{
    gpon_event event{};
    uint32_t number = 0;
    switch (command_of(head)) {
    case GPON_FLOW_NL_CMD_RULE_LEARNT:
        event.kind = GPON_EVENT_RULE_LEARNT;
        read_rule_event(head, event, number);
        break;
    case GPON_FLOW_NL_CMD_RULE_RELEARNT:
        event.kind = GPON_EVENT_RULE_RELEARNT;
        read_rule_event(head, event, number);
        break;
    case GPON_FLOW_NL_CMD_RULE_GONE:
        event.kind = GPON_EVENT_RULE_GONE;
        read_rule_event(head, event, number);
        break;
    case GPON_FLOW_NL_CMD_INSTANCE_CHANGED:
        event.kind = GPON_EVENT_INSTANCE_CHANGED;
        read_instance_event(head, event, number);
        break;
    case GPON_FLOW_NL_CMD_TABLE_GROWN:
        event.kind = GPON_EVENT_TABLE_GROWN;
        read_table_event(head, event, number);
        break;
    default:
        return {};
    }
    return change_of(event, number);
}

} // namespace

std::unique_ptr<module_reader> make_kernel_reader()
{
    return std::make_unique<kernel_reader>(netlink_family::open());
}

struct kernel_changes::connection {
    explicit connection(netlink_family opened) : family(std::move(opened)) {}

    netlink_family family;
    std::optional<uint32_t> last_number;
};

kernel_changes::kernel_changes(std::unique_ptr<connection> opened) : connection_(std::move(opened))
{
}

kernel_changes::~kernel_changes() = default;
kernel_changes::kernel_changes(kernel_changes&&) noexcept = default;

kernel_changes kernel_changes::open()
{
    for (;;) {
        auto opened = std::make_unique<connection>(netlink_family::open());
        opened->family.join_events();
        opened->last_number = last_event(opened->family);
        // The group may be that of a module that was loaded again before the socket joined it.
        if (!opened->family.is_gone())
            return kernel_changes(std::move(opened));
    }
}

kernel_changes::arrival kernel_changes::read(const change_sink& sink)
{
    const netlink_family::arrival events =
        connection_->family.read_events([&](const nlmsghdr& head) {
            if (const std::optional<module_change> change = change_in(head))
                sink(*change);
        });
    return {events.lost, events.ended, events.more};
}

std::optional<uint32_t> kernel_changes::current_number()
{
    try {
        return last_event(connection_->family);
    } catch (const refusal&) {
        return {};
    }
}

std::optional<uint32_t> kernel_changes::last_number() const
{
    return connection_->last_number;
}

int kernel_changes::number() const
{
    return connection_->family.number();
}

} // namespace gponflow
