// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/log_record.h"

#include <charconv>

#include "tool/text/pattern.h"

namespace gponflow {

namespace {

// The fourth field of the head is "c" for text that continues a line but has a record of its own.
bool is_continuation(std::string_view head)
{
    for (int field = 0; field < 3; ++field) {
        const size_t comma = head.find(',');
        if (comma == std::string_view::npos)
            return false;
        head.remove_prefix(comma + 1);
    }
    return head.substr(0, head.find(',')) == "c";
}

std::string without_escapes(std::string_view escaped)
{
    std::string text;
    for (size_t i = 0; i < escaped.size(); ++i) {
        unsigned value = 0;
        if (escaped.substr(i, 2) == "\\x" && i + 4 <= escaped.size() &&
            std::from_chars(&escaped[i + 2], &escaped[i + 2] + 2, value, 16).ptr ==
                &escaped[i + 2] + 2) {
            text += static_cast<char>(value);
            i += 3;
        } else {
            text += escaped[i];
        }
    }
    return text;
}

} // namespace

std::optional<log_record> read_log_record(std::string_view record)
{
    const size_t start = record.find(';');
    if (start == std::string_view::npos)
        return {};
    const bool continues = is_continuation(record.substr(0, start));
    record.remove_prefix(start + 1);
    return log_record{without_escapes(record.substr(0, record.find('\n'))), continues};
}

bool is_other_kernel_line(std::string_view text)
{
    static const pattern chatter(
        R"(^(gpon_flow: (loading out-of-tree|module (license|verification))|)"
        R"(Disabling lock debugging|CPU: \d|Hardware name: |Call [Tt]race:|Workqueue: |)"
        R"( ?</?(TASK|IRQ)>|(RIP|RSP|Code|RAX|RDX|RBP|R10|R13): |)"
        R"( +(\? )?[\w.]+\+0x[0-9a-f]+/0x[0-9a-f]+|)"
        R"((?!gpon)[A-Za-z][\w.-]*: ).*)");
    return chatter.match(text).has_value();
}

void module_lines::add(const log_record& record)
{
    if (is_other_kernel_line(record.text)) {
        interrupted_ = true;
        return;
    }
    if (record.continues && interrupted_ && last_) {
        *last_ += record.text;
    } else {
        end();
        last_ = record.text;
    }
    interrupted_ = false;
}

void module_lines::end()
{
    if (last_)
        line_(*last_);
    last_.reset();
}

} // namespace gponflow
