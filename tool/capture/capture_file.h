// SPDX-License-Identifier: GPL-2.0-only
// Reads pcap and pcapng files with libpcap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace gponflow {

/// One record of a capture.
struct capture_record {
    std::span<const uint8_t> data; ///< with its link-layer header; valid until the next record
    size_t wire_length = 0;        ///< with its link-layer header; at least data.size()
    uint64_t time = 0;             ///< nanoseconds since 1970
};

/// A capture that is read record by record. A damaged or truncated file yields the records before
/// the damage.
class capture_file {
public:
    /// Opens a file; "-" is standard input. Throws std::runtime_error with the reason.
    [[nodiscard]] static capture_file open(const std::string& path);
    /// A capture in memory, which must outlive the object. Throws as well.
    [[nodiscard]] static capture_file open(std::span<const uint8_t> contents);
    capture_file(capture_file&&) noexcept;
    capture_file& operator=(capture_file&&) = delete;
    ~capture_file();

    /// DLT_EN10MB, DLT_LINUX_SLL, ... of all records.
    [[nodiscard]] int link_type() const;
    /// "EN10MB", "LINUX_SLL", ...; "unknown" without a name.
    [[nodiscard]] std::string link_name() const;

    /// Reads the next record; nothing at the end.
    [[nodiscard]] std::optional<capture_record> next();
    /// Records that were read.
    [[nodiscard]] size_t count() const { return count_; }
    /// Why reading stopped before the end of the file; empty otherwise.
    [[nodiscard]] const std::string& cut_short() const { return cut_short_; }

private:
    struct handle;

    explicit capture_file(std::unique_ptr<handle> opened);

    std::unique_ptr<handle> handle_;
    size_t count_ = 0;
    std::string cut_short_;
};

/// The name of a capture in messages: "standard input" for "-".
[[nodiscard]] std::string capture_title(const std::string& path);

/// Whether a file with these first bytes is a pcap or pcapng file.
[[nodiscard]] bool is_capture_start(std::string_view first);

} // namespace gponflow
