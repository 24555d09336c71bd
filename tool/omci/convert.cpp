// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/convert.h"

#include <utility>

#include "tool/model/class_records.h"
#include "tool/model/omci_attributes.h"
#include "tool/omci/defaults.h"
#include "tool/omci/learn.h"
#include "tool/omci/mib.h"
#include "tool/omci/outcome.h"
#include "tool/omci/pairing.h"
#include "tool/omci/scenario_text.h"
#include "tool/omci/scheduling_facts.h"
#include "tool/omci/tagging_text.h"

namespace gponflow::omci {

namespace {

size_t& count_of(request_counts& counts, uint8_t type)
{
    return type == create ? counts.creates : type == set ? counts.sets : counts.deletes;
}

std::string request_text(const message& msg)
{
    return type_name(msg.type) + " " + class_title(msg.class_id) + " " + hex_text(msg.instance, 4);
}

// One request during its conversion.
struct command {
    const exchange& item;
    const attribute_class& cls;
    const class_record& fields;
    outcome result;
    uint16_t mask = 0;
    value_list list;
};

class converter {
public:
    void take(const exchange& item);
    void finish() { write_upload(); }

    std::string body;
    conversion_summary counts;
    default_configuration defaults;
    scheduling queues;

private:
    void take_configuration(const exchange& item);
    void take_reset(const exchange& item);
    void take_reboot(const exchange& item);
    void take_delete(command& cmd);
    void take_values(command& cmd);
    void refuse(const exchange& item, const std::string& why);
    void introduce(const exchange& item, const outcome& result);
    void apply(command& cmd);
    void write_tagging(const command& cmd, record& rec);

    void take_upload(const exchange& item);
    void take_report(const exchange& item);
    void write_upload();

    record_store store;
    table_reader tables;
    upload_tracker uploaded;
    bool follows_upload = false; ///< instances of an upload are not written yet
    std::pair<size_t, size_t> upload_frames;
};

void converter::take(const exchange& item)
{
    const message& msg = item.request.msg;
    counts.repeats += item.repeats.size();
    counts.extended += msg.extended ? 1 : 0;
    switch (msg.type) {
    case create:
    case set:
    case delete_me:
        write_upload();
        return take_configuration(item);
    case mib_reset:
        return take_reset(item);
    case reboot:
        return take_reboot(item);
    default:
        ++counts.other_types[msg.type];
        take_upload(item);
        take_report(item);
    }
}

void converter::take_report(const exchange& item)
{
    const report_destination to{store, defaults, counts.uploads, counts.onu, queues, tables, item};
    const std::string lines = learn_from_response(to);
    if (!lines.empty())
        body += "\n" + report_comment(frames_text(item)) + lines;
}

// A capture that contains the bring-up has all instances of the OLT in its commands.
void converter::take_upload(const exchange& item)
{
    const message& msg = item.request.msg;
    if (msg.type == mib_upload) {
        std::optional<uint16_t> announced;
        if (item.response && item.response->msg.content.size() >= 2)
            announced = read_u16(item.response->msg.content, 0);
        uploaded.begin(announced);
        follows_upload = counts.resets == 0;
    } else if (msg.type == mib_upload_next && msg.content.size() >= 2 && item.response) {
        uploaded.part(read_u16(msg.content, 0), item.response->msg.content);
        follows_upload = follows_upload || counts.resets == 0;
        upload_frames.first = upload_frames.first == 0 ? item.request.frame : upload_frames.first;
        upload_frames.second = item.response->frame;
    }
}

void converter::write_upload()
{
    if (!std::exchange(follows_upload, false))
        return;
    counts.uploads.missing += uploaded.missing();
    const std::string lines = upload_lines(store, counts.uploads);
    if (lines.empty())
        return;
    body += "\n" +
            comment_line("frames " + std::to_string(upload_frames.first) + " to " +
                         std::to_string(upload_frames.second) +
                         ": instances that the ONU reported in a MIB upload") +
            lines;
}

void converter::take_configuration(const exchange& item)
{
    const message& msg = item.request.msg;
    outcome result = judge(item);
    if (!result.done)
        return refuse(item, result.why);
    const attribute_class* cls = find_attribute_class(msg.class_id);
    const class_record* fields = find_me_class(msg.class_id);
    if (cls == nullptr || fields == nullptr) {
        ++count_of(counts.unmirrored[msg.class_id], msg.type);
        return;
    }
    command cmd{item, *cls, *fields, std::move(result), 0, {}};
    if (msg.type == delete_me)
        take_delete(cmd);
    else
        take_values(cmd);
}

void converter::take_delete(command& cmd)
{
    const message& msg = cmd.item.request.msg;
    store.erase(msg.class_id, msg.instance);
    introduce(cmd.item, cmd.result);
    body += delete_line(cmd.fields, msg.instance) + "\n";
    ++counts.written.deletes;
}

// Splits the attributes by the mask of the request, then removes those that the ONU refused.
void converter::take_values(command& cmd)
{
    const message& msg = cmd.item.request.msg;
    std::span<const uint8_t> values = msg.content;
    cmd.mask = set_by_create_mask(cmd.cls);
    if (msg.type == set) {
        if (values.size() < 2) {
            counts.unreadable.push_back({cmd.item.request.frame, "a set without a mask"});
            return;
        }
        cmd.mask = read_u16(values, 0);
        values = values.subspan(2);
    }
    cmd.list = split_values(cmd.cls, cmd.mask, values);
    if (!cmd.list.fault.empty()) {
        counts.unreadable.push_back(
            {cmd.item.request.frame, request_text(msg) + ": " + cmd.list.fault});
        body += comment_line(frames_text(cmd.item) + ": " + request_text(msg) +
                             ", skipped: " + cmd.list.fault);
        return;
    }
    std::erase_if(cmd.list.values, [&cmd](const attribute_value& value) {
        return (attribute_bit(value.index) & cmd.result.refused_mask) != 0;
    });
    cmd.mask &= ~cmd.result.refused_mask;
    apply(cmd);
}

void converter::apply(command& cmd)
{
    const message& msg = cmd.item.request.msg;
    introduce(cmd.item, cmd.result);
    // Attributes that a create does not contain start at 0.
    if (msg.type == create)
        store.erase(msg.class_id, msg.instance);
    record& rec = store.at(cmd.fields, msg.instance);
    const std::string unmirrored = unmirrored_text(cmd.cls, cmd.list);
    if (!unmirrored.empty())
        body += comment_line("  not mirrored: " + unmirrored);
    if (cmd.list.unknown_mask != 0)
        body += comment_line("  attributes unknown, values not read: " +
                             hex_text(cmd.list.unknown_mask, 4));
    for (const attribute_value& value : cmd.list.values) {
        const std::string narrowed =
            write_attribute(rec, cmd.cls.attributes[value.index], value.bytes);
        if (!narrowed.empty())
            body += comment_line("  " + narrowed);
    }
    rec.commanded |= cmd.mask;
    body += me_line(type_name(msg.type), cmd.fields, cmd.cls, msg.instance, cmd.mask, rec) + "\n";
    write_tagging(cmd, rec);
    rec.written = true;
    learn_scheduling(queues, cmd.cls.id, msg.instance, cmd.list);
    ++count_of(counts.written, msg.type);
}

void converter::write_tagging(const command& cmd, record& rec)
{
    const message& msg = cmd.item.request.msg;
    table_start start = table_start::unchanged;
    if (msg.type == create) {
        start = table_start::with_default_rows;
        rec.table_begun = rec.table_known = true;
    } else if (has_tag_row(cmd.cls.id, cmd.list) && !std::exchange(rec.table_begun, true)) {
        start = table_start::with_unknown_rows;
    }
    const std::string reported = rec.written ? "" : std::exchange(rec.tagging, {});
    const std::string lines = tagging_lines(cmd.cls.id, msg.instance, start, cmd.list);
    body += reported;
    // The lines below a comment are those of its frames.
    if (!reported.empty() && !lines.empty())
        body += comment_line(frames_text(cmd.item) + ": " + request_text(msg));
    body += lines;
}

void converter::refuse(const exchange& item, const std::string& why)
{
    const std::string text = request_text(item.request.msg) + ": " + why;
    counts.refused.push_back({item.request.frame, text});
    body += comment_line(frames_text(item) + ": refused, " + text);
}

void converter::introduce(const exchange& item, const outcome& result)
{
    const bool silent = !item.response && item.request.msg.acknowledge_requested;
    counts.without_response += silent ? 1 : 0;
    const std::string note = result.note.empty() ? "" : "; " + result.note;
    body += "\n" + comment_line(frames_text(item) + ": " + request_text(item.request.msg) + note);
}

void converter::take_reset(const exchange& item)
{
    const outcome result = judge(item);
    if (!result.done)
        return refuse(item, result.why);
    store.clear();
    introduce(item, result);
    body += "clean\n";
    ++counts.resets;
}

// After a reboot the ONU starts with an empty module. The following requests of the OLT show
// whether the MIB survived.
void converter::take_reboot(const exchange& item)
{
    ++counts.other_types[reboot];
    if (!judge(item).done)
        return;
    body += "\n" + comment_line(frames_text(item) + ": reboot of the ONU");
}

std::string opening(const capture& cap, std::string_view title, const std::string& config)
{
    std::string onu = cap.onus.empty() ? "" : ", ONU " + to_text(cap.onus.front());
    std::string text =
        comment_line("OMCI bring-up from " + std::string(title) + ", " +
                     std::to_string(cap.frames) + " frames" + onu) +
        "#\n"
        "# Loads the module, turns the engine on and repeats the commands of the OLT that\n"
        "# the ONU carried out, in order. The comment above a command names the frames\n"
        "# of its request and response. A summary ends the file.\n\n"
        "load\n"
        "hook kind=switch param=1\n";
    if (!config.empty())
        text += "\n# Defaults that the ONU reported.\n" + config + "\n";
    return text;
}

} // namespace

conversion convert(const capture& cap, std::string_view title)
{
    const pairing pairs = pair_messages(cap.messages);
    converter work;
    for (const exchange& item : pairs.exchanges)
        work.take(item);
    work.finish();
    conversion result;
    result.scenario = opening(cap, title, work.defaults.line()) + work.body + "\n" +
                      closing_comment(work.counts, cap, pairs);
    result.counts = std::move(work.counts);
    result.queues = std::move(work.queues);
    return result;
}

} // namespace gponflow::omci
