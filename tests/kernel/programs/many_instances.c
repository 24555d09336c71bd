// SPDX-License-Identifier: GPL-2.0-only
/* many_instances COUNT: creates instances of the GEM port CTP. */
#include "graph.h"

int main(int count, char **words)
{
	const unsigned int wanted = count > 1 ? (unsigned int)atoi(words[1]) : 1;
	const int device = open_or_exit("/dev/gpon_flow", O_RDWR);

	for (unsigned int id = 1; id <= wanted; id++) {
		const struct gpon_raw_gemctp raw = { .instID = (uint16_t)id, .portID = (uint16_t)id };
		const struct entity entity = ENTITY(268, raw);

		if (send_me(device, ZR_OMCI_MSG_TYPE_CREAT, &entity)) {
			perror("create");
			return 1;
		}
	}
	return 0;
}
