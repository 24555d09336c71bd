// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/words.h"

#include <algorithm>

#include "tool/scenario/syntax_error.h"

namespace gponflow {

namespace {

constexpr std::string_view blanks = " \t";

class splitter {
public:
    explicit splitter(std::string_view line) : line_(line) {}

    std::vector<word> all()
    {
        std::vector<word> words;
        for (skip_blanks(); at_ < line_.size(); skip_blanks())
            words.push_back(line_[at_] == '"' ? quoted_word() : bare_word());
        return words;
    }

private:
    void skip_blanks() { at_ = std::min(line_.find_first_not_of(blanks, at_), line_.size()); }

    word bare_word()
    {
        const size_t start = at_;
        at_ = std::min(line_.find_first_of(blanks, at_), line_.size());
        const std::string_view text = line_.substr(start, at_ - start);
        if (const size_t quote = text.find('"'); quote != text.npos)
            throw syntax_error{start + quote + 1, "a quote inside a word: quote the whole word"};
        return {std::string(text), start + 1};
    }

    word quoted_word()
    {
        word result{{}, at_ + 1};
        for (++at_; at_ < line_.size() && line_[at_] != '"'; ++at_)
            result.text += line_[at_] == '\\' ? escaped() : line_[at_];
        if (at_ == line_.size())
            throw syntax_error{result.column, "unterminated quote"};
        ++at_;
        if (at_ < line_.size() && blanks.find(line_[at_]) == blanks.npos)
            throw syntax_error{at_ + 1, "missing blank after the closing quote"};
        return result;
    }

    char escaped()
    {
        const size_t next = at_ + 1;
        if (next == line_.size() || (line_[next] != '"' && line_[next] != '\\'))
            throw syntax_error{at_ + 1, "only \\\" and \\\\ are escapes in a quoted word"};
        return line_[at_ = next];
    }

    std::string_view line_;
    size_t at_ = 0;
};

} // namespace

std::string_view trimmed(std::string_view line)
{
    const size_t first = line.find_first_not_of(" \t\r");
    if (first == line.npos)
        return {};
    return line.substr(first, line.find_last_not_of(" \t\r") - first + 1);
}

std::vector<word> split_words(std::string_view line)
{
    return splitter(line).all();
}

} // namespace gponflow
