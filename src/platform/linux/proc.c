// SPDX-License-Identifier: GPL-2.0-only
/* Compiled for size: its speed matters little. */
/*
 * Proc entries. The glue keeps its own list of entries. The core removes "debug" from the proc
 * root, where it does not exist, and then the directory that contains it. The kernel would report
 * the first as a bug, so the glue ignores it; the second removes the whole tree.
 *
 * The kernel counts the users of an entry while a handler runs, so a removal waits for handlers. A
 * file that stays open afterwards returns -EIO without a call into this module.
 *
 * The core requests mode 0, with which the kernel would make an entry that every user may read. Each
 * read prints a line, so any user could overwrite the kernel log: only root gets access.
 */
#include <linux/fs.h>
#include <linux/list.h>
#include <linux/module.h>
#include <linux/proc_fs.h>
#include <linux/slab.h>
#include <linux/string.h>

#include "compat.h"
#include "glue.h"

#define ROOT_ONLY 0600

struct proc_record {
	struct list_head link;
	const char *name;
	struct proc_dir_entry *entry;
	struct proc_dir_entry *parent;
	int (*read)(void);
	long (*write)(struct file *file, const char *user_text, unsigned long count);
};

/* Changed by load and unload only, newest first: a directory comes after its entries. */
static LIST_HEAD(proc_records);

static ssize_t proc_read(struct file *file, char __user *text, size_t count, loff_t *position)
{
	const struct proc_record *record = gpon_pde_data(file_inode(file));
	int (*read)(void) = READ_ONCE(record->read);

	return read ? read() : -ENXIO;
}

static ssize_t proc_write(struct file *file, const char __user *text, size_t count,
			  loff_t *position)
{
	const struct proc_record *record = gpon_pde_data(file_inode(file));
	long (*write)(struct file *, const char *, unsigned long) = READ_ONCE(record->write);

	return write ? write(file, (const char __force *)text, count) : -ENXIO;
}

GPON_PROC_OPS(proc_operations, proc_read, proc_write);

static struct proc_record *new_record(const char *name, struct proc_dir_entry *parent)
{
	struct proc_record *record = kzalloc(sizeof(*record), GFP_KERNEL);

	if (!record)
		return NULL;
	record->name = name;
	record->parent = parent;
	return record;
}

static struct proc_dir_entry *keep_record(struct proc_record *record,
					  struct proc_dir_entry *entry)
{
	if (!entry) {
		kfree(record);
		return NULL;
	}
	record->entry = entry;
	list_add(&record->link, &proc_records);
	return entry;
}

struct proc_dir_entry *gpon_os_proc_mkdir(const char *name, struct proc_dir_entry *parent)
{
	struct proc_record *record = new_record(name, parent);

	return record ? keep_record(record, proc_mkdir(name, parent)) : NULL;
}

struct proc_dir_entry *gpon_os_create_proc_entry(const char *name, unsigned int mode,
						 struct proc_dir_entry *parent)
{
	struct proc_record *record = new_record(name, parent);

	if (!record)
		return NULL;
	return keep_record(record, proc_create_data(name, mode ? mode : ROOT_ONLY, parent,
						    &proc_operations, record));
}

void gpon_os_set_proc_handlers(struct proc_dir_entry *entry, int (*read)(void),
			       long (*write)(struct file *file, const char *user_text,
					     unsigned long count))
{
	struct proc_record *record;

	list_for_each_entry(record, &proc_records, link) {
		if (record->entry == entry) {
			WRITE_ONCE(record->read, read);
			WRITE_ONCE(record->write, write);
			return;
		}
	}
}

static void forget_record(struct proc_record *record)
{
	list_del(&record->link);
	kfree(record);
}

/* A record is freed only after its entry is removed: a handler may read it until then. */
static void remove_record(struct proc_record *doomed)
{
	struct proc_dir_entry *entry = doomed->entry;
	struct proc_record *record, *next;

	remove_proc_subtree(doomed->name, doomed->parent);
	forget_record(doomed);
	list_for_each_entry_safe(record, next, &proc_records, link) {
		if (record->parent == entry)
			forget_record(record);
	}
}

void gpon_os_remove_proc_entry(const char *name, struct proc_dir_entry *parent)
{
	struct proc_record *record;

	list_for_each_entry(record, &proc_records, link) {
		if (record->parent == parent && strcmp(record->name, name) == 0) {
			remove_record(record);
			return;
		}
	}
}

void gpon_glue_drop_proc(void)
{
	while (!list_empty(&proc_records))
		remove_record(list_first_entry(&proc_records, struct proc_record, link));
}
