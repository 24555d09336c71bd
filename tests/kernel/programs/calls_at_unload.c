// SPDX-License-Identifier: GPL-2.0-only
/*
 * calls_at_unload GPON_FLOW.KO CYCLES: loads and unloads the module while two threads make hook calls
 * of every packet kind without a pause and two others read and write its proc entry. Each call
 * returns a result of the module or, if no record was called, none.
 */
#include <pthread.h>
#include <stdatomic.h>
#include <sys/syscall.h>
#include <time.h>

#include "tests/kernel/programs/graph.h"

#define PROC_FILE "/proc/gpon_flow/debug"
#define MILLISECONDS_LOADED 200

static atomic_bool stop;
static atomic_ulong handled, unhandled, proc_calls, proc_absent, wrong;

static void expect(int good, const char *name, long got)
{
	if (!good && atomic_fetch_add(&wrong, 1) < 20)
		printf("%s: unexpected result %ld, errno %d\n", name, got, errno);
}

static void expect_result(const struct softonu_hook_call *call)
{
	if (call->records == 0) {
		expect(call->ret == 0 && call->api_result == 0, "a call without a hook", call->api_result);
		atomic_fetch_add(&unhandled, 1);
		return;
	}
	expect(call->records == 1, "records", call->records);
	expect(call->ret == 2, "hook's return", call->ret);
	expect(call->api_result == 0 || call->api_result == 1, "hook's result", call->api_result);
	if (call->api_type == DOWN_UNI)
		expect(call->api_result == 0, "result of kind 2", call->api_result);
	atomic_fetch_add(&handled, 1);
}

static void *packet_thread(void *argument)
{
	static const unsigned int vlans[] = { 0, 100, 200, 777 };
	unsigned int seed = (unsigned int)(uintptr_t)argument;
	const int softonu = open_or_exit(SOFTONU_DEVICE, O_RDWR);

	while (!atomic_load(&stop)) {
		const unsigned int dice = (unsigned int)rand_r(&seed);
		struct softonu_hook_call call;
		const int got = send_packet(softonu, dice % SWITCH, dice >> 2 & 7, dice >> 5 & 7,
					    vlans[dice >> 8 & 3], &call);

		expect(got == 0, "injection", got);
		if (got == 0)
			expect_result(&call);
	}
	close(softonu);
	return NULL;
}

/* An entry that was opened in time may be dead when it is used. */
static void use_proc(int entry, int writing)
{
	static const char line[] = "show en_flag";
	char text[64];
	const long wanted = writing ? (long)sizeof(line) - 1 : 0;
	const long got = writing ? write(entry, line, sizeof(line) - 1)
				 : read(entry, text, sizeof(text));

	/* EIO: the entry goes. ENXIO: it has come, its handlers have not yet. */
	expect(got == wanted || (got < 0 && (errno == EIO || errno == ENXIO)),
	       writing ? "proc write" : "proc read", got);
	atomic_fetch_add(got < 0 ? &proc_absent : &proc_calls, 1);
}

static void *proc_thread(void *argument)
{
	const int writing = (uintptr_t)argument % 2;
	/* More would only roll the kernel log over. */
	const struct timespec pause = { .tv_nsec = 500000 };

	while (!atomic_load(&stop)) {
		const int entry = open(PROC_FILE, writing ? O_WRONLY : O_RDONLY);

		if (entry < 0) {
			expect(errno == ENOENT, "proc open", entry);
			atomic_fetch_add(&proc_absent, 1);
		} else {
			use_proc(entry, writing);
			close(entry);
		}
		nanosleep(&pause, NULL);
	}
	return NULL;
}

static void check(int status, const char *name)
{
	if (!status)
		return;
	perror(name);
	exit(2);
}

static void load_and_provision(const char *module, int softonu)
{
	const int file = open_or_exit(module, O_RDONLY);
	int device;

	check((int)syscall(SYS_finit_module, file, "", 0), module);
	close(file);
	device = open_or_exit("/dev/gpon_flow", O_RDWR);
	check(provision(device), "provisioning");
	close(device);
	check(switch_engine(softonu, 1), "engine");
}

/* Returns the number of calls that reached the module while it was loaded. */
static unsigned long cycle(const char *module, int softonu)
{
	const struct timespec loaded = { .tv_nsec = MILLISECONDS_LOADED * 1000000L };
	const unsigned long before = atomic_load(&handled);

	load_and_provision(module, softonu);
	nanosleep(&loaded, NULL);
	check((int)syscall(SYS_delete_module, "gpon_flow", O_NONBLOCK), "unload");
	return atomic_load(&handled) - before;
}

static unsigned long run_cycles(const char *module, int cycles)
{
	const int softonu = open_or_exit(SOFTONU_DEVICE, O_RDWR);
	unsigned long fewest = ~0ul;

	for (int i = 0; i < cycles; i++) {
		const unsigned long count = cycle(module, softonu);
		const struct timespec away = { .tv_nsec = 20000000 };

		fewest = count < fewest ? count : fewest;
		nanosleep(&away, NULL);
	}
	close(softonu);
	return fewest;
}

int main(int count, char **words)
{
	static void *(*const kinds[])(void *) = { packet_thread, packet_thread, proc_thread,
						  proc_thread };
	pthread_t threads[4];
	unsigned long fewest;

	if (count < 3) {
		fprintf(stderr, "usage: calls_at_unload GPON_FLOW.KO CYCLES\n");
		return 2;
	}
	for (uintptr_t i = 0; i < 4; i++)
		check(pthread_create(&threads[i], NULL, kinds[i], (void *)(i + 1)), "thread");
	fewest = run_cycles(words[1], atoi(words[2]));
	atomic_store(&stop, 1);
	for (int i = 0; i < 4; i++)
		pthread_join(threads[i], NULL);
	printf("@@ %lu calls with a result, %lu without a hook, at least %lu with one in a cycle; %lu proc "
	       "calls, %lu without an entry; %lu wrong results\n", atomic_load(&handled),
	       atomic_load(&unhandled), fewest, atomic_load(&proc_calls),
	       atomic_load(&proc_absent), atomic_load(&wrong));
	return atomic_load(&wrong) || !fewest || !atomic_load(&unhandled) ||
	       !atomic_load(&proc_calls);
}
