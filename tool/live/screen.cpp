// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/screen.h"

#ifdef GPONFLOW_CURSES

#include <cstdio>
#include <optional>

// Macros of curses have names of common functions.
#define NCURSES_NOMACROS
#include <curses.h>
#include <poll.h>
#include <unistd.h>

#include "tool/live/scroll_view.h"
#include "tool/live/terminal_type.h"

namespace gponflow {

namespace {

using move_to = scroll_view::move;

std::optional<move_to> move_of(int key)
{
    switch (key) {
    case KEY_UP:
    case 'k':
        return move_to::up;
    case KEY_DOWN:
    case 'j':
        return move_to::down;
    case KEY_PPAGE:
        return move_to::page_up;
    case KEY_NPAGE:
    case ' ':
        return move_to::page_down;
    case KEY_HOME:
    case 'g':
        return move_to::first;
    case KEY_END:
    case 'G':
        return move_to::last;
    case KEY_LEFT:
    case 'h':
        return move_to::left;
    case KEY_RIGHT:
    case 'l':
        return move_to::right;
    default:
        return {};
    }
}

// A disconnected terminal stays readable.
bool is_disconnected()
{
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    return poll(&input, 1, 0) > 0 && (input.revents & (POLLHUP | POLLERR)) != 0;
}

class curses_screen final : public screen {
public:
    explicit curses_screen(SCREEN* terminal) : terminal_(terminal)
    {
        cbreak();
        noecho();
        nodelay(stdscr, TRUE);
        keypad(stdscr, TRUE);
        curs_set(0);
        fit();
    }

    ~curses_screen() override
    {
        endwin();
        delscreen(terminal_);
    }

    void show(const std::vector<std::string>& lines) override
    {
        view_.set(lines);
        draw();
    }

    bool wants_to_end() override
    {
        for (int key = getch(); key != ERR; key = getch()) {
            if (key == 'q' || key == 'Q')
                return true;
            if (key == KEY_RESIZE)
                fit();
            else if (const std::optional<move_to> move = move_of(key))
                view_.go(*move);
        }
        draw();
        return is_disconnected();
    }

    int keys() const override { return STDIN_FILENO; }

private:
    void fit() { view_.resize(static_cast<size_t>(LINES), static_cast<size_t>(COLS)); }

    void draw()
    {
        erase();
        int row = 0;
        for (const std::string& line : view_.visible()) {
            attrset(row == 0 ? A_BOLD : row + 1 == LINES ? A_REVERSE : A_NORMAL);
            mvaddstr(row++, 0, line.c_str());
        }
        attrset(A_NORMAL);
        refresh();
    }

    SCREEN* terminal_;
    scroll_view view_;
};

} // namespace

std::unique_ptr<screen> open_screen()
{
    if (isatty(STDIN_FILENO) != 1 || isatty(STDOUT_FILENO) != 1 || !terminal_is_known())
        return nullptr;
    SCREEN* terminal = newterm(nullptr, stdout, stdin);
    if (!terminal)
        return nullptr;
    set_term(terminal);
    return std::make_unique<curses_screen>(terminal);
}

bool has_screen()
{
    return true;
}

} // namespace gponflow

#else

namespace gponflow {

std::unique_ptr<screen> open_screen()
{
    return nullptr;
}

bool has_screen()
{
    return false;
}

} // namespace gponflow

#endif
