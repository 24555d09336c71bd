// SPDX-License-Identifier: GPL-2.0-only
/* /proc/gpon_softonu: the configuration, readable and writable for root only. */
#include <linux/proc_fs.h>
#include <linux/slab.h>
#include <linux/uaccess.h>

#include "softonu.h"

#define PROC_DIRECTORY "gpon_softonu"
#define WRITE_BYTES_MAX 4096

static int gem_line(char *line)
{
	return softonu_map_command(SOFTONU_MAP_GEM, line);
}

static int queue_line(char *line)
{
	return softonu_map_command(SOFTONU_MAP_QUEUE, line);
}

static int hooks_line(char *line)
{
	if (!strcmp(line, "default on"))
		return softonu_default_hook(true);
	if (!strcmp(line, "default off"))
		return softonu_default_hook(false);
	if (!strcmp(line, "engine on"))
		softonu_switch_engine(true);
	else if (!strcmp(line, "engine off"))
		softonu_switch_engine(false);
	else
		return -EINVAL;
	return 0;
}

static int report_line(char *line)
{
	bool on;

	if (kstrtobool(line, &on))
		return -EINVAL;
	softonu_set_report(on);
	return 0;
}

static int show_gem(struct seq_file *out, void *unused)
{
	softonu_show_map(SOFTONU_MAP_GEM, out);
	return 0;
}

static int show_queue(struct seq_file *out, void *unused)
{
	softonu_show_map(SOFTONU_MAP_QUEUE, out);
	return 0;
}

static int show_hooks(struct seq_file *out, void *unused)
{
	softonu_show_hooks(out);
	return 0;
}

static int show_report(struct seq_file *out, void *unused)
{
	seq_printf(out, "%d\n", softonu_report());
	return 0;
}

static int show_counters(struct seq_file *out, void *unused)
{
	softonu_show_counters(out);
	return 0;
}

static int for_each_line(char *text, int (*take)(char *line))
{
	char *line;
	int ret = 0;

	while (!ret && (line = strsep(&text, "\n")) != NULL)
		if (*line)
			ret = take(line);
	return ret;
}

/* Commands, one per line; those before the first invalid one take effect. */
static ssize_t write_lines(const char __user *from, size_t bytes, int (*take)(char *line))
{
	char *text;
	int ret;

	if (bytes > WRITE_BYTES_MAX)
		return -E2BIG;
	text = memdup_user_nul(from, bytes);
	if (IS_ERR(text))
		return PTR_ERR(text);
	ret = for_each_line(text, take);
	kfree(text);
	return ret ? ret : (ssize_t)bytes;
}

#define PROC_READER(name) \
	static int open_##name(struct inode *inode, struct file *file) \
	{ \
		return single_open(file, show_##name, NULL); \
	}
#define PROC_FILE(name) \
	PROC_READER(name) \
	static ssize_t write_##name(struct file *file, const char __user *from, size_t bytes, \
				    loff_t *position) \
	{ \
		return write_lines(from, bytes, name##_line); \
	} \
	GPON_PROC_SEQ_OPS(name##_ops, open_##name, write_##name)

PROC_FILE(gem);
PROC_FILE(queue);
PROC_FILE(hooks);
PROC_FILE(report);
PROC_READER(counters)
GPON_PROC_SEQ_OPS(counters_ops, open_counters, NULL);

int softonu_proc_create(void)
{
	struct proc_dir_entry *directory = proc_mkdir(PROC_DIRECTORY, NULL);

	if (directory && proc_create("mapping", 0600, directory, &gem_ops) &&
	    proc_create("queue_mapping", 0600, directory, &queue_ops) &&
	    proc_create("hooks", 0600, directory, &hooks_ops) &&
	    proc_create("report", 0600, directory, &report_ops) &&
	    proc_create("counters", 0400, directory, &counters_ops))
		return 0;
	if (directory)
		remove_proc_subtree(PROC_DIRECTORY, NULL);
	return -ENOMEM;
}

void softonu_proc_remove(void)
{
	remove_proc_subtree(PROC_DIRECTORY, NULL);
}
