// SPDX-License-Identifier: GPL-2.0-only
/* Compiled for size: its speed matters little. */
/*
 * The character device. Registration reserves the numbers at once, so the core detects a conflict.
 * User space can open the device only after the whole load has succeeded: the kernel frees a module
 * whose load failed even if its device is open.
 *
 * There is no class and no udev node. The installation creates the node for root only
 * ("mknod -m 0600 /dev/gpon_flow c 184 0"), because every opener can reconfigure the ONU.
 */
#include <linux/cdev.h>
#include <linux/compat.h>
#include <linux/err.h>
#include <linux/fs.h>
#include <linux/module.h>
#include <linux/printk.h>

#include "glue.h"

static const struct gpon_file_operations *core_operations;
static struct cdev *device;
static dev_t first_device;
static unsigned int device_count;

static int chrdev_open(struct inode *inode, struct file *file)
{
	return core_operations->open(file);
}

static long chrdev_ioctl(struct file *file, unsigned int command, unsigned long argument)
{
	return core_operations->unlocked_ioctl(file, command, argument);
}

#ifdef CONFIG_COMPAT
static long chrdev_compat_ioctl(struct file *file, unsigned int command, unsigned long argument)
{
	unsigned long address = (unsigned long)compat_ptr(argument);

	return core_operations->compat_ioctl(file, command, address);
}
#endif

static const struct file_operations chrdev_operations = {
	.owner = THIS_MODULE,
	.open = chrdev_open,
	.unlocked_ioctl = chrdev_ioctl,
#ifdef CONFIG_COMPAT
	.compat_ioctl = chrdev_compat_ioctl,
#endif
};

int gpon_os___register_chrdev(unsigned int major, unsigned int first_minor, unsigned int minors,
			      const char *name, const struct gpon_file_operations *operations)
{
	int ret;

	if (device)
		return -EBUSY;
	ret = register_chrdev_region(MKDEV(major, first_minor), minors, name);
	if (ret)
		return ret;
	device = cdev_alloc();
	if (!device) {
		unregister_chrdev_region(MKDEV(major, first_minor), minors);
		return -ENOMEM;
	}
	device->owner = THIS_MODULE;
	device->ops = &chrdev_operations;
	first_device = MKDEV(major, first_minor);
	device_count = minors;
	core_operations = operations;
	return 0;
}

void gpon_glue_open_chrdev(void)
{
	if (!device || !cdev_add(device, first_device, device_count))
		return;
	/* The module stays loaded without its device, as when the numbers are taken. Operators search
	 * for the core's message, so it is printed here too. */
	gpon_os_printk("ERROR!gpon_flow_ioctl_init,create chrdev gpon_flow fail\n");
	gpon_glue_drop_chrdev();
}

void gpon_glue_drop_chrdev(void)
{
	if (!device)
		return;
	cdev_del(device);
	device = NULL;
	unregister_chrdev_region(first_device, device_count);
}

/* Releases the numbers only if this module reserved them. If another driver owns them, the core
 * still calls this function at unload. */
void gpon_os___unregister_chrdev(unsigned int major, unsigned int first_minor,
				 unsigned int minors, const char *name)
{
	if (device && first_device == MKDEV(major, first_minor) && device_count == minors)
		gpon_glue_drop_chrdev();
}
