// SPDX-License-Identifier: GPL-2.0-only
#include <algorithm>
#include <cerrno>
#include <memory>
#include <vector>

#include "platform/host/events.h"
#include "platform/host/faults.h"
#include "platform/host/state.h"

#include "platform/api/kernel_api.h"

struct proc_dir_entry {
    std::string name;
    bool directory = false;
    std::vector<std::unique_ptr<proc_dir_entry>> entries = {};
    int (*read)() = nullptr;
    long (*write)(file*, const char*, unsigned long) = nullptr;
};

namespace gpon::host {
namespace {

proc_dir_entry root = {.name = "root", .directory = true};

proc_dir_entry& folder_of(proc_dir_entry* parent)
{
    return parent ? *parent : root;
}

auto find(proc_dir_entry& folder, std::string_view name)
{
    return std::ranges::find(folder.entries, name,
                             [](const auto& entry) -> std::string_view { return entry->name; });
}

// Returns null if the name is taken.
proc_dir_entry* add(proc_dir_entry& folder, const char* name, bool directory)
{
    if (find(folder, name) != folder.entries.end())
        return nullptr;
    folder.entries.push_back(
        std::make_unique<proc_dir_entry>(proc_dir_entry{.name = name, .directory = directory}));
    return folder.entries.back().get();
}

// The file that operators write to; null if it does not exist.
proc_dir_entry* debug_entry()
{
    const auto folder = find(root, "gpon_flow");
    if (folder == root.entries.end())
        return nullptr;
    const auto entry = find(**folder, "debug");
    return entry == (*folder)->entries.end() ? nullptr : entry->get();
}

const char* outcome(const proc_dir_entry* entry)
{
    return entry ? "ok" : "fail";
}

} // namespace

std::optional<long> proc_write(std::string_view text)
{
    const proc_dir_entry* entry = debug_entry();
    if (!entry)
        return std::nullopt;
    file opened;
    return entry->write ? entry->write(&opened, text.data(), text.size()) : -EIO;
}

std::optional<long> proc_read()
{
    const proc_dir_entry* entry = debug_entry();
    if (!entry)
        return std::nullopt;
    return entry->read ? entry->read() : -EIO;
}

void drop_proc_entries()
{
    root.entries.clear();
}

} // namespace gpon::host

using namespace gpon::host;

proc_dir_entry* proc_mkdir(const char* name, proc_dir_entry* parent)
{
    const bool fails = take_fault(fault::proc_dir);
    proc_dir_entry* entry = fails ? nullptr : add(folder_of(parent), name, true);
    record_call("proc_mkdir %s = %s", name, outcome(entry));
    return entry;
}

proc_dir_entry* create_proc_entry(const char* name, unsigned int mode, proc_dir_entry* parent)
{
    const bool fails = take_fault(fault::proc_entry);
    proc_dir_entry* entry = fails ? nullptr : add(folder_of(parent), name, false);
    record_call("create_proc_entry %s mode=%o parent=%s = %s", name, mode,
                folder_of(parent).name.c_str(), outcome(entry));
    return entry;
}

void set_proc_handlers(proc_dir_entry* entry, int (*read)(void),
                       long (*write)(file* file, const char* user_text, unsigned long count))
{
    entry->read = read;
    entry->write = write;
}

void remove_proc_entry(const char* name, proc_dir_entry* parent)
{
    proc_dir_entry& folder = folder_of(parent);
    record_call("remove_proc_entry %s parent=%s", name, folder.name.c_str());
    const auto entry = find(folder, name);
    if (entry != folder.entries.end())
        folder.entries.erase(entry);
}
