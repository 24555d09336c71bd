// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/change_printer.h"

#include <ostream>

#include "tool/live/change_text.h"

namespace gponflow {

namespace {

// A greater difference is that of a number up to the last one: the kernel sends changes in the
// order of their numbers, but the first ones may have come before the last number was read.
constexpr uint32_t numbers_apart = 1u << 31;

} // namespace

bool is_later_number(uint32_t number, uint32_t other)
{
    return number - other - 1 < numbers_apart;
}

void change_printer::take(const module_change& change)
{
    if (is_complete())
        return;
    const uint32_t missing = last_ ? change.number - *last_ - 1 : 0;
    if (missing < numbers_apart) {
        print_missing(missing);
        last_ = change.number;
    }
    out_ << (format_.json ? json_of(change) : text_of(change)) << '\n' << std::flush;
    ++printed_;
}

bool change_printer::end_at(std::optional<uint32_t> number)
{
    if (!last_ || !number)
        return false;
    if (!is_complete() && *number - *last_ < numbers_apart) {
        print_missing(*number - *last_);
        last_ = number;
    }
    return true;
}

bool change_printer::has_reached(uint32_t number) const
{
    return last_ && *last_ - number < numbers_apart;
}

void change_printer::print_missing(uint32_t count)
{
    if (count != 0)
        out_ << (format_.json ? missing_json(count) : missing_text(count)) << '\n' << std::flush;
}

} // namespace gponflow
