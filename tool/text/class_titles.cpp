// SPDX-License-Identifier: GPL-2.0-only
#include "tool/text/class_titles.h"

#include <algorithm>
#include <iterator>

namespace gponflow {

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
    {11, "PPTP Ethernet UNI"},
    {24, "Ethernet PM history data"},
    {45, "MAC bridge service profile"},
    {46, "MAC bridge configuration data"},
    {47, "MAC bridge port configuration data"},
    {48, "MAC bridge port designation data"},
    {49, "MAC bridge port filter table data"},
    {50, "MAC bridge port bridge table data"},
    {51, "MAC bridge PM history data"},
    {52, "MAC bridge port PM history data"},
    {53, "PPTP POTS UNI"},
    {58, "voice service profile"},
    {78, "VLAN tagging operation configuration data"},
    {79, "MAC bridge port filter preassign table"},
    {82, "PPTP video UNI"},
    {84, "VLAN tagging filter data"},
    {89, "Ethernet PM history data 2"},
    {130, "802.1p mapper service profile"},
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
    {171, "extended VLAN tagging operation configuration data"},
    {256, "ONU-G"},
    {257, "ONU2-G"},
    {262, "T-CONT"},
    {263, "ANI-G"},
    {264, "UNI-G"},
    {266, "GEM interworking TP"},
    {268, "GEM port network CTP"},
    {272, "GAL Ethernet profile"},
    {273, "threshold data 1"},
    {274, "threshold data 2"},
    {276, "GAL Ethernet PM history data"},
    {277, "priority queue"},
    {278, "traffic scheduler"},
    {280, "traffic descriptor"},
    {281, "multicast GEM interworking TP"},
    {287, "OMCI"},
    {296, "Ethernet PM history data 3"},
    {298, "dot1 rate limiter"},
    {309, "multicast operations profile"},
    {310, "multicast subscriber config info"},
    {311, "multicast subscriber monitor"},
    {312, "FEC PM history data"},
    {321, "Ethernet frame PM history data downstream"},
    {322, "Ethernet frame PM history data upstream"},
    {329, "virtual Ethernet interface point"},
    {332, "enhanced security control"},
    {334, "Ethernet frame extended PM"},
    {336, "ONU dynamic power management control"},
    {340, "BBF TR-069 management server"},
    {341, "GEM port network CTP PM history data"},
};

} // namespace

std::string_view find_title(uint16_t class_number)
{
    const auto* found = std::ranges::find(titles, class_number, &title::number);
    return found == std::end(titles) ? std::string_view() : found->name;
}

} // namespace gponflow
