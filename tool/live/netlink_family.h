// SPDX-License-Identifier: GPL-2.0-only
// A socket of the module's generic netlink family.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

struct mnl_socket;
struct nlmsghdr;

namespace gponflow {

/// Requires root. All functions throw refusal.
class netlink_family {
public:
    /// Finds the family of the loaded module.
    [[nodiscard]] static netlink_family open();

    /// Number of the family of this name. Nothing if the kernel has none; if it cannot be asked,
    /// this throws.
    [[nodiscard]] static std::optional<uint16_t> find_number(const char* name);

    using message_sink = std::function<void(const nlmsghdr&)>;

    /// Sends a request without attributes and passes on each message of the reply. A module that
    /// was loaded again since open() replies, too. Returns false if the module's state changed
    /// during a dump. The state and the counters are read at once, so it did not during these.
    [[nodiscard]] bool request(uint8_t command, bool dump, const message_sink& sink);

    struct arrival {
        bool lost = false;  ///< the kernel dropped events
        bool ended = false; ///< the family was removed; another one may have its name
        bool more = false;  ///< more events have arrived
    };

    /// Joins the multicast group of changes, and the kernel's own one, which reports the removal of
    /// families: a socket gets nothing when its group is removed.
    void join_events();

    /// Messages that read_events() takes: the events may come as fast as they are read.
    static constexpr int most_events = 1000;

    /// Passes on the events that have arrived, up to the limit.
    [[nodiscard]] arrival read_events(const message_sink& sink);

    /// Whether the family was removed, also if another one has its name.
    [[nodiscard]] bool is_gone() const;

    /// Of the module that replied last, or of the one that open() found. A module that is loaded
    /// again has another one.
    [[nodiscard]] uint16_t family_number() const { return family_; }

    [[nodiscard]] int number() const;

private:
    struct closer {
        void operator()(mnl_socket* socket) const;
    };
    struct reply {
        bool done = false;
        bool consistent = true;
        bool gone = false; ///< no family has the number of the request
    };

    explicit netlink_family(mnl_socket* socket);

    [[nodiscard]] static netlink_family connect();
    void find();
    [[nodiscard]] bool look_up(const char* name);
    void send(uint16_t type, uint8_t command, uint16_t flags, const char* family_name = nullptr);
    [[nodiscard]] size_t receive();
    [[nodiscard]] reply request_once(uint8_t command, bool dump, const message_sink& sink);
    [[nodiscard]] reply take(size_t count, const message_sink& sink) const;
    void read_group(const nlmsghdr& head);
    void join(uint32_t group);
    [[nodiscard]] bool is_removal(const nlmsghdr& head) const;
    void take_events(size_t count, const message_sink& sink, arrival& result) const;

    std::unique_ptr<mnl_socket, closer> socket_;
    std::vector<char> buffer_;
    uint32_t sequence_ = 0;
    uint16_t family_ = 0;
    uint32_t group_ = 0;
};

} // namespace gponflow
