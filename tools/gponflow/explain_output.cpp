// SPDX-License-Identifier: GPL-2.0-only
// An explanation as text for people.
#include <array>
#include <cstdio>
#include <ostream>

#include "tools/gponflow/explain.h"

namespace gponflow {

namespace {

std::string hex(unsigned value)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%04x", value);
    return text;
}

// The attributes of an instance that decide where a frame goes.
std::string attributes(const mirrored_instance& me)
{
    switch (me.id.class_id) {
    case 47: {
        const auto port = me.as<gpon_raw_mbpcd>();
        return "bridgeID=" + hex(port.bridgeID) + " tpType=" + std::to_string(port.tpType) +
               " tpPointer=" + hex(port.tpPointer);
    }
    case 130: {
        const auto mapper = me.as<gpon_raw_mapper>();
        std::string list;
        for (const uint16_t gem_iw : mapper.pbit_GemIWTP)
            list += (list.empty() ? "" : ",") + hex(gem_iw);
        return "pbit_GemIWTP=" + list;
    }
    case 266:
        return "gemCTPInstID=" + hex(me.as<gpon_raw_gemiw>().gemCTPInstID);
    case 268: {
        const auto ctp = me.as<gpon_raw_gemctp>();
        return "portID=" + std::to_string(ctp.portID) +
               " direction=" + std::to_string(ctp.direction);
    }
    case 281:
        return "GemCTPInstID=" + hex(me.as<gpon_raw_multigemiw>().GemCTPInstID);
    default:
        return {};
    }
}

// A replayed step's instance is unknown where no message names it.
std::string title(const walk_step& step, bool replayed)
{
    std::string text = to_text(step.at);
    if (replayed && step.at.instance == 0)
        text = text.substr(0, text.find(" 0x"));
    return text;
}

void print_step(const walk_step& step, bool replayed, const mirror& entities, std::ostream& out)
{
    const std::string indent(2 * (step.depth + 1), ' ');
    out << indent << title(step, replayed);
    if (const mirrored_instance* me = entities.find(step.at))
        if (const std::string text = attributes(*me); !text.empty())
            out << "  " << text;
    out << '\n';
    for (const std::string& decision : step.decisions)
        out << indent << "    " << decision << '\n';
    if (!step.dead_end.empty())
        out << indent << "    x " << step.dead_end << '\n';
}

void print_queue(uint16_t gem, const mirror& entities, std::ostream& out)
{
    for (const mirrored_instance& ctp : entities.instances(268)) {
        const auto me = ctp.as<gpon_raw_gemctp>();
        if (me.portID != gem)
            continue;
        if (me.trafficMgrPtrUp != 0)
            out << ", " << to_text({277, me.trafficMgrPtrUp});
        return;
    }
}

void print_success(const explanation& what, std::ostream& out)
{
    out << "passes";
    if (what.what.options.kind == 1) {
        out << " to GEM port " << what.answer->gem;
        print_queue(what.answer->gem, what.entities, out);
    } else if (what.what.options.kind == 0) {
        out << " into the bridge";
    } else if (what.what.options.kind == 3) {
        out << " from GEM port " << what.answer->gem << " into the bridge";
    } else {
        out << " to the UNI: this half is not walked";
    }
    if (what.story.replayed)
        out << "; its rule was replayed\n";
    else
        out << (what.story.learnt ? "; a rule was learnt\n" : "; no rule was learnt\n");
}

// The steps from where the frame entered to the one that failed.
void print_branch(const walk_story& story, size_t last, std::ostream& out)
{
    std::vector<size_t> branch = {last};
    for (size_t at = last; at-- > 0;)
        if (story.steps[at].depth < story.steps[branch.back()].depth)
            branch.push_back(at);
    out << "deepest branch: ";
    for (size_t i = branch.size(); i-- > 0;)
        out << title(story.steps[branch[i]], story.replayed) << (i ? " > " : "\n");
}

void print_drop(const explanation& what, std::ostream& out)
{
    const walk_story& story = what.story;
    out << "dropped\n";
    const std::optional<size_t> last = deepest_dead_end(story);
    if (last) {
        print_branch(story, *last, out);
        const walk_step& step = story.steps[*last];
        for (const std::string& decision : step.decisions)
            out << "  " << decision << '\n';
        out << "The frame got as far as " << title(step, story.replayed) << ": " << step.dead_end
            << ".\n";
    } else {
        for (const std::string& complaint : story.complaints)
            out << "  " << complaint << '\n';
        out << (story.steps.empty() ? "The frame entered no managed entity.\n"
                                    : "The walk passed, what came after it failed.\n");
    }
}

} // namespace

void print_explanation(const explanation& what, std::ostream& out)
{
    constexpr std::array<const char*, 4> kinds = {
        "upstream, from the UNI to the bridge", "upstream, from the bridge to the ANI",
        "downstream, from the bridge to the UNI", "downstream, from the ANI to the bridge"};
    const uint32_t kind = what.what.options.kind;
    out << (kind < kinds.size() ? kinds.at(kind) : "a hook call of no direction") << ", "
        << what.what.frame.size() << " bytes\n";
    if (!what.answer) {
        out << "not looked at: the module is not loaded\n";
        return;
    }
    if (!what.story.ran) {
        out << "not looked at: the engine is switched off (hook kind=switch param=1 switches it "
               "on)\n";
        return;
    }
    for (const walk_step& step : what.story.steps)
        print_step(step, what.story.replayed, what.entities, out);
    if (what.answer->api_result == 0)
        print_success(what, out);
    else
        print_drop(what, out);
}

} // namespace gponflow
