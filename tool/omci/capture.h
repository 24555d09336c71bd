// SPDX-License-Identifier: GPL-2.0-only
// The OMCI messages of a capture file (pcap or pcapng), read with libpcap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tool/omci/link.h"
#include "tool/omci/pairing.h"

namespace gponflow::omci {

/// A remark about one frame; frame 0 is the capture as a whole.
struct remark {
    size_t frame = 0;
    std::string text;
};

/// The messages of one ONU in a capture. Movable only: the messages point into `storage`.
struct capture {
    capture() = default;
    capture(capture&&) = default;
    capture& operator=(capture&&) = default;

    std::vector<std::vector<uint8_t>> storage; ///< the bytes of each OMCI frame
    std::vector<numbered_message> messages;
    std::vector<remark> damaged;   ///< frames that look like OMCI but are damaged
    std::vector<mac_address> onus; ///< addresses of the ONUs seen, each once
    size_t frames = 0;
    size_t other_frames = 0;   ///< frames without OMCI
    size_t skipped_frames = 0; ///< OMCI of other ONUs than the chosen one
    std::string cut_short;     ///< why reading stopped before the end of the file; empty otherwise
};

/// A capture, or the reason why it cannot be used.
struct capture_result {
    std::optional<capture> cap;
    std::string error;
    bool choose_onu = false; ///< choosing one ONU avoids the error
};

/// Reads a file; "-" is standard input. With `onu` only the messages from and to that address
/// (and to group addresses) are kept. A capture of several ONUs without such a choice is an
/// error, as is a file without any OMCI message.
[[nodiscard]] capture_result read_capture(const std::string& path,
                                          const std::optional<mac_address>& onu = {});

/// The same for a capture file in memory.
[[nodiscard]] capture_result read_capture_bytes(std::span<const uint8_t> file,
                                                const std::optional<mac_address>& onu = {});

/// "aa:bb:cc:dd:ee:ff"
[[nodiscard]] std::string to_text(const mac_address& address);

/// Reads the form that to_text writes, with `:` or `-`; nothing if it is anything else.
[[nodiscard]] std::optional<mac_address> parse_mac(std::string_view text);

} // namespace gponflow::omci
