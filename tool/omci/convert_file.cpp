// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/convert_file.h"

#include <filesystem>
#include <fstream>
#include <optional>

#include "tool/omci/capture.h"
#include "tool/omci/convert.h"

namespace gponflow::omci {

namespace {

constexpr int status_done = 0;
constexpr int status_cut_short = 1;
constexpr int status_failed = 2;
constexpr int status_unwritable = 3;
constexpr std::string_view standard_stream = "-";

std::string title_of(const std::string& path)
{
    return path == standard_stream ? "standard input"
                                   : std::filesystem::path(path).filename().string();
}

bool same_file(const std::string& left, const std::string& right)
{
    std::error_code unknown; // a file that does not exist is a different file
    return std::filesystem::equivalent(left, right, unknown);
}

bool write_scenario(const std::string& path, const std::string& text, std::ostream& out)
{
    if (path == standard_stream)
        return static_cast<bool>(out << text << std::flush);
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    return static_cast<bool>(file);
}

void print_remarks(std::ostream& err, const std::string& path, std::string_view what,
                   const std::vector<remark>& remarks)
{
    for (const remark& item : remarks)
        err << path << ": frame " << item.frame << ": " << what << item.text << '\n';
}

int fail(std::ostream& err, const std::string& path, std::string_view why)
{
    err << path << ": " << why << '\n';
    return status_failed;
}

} // namespace

int convert_file(const conversion_files& options, std::ostream& out, std::ostream& err)
{
    const std::string& path = options.capture_path;
    const std::optional<mac_address> onu = parse_mac(options.onu);
    if (!options.onu.empty() && !onu)
        return fail(err, options.onu, "not a MAC address (00:11:22:33:44:55)");
    if (same_file(path, options.scenario_path))
        return fail(err, path, "is both the capture and the scenario");
    const capture_result input = read_capture(path, onu);
    if (!input.cap)
        return fail(err, path, input.error + (input.choose_onu ? " with --onu" : ""));
    const conversion result = convert(*input.cap, title_of(path));
    print_remarks(err, path, "skipped: ", input.cap->damaged);
    print_remarks(err, path, "skipped: ", result.counts.unreadable);
    print_remarks(err, path, "refused by the ONU: ", result.counts.refused);
    if (!write_scenario(options.scenario_path, result.scenario, out)) {
        fail(err, options.scenario_path, "cannot be written");
        return options.scenario_path == standard_stream ? status_unwritable : status_failed;
    }
    if (input.cap->cut_short.empty())
        return status_done;
    err << path << ": ends early, " << input.cap->cut_short << '\n';
    return status_cut_short;
}

} // namespace gponflow::omci
