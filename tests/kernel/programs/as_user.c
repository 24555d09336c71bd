// SPDX-License-Identifier: GPL-2.0-only
/* as_user UID PROGRAM ARGUMENT...: runs a program as a user without any rights. */
#include <grp.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

int main(int count, char **words)
{
	if (count < 3) {
		fprintf(stderr, "usage: as_user UID PROGRAM ARGUMENT...\n");
		return 2;
	}
	const unsigned int user = (unsigned int)strtoul(words[1], NULL, 10);
	if (setgroups(0, NULL) || setgid(user) || setuid(user)) {
		perror("as_user");
		return 2;
	}
	execv(words[2], words + 2);
	perror(words[2]);
	return 2;
}
