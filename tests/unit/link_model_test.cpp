// SPDX-License-Identifier: GPL-2.0-only
// The store's links and both relation queries against a model of plain containers.
#include "tests/unit/store_access.h"

#include <algorithm>
#include <map>
#include <random>

#include "me/link_queries.h"
#include "me/link_update.h"
#include "tests/support/invariants.h"
#include "tests/support/rounds.h"

namespace {

// The record of one instance: a list of ids for each class that may point at it.
struct model_inst {
    u16 id;
    std::map<me_class, std::vector<u16>> recorded;
};

struct link_change {
    me_class from_class;
    u16 from;
    me_class to_class;
    u16 to;
    u8 message;
};

class model {
public:
    // A class, whether links to it create its instances, and how many ids a row of it holds.
    struct kind {
        bool made_by_links;
        std::map<me_class, size_t> places;
    };
    std::map<me_class, kind> kinds;
    std::map<me_class, std::vector<model_inst>> instances; // in order of creation

    model_inst* find(me_class class_id, u16 id)
    {
        for (model_inst& inst : instances[class_id])
            if (inst.id == id)
                return &inst;
        return nullptr;
    }
    void create(me_class class_id, u16 id)
    {
        if (!find(class_id, id))
            instances[class_id].push_back({id, {}});
    }
    void remove(me_class class_id, u16 id)
    {
        std::erase_if(instances[class_id], [=](const model_inst& inst) { return inst.id == id; });
    }
    void change(const link_change& link)
    {
        const kind& to = kinds.at(link.to_class);
        if (!find(link.to_class, link.to)) {
            if (!to.made_by_links || link.message == ZR_OMCI_MSG_TYPE_DELETE)
                return;
            create(link.to_class, link.to);
        }
        const auto row = to.places.find(link.from_class);
        if (row != to.places.end())
            change_row(find(link.to_class, link.to)->recorded[link.from_class], row->second, link);
    }
    std::vector<u16> forward(me_class class_id, u16 id, me_class sought)
    {
        const model_inst* inst = find(class_id, id);
        return inst && inst->recorded.contains(sought) ? inst->recorded.at(sought)
                                                       : std::vector<u16>();
    }
    std::vector<u16> reverse(me_class class_id, u16 id, me_class sought)
    {
        std::vector<u16> holders;
        for (const model_inst& inst : instances[sought]) {
            const auto row = inst.recorded.find(class_id);
            if (row != inst.recorded.end() && std::ranges::count(row->second, id) != 0)
                holders.push_back(inst.id);
        }
        return holders;
    }

private:
    static void change_row(std::vector<u16>& ids, size_t places, const link_change& link)
    {
        const auto at = std::ranges::find(ids, link.from);
        if (link.message == ZR_OMCI_MSG_TYPE_DELETE) {
            if (at != ids.end())
                ids.erase(at);
        } else if (ids.size() < places &&
                   (link.message == ZR_OMCI_MSG_TYPE_CREAT || at == ids.end())) {
            ids.push_back(link.from);
        }
    }
};

class relation_model : public loaded_module {
protected:
    relation_model()
    {
        for (u16 row = 1; row < GPON_ME_ROWS; ++row)
            add_kind(me_table[row]);
    }

    // The ids include 0, the value of free entries, and are few, so that links often have the same
    // target.
    u16 some_id() { return static_cast<u16>(random() % 6); }
    me_class some_class() { return classes[random() % classes.size()]; }
    // Often a pair of classes that has a row.
    std::pair<me_class, me_class> from_and_to()
    {
        if (random() % 8 == 0)
            return {some_class(), some_class()};
        return pairs[random() % pairs.size()];
    }

    void change_something()
    {
        const auto choice = random() % 100;
        if (choice < 80)
            change_link();
        else if (choice < 92)
            create(some_class(), some_id());
        else if (random() % 4 == 0)
            remove(some_class(), some_id());
        if (random() % 5000 == 0)
            clean();
    }

    void ask_something()
    {
        const auto [from, to] = from_and_to();
        const u16 id = some_id();
        const u16 previous = some_id();
        compare_forward(to, id, from, previous);
        compare_reverse(from, id, to, previous);
    }

    void compare_all()
    {
        for (const auto& [from, to] : pairs)
            for (u16 id = 0; id < 6; ++id) {
                EXPECT_EQ(gpon::test::recorded(to, id, from), plain.forward(to, id, from));
                compare_walk(from, id, to);
            }
        EXPECT_EQ(gpon::test::broken_invariant(), "");
    }

    model plain;
    std::mt19937 random{20240229};

private:
    void add_kind(const gpon_me_entry& entry)
    {
        model::kind& kind = plain.kinds[entry.class_id];
        kind.made_by_links = entry.explicit_create == 0;
        classes.push_back(entry.class_id);
        for (const auto* row = entry.list_info->related_info;
             row->related_class_id != me_class::none; ++row) {
            kind.places[row->related_class_id] = static_cast<size_t>(row->related_inst_num);
            pairs.emplace_back(row->related_class_id, entry.class_id);
        }
    }

    void change_link()
    {
        const auto [from, to] = from_and_to();
        constexpr u8 messages[] = {ZR_OMCI_MSG_TYPE_CREAT, ZR_OMCI_MSG_TYPE_SET,
                                   ZR_OMCI_MSG_TYPE_DELETE};
        const link_change link = {from, some_id(), to, some_id(), messages[random() % 3]};
        const gpon_me_related_update update = {link.from_class, link.from, link.to_class, link.to,
                                               link.message};
        EXPECT_EQ(gpon_flow_me_general_update(&update), 0);
        plain.change(link);
    }
    void create(me_class class_id, u16 id)
    {
        const u8 raw[64] = {};
        const gpon_me_cmd cmd = gpon::test::command(ZR_OMCI_MSG_TYPE_CREAT, class_id, id, raw);
        EXPECT_EQ(gpon_flow_list_add_inst(gpon::mirrored_class(class_id), &cmd), 0);
        plain.create(class_id, id);
    }
    void remove(me_class class_id, u16 id)
    {
        EXPECT_EQ(gpon_flow_list_delete_inst(gpon::mirrored_class(class_id), id, 0), 0);
        plain.remove(class_id, id);
    }
    void clean()
    {
        gpon_flow_clean_all_me_inst();
        plain.instances.clear();
    }

    // Both queries return the id after the previous one, or the first without a previous one. There
    // is no result after an id that is not in the list.
    static std::vector<u16> from_previous(const std::vector<u16>& all, const u16* previous)
    {
        auto at = all.begin();
        if (previous) {
            at = std::ranges::find(all, *previous);
            at += at != all.end();
        }
        return {at, at == all.end() ? at : at + 1};
    }
    void compare_forward(me_class class_id, u16 id, me_class sought, u16 previous)
    {
        const std::vector<u16> all = plain.forward(class_id, id, sought);
        for (const u16* before : {static_cast<const u16*>(nullptr), &std::as_const(previous)})
            EXPECT_EQ(ask(gpon_flow_me_get_related_id, {class_id, id, sought}, before),
                      from_previous(all, before))
                << "class " << gpon::class_number(class_id) << " instance " << id << " of "
                << gpon::class_number(sought);
    }
    // The reverse query resumes after the previous instance, even if that one was not a result.
    void compare_reverse(me_class class_id, u16 id, me_class sought, u16 previous)
    {
        const std::vector<u16> all = plain.reverse(class_id, id, sought);
        EXPECT_EQ(ask(gpon_flow_me_reverse_get_related_id, {class_id, id, sought}, nullptr),
                  from_previous(all, nullptr));
        std::vector<u16> behind;
        bool passed = false;
        for (const model_inst& inst : plain.instances[sought]) {
            if (passed && std::ranges::count(all, inst.id) != 0)
                behind.push_back(inst.id);
            passed = passed || inst.id == previous;
        }
        EXPECT_EQ(ask(gpon_flow_me_reverse_get_related_id, {class_id, id, sought}, &previous),
                  from_previous(behind, nullptr))
            << "class " << gpon::class_number(class_id) << " instance " << id << " in "
            << gpon::class_number(sought);
    }
    // From the first result to the last, like a walk.
    void compare_walk(me_class class_id, u16 id, me_class sought)
    {
        std::vector<u16> walked;
        const u16* previous = nullptr;
        while (walked.size() < 7) {
            const auto result =
                ask(gpon_flow_me_reverse_get_related_id, {class_id, id, sought}, previous);
            if (result.empty())
                break;
            walked.push_back(result.front());
            previous = &walked.back();
        }
        EXPECT_EQ(walked, plain.reverse(class_id, id, sought));
    }

    struct question {
        me_class class_id;
        u16 id;
        me_class sought;
    };
    template <typename Query> std::vector<u16> ask(Query query, question from, const u16* previous)
    {
        gpon_me_related_id result = {};
        if (previous)
            result = {.instExist = 1, .instId = *previous};
        const gpon_me_relation_query asked = {from.class_id, from.id, from.sought, &result};
        const gpon::rcu_reader reader;
        query(&packet, &asked);
        return result.instExist ? std::vector<u16>{result.instId} : std::vector<u16>();
    }

    sk_buff packet;
    std::vector<me_class> classes;
    std::vector<std::pair<me_class, me_class>>
        pairs; // a class that points, and the class it points at
};

TEST_F(relation_model, random_changes_and_queries_agree)
{
    gpon::host::set_sink(nullptr);
    for (int round = 0; round < gpon::test::rounds(500) && !HasFailure(); ++round) {
        for (int i = 0; i < 1000 && !HasFailure(); ++i) {
            change_something();
            ask_something();
        }
        compare_all();
    }
}

} // namespace
