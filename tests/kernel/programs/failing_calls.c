// SPDX-License-Identifier: GPL-2.0-only
/*
 * failing_calls commands | hooks | load FILE MODULE: repeats each operation while the kernel fails
 * this process's first allocation or copy, then the second, the third, until the operation
 * completes without a failure. Afterwards the modules return the same results as before.
 */
#include <stdbool.h>
#include <sys/syscall.h>

#include "graph.h"

/* Limit for an operation that never completes. */
#define FAULTS_MAX 5000

static int switch_of_faults;
static int device = -1, softonu = -1;
static unsigned long operations, faults, refusals, complaints;

/* What one operation is about. */
struct subject {
	const struct entity *entity;
	const char *line;
	const char *file;
	const char *module;
	uint32_t kind;
	unsigned int vlan;
};

struct operation {
	const char *name;
	/* 0 when all is set for the operation. */
	int (*prepare)(const struct subject *subject);
	/* 0 or -1. */
	int (*act)(const struct subject *subject);
	/* 0 if the modules are in the correct state after the result ret. */
	int (*check)(const struct subject *subject, int ret);
};

static void complain(const struct operation *operation, unsigned int nth, const char *why)
{
	if (complaints++ < 20)
		printf("%s, failure %u: %s (errno %d)\n", operation->name, nth, why, errno);
}

static void set_fault(unsigned int nth)
{
	char text[16];
	const int length = snprintf(text, sizeof(text), "%u", nth);

	/* A failure that is still due may hit this very copy, once. */
	if (pwrite(switch_of_faults, text, (size_t)length, 0) != length &&
	    pwrite(switch_of_faults, text, (size_t)length, 0) != length) {
		perror("fail-nth");
		exit(2);
	}
}

/* Whether the failure has come. Reading the number may be what fails. */
static bool fault_came(void)
{
	char text[16] = "";
	const long got = pread(switch_of_faults, text, sizeof(text) - 1, 0);
	const bool came = got > 0 && atoi(text) == 0;

	set_fault(0);
	return came;
}

/* For a run that does not end in time; the guest's init prints it. */
static void progress(const char *name)
{
	FILE *file = fopen("/tmp/progress", "w");

	if (!file)
		return;
	fprintf(file, "operation %lu, %s; %lu failures so far\n", operations, name, faults);
	fclose(file);
}

/* Whether to continue with the next number. */
static bool attempt(const struct operation *operation, const struct subject *subject,
		    unsigned int nth)
{
	bool came;
	int ret;

	if (operation->prepare(subject)) {
		complain(operation, nth, "cannot be prepared");
		return false;
	}
	set_fault(nth);
	ret = operation->act(subject);
	came = fault_came();
	faults += came;
	refusals += ret != 0;
	if (!came && ret)
		complain(operation, nth, "fails without a failure");
	if (operation->check(subject, ret))
		complain(operation, nth, "the modules are not as before");
	return came;
}

static void until_success(const struct operation *operation, const struct subject *subject)
{
	unsigned int nth = 1;

	operations++;
	progress(operation->name);
	while (nth <= FAULTS_MAX && attempt(operation, subject, nth))
		nth++;
	if (nth > FAULTS_MAX)
		complain(operation, nth, "no end");
}

/* An instance of another class is created and deleted, and the debug entry prints. */
static int module_responds(const struct subject *subject, int ret)
{
	static const struct gpon_raw_td raw = { .instID = 0x7fff };
	static const struct entity stranger = ENTITY(280, raw);

	(void)subject;
	(void)ret;
	return send_me(device, ZR_OMCI_MSG_TYPE_CREAT, &stranger) ||
	       send_me(device, ZR_OMCI_MSG_TYPE_DELETE, &stranger) ||
	       send_words(device, "show en_flag") || write_proc("show en_flag");
}

static int whole_graph(const struct subject *subject)
{
	(void)subject;
	return provision(device);
}

static int graph_without(const struct subject *subject)
{
	return provision(device) || send_me(device, ZR_OMCI_MSG_TYPE_DELETE, subject->entity);
}

static int create(const struct subject *subject)
{
	return send_me(device, ZR_OMCI_MSG_TYPE_CREAT, subject->entity);
}

static int set(const struct subject *subject)
{
	return send_me(device, ZR_OMCI_MSG_TYPE_SET, subject->entity);
}

static int delete(const struct subject *subject)
{
	return send_me(device, ZR_OMCI_MSG_TYPE_DELETE, subject->entity);
}

static int clean(const struct subject *subject)
{
	(void)subject;
	return send_clean(device);
}

static int configure(const struct subject *subject)
{
	(void)subject;
	return send_configuration(device);
}

static int words(const struct subject *subject)
{
	return send_words(device, subject->line);
}

static int proc_line(const struct subject *subject)
{
	return write_proc(subject->line);
}

static void failing_commands(void)
{
	static const struct operation of_entities[] = {
		{ "create", graph_without, create, module_responds },
		{ "set", whole_graph, set, module_responds },
		{ "delete", whole_graph, delete, module_responds },
	};
	static const struct operation cleaning = { "clean", whole_graph, clean, module_responds };
	static const struct operation configuration = { "configuration", whole_graph, configure,
							module_responds };
	static const struct operation by_device = { "words", whole_graph, words, module_responds };
	static const struct operation by_proc = { "line", whole_graph, proc_line, module_responds };
	static const char *const lines[] = {
		"show en_flag", "show raw_data", "show raw_data 47", "show raw_data 268 1",
		"show flow_rule", "set enable 1", "set debug_level 0", "clean raw_data 268 1",
		"clean raw_data", "clean flow_rule 0 0", "help",
	};
	struct subject subject = { 0 };

	for (size_t i = 0; i < ENTITIES; i++) {
		subject.entity = &graph[i];
		for (size_t j = 0; j < sizeof(of_entities) / sizeof(of_entities[0]); j++)
			until_success(&of_entities[j], &subject);
	}
	until_success(&cleaning, &subject);
	until_success(&configuration, &subject);
	for (size_t i = 0; i < sizeof(lines) / sizeof(lines[0]); i++) {
		subject.line = lines[i];
		until_success(&by_device, &subject);
		until_success(&by_proc, &subject);
	}
}

static int flush(const struct subject *subject)
{
	(void)subject;
	return send_words(device, "clean flow_rule 0 0");
}

static int hook_call(const struct subject *subject)
{
	struct softonu_hook_call call;

	return send_packet(softonu, subject->kind, 1, 2, subject->vlan, &call);
}

static int learnt(const struct subject *subject)
{
	return flush(subject) || hook_call(subject);
}

/* The same packet and the next command succeed without a failure. */
static int packets_pass(const struct subject *subject, int ret)
{
	struct softonu_hook_call call;

	return send_packet(softonu, subject->kind, 1, 2, subject->vlan, &call) || call.records == 0 ||
	       module_responds(subject, ret);
}

static void failing_hooks(void)
{
	static const struct operation first = { "first packet", flush, hook_call, packets_pass };
	static const struct operation next = { "next packet", learnt, hook_call, packets_pass };
	static const unsigned int vlans[] = { 0, 100, 200, 300 };
	struct subject subject = { 0 };

	if (provision(device) || switch_engine(softonu, 1)) {
		printf("the graph is not taken\n");
		exit(2);
	}
	for (subject.kind = UP_UNI; subject.kind < KINDS; subject.kind++) {
		for (size_t i = 0; i < sizeof(vlans) / sizeof(vlans[0]); i++) {
			subject.vlan = vlans[i];
			until_success(&first, &subject);
			until_success(&next, &subject);
		}
	}
}

static int is_loaded(const char *module)
{
	char path[64];

	snprintf(path, sizeof(path), "/sys/module/%s", module);
	return access(path, F_OK) == 0;
}

static int nothing_loaded(const struct subject *subject)
{
	return is_loaded(subject->module) ? -1 : 0;
}

static int load(const struct subject *subject)
{
	const int file = open(subject->file, O_RDONLY | O_CLOEXEC);
	const int ret = file < 0 ? -1 : (int)syscall(SYS_finit_module, file, "", 0);

	if (file >= 0)
		close(file);
	return ret;
}

/* Loaded or not at all, and in the first case it goes again. */
static int whole_or_nothing(const struct subject *subject, int ret)
{
	char proc[64];

	snprintf(proc, sizeof(proc), "/proc/%s", subject->module);
	if (ret == 0)
		return !is_loaded(subject->module) ||
		       syscall(SYS_delete_module, subject->module, O_NONBLOCK);
	return is_loaded(subject->module) || access(proc, F_OK) == 0;
}

static int unload(const struct subject *subject)
{
	return (int)syscall(SYS_delete_module, subject->module, O_NONBLOCK);
}

static int gone_or_whole(const struct subject *subject, int ret)
{
	if (ret && unload(subject))
		return -1;
	return whole_or_nothing(subject, -1);
}

static void failing_loads(const char *file, const char *module)
{
	static const struct operation loading = { "load", nothing_loaded, load, whole_or_nothing };
	static const struct operation unloading = { "unload", load, unload, gone_or_whole };
	const struct subject subject = { .file = file, .module = module };

	until_success(&loading, &subject);
	until_success(&unloading, &subject);
}

int main(int count, char **arguments)
{
	const char *task = count > 1 ? arguments[1] : "";

	switch_of_faults = open_or_exit("/proc/self/fail-nth", O_RDWR);
	if (strcmp(task, "load") == 0 && count == 4) {
		failing_loads(arguments[2], arguments[3]);
	} else if (strcmp(task, "commands") == 0 || strcmp(task, "hooks") == 0) {
		device = open_or_exit("/dev/gpon_flow", O_RDWR);
		softonu = open_or_exit(SOFTONU_DEVICE, O_RDWR);
		if (task[0] == 'c')
			failing_commands();
		else
			failing_hooks();
	} else {
		fprintf(stderr, "usage: failing_calls commands | hooks | load FILE MODULE\n");
		return 2;
	}
	printf("@@ %s: %lu operations, %lu failures injected, %lu operations refused, %lu complaints\n",
	       task, operations, faults, refusals, complaints);
	return complaints || faults == 0 ? 1 : 0;
}
