// SPDX-License-Identifier: GPL-2.0-only
// The differences between two lines.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "tool/model/line_model.h"

namespace gponflow {

/// One attribute with different values; lists are separated by commas.
struct changed_attribute {
    me_id id;
    std::string name;
    std::string left;
    std::string right;
    unsigned left_line = 0; ///< that gave it its value; 0: none did
    unsigned right_line = 0;
};

struct line_difference {
    std::vector<me_id> only_left;
    std::vector<me_id> only_right;
    std::vector<changed_attribute> changed; ///< of instances of both lines

    [[nodiscard]] bool empty() const
    {
        return only_left.empty() && only_right.empty() && changed.empty();
    }
};

/// Compares instances, attributes and the rows of tagging operations. The order in which they were
/// created does not count.
[[nodiscard]] line_difference difference_of(const line_model& left, const line_model& right);

/// "- INSTANCE" and "+ INSTANCE" with their attributes, "~ INSTANCE ATTRIBUTE: A -> B", and a line
/// with the numbers.
void print_difference(const line_difference& difference, const line_model& left,
                      const line_model& right, std::ostream& out);

/// Prints the document gponflow-diff-1.
void print_difference_json(const line_difference& difference, const line_places& left,
                           const line_places& right, std::ostream& out);

/// The attributes of an instance that are not 0: "bridgeID=1 tpType=5 tpPointer=0x0011".
[[nodiscard]] std::string attributes_text(const me_instance& of);

} // namespace gponflow
