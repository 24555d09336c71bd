// SPDX-License-Identifier: GPL-2.0-only
#include <gtest/gtest.h>

#include "tool/report/frame_text.h"

namespace gponflow {

namespace {

TEST(hex_dump, has_sixteen_bytes_a_line_and_their_text)
{
    bytes frame(16, 'A');
    frame.push_back(0x00);
    frame.push_back('<');
    EXPECT_EQ(hex_dump(frame),
              "0000  41 41 41 41 41 41 41 41 41 41 41 41 41 41 41 41  AAAAAAAAAAAAAAAA\n"
              "0010  00 3c" +
                  std::string(14 * 3, ' ') + "  .<\n");
    EXPECT_EQ(hex_dump({}), "");
}

} // namespace

} // namespace gponflow
