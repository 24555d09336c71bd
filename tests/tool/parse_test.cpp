// SPDX-License-Identifier: GPL-2.0-only
#include "tool/scenario/parse.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/parsing.h"

namespace gponflow {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(parse, blank_lines_and_comments_are_skipped_and_lines_are_numbered)
{
    const scenario parsed = parse_good("\n  # a comment\n\t load \t\n\n#x\nunload");
    ASSERT_EQ(parsed.lines.size(), 2u);
    EXPECT_EQ(parsed.lines[0].line, 3u);
    EXPECT_EQ(parsed.lines[0].text, "load");
    EXPECT_TRUE(std::holds_alternative<load_command>(parsed.lines[0].command));
    EXPECT_EQ(parsed.lines[1].line, 6u);
    EXPECT_TRUE(std::holds_alternative<unload_command>(parsed.lines[1].command));
}

TEST(parse, a_file_with_dos_line_ends_reads_the_same)
{
    const scenario parsed = parse_good("load\r\n\r\nproc write \"a b\"\r\n");
    ASSERT_EQ(parsed.lines.size(), 2u);
    EXPECT_EQ(parsed.lines[0].text, "load");
    EXPECT_EQ(parse_only<proc_write_command>("proc write \"a b\"\r\n").text, "a b");
}

TEST(parse, an_empty_file_is_an_empty_scenario)
{
    EXPECT_TRUE(parse_good("").lines.empty());
    EXPECT_TRUE(parse_good("\n\n   ").lines.empty());
}

TEST(parse, errors_name_file_line_and_column)
{
    const parse_result result = parse_scenario("load\nhook kind=1 gem=70000\n", "dir/x.scn");
    ASSERT_EQ(result.errors.size(), 1u);
    EXPECT_EQ(result.errors[0].text(),
              "dir/x.scn:2: column 17: gem '70000': out of range 0 to 65535");
}

TEST(parse, every_faulty_line_is_reported)
{
    const parse_result result = parse_scenario("lod\nload\nload now\nproc\n", "f");
    ASSERT_EQ(result.errors.size(), 3u);
    EXPECT_EQ(result.errors[0].line, 1u);
    EXPECT_EQ(result.errors[1].line, 3u);
    EXPECT_EQ(result.errors[2].line, 4u);
    EXPECT_EQ(result.input.lines.size(), 1u);
}

TEST(parse, a_mistyped_word_gets_the_nearest_known_one)
{
    EXPECT_THAT(error_of("laod"), HasSubstr("did you mean 'load'?"));
    EXPECT_THAT(error_of("hook knd=1"), HasSubstr("did you mean 'kind'?"));
    EXPECT_THAT(error_of("hook kind=up_an"), HasSubstr("did you mean 'up_ani'?"));
    EXPECT_THAT(error_of("me creat 45 1"), HasSubstr("did you mean 'create'?"));
    EXPECT_THAT(error_of("me create T_CONTT 1"), HasSubstr("did you mean 'T_CONT'?"));
    EXPECT_THAT(error_of("me create 47 1 bridgeId=1"), HasSubstr("did you mean 'bridgeID'?"));
    EXPECT_THAT(error_of("config tcont_bas=1"), HasSubstr("did you mean 'tcont_base'?"));
    EXPECT_THAT(error_of("fault aloc"), HasSubstr("did you mean 'alloc'?"));
    EXPECT_THAT(error_of("expect api_reslt=0"), HasSubstr("did you mean 'api_result'?"));
    EXPECT_THAT(error_of("platform maping=1"), HasSubstr("did you mean 'mapping'?"));
    EXPECT_THAT(error_of("proc wirte x"), HasSubstr("did you mean 'write'?"));
}

TEST(parse, a_word_unlike_any_other_gets_no_suggestion)
{
    EXPECT_THAT(error_of("zzzzzzzz"), testing::Not(HasSubstr("did you mean")));
}

TEST(parse, commands_without_arguments_take_none)
{
    for (const char* line : {"load x", "unload x", "clean x", "proc read x"})
        EXPECT_THAT(error_of(line), HasSubstr("unexpected word 'x'")) << line;
}

TEST(parse, quoted_words_keep_blanks_quotes_and_backslashes)
{
    EXPECT_EQ(parse_only<proc_write_command>("proc write \"set  enable\t1\"").text,
              "set  enable\t1");
    EXPECT_EQ(parse_only<proc_write_command>(R"(proc write "a\"b\\c")").text, R"(a"b\c)");
    EXPECT_EQ(parse_only<proc_write_command>("proc write \"\"").text, "");
    EXPECT_EQ(parse_only<proc_write_command>(R"(proc write a\b)").text, R"(a\b)");
}

TEST(parse, faulty_quotes_are_errors)
{
    EXPECT_THAT(error_of("proc write \"a b"), HasSubstr("column 12: unterminated quote"));
    EXPECT_THAT(error_of("echo \"a\"b"), HasSubstr("column 9: missing blank"));
    EXPECT_THAT(error_of("echo a\"b"), HasSubstr("column 7: a quote inside a word"));
    EXPECT_THAT(error_of(R"(echo "a\n")"), HasSubstr("column 8: only"));
    EXPECT_THAT(error_of("echo \"a\\"), HasSubstr("only"));
}

TEST(parse, numbers_are_decimal_or_hexadecimal)
{
    EXPECT_EQ(parse_only<advance_command>("advance 0010").jiffies, 10u);
    EXPECT_EQ(parse_only<advance_command>("advance 0x1F").jiffies, 31u);
    for (const char* bad : {"-1", "+1", "0x", "1x", "0X10", "ten", "1.5", "0x1g", "\"\"", "\" 1\""})
        EXPECT_THAT(error_of(std::string("advance ") + bad), HasSubstr("not a number")) << bad;
    EXPECT_THAT(error_of("advance 18446744073709551616"), HasSubstr("too large"));
    EXPECT_THAT(error_of("advance 18446744073709551615"), HasSubstr("out of range"));
}

TEST(parse, arguments_that_are_missing_are_named)
{
    EXPECT_THAT(error_of("proc"), HasSubstr("missing argument: 'read' or 'write'"));
    EXPECT_THAT(error_of("proc write"), HasSubstr("missing argument: the text"));
    EXPECT_THAT(error_of("proc write set enable 1"), HasSubstr("unexpected word 'enable'"));
    EXPECT_THAT(error_of("advance"), HasSubstr("missing argument"));
    EXPECT_THAT(error_of("ioctl"), HasSubstr("missing argument"));
    EXPECT_THAT(error_of("platform"), HasSubstr("missing argument"));
    EXPECT_THAT(error_of("fault"), HasSubstr("missing argument"));
    EXPECT_THAT(error_of("expect"), HasSubstr("missing argument"));
    EXPECT_THAT(error_of("echo"), HasSubstr("missing argument"));
    EXPECT_THAT(error_of("pcap"), HasSubstr("missing argument"));
    EXPECT_THAT(error_of("me"), HasSubstr("missing argument: the message"));
    EXPECT_THAT(error_of("me set"), HasSubstr("missing argument: the class"));
    EXPECT_THAT(error_of("me set 45"), HasSubstr("missing argument: the instance id"));
}

TEST(parse, debug_takes_up_to_four_words_that_fit_their_fields)
{
    EXPECT_TRUE(parse_only<debug_command>("debug").words.empty());
    EXPECT_THAT(parse_only<debug_command>("debug set trace \"a b\" 4").words,
                ElementsAre("set", "trace", "a b", "4"));
    EXPECT_THAT(error_of("debug 1 2 3 4 5"), HasSubstr("column 15: debug takes at most four"));
    EXPECT_EQ(parse_only<debug_command>("debug " + std::string(32, 'x')).words[0].size(), 32u);
    EXPECT_THAT(error_of("debug " + std::string(33, 'x')), HasSubstr("at most 32 bytes"));
}

TEST(parse, ioctl_takes_any_number_and_maybe_a_record)
{
    const auto bare = parse_only<ioctl_command>("ioctl 0x40007700");
    EXPECT_EQ(bare.number, 0x40007700u);
    EXPECT_FALSE(bare.cmd);
    EXPECT_EQ(parse_only<ioctl_command>("ioctl 0xffffffff cmd=7").cmd, 7u);
    EXPECT_THAT(error_of("ioctl 0x100000000"), HasSubstr("out of range 0 to 4294967295"));
}

TEST(parse, platform_functions_are_unset_or_return_a_signed_value)
{
    const auto both = parse_only<platform_command>("platform mapping=-1 queue=none");
    ASSERT_TRUE(both.mapping);
    EXPECT_EQ(both.mapping->result, -1);
    ASSERT_TRUE(both.queue);
    EXPECT_FALSE(both.queue->result);
    EXPECT_FALSE(parse_only<platform_command>("platform queue=0").mapping);
    EXPECT_EQ(parse_only<platform_command>("platform queue=-2147483648").queue->result, INT32_MIN);
    EXPECT_THAT(error_of("platform queue=2147483648"), HasSubstr("out of range"));
    EXPECT_THAT(error_of("platform queue=-2147483649"), HasSubstr("out of range"));
    EXPECT_THAT(error_of("platform queue=-"), HasSubstr("not a number"));
    EXPECT_THAT(error_of("platform queue=--1"), HasSubstr("not a number"));
}

TEST(parse, faults_of_alloc_and_copy_take_a_count)
{
    EXPECT_EQ(parse_only<fault_command>("fault chrdev").service, fault_kind::chrdev);
    EXPECT_EQ(parse_only<fault_command>("fault proc_dir").service, fault_kind::proc_dir);
    EXPECT_EQ(parse_only<fault_command>("fault proc_entry").service, fault_kind::proc_entry);
    EXPECT_EQ(parse_only<fault_command>("fault hook").service, fault_kind::hook);
    EXPECT_EQ(parse_only<fault_command>("fault alloc").nth, 1u);
    const auto third = parse_only<fault_command>("fault copy=3");
    EXPECT_EQ(third.service, fault_kind::copy);
    EXPECT_EQ(third.nth, 3u);
    EXPECT_THAT(error_of("fault hook=2"), HasSubstr("only 'alloc' and 'copy' take a number"));
    EXPECT_THAT(error_of("fault alloc=0"), HasSubstr("out of range 1 to"));
    EXPECT_THAT(error_of("fault alloc="), HasSubstr("not a number"));
    EXPECT_THAT(error_of("fault alloc copy"), HasSubstr("unexpected word"));
}

TEST(parse, expectations_are_numbers_or_absent)
{
    const auto parsed = parse_only<expect_command>("expect api_result=-1 flags=0x10 ret=absent");
    ASSERT_EQ(parsed.all.size(), 3u);
    EXPECT_EQ(parsed.all[0].name, "api_result");
    EXPECT_EQ(parsed.all[0].value, -1);
    EXPECT_EQ(parsed.all[1].value, 16);
    EXPECT_EQ(parsed.all[1].value_text, "0x10");
    EXPECT_FALSE(parsed.all[2].value);
    EXPECT_THAT(error_of("expect ret"), HasSubstr("'ret' is not an option (name=value) of expect"));
    EXPECT_THAT(error_of("expect ret=abs"), HasSubstr("not a number"));
    EXPECT_THAT(error_of("expect ret=1 ret=1"), HasSubstr("ret is duplicate"));
}

TEST(parse, echo_joins_its_words)
{
    EXPECT_EQ(parse_only<echo_command>("echo one   two").text, "one two");
    EXPECT_EQ(parse_only<echo_command>("echo \"one   two\"").text, "one   two");
}

TEST(parse, silence_takes_a_rule_a_class_and_an_instance)
{
    const silence all = parse_only<silence_command>("silence unreachable").silenced;
    EXPECT_EQ(all.rule, "unreachable");
    EXPECT_FALSE(all.class_id);
    const silence one =
        parse_only<silence_command>("silence unreachable GEM_PORT_CTP 0x10").silenced;
    EXPECT_EQ(one.class_id, me_class::gemctp);
    EXPECT_EQ(one.instance, 16);
    EXPECT_THAT(error_of("silence"), HasSubstr("missing argument: the rule"));
    EXPECT_THAT(error_of("silence unreachble"),
                HasSubstr("unknown rule 'unreachble' (did you mean 'unreachable'?)"));
    EXPECT_THAT(error_of("silence unreachable GEM_PORT_CTP 1 2"), HasSubstr("unexpected word '2'"));
    EXPECT_THAT(error_of("silence unreachable GEM_PORT_CTP 65536"), HasSubstr("out of range"));
}

TEST(parse, tagging_takes_the_attributes_of_its_class)
{
    const tag_facts facts =
        parse_only<tagging_command>("tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 "
                                    "associated=0x0101 input_tpid=0x88a8 downstream_mode=3 "
                                    "rows=default row=f8000000e8000000c00f0000000f0000")
            .facts;
    EXPECT_EQ(facts.class_id, me_class::evtocd);
    EXPECT_EQ(facts.association, 2);
    EXPECT_EQ(facts.associated, 0x0101);
    EXPECT_EQ(facts.input_tpid, 0x88a8);
    EXPECT_FALSE(facts.output_tpid);
    EXPECT_TRUE(facts.default_rows);
    ASSERT_EQ(facts.rows.size(), 1u);
    EXPECT_EQ(facts.rows[0][8], 0xc0);
    EXPECT_EQ(parse_only<tagging_command>("tagging 78 1 upstream_tci=100").facts.upstream_tci, 100);
}

TEST(parse, faults_of_tagging_are_named)
{
    EXPECT_THAT(error_of("tagging"), HasSubstr("missing argument: the class"));
    EXPECT_THAT(error_of("tagging 171 1"), HasSubstr("missing argument: FIELD=VALUE"));
    EXPECT_THAT(error_of("tagging GEM_PORT_CTP 1 association=0"),
                HasSubstr("tagging takes VLAN_TAG_EXTEND_OPERATE or VLAN_TAG_OPERATE"));
    EXPECT_THAT(error_of("tagging 171 1 row=00"), HasSubstr("needs 16 bytes of HEX, not 1"));
    EXPECT_THAT(error_of("tagging 171 1 dscp_map=00"), HasSubstr("needs 24 bytes of HEX, not 1"));
    EXPECT_THAT(error_of("tagging 171 1 rows=none"),
                HasSubstr("only 'default' and 'unknown' are known"));
    EXPECT_THAT(error_of("tagging 171 1 association=256"), HasSubstr("out of range 0 to 255"));
    EXPECT_THAT(error_of("tagging 171 1 upstream_tci=1"), HasSubstr("has no option"));
    EXPECT_THAT(error_of("tagging 78 1 row=00"), HasSubstr("has no option"));
}

TEST(parse, any_bytes_give_a_result)
{
    using namespace std::string_view_literals;
    constexpr std::string_view alphabet = "me hok=\"\\\n\r\t x0,:-1#\xff\0raw"sv;
    uint32_t state = 1;
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        for (int i = 0; i < 80; ++i) {
            state = state * 1664525 + 1013904223;
            text += alphabet[(state >> 24) % alphabet.size()];
        }
        const parse_result result = parse_scenario(text, "f");
        for (const diagnostic& error : result.errors)
            EXPECT_THAT(error.text(), testing::StartsWith("f:"));
    }
}

} // namespace
} // namespace gponflow
