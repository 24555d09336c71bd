// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/summary_output.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <ostream>

#include <nlohmann/json.hpp>

#include "tool/model/class_records.h"
#include "tool/omci/statistics.h"
#include "tool/text/text_table.h"

namespace gponflow::omci {

namespace {

std::string milliseconds(uint64_t nanoseconds)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%.3f ms", static_cast<double>(nanoseconds) / 1e6);
    return text;
}

void print_remarks(const char* title, const std::vector<remark>& remarks, std::ostream& out)
{
    for (const remark& one : remarks)
        out << title << "frame " << one.frame << ": " << one.text << '\n';
}

void print_responses(const response_statistics& responses, std::ostream& out)
{
    out << "requests        " << responses.requests << ", of these " << responses.answered
        << " answered, " << responses.repeated.size() << " repeated, "
        << responses.unanswered.size() << " unanswered";
    if (responses.unrequested != 0)
        out << ", " << responses.unrequested << " that ask for no response";
    out << '\n';
    if (responses.median)
        out << "response time   median " << milliseconds(*responses.median) << ", longest "
            << milliseconds(*responses.longest) << " (frame " << responses.slowest.frame << ": "
            << responses.slowest.text << ")\n";
    print_remarks("repeated        ", responses.repeated, out);
    print_remarks("unanswered      ", responses.unanswered, out);
}

void print_onu(const onu_facts& onu, std::ostream& out)
{
    const std::pair<const char*, std::string> facts[] = {{"serial number", onu.serial},
                                                         {"equipment", onu.equipment},
                                                         {"hardware version", onu.version},
                                                         {"firmware", onu.firmware()}};
    std::string text;
    for (const auto& [name, value] : facts)
        if (!value.empty())
            text += (text.empty() ? "" : ", ") + std::string(name) + " " + value;
    if (!text.empty())
        out << "\nreported        " << text;
}

// Seconds are enough: the times distinguish captures, not messages.
std::string utc(uint64_t nanoseconds)
{
    const auto seconds = static_cast<time_t>(nanoseconds / 1000000000);
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> text;
    const size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return {text.data(), length};
}

json remarks_json(const std::vector<remark>& remarks)
{
    json all = json::array();
    for (const remark& one : remarks)
        all.push_back({{"frame", one.frame}, {"text", one.text}});
    return all;
}

json counts_json(const request_counts& counts)
{
    return {{"creates", counts.creates}, {"sets", counts.sets}, {"deletes", counts.deletes}};
}

json uploads_json(const upload_summary& uploads)
{
    json classes = json::array();
    for (const auto& [id, count] : uploads.unmirrored)
        classes.push_back({{"class_id", gpon::class_number(id)},
                           {"title", class_title(id)},
                           {"instances", count.instances.size()},
                           {"attributes", count.attributes}});
    return {{"parts", uploads.parts},
            {"missing_parts", uploads.missing},
            {"not_mirrored", std::move(classes)}};
}

json responses_json(const response_statistics& responses)
{
    json result = {{"requests", responses.requests},
                   {"answered", responses.answered},
                   {"repeated", remarks_json(responses.repeated)},
                   {"unanswered", remarks_json(responses.unanswered)}};
    if (responses.median) {
        result["median_ns"] = *responses.median;
        result["longest_ns"] = *responses.longest;
        result["slowest_frame"] = responses.slowest.frame;
    }
    return result;
}

} // namespace

void print_summary(const capture& cap, const conversion& result, const std::string& title,
                   std::ostream& out)
{
    const request_counts& written = result.counts.written;
    out << title << ": " << counted(cap.frames, "frame");
    if (!cap.onus.empty())
        out << ", ONU " << to_text(cap.onus.front());
    print_onu(result.counts.onu, out);
    out << "\ncommands        " << written.creates << " create, " << written.sets << " set, "
        << written.deletes << " delete, " << result.counts.resets << " MIB reset\n";
    if (result.counts.uploads.parts != 0)
        out << "MIB upload      " << counted(result.counts.uploads.parts, "part") << " captured, "
            << result.counts.uploads.missing << " missing\n";
    print_responses(statistics_of(pair_messages(cap.messages)), out);
    print_remarks("refused         ", result.counts.refused, out);
    print_remarks("damaged         ", cap.damaged, out);
    for (const auto& [id, count] : result.counts.uploads.unmirrored)
        out << "not mirrored    " << gpon::class_number(id) << " " << class_title(id) << ": "
            << counted(count.instances.size(), "instance") << ", "
            << counted(count.attributes, "attribute") << '\n';
}

json origin_json(const capture& cap, const conversion& result)
{
    json origin = to_json(result.counts.onu);
    if (!cap.onus.empty())
        origin["address"] = to_text(cap.onus.front());
    // Captures without times have the time 0.
    if (!cap.messages.empty() && cap.messages.front().time != 0) {
        origin["from"] = utc(cap.messages.front().time);
        origin["to"] = utc(cap.messages.back().time);
    }
    return origin;
}

json summary_json(const capture& cap, const conversion& result, const std::string& title)
{
    json whole = json_document("omci");
    whole["capture"] = title;
    whole["frames"] = cap.frames;
    if (!cap.onus.empty())
        whole["onu"] = to_text(cap.onus.front());
    whole["origin"] = origin_json(cap, result);
    whole["ends_early"] = !cap.cut_short.empty();
    whole["commands"] = counts_json(result.counts.written);
    whole["mib_resets"] = result.counts.resets;
    whole["upload"] = uploads_json(result.counts.uploads);
    whole["responses"] = responses_json(statistics_of(pair_messages(cap.messages)));
    whole["refused"] = remarks_json(result.counts.refused);
    whole["damaged"] = remarks_json(cap.damaged);
    whole["unreadable"] = remarks_json(result.counts.unreadable);
    whole["scenario"] = result.scenario;
    return whole;
}

} // namespace gponflow::omci
