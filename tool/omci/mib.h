// SPDX-License-Identifier: GPL-2.0-only
// The raw records that an OMCI stack holds for the mirrored instances. A set contains some
// attributes only, but the module takes the whole record each time.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "include/me_class_id.h"
#include "tool/model/class_records.h"
#include "tool/model/omci_attributes.h"
#include "tool/omci/pairing.h"

namespace gponflow::omci {

/// The bytes of one attribute in the message, big-endian.
struct attribute_value {
    size_t index; ///< in attribute_class::attributes
    std::span<const uint8_t> bytes;
};

/// The attributes of a message.
struct value_list {
    std::vector<attribute_value> values;
    uint16_t unknown_mask = 0; ///< bits after the last known attribute of the class
    std::string fault;         ///< why the values cannot be read; empty otherwise
};

/// Whether a message has rows of tables, or their sizes.
enum class table_values { rows, sizes };
constexpr size_t table_size_bytes = 4;

/// Splits the attribute values of a message: ascending order, without gaps.
[[nodiscard]] value_list split_values(const attribute_class& cls, uint16_t mask,
                                      std::span<const uint8_t> bytes,
                                      table_values tables = table_values::rows);

/// The responses of a MIB upload that contain an instance.
struct upload_frames {
    size_t first = 0; ///< request of the first one
    size_t last = 0;  ///< the last response
    std::string text; ///< "frame 41, response 42", "frames 41 to 46"
};

/// The raw record of one instance as an OMCI stack passes it to the module.
struct record {
    std::vector<uint8_t> raw; ///< little-endian, class_record::raw_size bytes
    uint16_t commanded = 0;   ///< attributes that the OLT wrote
    uint16_t reported = 0;    ///< attributes that a MIB upload or a get reported
    std::string tagging;      ///< commands for its reported tagging operation
    bool table_begun = false; ///< a `tagging` line names the rows of its table, or that it has some
    bool table_known = false; ///< all rows of its table are known
    bool uploaded = false;    ///< a MIB upload listed the instance
    upload_frames uploaded_in;
    bool written = false; ///< a command of the scenario contains it
};

/// Writes one attribute into the record; attributes that are not mirrored change nothing.
/// Returns an empty text, or a remark that the value exceeds the field, which then has its maximum.
[[nodiscard]] std::string write_attribute(record& rec, const attribute& attr,
                                          std::span<const uint8_t> bytes);

struct read_table;

/// All records by class and instance.
class record_store {
public:
    /// The instance's record, made with all fields 0 if there is none yet.
    [[nodiscard]] record& at(const class_record& fields, uint16_t instance);

    /// Takes a report of the ONU (MIB upload, get). It fills attributes that the OLT has not
    /// written: the report may be older than the command. Returns `tagging` lines for attributes
    /// that were not known, if the scenario already contains the instance.
    [[nodiscard]] std::string learn(const attribute_class& cls, uint16_t instance,
                                    const value_list& list, const exchange& from);

    /// The same for a MIB upload, which also shows that the instance exists.
    [[nodiscard]] std::string learn_upload(const attribute_class& cls, uint16_t instance,
                                           const value_list& list, const exchange& from);

    /// Takes the whole table of a class 171 instance. Returns lines as learn() does.
    [[nodiscard]] std::string learn_table(uint16_t instance, const read_table& table,
                                          const exchange& from);

    /// All records, by class and instance.
    [[nodiscard]] std::map<std::pair<me_class, uint16_t>, record>& all() { return records; }

    void erase(me_class class_id, uint16_t instance) { records.erase({class_id, instance}); }
    void clear() { records.clear(); }

private:
    std::map<std::pair<me_class, uint16_t>, record> records;
};

} // namespace gponflow::omci
