// SPDX-License-Identifier: GPL-2.0-only
// The model of the subscriber line: the managed entities of the module after the commands of a
// scenario.
#pragma once

#include <algorithm>
#include <compare>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "include/me_class_id.h"
#include "include/tp_types.h"
#include "include/uapi/gpon_flow.h"
#include "tool/model/class_records.h"
#include "tool/model/omci_command.h"
#include "tool/tagging/operation.h"

namespace gponflow {

/// One managed entity.
struct me_id {
    me_class class_id = me_class::none;
    uint16_t instance = 0;

    auto operator<=>(const me_id&) const = default;
};

/// "GEM_PORT_CTP 0x0001".
[[nodiscard]] std::string to_text(me_id id);

/// `direction` of a GEM port CTP (G.988 9.2.3).
enum gem_direction : uint32_t { gem_upstream = 1, gem_downstream = 2, gem_both = 3 };

/// The instances of one class that the module has recorded as pointing at an instance.
struct recorded_row {
    me_class class_id = me_class::none;
    size_t places = 0;
    std::vector<uint16_t> instances; ///< at most `places`, in the order of recording
};

struct me_instance {
    me_id id;
    bytes raw;                ///< the class's raw attribute record
    unsigned source_line = 0; ///< of the scenario, where it was last written or first pointed at
    bool automatic = false;   ///< the module created it for a pointer
    std::vector<recorded_row> rows;
    unsigned created = 0; ///< line that created it, or first wrote all attributes
    /// Lines that wrote attributes later, by the place of the attribute in the raw record; empty if
    /// none did. Most instances are written once.
    std::map<uint16_t, unsigned> written;

    /// The raw record as the class's structure; zero bytes beyond its end.
    template <typename record> [[nodiscard]] record as() const
    {
        record result{};
        std::memcpy(&result, raw.data(), std::min(sizeof(result), raw.size()));
        return result;
    }

    /// The line that last wrote the attribute. A set writes the attributes of its mask, and those
    /// that its record changes.
    [[nodiscard]] unsigned line_of(const gpon_me_field& field, size_t element = 0) const;
    /// The same for a list or a byte string as a whole: the last line that wrote an element.
    [[nodiscard]] unsigned line_of(std::string_view field) const;
    /// The same with the names of the attributes, and for one element of a list.
    [[nodiscard]] std::vector<attribute_source>
    sources_of(std::initializer_list<std::string_view> fields) const;
    [[nodiscard]] attribute_source source_of(std::string_view field, size_t element) const;

    /// Null if the class records no instances of that class.
    [[nodiscard]] const recorded_row* row_of(me_class class_id) const;
    /// Whether the module has recorded that this instance is pointed at by `from`.
    [[nodiscard]] bool records(me_id from) const;
};

/// What a bridge port belongs to, by the tpType of its instance.
[[nodiscard]] inline tp_type type_of(const me_instance& port)
{
    return gpon::bridge_port_tp(port.as<gpon_raw_mbpcd>().tpType);
}

/// A pointer attribute of an instance.
struct me_pointer {
    me_id from;
    me_id to;
    std::string attribute;
    unsigned source_line = 0;  ///< of the scenario, that gave the attribute its value
    uint16_t mask = 0;         ///< attributes that make the module follow it
    bool list_element = false; ///< one of a list of pointers
};

/// State of a pointer in the module.
enum class pointer_state {
    recorded,
    missing,    ///< the target does not exist
    overflowed, ///< other instances use all places for its class
    unrecorded  ///< a place is free, but the target was created later or the mask lacked the bit
};

/// Applies me and config commands as the module does.
class line_model {
public:
    void apply(const me_command& command, unsigned source_line);
    void apply(const config_command& command);
    /// Facts about a tagging operation, whose attributes the module does not store.
    void apply(const tag_facts& facts, unsigned source_line);
    void clear();
    /// Appends an unchanged instance, including its links, to the list of its class.
    void restore(me_instance instance);

    /// In the order of the module's list; empty for a class without instances.
    [[nodiscard]] const std::vector<me_instance>& instances(me_class class_id) const;
    /// All instances, by class in the order of the class table.
    [[nodiscard]] std::vector<const me_instance*> all() const;
    /// Null without such an instance.
    [[nodiscard]] const me_instance* find(me_id id) const;

    /// The pointers of the instance's raw record, even if their targets do not exist.
    [[nodiscard]] std::vector<me_pointer> pointers(const me_instance& from) const;
    [[nodiscard]] pointer_state state(const me_pointer& pointer) const;
    /// Instances of a class that a walk can reach from one, in the order in which it tries them:
    /// ids that the instance has recorded, then instances that have recorded it.
    [[nodiscard]] std::vector<me_id> related(me_id from, me_class class_id) const;

    /// The first of these; null if there is none.
    [[nodiscard]] const me_instance* first_related(me_id from, me_class class_id) const;

    /// Tagging operations of both classes, those without facts included, by class and id.
    [[nodiscard]] std::vector<me_id> tag_operations() const;
    /// Null if only the existence of the operation is known.
    [[nodiscard]] const tag_operation* operation(me_id id) const;
    /// Line of the scenario that created the operation, or that first wrote an attribute of one
    /// without instance; 0 if there is none.
    [[nodiscard]] unsigned creation_line(me_id id) const;
    /// The last line that wrote one of these attributes of an operation. creation_line() if none
    /// did.
    [[nodiscard]] unsigned line_of(me_id id, std::initializer_list<tag_attribute> which) const;

    [[nodiscard]] const gpon_flow_cfg_data& configuration() const { return configuration_; }

private:
    [[nodiscard]] me_instance* find(me_id id);
    me_instance& add(me_id id, const class_record& known, unsigned source_line);
    void store(const me_command& command, const class_record& known, unsigned source_line);
    void remove(const me_command& command);
    void report(const me_pointer& pointer, uint8_t message, unsigned source_line);

    void number_places(me_class class_id);

    std::map<me_class, std::vector<me_instance>> classes_;
    std::map<me_class, std::unordered_map<uint16_t, size_t>> places_; ///< by class and instance
    struct operation_facts {
        tag_operation operation;
        unsigned begun = 0; ///< line of the first facts
    };
    std::map<me_id, operation_facts> operations_;
    gpon_flow_cfg_data configuration_{};
};

} // namespace gponflow
