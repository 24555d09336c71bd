// SPDX-License-Identifier: GPL-2.0-only
// Changes that come faster than they are read, and their end.
#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/tool/numbered_change.h"
#include "tool/live/change_follower.h"
#include "tool/live/descriptor.h"

namespace gponflow {

namespace follower {

constexpr uint32_t changes_a_read = 10;

// One read after the other, each with so many changes; a descriptor that is always readable.
struct planned_read {
    uint32_t changes = changes_a_read;
    change_source::arrival result{};
    bool signal = false; ///< one comes while the changes are read
};

class planned_changes : public change_source {
public:
    explicit planned_changes(std::vector<planned_read> plan) : plan_(std::move(plan)) {}

    arrival read(const change_sink& sink) override
    {
        const planned_read now = plan_.at(std::min(reads, plan_.size() - 1));
        ++reads;
        for (uint32_t i = 0; i < now.changes; ++i)
            sink(numbered_change(++last));
        if (now.signal)
            kill(getpid(), SIGTERM);
        if (now.result.lost)
            last += 5;
        return now.result;
    }
    std::optional<uint32_t> current_number() override
    {
        return numbered ? std::optional(unread_to.value_or(last)) : std::nullopt;
    }
    int number() const override { return readable_.get(); }

    size_t reads = 0;
    uint32_t last = 0;
    std::optional<uint32_t> unread_to; ///< changes that have come
    bool numbered = true;              ///< the module says the number of the last one

private:
    std::vector<planned_read> plan_;
    descriptor readable_{open("/dev/zero", O_RDONLY | O_CLOEXEC)};
};

} // namespace follower

namespace {

using namespace follower;

struct followed {
    std::string changes;
    std::string notes;
};

followed follow(planned_changes& source, uint64_t count = 0)
{
    std::ostringstream out, notes;
    change_printer printer({false, count}, 0, out);
    follow_changes(source, printer, out, notes);
    return {out.str(), notes.str()};
}

size_t lines_of(const std::string& text, const std::string& start)
{
    std::istringstream lines(text);
    size_t found = 0;
    for (std::string line; std::getline(lines, line);)
        found += line.starts_with(start);
    return found;
}

constexpr change_source::arrival flood{.more = true};
constexpr change_source::arrival loss{.lost = true};
constexpr change_source::arrival unload{.unloaded = true};

TEST(follow_changes, ends_at_its_limit_during_a_flood)
{
    planned_changes source({{.result = flood}});
    const followed seen = follow(source, 25);
    EXPECT_EQ(lines_of(seen.changes, "grown"), 25u);
    EXPECT_EQ(source.reads, 3u);
    EXPECT_EQ(lines_of(seen.changes, "missing"), 0u);
}

// The changes after the signal are neither printed nor counted.
TEST(follow_changes, ends_at_the_last_change_before_a_signal_during_a_flood)
{
    planned_changes source(
        {{.result = flood}, {.result = flood, .signal = true}, {.result = flood}});
    source.unread_to = 45;
    const followed seen = follow(source);
    EXPECT_EQ(lines_of(seen.changes, "grown"), 45u);
    EXPECT_EQ(source.reads, 5u);
    EXPECT_EQ(lines_of(seen.changes, "missing"), 0u) << seen.changes;
    EXPECT_EQ(seen.notes.find("dropped"), std::string::npos) << seen.notes;
}

TEST(follow_changes, ends_at_a_signal_during_a_flood_without_numbers)
{
    planned_changes source({{.result = flood, .signal = true}, {.result = flood}});
    source.numbered = false;
    const followed seen = follow(source);
    EXPECT_EQ(lines_of(seen.changes, "grown"), source.last);
    EXPECT_LT(source.reads, 100u);
    EXPECT_NE(seen.notes.find("the kernel dropped changes"), std::string::npos) << seen.notes;
}

// A full socket has more than 10000, of which each read takes 1000.
TEST(follow_changes, reads_all_changes_of_a_full_socket_after_a_signal)
{
    constexpr uint32_t queued = 10900;
    std::vector<planned_read> plan(11, {.changes = 1000, .result = flood});
    plan.front().signal = true;
    plan.back() = {.changes = 900};
    for (const bool numbered : {true, false}) {
        SCOPED_TRACE(numbered);
        planned_changes source(plan);
        source.unread_to = queued;
        source.numbered = numbered;
        const followed seen = follow(source);
        EXPECT_EQ(lines_of(seen.changes, "grown"), queued);
        EXPECT_EQ(lines_of(seen.changes, "missing"), 0u);
        EXPECT_EQ(seen.notes.find("dropped"), std::string::npos) << seen.notes;
    }
}

TEST(follow_changes, reads_what_came_before_a_signal)
{
    planned_changes source({{.result = flood, .signal = true}, {.result = flood}, {.result = {}}});
    source.unread_to = 3 * changes_a_read;
    const followed seen = follow(source);
    EXPECT_EQ(lines_of(seen.changes, "grown"), 3 * changes_a_read);
    EXPECT_EQ(lines_of(seen.changes, "missing"), 0u);
}

// Such changes are dropped without a report until the quiet time of the module ends.
TEST(follow_changes, counts_what_a_module_did_not_send_before_a_signal)
{
    planned_changes source({{.signal = true}, {.changes = 0}});
    source.unread_to = changes_a_read + 7;
    const followed seen = follow(source);
    EXPECT_EQ(lines_of(seen.changes, "grown"), changes_a_read);
    EXPECT_NE(seen.changes.find("missing  7 changes"), std::string::npos) << seen.changes;
    EXPECT_EQ(seen.notes.find("dropped"), std::string::npos) << seen.notes;
}

// The changes between them were dropped, so the first one that comes is after the signal.
TEST(follow_changes, counts_only_what_is_missing_before_a_signal)
{
    planned_changes source({{.result = loss, .signal = true}, {.result = flood}});
    source.unread_to = changes_a_read + 3;
    const followed seen = follow(source);
    EXPECT_EQ(lines_of(seen.changes, "grown"), changes_a_read);
    EXPECT_NE(seen.changes.find("missing  3 changes"), std::string::npos) << seen.changes;
    EXPECT_EQ(source.reads, 2u);
}

TEST(follow_changes, reads_what_came_before_an_unload)
{
    planned_changes source({{.result = {.lost = true, .unloaded = true, .more = true}},
                            {.result = flood},
                            {.changes = 3},
                            {.changes = 0}});
    const followed seen = follow(source);
    EXPECT_EQ(lines_of(seen.changes, "grown"), 2 * changes_a_read + 3);
    EXPECT_NE(seen.notes.find("the kernel dropped changes"), std::string::npos) << seen.notes;
    EXPECT_TRUE(seen.notes.ends_with("the module was unloaded\n")) << seen.notes;
}

// A module that was loaded again counts from 0, or from any other number.
TEST(follow_changes, does_not_count_by_the_number_of_another_module)
{
    planned_changes source({{.result = loss}, {.changes = 0, .result = unload}});
    source.unread_to = 100000;
    const followed seen = follow(source);
    EXPECT_EQ(lines_of(seen.changes, "missing"), 0u) << seen.changes;
    EXPECT_NE(seen.notes.find("the kernel dropped changes"), std::string::npos) << seen.notes;
}

// The source then says no number.
TEST(follow_changes, says_without_a_count_that_changes_are_lost_with_their_module)
{
    planned_changes source({{.result = loss}, {.changes = 0, .signal = true}, {.changes = 0}});
    source.numbered = false;
    const followed seen = follow(source);
    EXPECT_EQ(lines_of(seen.changes, "missing"), 0u) << seen.changes;
    EXPECT_NE(seen.notes.find("the kernel dropped changes"), std::string::npos) << seen.notes;
}

TEST(follow_changes, counts_the_last_ones_that_are_lost)
{
    planned_changes source(
        {{.result = loss}, {.changes = 0, .signal = true}, {.changes = 0}, {.changes = 0}});
    const followed seen = follow(source);
    EXPECT_NE(seen.changes.find("missing  5 changes"), std::string::npos) << seen.changes;
    EXPECT_EQ(seen.notes.find("dropped"), std::string::npos) << seen.notes;
}

} // namespace

} // namespace gponflow
