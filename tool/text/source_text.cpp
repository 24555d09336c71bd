// SPDX-License-Identifier: GPL-2.0-only
#include "tool/text/source_text.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace gponflow {

namespace {

// Limits reading from an endless device.
constexpr size_t most_bytes = size_t{256} << 20;

std::string read_all(std::FILE* stream)
{
    std::string text;
    std::array<char, 65536> part;
    while (const size_t count = std::fread(part.data(), 1, part.size(), stream)) {
        text.append(part.data(), count);
        if (text.size() > most_bytes)
            throw std::runtime_error("longer than 256 MiB");
    }
    if (std::ferror(stream))
        throw_errno();
    return text;
}

} // namespace

void throw_errno()
{
    throw std::runtime_error(std::generic_category().message(errno));
}

void claim_standard_input()
{
    static bool claimed = false;
    if (claimed)
        throw std::runtime_error("standard input is named for two inputs");
    claimed = true;
}

std::string read_source_text(const std::string& file)
{
    if (file == "-") {
        claim_standard_input();
        return read_all(stdin);
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.c_str(), "rb"),
                                                                 std::fclose);
    if (!stream)
        throw_errno();
    return read_all(stream.get());
}

std::string first_bytes(const std::string& file, size_t count)
{
    std::error_code error;
    // A pipe would lose these bytes.
    if (!std::filesystem::is_regular_file(file, error))
        return {};
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.c_str(), "rb"),
                                                                 std::fclose);
    std::string text(count, '\0');
    text.resize(stream ? std::fread(text.data(), 1, count, stream.get()) : 0);
    return text;
}

} // namespace gponflow
