// SPDX-License-Identifier: GPL-2.0-only
/*
 * hostile_packets quiet|loud: packets of every shape through a provisioned engine, in every kind of
 * call. A packet that the platform prepares has the result of the same frame in one piece; one that
 * it passes unchanged has the result of a frame that ends with its linear part. "loud" sends fewer
 * of them and has the module trace each step.
 */
#include "tests/kernel/programs/graph.h"

enum { UNKNOWN = KINDS };

#define TRACE_MARK (1u << 20)
#define NO_SUCH_GEM 77
#define TAG_BYTES 4

static int device, softonu;
static int failures;
/* The path depends on more than the rule of a frame contains. */
static int by_dscp;
static unsigned long calls, cut_frames;
static unsigned long gems[3];
static uint8_t tagged[SOFTONU_FRAME_BYTES_MAX];
static uint8_t untagged[SOFTONU_FRAME_BYTES_MAX];

struct shape {
	uint32_t bytes, linear, mac_offset, options;
};

static void expect(long wanted, long got, const char *name, uint32_t kind,
		   const struct shape *shape)
{
	if (wanted == got || failures++ > 20)
		return;
	printf("%s: expected %ld, got %ld; kind %u, %u bytes, %u linear, MAC at %u, options %#x\n",
	       name, wanted, got, kind, shape->bytes, shape->linear, shape->mac_offset,
	       shape->options);
}

/* Each command deletes the learnt rules; one for an unknown class has no other effect. */
static void forget_rules(void)
{
	static const struct gpon_raw_mbsp nothing;
	static const struct entity unknown = { 999, 0, &nothing };

	send_me(device, ZR_OMCI_MSG_TYPE_DELETE, &unknown);
}

static struct softonu_hook_call send_shape(uint32_t kind, const uint8_t *frame,
					   const struct shape *shape)
{
	struct softonu_hook_call call = {
		.frame = (uintptr_t)frame,
		.frame_bytes = shape->bytes,
		.linear_bytes = shape->options & SOFTONU_CALL_PAGED ? shape->linear : 0,
		.mac_offset = shape->mac_offset,
		.options = SOFTONU_CALL_PACKET | shape->options,
		.api_type = kind,
		.api_param = 1,
		.flag_word = 0xabc00000 | TRACE_MARK,
		.port_word = 1 << 4,
		.mark_word = 0xcafe,
		.gemport_id = kind == DOWN_ANI ? 1026 : NO_SUCH_GEM,
	};

	if (by_dscp)
		forget_rules();
	expect(0, ioctl(softonu, SOFTONU_IOC_HOOK_CALL, &call), "ioctl", kind, shape);
	calls++;
	return call;
}

/* The results of a kind, and the fields that no call may change. */
static void expect_documented(const struct softonu_hook_call *call, const struct shape *shape)
{
	const uint32_t kind = call->api_type;

	expect(1, call->records, "records", kind, shape);
	expect(2, call->ret, "ret", kind, shape);
	if (kind == UNKNOWN)
		expect(-1, call->api_result, "result", kind, shape);
	else if (kind == SWITCH || kind == DOWN_UNI)
		expect(0, call->api_result, "result", kind, shape);
	else
		expect(1, call->api_result == 0 || call->api_result == 1, "result", kind, shape);
	expect(0xabc00000 | (kind == SWITCH ? TRACE_MARK : 0), call->flag_word, "flag word", kind,
	       shape);
	expect(1 << 4, call->port_word, "port word", kind, shape);
	expect(0xcafe, call->mark_word, "mark word", kind, shape);
	if (kind != UP_ANI)
		expect(kind == DOWN_ANI ? 1026 : NO_SUCH_GEM, call->gemport_id, "GEM port", kind,
		       shape);
}

/* The frame in one piece that must have the same result. */
static const uint8_t *seen_frame(const struct shape *shape, struct shape *whole)
{
	const int raw = shape->options & SOFTONU_CALL_RAW;
	const int beside = raw && (shape->options & SOFTONU_CALL_TAG_BESIDE);

	whole->options = SOFTONU_CALL_RAW;
	whole->bytes = raw && (shape->options & SOFTONU_CALL_PAGED) ? shape->linear : shape->bytes;
	whole->bytes -= beside ? TAG_BYTES : 0;
	whole->mac_offset = shape->mac_offset < whole->bytes ? shape->mac_offset : whole->bytes;
	return beside ? untagged : tagged;
}

static void call_of_kind(uint32_t kind, const struct shape *shape)
{
	const struct softonu_hook_call got = send_shape(kind, tagged, shape);
	struct softonu_hook_call wanted;
	struct shape whole = { 0 };
	const uint8_t *frame;

	expect_documented(&got, shape);
	if (kind > DOWN_ANI)
		return;
	frame = seen_frame(shape, &whole);
	wanted = send_shape(kind, frame, &whole);
	expect_documented(&wanted, &whole);
	expect(wanted.api_result, got.api_result, "result of the frame in one piece", kind, shape);
	expect(wanted.gemport_id, got.gemport_id, "GEM port of the frame in one piece", kind, shape);
	expect(wanted.queue, got.queue, "queue of the frame in one piece", kind, shape);
	cut_frames += whole.bytes < shape->bytes;
	if (kind == UP_ANI && got.api_result == 0)
		gems[got.gemport_id == 1026 ? 2 : got.gemport_id == 1025]++;
}

/* A stack dump for each packet would bury everything else: the unknown kind has a few of them. */
static void every_kind(const struct shape *shape)
{
	static unsigned int turn;

	for (uint32_t kind = 0; kind < KINDS; kind++)
		call_of_kind(kind, shape);
	if (turn++ % 64 == 0)
		call_of_kind(UNKNOWN, shape);
}

/* The injection device keeps a tag beside the frame only if the linear part has one. */
static int can_be_built(const struct shape *shape)
{
	const int paged = shape->options & SOFTONU_CALL_PAGED;

	return !(shape->options & SOFTONU_CALL_TAG_BESIDE) ||
	       (paged ? shape->linear : shape->bytes) >= 18;
}

static const uint32_t sizes[] = { 0, 1, 6, 12, 13, 14, 15, 16, 17, 18, 60, 1514, 5000, 16384 };
#define SIZES (sizeof(sizes) / sizeof(sizes[0]))

static void shapes_of_size(uint32_t options, size_t size)
{
	struct shape shape = { .bytes = sizes[size], .options = options };

	if (can_be_built(&shape))
		every_kind(&shape);
	shape.options |= SOFTONU_CALL_PAGED;
	for (size_t linear = 0; linear <= size; linear++) {
		shape.linear = sizes[linear];
		if (can_be_built(&shape))
			every_kind(&shape);
	}
}

static void every_shape(size_t sizes_used)
{
	static const uint32_t holders[] = { 0, SOFTONU_CALL_CLONED, SOFTONU_CALL_SHARED };
	static const uint32_t flag_sets[] = { 0, SOFTONU_CALL_RAW, SOFTONU_CALL_TAG_BESIDE,
					      SOFTONU_CALL_RAW | SOFTONU_CALL_TAG_BESIDE };

	for (size_t size = 0; size < sizes_used; size++)
		for (size_t holder = 0; holder < 3; holder++)
			for (size_t set = 0; set < 4; set++)
				shapes_of_size(holders[holder] | flag_sets[set], size);
}

/* The MAC header anywhere in the frame, in its pages, and behind its last byte. */
static void every_mac_offset(uint32_t bytes)
{
	struct shape shape = { .bytes = bytes };

	for (; shape.mac_offset <= bytes; shape.mac_offset++) {
		shape.options = SOFTONU_CALL_RAW;
		every_kind(&shape);
		shape.options |= SOFTONU_CALL_PAGED;
		shape.linear = bytes / 2;
		every_kind(&shape);
	}
}

static void make_frames(void)
{
	memset(tagged, 0x11, sizeof(tagged));
	memcpy(tagged, "\x02\x00\x00\x00\x00\x01\x02\x00\x00\x00\x00\x02", 12);
	memcpy(tagged + 12, "\x81\x00\x40\xc8\x08\x00\x45\xb8", 8);
	memcpy(untagged, tagged, 12);
	memcpy(untagged + 12, tagged + 12 + TAG_BYTES, sizeof(tagged) - 12 - TAG_BYTES);
}

/* Whole, the frame is one of VLAN 200; cut before its tag it has none, and takes another path. */
static void expect_gem(uint16_t wanted, uint32_t linear, uint32_t mac_offset)
{
	const struct shape shape = { .bytes = 60, .linear = linear, .mac_offset = mac_offset,
				     .options = SOFTONU_CALL_RAW | SOFTONU_CALL_PAGED };
	const struct softonu_hook_call call = send_shape(UP_ANI, tagged, &shape);

	expect(0, call.api_result, "anchor: result", UP_ANI, &shape);
	expect(wanted, call.gemport_id, "anchor: GEM port", UP_ANI, &shape);
}

static void check(int status, const char *name)
{
	if (!status)
		return;
	perror(name);
	exit(2);
}

static int is_a_port_of(const struct entity *entity, uint16_t first, uint16_t last)
{
	return (entity->class_id == 47 || entity->class_id == 84) && entity->instance >= first &&
	       entity->instance <= last;
}

/* Everything but some ports of the bridge, or the mapper: what it names has to have a priority. */
static void provision_without(uint16_t first_port, uint16_t last_port, int without_mapper)
{
	check(send_clean(device), "clean");
	check(send_configuration(device), "configuration");
	for (size_t i = 0; i < ENTITIES; i++) {
		if (is_a_port_of(&graph[i], first_port, last_port) ||
		    (without_mapper && graph[i].class_id == 130))
			continue;
		check(send_me(device, ZR_OMCI_MSG_TYPE_CREAT, &graph[i]), "provisioning");
	}
}

static void choose_by_vlan(void)
{
	provision_without(by_mapper.instID, by_mapper.instID, 1);
}

/* DSCP 46 of an untagged frame means GEM port 1026, every other one 1025. It is read behind the MAC
 * header, whose type is compared as it lies in memory. */
static void choose_by_dscp(void)
{
	static const struct gpon_raw_mapper chooser = {
		.instID = 1, .tpPointer = 0xffff, .pbit_GemIWTP = { 1, 1, 2, 2, 1, 1, 2, 2 },
		.dscp2pbitMap = { [46 * 3 / 8] = 2 << (8 - 3 - 46 * 3 % 8) },
	};
	static const struct entity set = { 130, 1, &chooser };

	provision_without(gem1.instID, gem3.instID, 0);
	check(send_me(device, ZR_OMCI_MSG_TYPE_SET, &set), "mapper");
	memcpy(tagged, untagged, sizeof(tagged));
	memcpy(tagged + 12, "\x00\x08", 2);
	by_dscp = 1;
}

int main(int count, char **words)
{
	const int loud = count > 1 && !strcmp(words[1], "loud");

	device = open_or_exit("/dev/gpon_flow", O_RDWR);
	softonu = open_or_exit(SOFTONU_DEVICE, O_RDWR);
	make_frames();
	choose_by_vlan();
	check(switch_engine(softonu, 1), "engine");
	/* The filter meets cut frames as the walk does. */
	check(send_words(device, "set trace dst_mac 02:00:00:00:00:01"), "filter");
	check(send_words(device, "set trace outer_vlan 16584"), "filter");
	check(send_words(device, "set trace inner_vlan 4369"), "filter");
	if (loud)
		check(send_words(device, "set debug_level 7"), "level");
	expect_gem(1026, 60, 0);
	expect_gem(1026, 18, 0);
	expect_gem(1025, 12, 0);
	expect_gem(1025, 0, 0);
	every_shape(loud ? 4 : SIZES);
	choose_by_dscp();
	expect_gem(1026, 60, 0);
	expect_gem(1025, 60, 60);
	expect_gem(1025, 12, 0);
	every_mac_offset(loud ? 18 : 60);
	printf("@@ %s: %lu calls, %lu of them with headers in pages, %lu to GEM port 1026, %lu to "
	       "1025, %d wrong results\n", loud ? "loud" : "quiet", calls, cut_frames, gems[2],
	       gems[1], failures);
	return failures || !cut_frames || !gems[1] || !gems[2];
}
