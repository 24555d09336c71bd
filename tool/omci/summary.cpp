// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/summary.h"

#include "tool/model/class_records.h"
#include "tool/model/omci_attributes.h"
#include "tool/omci/scenario_text.h"
#include "tool/text/text_table.h"

namespace gponflow::omci {

namespace {

std::string number_of(size_t number, std::string_view name)
{
    return std::to_string(number) + " " + std::string(name);
}

// "2 create, 1 set", without the zeros.
std::string request_text(const request_counts& counts)
{
    std::string text;
    const auto add = [&text](size_t number, std::string_view name) {
        if (number != 0)
            text += (text.empty() ? "" : ", ") + number_of(number, name);
    };
    add(counts.creates, "create");
    add(counts.sets, "set");
    add(counts.deletes, "delete");
    return text.empty() ? "none" : text;
}

std::string remark_lines(std::string_view title, const std::vector<remark>& remarks)
{
    if (remarks.empty())
        return {};
    std::string text = comment_line(title);
    for (const remark& item : remarks)
        text += comment_line("  frame " + std::to_string(item.frame) + ": " + item.text);
    return text;
}

std::string unmirrored_lines(const conversion_summary& counts)
{
    if (counts.unmirrored.empty())
        return comment_line("Classes that the module does not mirror: none");
    std::string text = comment_line("Classes that the module does not mirror, left out:");
    for (const auto& [id, requests] : counts.unmirrored)
        text += comment_line("  " + std::to_string(gpon::class_number(id)) + " " + class_title(id) +
                             ": " + request_text(requests));
    return text;
}

std::string upload_comment(const upload_summary& uploads)
{
    std::string text;
    if (uploads.missing != 0)
        text += comment_line("Parts of the MIB upload that were not captured: " +
                             std::to_string(uploads.missing));
    for (const auto& [id, count] : uploads.left_to_the_module)
        text += comment_line("Uploaded, left to the module, which creates it for pointers: " +
                             std::to_string(gpon::class_number(id)) + " " + class_title(id) + ": " +
                             counted(count, "instance"));
    for (const auto& [id, count] : uploads.unmirrored)
        text +=
            comment_line("Uploaded, not mirrored: " + std::to_string(gpon::class_number(id)) + " " +
                         class_title(id) + ": " + counted(count.instances.size(), "instance") +
                         ", " + counted(count.attributes, "attribute"));
    return text;
}

std::string other_type_lines(const conversion_summary& counts)
{
    std::string text;
    for (const auto& [type, number] : counts.other_types)
        text += (text.empty() ? "" : ", ") + number_of(number, type_name(type));
    return text.empty() ? text : comment_line("Other requests: " + text);
}

std::vector<remark> unpaired_remarks(const pairing& pairs)
{
    std::vector<remark> remarks;
    for (const numbered_message& item : pairs.unpaired_responses)
        remarks.push_back({item.frame, type_name(item.msg.type) + " of " +
                                           class_title(item.msg.class_id) + " " +
                                           hex_text(item.msg.instance, 4) + ", transaction " +
                                           hex_text(item.msg.transaction, 4)});
    return remarks;
}

std::string count_line(size_t number, std::string_view name)
{
    return number == 0 ? std::string{} : comment_line(number_of(number, name));
}

} // namespace

std::string closing_comment(const conversion_summary& counts, const capture& cap,
                            const pairing& pairs)
{
    std::string text = comment_line("Frames: " + std::to_string(cap.frames) +
                                    ", requests: " + std::to_string(pairs.exchanges.size()) +
                                    ", commands above: " + request_text(counts.written) +
                                    ", MIB resets: " + std::to_string(counts.resets));
    text += unmirrored_lines(counts);
    text += upload_comment(counts.uploads);
    text += other_type_lines(counts);
    text += count_line(pairs.notifications, "notifications of the ONU");
    text += count_line(counts.extended, "requests of the extended message set");
    text += count_line(counts.repeats, "repeated requests, applied once");
    text += count_line(counts.without_response, "commands without a captured response");
    text += count_line(cap.other_frames, "frames without OMCI");
    text += count_line(cap.skipped_frames, "messages of other ONUs");
    text += remark_lines("Refused by the ONU, skipped:", counts.refused);
    text += remark_lines("Responses without a request:", unpaired_remarks(pairs));
    text += remark_lines("Damaged messages, skipped:", cap.damaged);
    text += remark_lines("Messages whose attributes cannot be read, skipped:", counts.unreadable);
    if (!cap.cut_short.empty())
        text += comment_line("The capture ends early: " + cap.cut_short);
    return text;
}

} // namespace gponflow::omci
