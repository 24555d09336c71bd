// SPDX-License-Identifier: GPL-2.0-only
// Capture files of any bytes: of an OMCI channel, and of the frames that a scenario replays.
#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "fuzz/line.h"
#include "tests/omci/fuzz_entries.h"
#include "tool/capture/frame_header.h"
#include "tool/scenario/captures.h"

using gponflow::fuzz::require;

namespace {

// A file in memory, for a reader that takes a path.
class memory_file {
public:
    memory_file(const uint8_t* data, size_t size) : descriptor_(memfd_create("capture", 0))
    {
        require(descriptor_ >= 0 && write(descriptor_, data, size) == static_cast<ssize_t>(size),
                "a file in memory can be written");
    }
    ~memory_file() { close(descriptor_); }
    memory_file(const memory_file&) = delete;
    memory_file& operator=(const memory_file&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    gponflow::omci::test::fuzz_capture(data, size);
    const memory_file file(data, size);
    try {
        for (const gponflow::captured_frame& frame : gponflow::read_capture(file.path()).frames) {
            // The header of a cooked capture is longer than the one that replaces it.
            require(frame.data.size() <= size, "a frame is in its file");
            require(!gponflow::header_text(gponflow::read_header(frame)).empty(),
                    "a frame has a description");
        }
    } catch (const std::runtime_error& error) {
        require(*error.what() != '\0', "a fault has a text");
    }
    return 0;
}
