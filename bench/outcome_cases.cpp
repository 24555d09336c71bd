// SPDX-License-Identifier: GPL-2.0-only
#include <stdexcept>

#include "base/bytes.h"
#include "bench/cases.h"
#include "bench/keys.h"
#include "bench/line.h"
#include "hash/outcome_table.h"

namespace gpon::bench {
namespace {

// Flows with the addresses and tags of the keys that the other tables are asked for.
std::vector<outcome_key> packed_keys(unsigned flows, uint16_t length)
{
    std::vector<outcome_key> packed;
    for (const rule_key& key : keys_for(flows, length, 1024)) {
        const uint8_t* bytes = key.bytes.data();
        const uint64_t outer = length > 16 ? load_unaligned<uint32_t>(bytes + 16) : 0;
        const uint64_t inner = length > 20 ? load_unaligned<uint32_t>(bytes + 20) : 0;
        packed.push_back({load_unaligned<uint64_t>(bytes),
                          load_unaligned<uint32_t>(bytes + 8) | outer << 32,
                          inner | uint64_t{UP_ANI} << 32});
    }
    return packed;
}

/* The look-up of outcomes that are remembered: of that many flows those that find a place. */
class find_known final : public work {
public:
    find_known(unsigned flows, uint16_t length)
    {
        for (const outcome_key& key : packed_keys(flows, length)) {
            known_outcome found = {};
            remember_outcome(key, current_generation(), 1, {});
            if (find_outcome(key, current_generation(), &found))
                known_.push_back(key);
        }
        if (known_.size() < flows / 2)
            throw std::runtime_error("few flows found a place");
    }

    void pass() override
    {
        for (const outcome_key& key : known_) {
            known_outcome found = {};
            keep(find_outcome(key, current_generation(), &found));
            keep(found.gemport_id);
        }
    }
    uint32_t operations() const override { return static_cast<uint32_t>(known_.size()); }

private:
    line empty_line_{line_shape{0, 0}};
    std::vector<outcome_key> known_;
};

} // namespace

void add_outcome_cases(case_list& cases)
{
    for (const uint16_t length : key_lengths)
        for (const unsigned flows : {48u, 256u, 768u})
            cases.push_back(make_case<find_known>("outcome/find/" + std::to_string(length) +
                                                      "_bytes/" + std::to_string(flows) + "_flows",
                                                  flows, length));
}

} // namespace gpon::bench
