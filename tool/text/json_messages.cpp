// SPDX-License-Identifier: GPL-2.0-only
#include "tool/text/json_messages.h"

#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "tool/text/json_document.h"
#include "tool/text/pattern.h"

namespace gponflow {

namespace {

constexpr std::string_view warning_mark = "warning: ";

// "FILE:LINE: column COLUMN: TEXT", the form of a diagnostic. Moves the place out of the text.
void move_place(std::string& text, json& into)
{
    static const pattern shape(R"(^([^:]+):(\d+): (?:column (\d+): )?(.*)$)");
    const std::optional<pattern_match> found = shape.match(text);
    if (!found)
        return;
    into["file"] = (*found)[1];
    into["line"] = std::stoul((*found)[2]);
    if (!(*found)[3].empty())
        into["column"] = std::stoul((*found)[3]);
    text = (*found)[4];
}

} // namespace

json message_document(std::string text)
{
    constexpr std::string_view program = "gponflow: ";
    json result = json_document("message");
    if (text.starts_with(program))
        text.erase(0, program.size());
    const size_t mark = text.find(warning_mark);
    result["severity"] = mark == text.npos ? "error" : "warning";
    if (mark != text.npos)
        text.erase(mark, warning_mark.size());
    move_place(text, result);
    result["message"] = std::move(text);
    return result;
}

class json_messages::line_buffer final : public std::streambuf {
public:
    explicit line_buffer(std::streambuf* to) : out_(to) {}

    void finish()
    {
        if (!line_.empty())
            print_json_line(message_document(std::exchange(line_, {})), out_);
        out_.flush();
    }

protected:
    int_type overflow(int_type letter) override
    {
        if (letter == '\n')
            finish();
        else if (!traits_type::eq_int_type(letter, traits_type::eof()))
            line_ += traits_type::to_char_type(letter);
        return traits_type::not_eof(letter);
    }

private:
    std::ostream out_;
    std::string line_;
};

json_messages::json_messages(std::ostream& stream)
    : stream_(stream), before_(stream.rdbuf()), buffer_(std::make_unique<line_buffer>(before_))
{
    stream_.rdbuf(buffer_.get());
}

json_messages::~json_messages()
{
    buffer_->finish();
    stream_.rdbuf(before_);
}

} // namespace gponflow
