// SPDX-License-Identifier: GPL-2.0-only
// A backend that records its calls and returns the values that a test sets.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "include/uapi/gpon_flow.h"
#include "tool/scenario/backend.h"

namespace gponflow {

class fake_backend final : public backend {
public:
    // Results of the next calls.
    std::optional<int> load_answer = 0;
    std::optional<hook_return> hook_result = hook_return{2, 0, 0, 0};
    std::optional<long> returned = 0;
    std::string refuse;                    ///< not empty: the next call is refused with it
    std::vector<backend_event> happenings; ///< reported by every call
    size_t attribute_bytes = 8;            ///< to read behind the attribute pointer

    // What was asked.
    std::vector<std::string> calls;
    std::vector<gpon_flow_cmd> records;
    bytes attribute_data;
    bytes configuration;
    std::vector<std::string> words;
    std::vector<packet_options> packets;

    void set_sink(backend_sink sink) override { sink_ = std::move(sink); }

    std::optional<int> load() override
    {
        enter("load");
        return load_answer;
    }

    void unload() override { enter("unload"); }

    std::optional<hook_return> hook(const packet_options& options, const bytes* frame) override
    {
        packets.push_back(options);
        enter("hook " + (frame ? std::to_string(frame->size()) + " bytes" : "null"));
        return hook_result;
    }

    traced_call traced_hook(const packet_options& options, const bytes& frame) override
    {
        return {hook(options, &frame), {}};
    }

    std::optional<long> ioctl(uint32_t number, uint64_t argument) override
    {
        enter("ioctl " + std::to_string(number) + (argument ? "" : " null"));
        if (argument)
            take_record(argument);
        return returned;
    }

    std::optional<long> proc_write(std::string_view text) override
    {
        enter("write " + std::string(text));
        return returned;
    }

    std::optional<long> proc_read() override
    {
        enter("read");
        return returned;
    }

    uint64_t advance(uint64_t jiffies) override
    {
        enter("advance");
        return now_ += jiffies;
    }

    void set_mapping(const pointer_setting& setting) override { pointer("mapping", setting); }
    void set_queue_mapping(const pointer_setting& setting) override { pointer("queue", setting); }

    void arm_fault(fault_kind kind, uint64_t nth) override
    {
        enter("fault " + std::to_string(static_cast<int>(kind)) + " " + std::to_string(nth));
    }

private:
    void enter(const std::string& call)
    {
        calls.push_back(call);
        if (!refuse.empty())
            throw refusal(refuse);
        for (const backend_event& event : happenings)
            sink_(event);
    }

    void pointer(const std::string& name, const pointer_setting& setting)
    {
        enter(name + " " + (setting.result ? std::to_string(*setting.result) : "none"));
    }

    // Reads through the record's addresses as the module would.
    void take_record(uint64_t argument)
    {
        gpon_flow_cmd record;
        std::memcpy(&record, reinterpret_cast<const void*>(argument), sizeof(record));
        records.push_back(record);
        copy(attribute_data, record.me.attr_data, attribute_bytes);
        copy(configuration, record.cfg_data, sizeof(gpon_flow_cfg_data));
        words.clear();
        for (const uint64_t word : record.args) {
            bytes field;
            copy(field, word, GPON_FLOW_DEBUG_WORD_BYTES);
            words.emplace_back(field.begin(), field.end());
        }
    }

    static void copy(bytes& to, uint64_t from, size_t count)
    {
        to.clear();
        if (from)
            to.assign(reinterpret_cast<const uint8_t*>(from),
                      reinterpret_cast<const uint8_t*>(from) + count);
    }

    backend_sink sink_;
    uint64_t now_ = 0;
};

} // namespace gponflow
