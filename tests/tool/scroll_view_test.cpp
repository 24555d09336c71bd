// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/scroll_view.h"

#include <gtest/gtest.h>

namespace gponflow {
namespace {

using lines = std::vector<std::string>;
using move = scroll_view::move;

// Titles, five rows, a last line, on a terminal of that size.
scroll_view five_rows(size_t height, size_t width = 60)
{
    scroll_view view;
    view.set({"TITLES", "one", "two", "three", "four", "five", "5 rules"});
    view.resize(height, width);
    return view;
}

TEST(scroll_view, fills_a_high_terminal_with_empty_rows)
{
    EXPECT_EQ(five_rows(9).visible(),
              (lines{"TITLES", "one", "two", "three", "four", "five", "", "", "5 rules; q quits"}));
}

TEST(scroll_view, returns_the_visible_rows)
{
    EXPECT_EQ(five_rows(5).visible(),
              (lines{"TITLES", "one", "two", "three",
                     "5 rules, 1 to 3 shown; arrow and page keys scroll; q quits"}));
}

TEST(scroll_view, scrolls_between_the_first_and_the_last_row)
{
    scroll_view view = five_rows(5);
    view.go(move::up);
    EXPECT_EQ(view.visible()[1], "one");
    view.go(move::down);
    EXPECT_EQ(view.visible()[1], "two");
    view.go(move::page_down);
    EXPECT_EQ(view.visible()[3], "five");
    view.go(move::down);
    EXPECT_EQ(view.visible()[3], "five");
    view.go(move::page_up);
    EXPECT_EQ(view.visible()[1], "one");
    view.go(move::last);
    EXPECT_EQ(view.visible()[1], "three");
    view.go(move::first);
    EXPECT_EQ(view.visible()[1], "one");
}

TEST(scroll_view, stays_at_the_end_when_the_terminal_grows)
{
    scroll_view view = five_rows(4);
    view.go(move::last);
    EXPECT_EQ(view.visible()[1], "four");
    view.resize(5, 60);
    EXPECT_EQ(view.visible()[1], "three");
}

TEST(scroll_view, scrolls_back_when_rows_vanish)
{
    scroll_view view = five_rows(5);
    view.go(move::last);
    view.set({"TITLES", "one", "1 rule"});
    EXPECT_EQ(view.visible(), (lines{"TITLES", "one", "", "", "1 rule; q quits"}));
}

TEST(scroll_view, scrolls_sideways_no_further_than_the_longest_line)
{
    scroll_view view;
    view.set({"0123456789abcdef", "0123456789", "1 rule"});
    view.resize(4, 10);
    EXPECT_EQ(view.visible(), (lines{"0123456789", "0123456789", "", "1 rule; q "}));
    view.go(move::right);
    view.go(move::right);
    EXPECT_EQ(view.visible(), (lines{"6789abcdef", "6789", "", "1 rule; q "}));
    view.go(move::left);
    EXPECT_EQ(view.visible()[0], "0123456789");
}

TEST(scroll_view, no_terminal_is_too_small)
{
    EXPECT_EQ(five_rows(0).visible(), lines{});
    EXPECT_EQ(five_rows(1, 7).visible(), lines{"5 rules"});
    EXPECT_EQ(five_rows(2, 3).visible(), (lines{"TIT", "5 r"}));
    scroll_view empty;
    empty.set({});
    empty.go(move::page_down);
    empty.resize(3, 20);
    EXPECT_EQ(empty.visible(), (lines{"", "", "; q quits"}));
}

} // namespace
} // namespace gponflow
