// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "dump.h"

#include "links.h"
#include "list.h"
#include "registry.h"

namespace {

GPON_MODULE_DATA constinit char header_line[GPON_DUMP_BUFFER] = {};
GPON_MODULE_DATA constinit char value_line[GPON_DUMP_BUFFER] = {};
GPON_MODULE_DATA constinit char extra_text[GPON_DUMP_BUFFER] = {};

constexpr i32 MIN_WIDTH = 10;
constexpr i32 SEPARATOR = 3;
constexpr i32 ID_PRECISION = 4;

// A text buffer that is filled from left to right and cut at its size.
struct text_row {
    char* text;
    i32 at = 0;

    template <typename... Args> void put(i32 advance, const char* format, Args... args)
    {
        if (at < GPON_DUMP_BUFFER)
            snprintf(text + at, static_cast<size_t>(GPON_DUMP_BUFFER - at), format, args...);
        at += advance;
    }
};

bool is_list(const gpon_me_related_info& row)
{
    return row.related_inst_num > 1;
}

// Appends the titles of the single links; returns the width of the whole table.
i32 finish_header(const gpon_me_related_info* row, i32 start)
{
    text_row header{header_line, start};
    for (; row && row->related_class_id != me_class::none; ++row)
        if (!is_list(*row)) {
            const i32 width = gpon::column_width(row->name);
            header.put(width + SEPARATOR, "%*s | ", width, row->name);
        }
    return header.at;
}

void print_dashes(i32 width)
{
    if (width < 1)
        return;
    const size_t count =
        static_cast<size_t>(width < GPON_DUMP_BUFFER ? width : GPON_DUMP_BUFFER - 1);
    __builtin_memset(header_line, '-', count);
    header_line[count] = '\0';
    pr_cont("%s\n", header_line);
}

void put_list(text_row& lists, const gpon_me_related_info& row) GPON_READS_LISTS
{
    lists.put(gpon::text_length(row.name) + SEPARATOR, "%s = ", row.name);
    for (i32 i = 0; i < row.related_inst_num; ++i) {
        const gpon_me_related_id entry = gpon::load_related_id(row.related_ids[i]);
        if (entry.instExist == 0) {
            lists.put(1, "%s", "\n");
            return;
        }
        lists.put(7, "%#.*x ", ID_PRECISION, static_cast<u32>(entry.instId));
    }
}

void put_single(text_row& values, const gpon_me_related_info& row) GPON_READS_LISTS
{
    const i32 width = gpon::column_width(row.name);
    const gpon_me_related_id entry = gpon::load_related_id(row.related_ids[0]);
    if (entry.instExist == 1)
        values.put(width + SEPARATOR, "%#*.*x | ", width, ID_PRECISION,
                   static_cast<u32>(entry.instId));
    else
        values.put(width + SEPARATOR, "%*s | ", width, "N/A");
}

void print_values(const gpon_me_related_info* row, i32 start) GPON_READS_LISTS
{
    char list_text[GPON_DUMP_BUFFER] = {};
    text_row lists{list_text};
    text_row values{value_line, start};
    if (!row)
        return;
    for (; row->related_class_id != me_class::none; ++row)
        if (is_list(*row))
            put_list(lists, *row);
        else
            put_single(values, *row);
    printk("%s\n", value_line);
    if (list_text[0] != '\0')
        printk("%s", list_text);
}

void clear_lines()
{
    gpon::clear_bytes(header_line, sizeof(header_line));
    gpon::clear_bytes(value_line, sizeof(value_line));
    gpon::clear_bytes(extra_text, sizeof(extra_text));
}

// State of one class's table between its instances.
struct table {
    const gpon_me_list_info& info;
    i32 start = 0; // where the related columns begin
    i32 width = 0;
    bool has_header = false;

    void print(const gpon_me_inst& inst) GPON_READS_LISTS
    {
        clear_lines();
        if (info.dump_raw)
            start = info.dump_raw(info, inst.raw, value_line, header_line, extra_text,
                                  GPON_DUMP_BUFFER);
        if (!has_header) {
            has_header = true;
            width = finish_header(info.related_info, start);
            printk("%s\n", header_line);
            print_dashes(width);
        }
        print_values(inst.related, start);
        // A full list ends without a line feed; the following text continues its line.
        if (extra_text[0] != '\0')
            pr_cont("%s", extra_text);
        print_dashes(width);
    }
};

} // namespace

i32 gpon::column_width(const char* title)
{
    const i32 length = text_length(title);
    return length < MIN_WIDTH ? MIN_WIDTH : length;
}

void gpon_flow_general_dump_inst(const gpon_me_entry* entry, u16 inst_id, u32 all)
{
    if (!gpon::has_list(entry))
        return;
    printk("dump %s(classId = %d):\n", entry->name, gpon::class_number(entry->class_id));
    table dump{*entry->list_info};
    gpon::for_each_inst(entry->list_info->head, [&](const gpon_me_inst* inst) GPON_READS_LISTS {
        if (all == 1 || inst->inst_id == inst_id)
            dump.print(*inst);
    });
}

i32 gpon_flow_dump_all_me_inst(void)
{
    for (u16 row = 1; row < GPON_ME_ROWS; ++row)
        gpon_flow_general_dump_inst(&me_table[row], 0, 1);
    return 0;
}
