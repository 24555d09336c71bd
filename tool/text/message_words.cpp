// SPDX-License-Identifier: GPL-2.0-only
#include "tool/text/message_words.h"

#include <algorithm>
#include <cctype>
#include <numeric>

#include "tool/text/escape.h"

namespace gponflow {

namespace {

constexpr size_t longest_quote = 60;
constexpr size_t longest_list = 16;

char lower(char c)
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

size_t edit_distance(std::string_view from, std::string_view to)
{
    std::vector<size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < from.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i + 1;
        for (size_t j = 0; j < to.size(); ++j) {
            const size_t exchange = diagonal + (lower(from[i]) == lower(to[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({exchange, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

// The first word that begins with a shortened one.
std::string_view completed(std::string_view start, const std::vector<std::string_view>& known)
{
    const auto begins = [start](std::string_view word) {
        return std::ranges::equal(start, word.substr(0, start.size()), {}, lower, lower);
    };
    const auto found = start.size() < 3 ? known.end() : std::ranges::find_if(known, begins);
    return found == known.end() ? std::string_view() : *found;
}

} // namespace

std::string suggestion(std::string_view mistyped, const std::vector<std::string_view>& known)
{
    if (mistyped.size() > longest_quote)
        return {};
    // Two letters that changed places are two edits; in a short word these would fit anything.
    const size_t most = mistyped.size() < 4 ? 1 : std::max<size_t>(2, mistyped.size() / 3);
    std::string_view nearest;
    size_t least = most + 1;
    for (const std::string_view word : known) {
        const size_t distance = edit_distance(mistyped, word);
        if (distance < least) {
            least = distance;
            nearest = word;
        }
    }
    if (nearest.empty())
        nearest = completed(mistyped, known);
    return nearest.empty() ? std::string() : " (did you mean '" + std::string(nearest) + "'?)";
}

std::string suggestion_or_list(std::string_view mistyped,
                               const std::vector<std::string_view>& known)
{
    std::string text = suggestion(mistyped, known);
    if (!text.empty() || known.empty() || known.size() > longest_list)
        return text;
    for (const std::string_view word : known)
        text += (text.empty() ? " (one of " : ", ") + std::string(word);
    return text + ")";
}

std::string in_quotes(std::string_view text)
{
    std::string result = "'" + escape(text.substr(0, longest_quote));
    return result + (text.size() > longest_quote ? "...'" : "'");
}

} // namespace gponflow
