// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace gponflow {

/// A folder of the running test's own, gone with the object.
class scratch_folder {
public:
    scratch_folder()
    {
        std::string name = testing::TempDir() + "gponflow-XXXXXX";
        if (!mkdtemp(name.data()))
            throw std::runtime_error("no scratch folder");
        folder_ = name;
    }
    ~scratch_folder() { std::filesystem::remove_all(folder_); }
    scratch_folder(const scratch_folder&) = delete;
    scratch_folder& operator=(const scratch_folder&) = delete;

    std::filesystem::path path(std::string_view name) const { return folder_ / name; }

    /// Returns the path of the written file.
    std::filesystem::path write(std::string_view name, std::string_view content) const
    {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }

private:
    std::filesystem::path folder_;
};

} // namespace gponflow
