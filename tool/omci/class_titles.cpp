// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/class_titles.h"

#include <algorithm>
#include <iterator>

#include "tool/omci/attributes.h"

namespace gponflow::omci {

namespace {

struct title {
    uint16_t number;
    std::string_view name;
};

constexpr title titles[] = {
    {2, "ONU data"},
    {5, "cardholder"},
    {6, "circuit pack"},
    {7, "software image"},
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
    {131, "OLT-G"},
    {133, "ONU power shedding"},
    {134, "IP host config data"},
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
    {256, "ONU-G"},
    {257, "ONU2-G"},
    {263, "ANI-G"},
    {264, "UNI-G"},
    {272, "GAL Ethernet profile"},
    {273, "threshold data 1"},
    {274, "threshold data 2"},
    {276, "GAL Ethernet PM history data"},
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
    {334, "Ethernet frame extended PM"},
    {336, "ONU dynamic power management control"},
    {340, "BBF TR-069 management server"},
    {341, "GEM port network CTP PM history data"},
};

} // namespace

std::string class_title(me_class id)
{
    if (const attribute_class* mirrored = find_attribute_class(id))
        return std::string(mirrored->name);
    const uint16_t number = gpon::class_number(id);
    const auto* found = std::ranges::find(titles, number, &title::number);
    if (found != std::end(titles))
        return std::string(found->name);
    return "class " + std::to_string(number);
}

} // namespace gponflow::omci
