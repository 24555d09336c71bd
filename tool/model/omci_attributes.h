// SPDX-License-Identifier: GPL-2.0-only
// The OMCI attributes of the mirrored managed entity classes (ITU-T G.988 clause 9) and where
// each is stored in the raw record of the module.
//
// The attribute masks of the module number attributes as OMCI does, with one exception: in class
// 268 the module links the downstream traffic descriptor on attribute 7 (OMCI: downstream priority
// queue), while its value is attribute 9 of OMCI. Masks are passed on unchanged, as an OMCI stack
// does.
//
// A class without a table here has the fields of its raw record as attributes, in their order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "include/me_attribute.h"

namespace gponflow::omci {

/// One attribute in OMCI order.
struct attribute {
    std::string_view name; ///< for people, after G.988
    uint8_t bytes;         ///< in a message
    bool set_by_create;    ///< a create carries it
    gpon_me_field field{}; ///< of the raw record
    uint8_t element = 0;   ///< where in an array field
    bool table = false;    ///< a table: a set has one row, a get response the size of the table

    /// Otherwise it is carried but not mirrored.
    [[nodiscard]] constexpr bool is_stored() const { return field.name != nullptr; }
};

/// A mirrored class. attributes[0] is attribute 1, bit 15 of a mask.
struct attribute_class {
    me_class id;
    std::span<const attribute> attributes;
};

constexpr size_t attributes_per_mask = 16;

/// The bit of attributes[index].
[[nodiscard]] constexpr uint16_t attribute_bit(size_t index)
{
    return static_cast<uint16_t>(0x8000u >> index);
}

/// Indexes in attribute_class::attributes of attributes that the tool reads itself.
namespace attribute_index {
constexpr size_t tcont_policy = 2;
constexpr size_t gem_ctp_downstream_queue = 6;
constexpr size_t queue_related_port = 5;
constexpr size_t queue_scheduler = 6;
constexpr size_t queue_weight = 7;
constexpr size_t scheduler_tcont = 0;
constexpr size_t scheduler_parent = 1;
constexpr size_t scheduler_policy = 2;
constexpr size_t scheduler_weight = 3;
constexpr size_t tagging_table = 5; ///< of class 171
} // namespace attribute_index

/// The mirrored classes, by rising id.
[[nodiscard]] std::span<const attribute_class> attribute_classes();

/// Null when the module does not mirror the class.
[[nodiscard]] const attribute_class* find_attribute_class(me_class id);

/// All attributes that a create carries: the mask that goes with a create.
[[nodiscard]] uint16_t set_by_create_mask(const attribute_class& cls);

} // namespace gponflow::omci
