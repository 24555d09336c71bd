// SPDX-License-Identifier: GPL-2.0-only
// Managed entity commands as lines of a scenario, with named fields.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tool/model/class_records.h"
#include "tool/model/omci_attributes.h"
#include "tool/omci/mib.h"
#include "tool/text/hex_text.h"

namespace gponflow::omci {

/// Two digits for each byte.
[[nodiscard]] std::string hex_bytes(std::span<const uint8_t> bytes);

/// `me create CLASS INST mask=M FIELD=VALUE ...`: the fields that differ from 0 and those that
/// the mask names, so that a pointer cleared on purpose is seen. No line feed.
[[nodiscard]] std::string me_line(std::string_view verb, const class_record& fields,
                                  const attribute_class& cls, uint16_t instance, uint16_t mask,
                                  const record& rec);

/// `me delete CLASS INST`; a delete carries neither mask nor attributes.
[[nodiscard]] std::string delete_line(const class_record& fields, uint16_t instance);

/// The attributes of a command that neither the raw record nor a `tagging` line contains: "port num
/// 0x01, ...".
[[nodiscard]] std::string unmirrored_text(const attribute_class& cls, const value_list& list);

/// The comment above lines that a response of the ONU reports.
[[nodiscard]] std::string report_comment(const std::string& frames);

/// A comment line. Control characters of file names or error texts cannot end it.
[[nodiscard]] std::string comment_line(std::string_view text);

} // namespace gponflow::omci
