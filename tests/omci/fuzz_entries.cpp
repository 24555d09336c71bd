// SPDX-License-Identifier: GPL-2.0-only
#include "tests/omci/fuzz_entries.h"

#include <algorithm>
#include <string_view>

#include "tests/support/require.h"
#include "tool/omci/convert.h"
#include "tool/scenario/parse.h"

namespace gponflow::omci::test {

namespace {

using gponflow::test::require;

void check_scenario(std::string_view text)
{
    require(text.ends_with('\n'), "a scenario ends with a line feed");
    require(parse_scenario(text, "fuzz").errors.empty(), "the runner understands every line");
}

void check_decoded(const decoded& result, std::span<const uint8_t> bytes)
{
    require(result.msg.has_value() == result.fault.empty(), "either a message or a fault");
    if (!result.msg)
        return;
    const auto content = result.msg->content;
    require(content.data() >= bytes.data() &&
                content.data() + content.size() <= bytes.data() + bytes.size(),
            "the contents lie in the message");
    require(result.msg->extended || content.size() == 32, "baseline contents have 32 bytes");
}

} // namespace

int fuzz_message(const uint8_t* data, size_t size)
{
    const std::span bytes(data, size);
    check_decoded(decode_message(bytes), bytes);
    return 0;
}

int fuzz_capture(const uint8_t* data, size_t size)
{
    const capture_result result = read_capture_bytes({data, size});
    require(result.cap.has_value() == result.error.empty(), "either a capture or an error");
    if (result.cap)
        check_scenario(convert(*result.cap, "fuzz").scenario);
    return 0;
}

int fuzz_session(const uint8_t* data, size_t size)
{
    capture cap;
    while (size > 0) {
        const size_t length = std::min<size_t>(data[0], size - 1);
        const std::span bytes(data + 1, length);
        const decoded result = decode_message(bytes);
        check_decoded(result, bytes);
        ++cap.frames;
        if (result.msg)
            cap.messages.push_back({cap.frames, *result.msg});
        data += 1 + length;
        size -= 1 + length;
    }
    check_scenario(convert(cap, "fuzz").scenario);
    return 0;
}

} // namespace gponflow::omci::test
