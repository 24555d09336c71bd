// SPDX-License-Identifier: GPL-2.0-only
// The whole terminal as one picture that changes.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace gponflow {

/// Takes the terminal for itself while it lives; what stood there comes back afterwards. Signals
/// are its owner's affair: none may end the process meanwhile.
class screen {
public:
    virtual ~screen() = default;
    screen(const screen&) = delete;
    screen& operator=(const screen&) = delete;

    /// Shows a table: titles, rows that scroll, a last line.
    virtual void show(const std::vector<std::string>& lines) = 0;

    /// Does what the keys that have been pressed say, and follows a new size; true when it is to
    /// end.
    virtual bool wants_to_end() = 0;

    /// Becomes readable when a key is pressed; -1 without a keyboard.
    virtual int keys() const = 0;

protected:
    screen() = default;
};

/// The terminal of standard input and output. Null when there is none, when it is not known how to
/// draw on it, or when this build has no library for that.
std::unique_ptr<screen> open_screen();

/// Whether this build has the library.
bool has_screen();

} // namespace gponflow
