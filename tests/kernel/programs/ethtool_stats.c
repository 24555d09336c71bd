// SPDX-License-Identifier: GPL-2.0-only
/* "ethtool_stats DEVICE" prints the device's own counters, "DEVICE NAME VALUE" a line. */
#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

static void ask(const char *device, void *request)
{
	struct ifreq ifr = { .ifr_data = request };
	int any = socket(AF_INET, SOCK_DGRAM, 0);

	strncpy(ifr.ifr_name, device, IFNAMSIZ - 1);
	if (any < 0 || ioctl(any, SIOCETHTOOL, &ifr)) {
		perror(device);
		exit(1);
	}
}

static unsigned int counters_of(const char *device)
{
	struct ethtool_drvinfo info = { .cmd = ETHTOOL_GDRVINFO };

	ask(device, &info);
	return info.n_stats;
}

int main(int argc, char **argv)
{
	struct ethtool_gstrings *names;
	struct ethtool_stats *values;
	unsigned int count, i;

	if (argc != 2)
		return 2;
	count = counters_of(argv[1]);
	names = calloc(1, sizeof(*names) + count * ETH_GSTRING_LEN);
	values = calloc(1, sizeof(*values) + count * sizeof(values->data[0]));
	if (!names || !values)
		return 1;
	*names = (struct ethtool_gstrings){ ETHTOOL_GSTRINGS, ETH_SS_STATS, count };
	*values = (struct ethtool_stats){ ETHTOOL_GSTATS, count };
	ask(argv[1], names);
	ask(argv[1], values);
	for (i = 0; i < count; i++)
		printf("%s %s %llu\n", argv[1], (char *)names->data + i * ETH_GSTRING_LEN,
		       (unsigned long long)values->data[i]);
	return 0;
}
