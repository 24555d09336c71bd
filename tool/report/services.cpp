// SPDX-License-Identifier: GPL-2.0-only
#include "tool/report/services.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "include/tp_types.h"
#include "tool/model/uni.h"
#include "tool/report/entity_text.h"

namespace gponflow {

namespace {

class service_finder {
public:
    explicit service_finder(const line_model& entities) : model_(entities) {}

    std::vector<service> find()
    {
        index_pointers();
        for (const me_instance& port : model_.instances(me_class::mbpcd))
            if (type_of(port).side == tp_side::ani)
                add_port(port);
        add_rest();
        for (size_t i = 0; i < found_.size(); ++i)
            if (found_[i].title.empty())
                found_[i].title = title_of(found_[i]);
        return std::move(found_);
    }

private:
    // Members in order, each once.
    struct gatherer {
        service& into;
        std::set<me_id>& known;

        bool add(me_id id) const
        {
            if (!known.insert(id).second)
                return false;
            into.members.push_back(id);
            return true;
        }
    };

    void index_pointers()
    {
        for (const me_instance* one : model_.all())
            for (const me_pointer& pointer : model_.pointers(*one))
                pointed_by_[pointer.to].push_back(one->id);
        for (const me_class class_id : {me_class::vtocd, me_class::evtocd})
            for (const me_instance& one : model_.instances(class_id))
                pointed_by_[tagged_by(model_, one.id)].push_back(one.id);
    }

    void add_port(const me_instance& port)
    {
        const uint16_t bridge = port.as<gpon_raw_mbpcd>().bridgeID;
        const auto [place, is_new] =
            by_vlans_.try_emplace({bridge, vlans_of(port.id)}, found_.size());
        if (is_new) {
            found_.emplace_back();
            members_.emplace_back();
        }
        const gatherer into{found_[place->second], members_[place->second]};
        if (is_new)
            add_subscriber_side(bridge, into);
        add_onward(port.id, into);
    }

    std::string vlans_of(me_id port) const
    {
        const me_instance* filter = model_.find({me_class::vtfd, port.instance});
        return filter ? known_by(*filter) : "any VLAN";
    }

    void add_subscriber_side(uint16_t bridge, const gatherer& into)
    {
        const me_id id{me_class::mbsp, bridge};
        for (const me_id from : pointed_by_[id]) {
            const me_instance* port = model_.find(from);
            if (from.class_id == me_class::mbpcd && port && type_of(*port).side == tp_side::uni)
                add_onward(from, into);
        }
        into.add(id);
    }

    // The instance, what it points at, and the filters and tagging operations of both.
    void add_onward(me_id from, const gatherer& into)
    {
        if (from.class_id == me_class::mbsp || !into.add(from))
            return;
        for (const me_id by : pointed_by_[from])
            if (by.class_id == me_class::vtfd || by.class_id == me_class::vtocd ||
                by.class_id == me_class::evtocd)
                into.add(by);
        if (const me_instance* me = model_.find(from))
            for (const me_pointer& pointer : model_.pointers(*me))
                if (is_drawn(model_, pointer))
                    add_onward(pointer.to, into);
    }

    void add_rest()
    {
        std::set<me_id> placed;
        for (const service& one : found_)
            placed.insert(one.members.begin(), one.members.end());
        service rest{"Entities of no service", {}};
        for (const me_instance* one : model_.all()) {
            if (!placed.contains(one->id))
                rest.members.push_back(one->id);
        }
        if (!rest.members.empty())
            found_.push_back(std::move(rest));
    }

    // "VLAN 100, 200: Ethernet UNI 0x0101, bridge 0x0001, GEM port 1025".
    std::string title_of(const service& shown) const
    {
        std::string vlans, unis, gems;
        uint16_t bridge = 0;
        for (const me_id id : shown.members) {
            const me_instance* me = model_.find(id);
            if (me && id.class_id == me_class::mbpcd && type_of(*me).side == tp_side::ani)
                vlans = vlans_of(id);
            if (id.class_id == me_class::mbsp)
                bridge = id.instance;
            if (me && is_uni(id.class_id))
                unis +=
                    (unis.empty() ? "" : ", ") + to_text(id).substr(to_text(id).find(" 0x") + 1);
            if (me && id.class_id == me_class::gemctp)
                gems +=
                    (gems.empty() ? "" : ", ") + std::to_string(me->as<gpon_raw_gemctp>().portID);
        }
        return vlans + ": UNI " + (unis.empty() ? "none" : unis) + ", bridge " +
               std::to_string(bridge) + ", GEM port " + (gems.empty() ? "none" : gems);
    }

    const line_model& model_;
    std::map<me_id, std::vector<me_id>> pointed_by_;
    std::map<std::pair<uint16_t, std::string>, size_t> by_vlans_;
    std::vector<service> found_;
    std::vector<std::set<me_id>> members_; ///< of each service
};

} // namespace

std::vector<service> services_of(const line_model& entities)
{
    return service_finder(entities).find();
}

bool is_drawn(const line_model& entities, const me_pointer& pointer)
{
    return pointer.from.class_id != me_class::mapper || pointer.to.instance != 0 ||
           entities.find(pointer.to);
}

std::vector<pointer_bundle> bundled_pointers(const line_model& entities, const me_instance& from)
{
    std::vector<pointer_bundle> bundles;
    for (me_pointer& pointer : entities.pointers(from)) {
        const bool entry = from.id.class_id == me_class::mapper && pointer.list_element;
        const size_t element = pointer.attribute.find('[') + 1;
        const auto like = [&](const pointer_bundle& one) {
            return entry && one.pointer.list_element && one.pointer.to == pointer.to;
        };
        auto known = std::ranges::find_if(bundles, like);
        std::vector<unsigned> priority;
        if (entry)
            priority.push_back(
                static_cast<unsigned>(std::stoul(pointer.attribute.substr(element))));
        if (known == bundles.end())
            bundles.push_back({std::move(pointer), std::move(priority)});
        else
            known->priorities.push_back(priority.front());
    }
    return bundles;
}

me_id tagged_by(const line_model& entities, me_id operation)
{
    for (const me_class class_id : {me_class::pptp, me_class::veip, me_class::mbpcd})
        if (const me_id port{class_id, operation.instance}; entities.find(port))
            return port;
    return {};
}

} // namespace gponflow
