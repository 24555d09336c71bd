// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/change_follower.h"

#include <optional>
#include <ostream>

#include "tool/live/stop_signals.h"

namespace gponflow {

namespace {

// More than a socket of 8 MiB holds: each change in it takes more than 256 bytes, and a read takes
// 1000 changes. A signal ends a flood also if the module does not number its changes.
constexpr int most_reads_after_signal = 40;

class change_follower {
public:
    change_follower(change_source& source, change_printer& printer, std::ostream& notes)
        : source_(source), printer_(printer), notes_(notes)
    {
    }

    void follow(const std::ostream& out)
    {
        notes_ << "gponflow: monitoring; Ctrl-C ends" << std::endl;
        while (out && !printer_.is_complete() && !is_over())
            take_arrived();
        if (out && !printer_.is_complete() && is_missing_some())
            count_missing(at_signal_);
        if (unloaded_)
            notes_ << "gponflow: the module was unloaded\n";
    }

private:
    // Changes that have arrived, or were dropped without a later change that shows it.
    bool has_unread() const { return more_ || dropped_; }

    // All changes that came before the signal are printed, or counted as missing.
    bool has_reached_signal() const { return at_signal_ && printer_.has_reached(*at_signal_); }

    // The module may have counted changes that it sends to nobody, and notes it only later.
    bool is_missing_some() const { return at_signal_ ? !has_reached_signal() : has_unread(); }

    bool is_over() const
    {
        if (stopped_ && (reads_left_ == 0 || has_reached_signal()))
            return true;
        return (stopped_ || unloaded_) && !has_unread();
    }

    void wait()
    {
        const bool stopped = stop_.wait(source_.number(), has_unread() ? 0 : -1);
        if (stopped && !stopped_)
            at_signal_ = source_.current_number();
        stopped_ = stopped;
        reads_left_ -= stopped_;
    }

    // One after the signal is left out: those before it have come, or are missing.
    void take(const module_change& change)
    {
        const bool is_later = at_signal_ && is_later_number(change.number, *at_signal_);
        if (!is_later || !printer_.end_at(at_signal_))
            printer_.take(change);
    }

    void take_arrived()
    {
        wait();
        // Before the reading: changes up to this number are in the socket, or dropped.
        const std::optional<uint32_t> last =
            dropped_ && !more_ && !unloaded_ ? source_.current_number() : std::nullopt;
        const change_source::arrival arrived =
            source_.read([this](const module_change& change) { take(change); });
        const bool caught_up = dropped_ && !more_ && !arrived.lost && !arrived.more;
        more_ = arrived.more;
        unloaded_ = unloaded_ || arrived.unloaded;
        dropped_ = (dropped_ && !caught_up) || arrived.lost;
        if (caught_up)
            count_missing(last);
    }

    // The number of a module that was loaded again says nothing about this one.
    void count_missing(std::optional<uint32_t> last)
    {
        if (unloaded_ || !printer_.end_at(last))
            notes_ << "gponflow: the kernel dropped changes\n";
    }

    change_source& source_;
    change_printer& printer_;
    std::ostream& notes_;
    stop_signals stop_;
    bool stopped_ = false;
    bool unloaded_ = false;
    bool more_ = false;    ///< not read
    bool dropped_ = false; ///< changes were dropped, and their number is not printed
    int reads_left_ = most_reads_after_signal;
    std::optional<uint32_t> at_signal_; ///< number of the last change before the signal
};

} // namespace

void follow_changes(change_source& source, change_printer& printer, const std::ostream& out,
                    std::ostream& notes)
{
    change_follower(source, printer, notes).follow(out);
}

} // namespace gponflow
