// SPDX-License-Identifier: GPL-2.0-only
#include "bench/cases.h"
#include "bench/keys.h"
#include "bench/line.h"
#include "hash/crc32.h"
#include "hash/rule_table.h"
#include "pkt/header.h"
#include "pkt/rule.h"

namespace gpon::bench {
namespace {

class summary final : public work {
public:
    void pass() override
    {
        gpon_pkt_info info;
        static_cast<void>(gpon_pkt_form_info(&frame_.packet, &info));
        keep(info);
    }

private:
    frame frame_{100};
};

// The header reader that a mapper calls for every frame.
class priority final : public work {
public:
    void pass() override { keep(gpon_pkt_get_pbit(&frame_.packet)); }

private:
    frame frame_{100};
};

class key_of_summary final : public work {
public:
    key_of_summary() { static_cast<void>(gpon_pkt_form_info(&frame_.packet, &info_)); }

    void pass() override
    {
        uint8_t key[GPON_RULE_KEY_BUFFER];
        uint16_t length = 0;
        gpon_rule_generate_key(&info_, UP_ANI, key, &length);
        keep(key);
    }

private:
    frame frame_{100};
    gpon_pkt_info info_ = {};
};

class hash_of_key final : public work {
public:
    explicit hash_of_key(uint16_t length) : keys_(keys_for(256, length, 512)) {}

    void pass() override
    {
        for (const rule_key& key : keys_)
            keep(gpon_hash_calc_key(key.bytes.data(), key.length));
    }
    uint32_t operations() const override { return 256; }

private:
    std::vector<rule_key> keys_;
};

} // namespace

void add_header_cases(case_list& cases)
{
    cases.push_back(make_case<summary>("header/summary"));
    cases.push_back(make_case<priority>("header/priority"));
    cases.push_back(make_case<key_of_summary>("key/generate"));
    for (const uint16_t length : key_lengths)
        cases.push_back(
            make_case<hash_of_key>("key/hash/" + std::to_string(length) + "_bytes", length));
}

} // namespace gpon::bench
