// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/path_memory.h"

#include <algorithm>
#include <utility>

#include "include/tpid.h"

namespace gponflow {

namespace {

constexpr size_t most_paths = 1 << 16; // against captures of random bytes
constexpr size_t tags_at = 12;

uint16_t type_at(const bytes& frame, size_t at)
{
    return at + 2 <= frame.size() ? static_cast<uint16_t>(frame[at] << 8 | frame[at + 1])
                                  : uint16_t{0};
}

size_t end_of_tags(const bytes& frame)
{
    size_t at = tags_at;
    while (gpon::is_tpid(type_at(frame, at)))
        at += 4;
    return at;
}

// The bytes of a place that are in the frame.
void append(std::string& key, const bytes& frame, size_t at, size_t count)
{
    const size_t first = std::min(at, frame.size());
    const size_t last = std::min(at + count, frame.size());
    key.append(frame.begin() + static_cast<ptrdiff_t>(first),
               frame.begin() + static_cast<ptrdiff_t>(last));
}

template <typename number> void append(std::string& key, number value)
{
    key.append(reinterpret_cast<const char*>(&value), sizeof(value));
}

void append_header(std::string& key, const bytes& frame)
{
    const size_t type = end_of_tags(frame);
    append(key, frame, tags_at, type - tags_at);
    append(key, frame, type, 4); // with version and DSCP of IP
    const unsigned value = type_at(frame, type);
    if (value == 0x8864 || value == 0x6488) // PPPoE: the same of the IP header within
        append(key, frame, type + 8, 4);
    // Bytes beyond the end count as 0, but a short frame is not always treated like a padded one.
    append(key, std::min<size_t>(frame.size(), type + 12));
}

} // namespace

std::string path_memory::key_of(const packet_options& options, const bytes& frame,
                                const rule_place& place)
{
    std::string key;
    append(key, options.kind);
    append(key, options.param);
    append(key, options.port_word);
    append(key, options.mark_word);
    append(key, options.gem);
    append(key, options.multicast);
    append(key, options.flags);
    append_header(key, frame);
    return key + place.steps;
}

const path_memory::path* path_memory::find(const std::string& key) const
{
    const auto found = known_.find(key);
    return found == known_.end() ? nullptr : &found->second;
}

void path_memory::add(std::string key, const path& folder)
{
    if (known_.size() >= most_paths)
        known_.clear();
    known_.insert_or_assign(std::move(key), folder);
}

} // namespace gponflow
