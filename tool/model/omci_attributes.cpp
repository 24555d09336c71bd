// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/omci_attributes.h"

#include <algorithm>
#include <deque>
#include <iterator>
#include <vector>

#include "tool/model/class_records.h"

namespace gponflow::omci {

namespace {

constexpr bool sbc = true;    // set-by-create
constexpr bool later = false; // read-only, or written by a set only
constexpr bool table = true;

// An attribute that is a field of the record. A message may have another number of bytes for it.
consteval attribute stored(std::string_view name, bool set_by_create, const gpon_me_field& field,
                           uint8_t bytes = 0)
{
    const auto whole = static_cast<uint8_t>(field.width * field.count);
    return {name, bytes ? bytes : whole, set_by_create, field};
}

// An attribute that is one value of a list.
consteval attribute stored_element(std::string_view name, bool set_by_create,
                                   const gpon_me_field& field, uint8_t element)
{
    if (element >= field.count)
        throw "the list is shorter";
    return {name, field.width, set_by_create, field, element};
}

// Never printed, so the notation is not used.
#define FIELD(member) GPON_FIELD(record, member, decimal)

// The attributes of a class in messages. A class without a specialisation has the fields of its
// record.
template <me_class> struct message {
    static constexpr std::span<const attribute> attributes{};
};

// 9.5.1
template <> struct message<me_class::pptp> {
    static constexpr attribute attributes[] = {
        {"expected type", 1, later, {}},
        {"sensed type", 1, later, {}},
        {"auto detection configuration", 1, later, {}},
        {"Ethernet loopback configuration", 1, later, {}},
        {"administrative state", 1, later, {}},
        {"operational state", 1, later, {}},
        {"configuration ind", 1, later, {}},
        {"max frame size", 2, later, {}},
        {"DTE or DCE ind", 1, later, {}},
        {"pause time", 2, later, {}},
        {"bridged or IP ind", 1, later, {}},
        {"ARC", 1, later, {}},
        {"ARC interval", 1, later, {}},
        {"PPPoE filter", 1, later, {}},
        {"power control", 1, later, {}},
    };
};

// 9.3.1
template <> struct message<me_class::mbsp> {
    using record = gpon_raw_mbsp;
    static constexpr attribute attributes[] = {
        {"spanning tree ind", 1, sbc, {}},
        {"learning ind", 1, sbc, {}},
        stored("port bridging ind", sbc, FIELD(uniBridgingEnable)),
        {"priority", 2, sbc, {}},
        {"max age", 2, sbc, {}},
        stored("hello time", sbc, FIELD(helloTime)),
        {"forward delay", 2, sbc, {}},
        {"unknown MAC address discard", 1, sbc, {}},
        {"MAC learning depth", 1, sbc, {}},
        stored("dynamic filtering ageing time", sbc, FIELD(dynFilterAgingTime), 4),
    };
};

// 9.3.4
template <> struct message<me_class::mbpcd> {
    using record = gpon_raw_mbpcd;
    static constexpr attribute attributes[] = {
        stored("bridge id pointer", sbc, FIELD(bridgeID)),
        {"port num", 1, sbc, {}},
        stored("TP type", sbc, FIELD(tpType)),
        stored("TP pointer", sbc, FIELD(tpPointer)),
        {"port priority", 2, sbc, {}},
        {"port path cost", 2, sbc, {}},
        {"port spanning tree ind", 1, sbc, {}},
        {"deprecated 1", 1, sbc, {}},
        {"deprecated 2", 1, sbc, {}},
        {"port MAC address", 6, later, {}},
        {"outbound TD pointer", 2, later, {}},
        {"inbound TD pointer", 2, later, {}},
        {"MAC learning depth", 1, sbc, {}},
    };
};

// 9.3.12
template <> struct message<me_class::vtocd> {
    static constexpr attribute attributes[] = {
        {"upstream VLAN tagging operation mode", 1, sbc, {}},
        {"upstream VLAN tag TCI value", 2, sbc, {}},
        {"downstream VLAN tagging operation mode", 1, sbc, {}},
        {"association type", 1, sbc, {}},
        {"associated ME pointer", 2, sbc, {}},
    };
};

// 9.3.11
template <> struct message<me_class::vtfd> {
    using record = gpon_raw_vtfd;
    static constexpr attribute attributes[] = {
        stored("VLAN filter list", sbc, FIELD(vlanFilterList)),
        stored("forward operation", sbc, FIELD(forwardOperation)),
        stored("number of entries", sbc, FIELD(vlanFilterNums)),
    };
};

// 9.3.10
template <> struct message<me_class::mapper> {
    using record = gpon_raw_mapper;
    static constexpr attribute attributes[] = {
        stored("TP pointer", sbc, FIELD(tpPointer)),
        stored_element("interwork TP pointer for P-bit priority 0", sbc, FIELD(pbit_GemIWTP), 0),
        stored_element("interwork TP pointer for P-bit priority 1", sbc, FIELD(pbit_GemIWTP), 1),
        stored_element("interwork TP pointer for P-bit priority 2", sbc, FIELD(pbit_GemIWTP), 2),
        stored_element("interwork TP pointer for P-bit priority 3", sbc, FIELD(pbit_GemIWTP), 3),
        stored_element("interwork TP pointer for P-bit priority 4", sbc, FIELD(pbit_GemIWTP), 4),
        stored_element("interwork TP pointer for P-bit priority 5", sbc, FIELD(pbit_GemIWTP), 5),
        stored_element("interwork TP pointer for P-bit priority 6", sbc, FIELD(pbit_GemIWTP), 6),
        stored_element("interwork TP pointer for P-bit priority 7", sbc, FIELD(pbit_GemIWTP), 7),
        stored("unmarked frame option", sbc, FIELD(unmark_frame_opt)),
        stored("DSCP to P-bit mapping", later, FIELD(dscp2pbitMap)),
        stored("default P-bit assumption", sbc, FIELD(defaultPbit)),
        stored("TP type", sbc, FIELD(tpType)),
    };
};

// 9.3.13
template <> struct message<me_class::evtocd> {
    static constexpr attribute attributes[] = {
        {"association type", 1, sbc, {}},
        {"received frame VLAN tagging operation table max size", 2, later, {}},
        {"input TPID", 2, later, {}},
        {"output TPID", 2, later, {}},
        {"downstream mode", 1, later, {}},
        {"received frame VLAN tagging operation table", 16, later, {}, 0, table},
        {"associated ME pointer", 2, sbc, {}},
        {"DSCP to P-bit mapping", 24, later, {}},
        {"enhanced mode", 1, later, {}},
        {"enhanced received frame classification and processing table", 28, later, {}, 0, table},
    };
};

// 9.2.2
template <> struct message<me_class::tcont> {
    using record = gpon_raw_tcont;
    static constexpr attribute attributes[] = {
        stored("alloc-ID", later, FIELD(allocID)),
        {"deprecated", 1, later, {}},
        stored("policy", later, FIELD(policy)),
    };
};

// 9.2.4
template <> struct message<me_class::gemiw> {
    using record = gpon_raw_gemiw;
    static constexpr attribute attributes[] = {
        stored("GEM port network CTP connectivity pointer", sbc, FIELD(gemCTPInstID)),
        {"interworking option", 1, sbc, {}},
        {"service profile pointer", 2, sbc, {}},
        {"interworking TP pointer", 2, sbc, {}},
        {"PPTP counter", 1, later, {}},
        {"operational state", 1, later, {}},
        {"GAL profile pointer", 2, sbc, {}},
        {"GAL loopback configuration", 1, later, {}},
    };
};

// 9.2.3
template <> struct message<me_class::gemctp> {
    using record = gpon_raw_gemctp;
    static constexpr attribute attributes[] = {
        stored("port-ID", sbc, FIELD(portID)),
        stored("T-CONT pointer", sbc, FIELD(tcontID)),
        stored("direction", sbc, FIELD(direction), 1),
        stored("traffic management pointer for upstream", sbc, FIELD(trafficMgrPtrUp)),
        stored("traffic descriptor profile pointer for upstream", sbc, FIELD(TDProPtrUp)),
        {"UNI counter", 1, later, {}},
        {"priority queue pointer for downstream", 2, sbc, {}},
        {"encryption state", 1, later, {}},
        stored("traffic descriptor profile pointer for downstream", sbc, FIELD(TDProPtrDown)),
        {"encryption key ring", 1, sbc, {}},
    };
};

// 9.2.10
template <> struct message<me_class::pq> {
    using record = gpon_raw_pq;
    static constexpr attribute attributes[] = {
        {"queue configuration option", 1, later, {}},
        {"maximum queue size", 2, later, {}},
        {"allocated queue size", 2, later, {}},
        {"discard-block counter reset interval", 2, later, {}},
        {"threshold value for discarded blocks", 2, later, {}},
        stored("related port", later, FIELD(relatedPort)),
        stored("traffic scheduler pointer", later, FIELD(tsPointer)),
        stored("weight", later, FIELD(weight)),
        {"back pressure operation", 2, later, {}},
        {"back pressure time", 4, later, {}},
        {"back pressure occur queue threshold", 2, later, {}},
        {"back pressure clear queue threshold", 2, later, {}},
        {"packet drop queue thresholds", 8, later, {}},
        {"packet drop max_p", 2, later, {}},
        {"queue drop w_q", 1, later, {}},
        {"drop precedence colour marking", 1, later, {}},
    };
};

// 9.2.11
template <> struct message<me_class::ts> {
    using record = gpon_raw_ts;
    static constexpr attribute attributes[] = {
        stored("T-CONT pointer", later, FIELD(tcontPointer)),
        stored("traffic scheduler pointer", later, FIELD(tsPointer)),
        stored("policy", later, FIELD(policy)),
        stored("priority/weight", later, FIELD(weight)),
    };
};

// 9.2.12
template <> struct message<me_class::td> {
    using record = gpon_raw_td;
    static constexpr attribute attributes[] = {
        stored("CIR", sbc, FIELD(cir)),
        stored("PIR", sbc, FIELD(pir)),
        stored("CBS", sbc, FIELD(cbs)),
        stored("PBS", sbc, FIELD(pbs)),
        stored("colour mode", sbc, FIELD(colourMode)),
        stored("ingress colour marking", sbc, FIELD(ingressColourMode)),
        stored("egress colour marking", sbc, FIELD(egressColourMode)),
        stored("meter type", sbc, FIELD(meterType)),
    };
};

// 9.2.5
template <> struct message<me_class::multigemiw> {
    using record = gpon_raw_multigemiw;
    static constexpr attribute attributes[] = {
        stored("GEM port network CTP connectivity pointer", sbc, FIELD(GemCTPInstID)),
        {"interworking option", 1, sbc, {}},
        {"service profile pointer", 2, sbc, {}},
        {"not used 1", 2, sbc, {}},
        {"PPTP counter", 1, later, {}},
        {"operational state", 1, later, {}},
        {"GAL profile pointer", 2, sbc, {}},
        {"not used 2", 1, sbc, {}},
        {"IPv4 multicast address table", 12, later, {}, 0, table},
        {"IPv6 multicast address table", 24, later, {}, 0, table},
    };
};

// 9.5.5
template <> struct message<me_class::veip> {
    static constexpr attribute attributes[] = {
        {"administrative state", 1, later, {}}, {"operational state", 1, later, {}},
        {"interdomain name", 25, later, {}},    {"TCP/UDP pointer", 2, later, {}},
        {"IANA assigned port", 2, later, {}},
    };
};

// The name of an attribute of a class.
template <me_class id> consteval std::string_view name_at(size_t index)
{
    return message<id>::attributes[index].name;
}

static_assert(name_at<me_class::tcont>(attribute_index::tcont_policy) == "policy");
static_assert(name_at<me_class::gemctp>(attribute_index::gem_ctp_downstream_queue) ==
              "priority queue pointer for downstream");
static_assert(name_at<me_class::pq>(attribute_index::queue_related_port) == "related port");
static_assert(name_at<me_class::pq>(attribute_index::queue_scheduler) ==
              "traffic scheduler pointer");
static_assert(name_at<me_class::pq>(attribute_index::queue_weight) == "weight");
static_assert(name_at<me_class::ts>(attribute_index::scheduler_tcont) == "T-CONT pointer");
static_assert(name_at<me_class::ts>(attribute_index::scheduler_parent) ==
              "traffic scheduler pointer");
static_assert(name_at<me_class::ts>(attribute_index::scheduler_policy) == "policy");
static_assert(name_at<me_class::ts>(attribute_index::scheduler_weight) == "priority/weight");
static_assert(name_at<me_class::evtocd>(attribute_index::tagging_table) ==
              "received frame VLAN tagging operation table");

constexpr attribute_class classes[] = {
#define GPON_WALKED(class_id, short_name, ...) \
    {me_class::short_name, message<me_class::short_name>::attributes},
#define GPON_STORED(class_id, short_name, ...) \
    {me_class::short_name, message<me_class::short_name>::attributes},
#include "include/me_classes.def"
};

// Of a class without attributes above: a message carries the fields of the record, in their order.
std::vector<attribute> stored_attributes(const class_record& cls)
{
    std::vector<attribute> all;
    for (const gpon_me_field& field : cls.fields.subspan(1)) // behind the instance
        all.push_back({.name = field.name,
                       .bytes = static_cast<uint8_t>(field.width * field.count),
                       .set_by_create = !cls.created_by_links,
                       .field = field});
    all.resize(std::min(all.size(), attributes_per_mask));
    return all;
}

std::vector<attribute_class> all_classes()
{
    static std::deque<std::vector<attribute>> of_records;
    std::vector<attribute_class> all(std::begin(classes), std::end(classes));
    for (attribute_class& one : all)
        if (const class_record* known = find_me_class(one.id); one.attributes.empty() && known)
            one.attributes = of_records.emplace_back(stored_attributes(*known));
    std::ranges::sort(all, {}, &attribute_class::id);
    return all;
}

} // namespace

std::span<const attribute_class> attribute_classes()
{
    static const std::vector<attribute_class> all = all_classes();
    return all;
}

const attribute_class* find_attribute_class(me_class id)
{
    const std::span<const attribute_class> all = attribute_classes();
    const auto found = std::ranges::find(all, id, &attribute_class::id);
    return found == all.end() ? nullptr : &*found;
}

uint16_t set_by_create_mask(const attribute_class& cls)
{
    uint16_t mask = 0;
    for (size_t i = 0; i < cls.attributes.size(); ++i) {
        if (cls.attributes[i].set_by_create)
            mask |= attribute_bit(i);
    }
    return mask;
}

} // namespace gponflow::omci
