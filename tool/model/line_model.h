// SPDX-License-Identifier: GPL-2.0-only
// The subscriber line as the tool sees it: the managed entities that the module holds when the
// commands of a scenario have run.
#pragma once

#include <algorithm>
#include <compare>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "include/me_class_id.h"
#include "include/uapi/gpon_flow.h"
#include "tool/model/class_records.h"
#include "tool/model/omci_command.h"

namespace gponflow {

/// One managed entity.
struct me_id {
    uint16_t class_id = 0;
    uint16_t instance = 0;

    auto operator<=>(const me_id&) const = default;
};

/// "GEM_PORT_CTP 0x0001".
std::string to_text(me_id what);

/// The instances of one class that the module has recorded as pointing at an instance.
struct recorded_row {
    uint16_t class_id = 0;
    size_t places = 0;
    std::vector<uint16_t> instances; ///< at most `places`, in the order of recording
};

struct me_instance {
    me_id id;
    bytes raw;              ///< the class's raw attribute record
    unsigned line = 0;      ///< of the scenario, where it was last written or first pointed at
    bool automatic = false; ///< the module made it, since something pointed at it
    std::vector<recorded_row> rows;

    /// The raw record as the class's structure; zero bytes beyond its end.
    template <typename record> record as() const
    {
        record result{};
        std::memcpy(&result, raw.data(), std::min(sizeof(result), raw.size()));
        return result;
    }

    /// Null when the class records nothing of that class.
    const recorded_row* row_of(uint16_t class_id) const;
    /// Whether the module has recorded that this instance is pointed at by `from`.
    bool records(me_id from) const;
};

/// A pointer attribute of an instance.
struct me_pointer {
    me_id from;
    me_id to;
    std::string attribute;
    uint16_t mask = 0;         ///< attributes that make the module follow it
    bool list_element = false; ///< one of a list of pointers
};

/// What became of a pointer.
enum class pointer_state {
    recorded,
    missing,    ///< nothing is there
    overflowed, ///< the places for its class are taken by others
    unrecorded  ///< there is room, but the target came later or the mask left the attribute out
};

/// Applies me and config commands as the module does.
class line_model {
public:
    void apply(const me_command& command, unsigned line);
    void apply(const config_command& command);
    void clear();
    /// Adds an instance as it stands, links and all, behind the others of its class.
    void restore(me_instance instance);

    /// In the order of the module's list; empty for a class without instances.
    const std::vector<me_instance>& instances(uint16_t class_id) const;
    /// All of them, class by class in the order of the class table.
    std::vector<const me_instance*> all() const;
    /// Null when there is none.
    const me_instance* find(me_id what) const;

    /// The pointers that the instance's raw record holds, whether or not their targets exist.
    std::vector<me_pointer> pointers(const me_instance& from) const;
    pointer_state state(const me_pointer& what) const;
    /// Instances of a class that a walk can reach from one, in the order in which it tries them:
    /// what the instance has recorded, then what has recorded the instance.
    std::vector<me_id> related(me_id from, uint16_t class_id) const;

    const gpon_flow_cfg_data& configuration() const { return configuration_; }

private:
    me_instance* find(me_id what);
    me_instance& add(me_id what, const class_record& known, unsigned line);
    void store(const me_command& command, const class_record& known, unsigned line);
    void remove(const me_command& command);
    void report(const me_pointer& what, uint8_t message, unsigned line);

    std::map<uint16_t, std::vector<me_instance>> classes_;
    gpon_flow_cfg_data configuration_{};
};

} // namespace gponflow
