// SPDX-License-Identifier: GPL-2.0-only
#include "tool/report/picture.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include <unistd.h>

#include "tool/model/graph.h"
#include "tool/report/render_dot.h"
#include "tool/text/source_text.h"

namespace gponflow {

namespace {

// A temporary file, deleted at the end of its lifetime.
class scratch_file {
public:
    scratch_file() : name_((std::filesystem::temp_directory_path() / "gponflow-XXXXXX").string())
    {
        const int descriptor = mkstemp(name_.data());
        if (descriptor < 0)
            throw std::runtime_error(name_ + ": " + std::strerror(errno));
        close(descriptor);
    }

    ~scratch_file() { unlink(name_.c_str()); }
    scratch_file(const scratch_file&) = delete;
    scratch_file& operator=(const scratch_file&) = delete;

    const std::string& name() const { return name_; }

private:
    std::string name_;
};

} // namespace

std::string svg_of(const line_model& entities)
{
    std::ostringstream dot;
    write_dot(entities, {}, dot);
    const scratch_file picture;
    render_dot(dot.str(), "svg", picture.name());
    // The text before the element is only for stand-alone files.
    std::string text = read_source_text(picture.name());
    const size_t start = text.find("<svg");
    if (start == text.npos)
        throw std::runtime_error("dot drew no picture");
    return text.substr(start);
}

} // namespace gponflow
