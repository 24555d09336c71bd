// SPDX-License-Identifier: GPL-2.0-only
// The visible part of a table.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace gponflow {

/// Titles stay at the top and the last line at the bottom, the rows between them scroll.
class scroll_view {
public:
    enum class move { up, down, page_up, page_down, first, last, left, right };

    /// Sets titles, rows and last line. The scroll position stays if possible.
    void set(std::vector<std::string> lines);
    void resize(size_t height, size_t width);
    void go(move direction);

    /// The lines that fit the height and width of the terminal.
    [[nodiscard]] std::vector<std::string> visible() const;

private:
    [[nodiscard]] size_t rows() const { return lines_.size() < 2 ? 0 : lines_.size() - 2; }
    [[nodiscard]] size_t room() const { return height_ < 2 ? 0 : height_ - 2; }
    [[nodiscard]] size_t lowest_top() const { return rows() > room() ? rows() - room() : 0; }
    [[nodiscard]] std::string last_line() const;
    void keep_inside();

    std::vector<std::string> lines_;
    size_t height_ = 24;
    size_t width_ = 80;
    size_t top_ = 0;  ///< first row that is visible
    size_t left_ = 0; ///< first column that is
};

} // namespace gponflow
