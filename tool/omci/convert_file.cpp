// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/convert_file.h"

#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <utility>

#include "tool/omci/capture.h"
#include "tool/omci/convert.h"
#include "tool/text/text_table.h"

namespace gponflow::omci {

namespace {

constexpr int status_done = 0;
constexpr int status_incomplete = 1;
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

void print_remarks(std::ostream& err, const std::string& path, std::string_view name,
                   const std::vector<remark>& remarks)
{
    for (const remark& item : remarks)
        err << path << ": warning: frame " << item.frame << ": " << name << item.text << '\n';
}

std::optional<mac_address> address_of(const std::string& onu)
{
    const std::optional<mac_address> address = parse_mac(onu);
    if (!onu.empty() && !address)
        throw std::runtime_error(onu + ": not a MAC address (00:11:22:33:44:55)");
    return address;
}

loaded_capture converted(const std::string& path, capture_result input)
{
    if (!input.cap)
        throw std::runtime_error(path + ": " + input.error +
                                 (input.choose_onu ? " with --onu" : ""));
    conversion result = convert(*input.cap, title_of(path));
    return {path, std::move(*input.cap), std::move(result)};
}

// Without a command there is no line to look at.
bool is_empty(const conversion_summary& counts)
{
    const request_counts& written = counts.written;
    const size_t commands = written.creates + written.sets + written.deletes + counts.resets;
    return commands + counts.uploads.written == 0;
}

} // namespace

loaded_capture load_capture(const std::string& path, const std::string& onu)
{
    return converted(path, read_capture(path, address_of(onu)));
}

loaded_capture load_capture(const std::string& path, std::span<const uint8_t> file,
                            const std::string& onu)
{
    return converted(path, read_capture_bytes(file, address_of(onu)));
}

void print_warnings(const loaded_capture& loaded, std::ostream& err)
{
    const std::string& path = loaded.path;
    print_remarks(err, path, "skipped: ", loaded.cap.damaged);
    print_remarks(err, path, "skipped: ", loaded.result.counts.unreadable);
    print_remarks(err, path, "refused by the ONU: ", loaded.result.counts.refused);
    if (is_empty(loaded.result.counts))
        err << path
            << ": warning: no command of the OLT and no instance of it in a MIB upload: the "
               "line is empty\n";
    if (const size_t missing = loaded.result.counts.uploads.missing; missing != 0)
        err << path << ": warning: " << missing << (missing == 1 ? " part" : " parts")
            << " of the MIB upload not captured: instances of the line may be missing\n";
    if (!loaded.cap.cut_short.empty())
        err << path << ": warning: ends early, " << loaded.cap.cut_short << '\n';
    if (const size_t silent = loaded.result.counts.without_response; silent != 0)
        err << path << ": warning: " << counted(silent, "command") << " of the OLT "
            << (silent == 1 ? "has" : "have")
            << " no response in the capture: taken as carried out\n";
}

int status_of(const loaded_capture& loaded)
{
    const bool whole = loaded.cap.cut_short.empty() && !is_empty(loaded.result.counts) &&
                       loaded.result.counts.uploads.missing == 0;
    return whole ? status_done : status_incomplete;
}

int convert_file(const conversion_files& options, std::ostream& out, std::ostream& err)
{
    const std::string& path = options.capture_path;
    try {
        if (same_file(path, options.scenario_path))
            throw std::runtime_error(path + ": is both the capture and the scenario");
        const loaded_capture loaded = load_capture(path, options.onu);
        print_warnings(loaded, err);
        if (write_scenario(options.scenario_path, loaded.result.scenario, out))
            return status_of(loaded);
        err << options.scenario_path << ": cannot be written\n";
        return options.scenario_path == standard_stream ? status_unwritable : status_failed;
    } catch (const std::runtime_error& why) {
        err << why.what() << '\n';
        return status_failed;
    }
}

} // namespace gponflow::omci
