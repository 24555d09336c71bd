// SPDX-License-Identifier: GPL-2.0-only
#include "tool/text/class_titles.h"

#include <algorithm>
#include <iterator>

namespace gponflow {

namespace {

struct class_words {
    uint16_t number;
    std::string_view title;
    std::string_view caption;
};

constexpr class_words stored_classes[] = {
#define GPON_WALKED(class_id, short_name, name, title, caption, ...) {class_id, title, caption},
#define GPON_STORED(class_id, short_name, name, title, caption, ...) {class_id, title, caption},
#include "include/me_classes.def"
};
static_assert(std::ranges::none_of(stored_classes,
                                   [](const class_words& one) {
                                       return one.title.empty() || one.caption.empty();
                                   }),
              "each class has a title and a caption");

struct title {
    uint16_t number;
    std::string_view name;
};

// Classes that the module does not store.
constexpr title other_classes[] = {
    {2, "ONU data"},
    {5, "cardholder"},
    {6, "circuit pack"},
    {unstored_class::software_image, "software image"},
    {24, "Ethernet PM history data"},
    {46, "MAC bridge configuration data"},
    {48, "MAC bridge port designation data"},
    {49, "MAC bridge port filter table data"},
    {50, "MAC bridge port bridge table data"},
    {51, "MAC bridge PM history data"},
    {52, "MAC bridge port PM history data"},
    {53, "PPTP POTS UNI"},
    {58, "voice service profile"},
    {79, "MAC bridge port filter preassign table"},
    {82, "PPTP video UNI"},
    {89, "Ethernet PM history data 2"},
    {unstored_class::xdsl_uni, "PPTP xDSL UNI"},
    {131, "OLT-G"},
    {133, "ONU power shedding"},
    {unstored_class::ip_host, "IP host config data"},
    {135, "IP host PM history data"},
    {136, "TCP/UDP config data"},
    {137, "network address"},
    {138, "VoIP config data"},
    {139, "VoIP voice CTP"},
    {142, "VoIP media profile"},
    {143, "RTP profile data"},
    {148, "authentication security method"},
    {150, "SIP agent config data"},
    {153, "SIP user data"},
    {157, "large string"},
    {158, "ONU remote debug"},
    {unstored_class::moca_uni, "PPTP MoCA UNI"},
    {unstored_class::onu_g, "ONU-G"},
    {unstored_class::onu2_g, "ONU2-G"},
    {263, "ANI-G"},
    {264, "UNI-G"},
    {272, "GAL Ethernet profile"},
    {273, "threshold data 1"},
    {274, "threshold data 2"},
    {276, "GAL Ethernet PM history data"},
    {unstored_class::ethernet_flow_tp, "Ethernet flow TP"},
    {287, "OMCI"},
    {296, "Ethernet PM history data 3"},
    {298, "dot1 rate limiter"},
    {309, "multicast operations profile"},
    {310, "multicast subscriber config info"},
    {311, "multicast subscriber monitor"},
    {312, "FEC PM history data"},
    {321, "Ethernet frame PM history data downstream"},
    {322, "Ethernet frame PM history data upstream"},
    {332, "enhanced security control"},
    {unstored_class::mpls_pseudowire_tp, "MPLS pseudowire TP"},
    {334, "Ethernet frame extended PM"},
    {336, "ONU dynamic power management control"},
    {340, "BBF TR-069 management server"},
    {341, "GEM port network CTP PM history data"},
    {unstored_class::efm_bonding_group, "EFM bonding group"},
};
static_assert(std::ranges::none_of(other_classes,
                                   [](const title& one) {
                                       return std::ranges::find(stored_classes, one.number,
                                                                &class_words::number) !=
                                              std::end(stored_classes);
                                   }),
              "a class that the module stores has its title in me_classes.def");

const class_words* find_stored(uint16_t class_number)
{
    const auto* found = std::ranges::find(stored_classes, class_number, &class_words::number);
    return found == std::end(stored_classes) ? nullptr : found;
}

} // namespace

std::string_view find_title(uint16_t class_number)
{
    if (const class_words* stored = find_stored(class_number))
        return stored->title;
    const auto* found = std::ranges::find(other_classes, class_number, &title::number);
    return found == std::end(other_classes) ? std::string_view() : found->name;
}

std::string_view find_caption(uint16_t class_number)
{
    const class_words* stored = find_stored(class_number);
    return stored ? stored->caption : std::string_view();
}

} // namespace gponflow
