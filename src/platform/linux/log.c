// SPDX-License-Identifier: GPL-2.0-only
/* The kernel log. */
#include <linux/compiler.h>
#include <linux/kernel.h>
#include <linux/printk.h>

#include "glue.h"

int gpon_os_printk(const char *text, ...)
{
	va_list args;
	int length;

	va_start(args, text);
	length = vprintk(text, args);
	va_end(args);
	return length;
}

/* The continuation mark precedes the text, which is known at run time only. The kernel accepts a
 * second format with its arguments as one argument (%pV). On some machines a va_list parameter
 * decays to a pointer; its copy keeps the type. */
int gpon_os_vpr_cont(const char *text, va_list args)
{
	struct va_format line;
	va_list copy;
	int length;

	va_copy(copy, args);
	line.fmt = text;
	line.va = &copy;
	length = printk(KERN_CONT "%pV", &line);
	va_end(copy);
	return length;
}

int gpon_os_pr_cont(const char *text, ...)
{
	va_list args;
	int length;

	va_start(args, text);
	length = gpon_os_vpr_cont(text, args);
	va_end(args);
	return length;
}

int gpon_os_snprintf(char *buffer, size_t bytes, const char *text, ...)
{
	va_list args;
	int length;

	va_start(args, text);
	length = vsnprintf(buffer, bytes, text, args);
	va_end(args);
	return length;
}

void gpon_os_dump_stack(void)
{
	dump_stack();
}

/* Called through a pointer that the compiler cannot follow. Otherwise objtool detects that this
 * function never returns and reports the code after its calls in the core, where the compiler does
 * not know this. */
void gpon_os_panic(const char *text, ...)
{
	void (*stop)(const char *text, ...) = panic;
	struct va_format line;
	va_list args;

	OPTIMIZER_HIDE_VAR(stop);
	va_start(args, text);
	line.fmt = text;
	line.va = &args;
	stop("%pV", &line);
	va_end(args);
}
