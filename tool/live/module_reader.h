// SPDX-License-Identifier: GPL-2.0-only
// Reads the module's state as records, from a kernel or from this process. Reading prints nothing
// to the module's log.
#pragma once

#include <utility>
#include <vector>

#include "tool/live/module_records.h"

namespace gponflow {

/// All functions throw refusal.
class module_reader {
public:
    virtual ~module_reader() = default;
    module_reader(const module_reader&) = delete;
    module_reader& operator=(const module_reader&) = delete;

    /// All counters, read at one time, in the order of the module. Frames count meanwhile.
    [[nodiscard]] virtual std::vector<counter_value> counters() = 0;
    [[nodiscard]] virtual engine_state state() = 0;
    /// In the order of the table.
    [[nodiscard]] virtual std::vector<seen_rule> rules() = 0;
    /// In the order of the module's dump.
    [[nodiscard]] virtual std::vector<dumped_instance> instances() = 0;

    /// Number of the load of the module that replied last: a module that is loaded again has
    /// another one, so two readings with the same number are of one module.
    [[nodiscard]] virtual unsigned load_number() const { return 0; }

    /// Result of a function that reads more than once, all from one module: it is called again if
    /// the module was loaded again meanwhile. After several such calls the last result is returned,
    /// as one that changed.
    template <typename Read> [[nodiscard]] auto of_one_module(const Read& read)
    {
        const bool before = changed_;
        for (int readings = 1;; ++readings) {
            changed_ = before; // without that of a result that is not returned
            const unsigned load = load_number();
            auto result = read();
            const bool is_mixed = load != load_number();
            changed_ = changed_ || (is_mixed && readings == most_readings);
            if (!is_mixed || readings == most_readings)
                return result;
        }
    }

    /// Size and rules with their use, as a table. The total is always the number of the rules, also
    /// if the module learns a rule meanwhile. All are read again if the table has grown.
    [[nodiscard]] rule_table table();

    /// Whether a result since the last call of this function changed while it was read: the module
    /// changed rules or instances during each of several dumps, so the result may lack records or
    /// contain some twice, or be of several modules.
    [[nodiscard]] bool take_change() { return std::exchange(changed_, false); }

    /// The result of the next take_change().
    [[nodiscard]] bool has_change() const { return changed_; }

protected:
    module_reader() = default;

    /// Before a result is accepted that is not of one module or of one table.
    static constexpr int most_readings = 5;

    bool changed_ = false;
};

} // namespace gponflow
