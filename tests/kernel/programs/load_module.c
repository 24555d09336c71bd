// SPDX-License-Identifier: GPL-2.0-only
/* load_module FILE [PARAMETERS]: one attempt, while the shell's own insmod makes two. */
#include <fcntl.h>
#include <stdio.h>
#include <sys/syscall.h>
#include <unistd.h>

int main(int count, char **words)
{
	int file;

	if (count < 2) {
		fprintf(stderr, "usage: load_module FILE [PARAMETERS]\n");
		return 2;
	}
	file = open(words[1], O_RDONLY | O_CLOEXEC);
	if (file < 0 || syscall(SYS_finit_module, file, count > 2 ? words[2] : "", 0)) {
		perror(words[1]);
		return 1;
	}
	return 0;
}
