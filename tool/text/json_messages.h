// SPDX-License-Identifier: GPL-2.0-only
// Messages on standard error as JSON.
#pragma once

#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

#include "tool/text/json_document.h"

namespace gponflow {

/// The document gponflow-message-1 about one line: severity, message, and the place in a file if
/// the line names one. A line that contains "warning: " is a warning, any other an error.
[[nodiscard]] json message_document(std::string line);

/// While it exists, each line written to a stream becomes such a document on a line of its own.
class json_messages {
public:
    explicit json_messages(std::ostream& stream);
    ~json_messages();
    json_messages(const json_messages&) = delete;
    json_messages& operator=(const json_messages&) = delete;

private:
    class line_buffer;

    std::ostream& stream_;
    std::streambuf* before_;
    std::unique_ptr<line_buffer> buffer_;
};

} // namespace gponflow
