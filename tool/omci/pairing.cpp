// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/pairing.h"

#include <algorithm>
#include <unordered_map>

namespace gponflow::omci {

namespace {

// An OLT has at most one outstanding request of each priority, so a repetition follows its first
// transmission closely. Farther away, the transaction id has wrapped around and the request is a
// new one, such as the MIB reset of a second bring-up.
constexpr size_t repeat_window = 8;

bool same_request(const message& left, const message& right)
{
    return left.type == right.type && left.class_id == right.class_id &&
           left.instance == right.instance && left.extended == right.extended &&
           std::ranges::equal(left.content, right.content);
}

bool is_response_to(const message& response, const message& request)
{
    // The instance is not compared: some ONUs return a wrong one, and the transaction id is
    // unambiguous.
    return response.type == request.type && response.class_id == request.class_id;
}

bool succeeded(const message& response)
{
    return result_code(response) == 0;
}

class pairer {
public:
    void take(const numbered_message& item)
    {
        if (is_notification(item.msg))
            ++result.notifications;
        else if (item.msg.acknowledgement)
            take_response(item);
        else
            take_request(item);
    }

    pairing result;

private:
    void take_request(const numbered_message& item)
    {
        const auto known = latest.find(item.msg.transaction);
        if (known != latest.end() && is_repeat(known->second, item.msg)) {
            result.exchanges[known->second].repeats.push_back(item.frame);
            return;
        }
        latest[item.msg.transaction] = result.exchanges.size();
        result.exchanges.push_back({item, {}, std::nullopt});
    }

    bool is_repeat(size_t index, const message& msg) const
    {
        return result.exchanges.size() - index <= repeat_window &&
               same_request(result.exchanges[index].request.msg, msg);
    }

    void take_response(const numbered_message& item)
    {
        const auto known = latest.find(item.msg.transaction);
        if (known == latest.end() ||
            !is_response_to(item.msg, result.exchanges[known->second].request.msg)) {
            result.unpaired_responses.push_back(item);
            return;
        }
        auto& response = result.exchanges[known->second].response;
        if (!response || !succeeded(response->msg))
            response = item;
    }

    std::unordered_map<uint16_t, size_t> latest; // transaction id to exchange
};

} // namespace

pairing pair_messages(std::span<const numbered_message> messages)
{
    pairer work;
    for (const numbered_message& item : messages)
        work.take(item);
    return std::move(work.result);
}

std::string frames_text(const exchange& item)
{
    std::string text = "frame " + std::to_string(item.request.frame);
    for (const size_t frame : item.repeats)
        text += ", repeated in " + std::to_string(frame);
    if (item.response)
        text += ", response " + std::to_string(item.response->frame);
    return text;
}

std::optional<uint8_t> result_code(const message& response)
{
    if (response.content.empty())
        return std::nullopt;
    return response.content[0];
}

} // namespace gponflow::omci
