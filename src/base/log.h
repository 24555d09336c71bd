/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The module's messages in the kernel log.
 *
 * A levelled message is two prints, the level tag and then the text on the same line.
 *
 * For functions without a packet, gponDebugLevel alone decides. Functions with a packet also print
 * if the packet has the trace mark, or if a level bit of its flag word is set in gponDebugLevel;
 * the tag is then that of the lowest bit of flag word and level together.
 */
#ifndef GPON_LOG_H
#define GPON_LOG_H

#include "../platform/api/kernel_api.h"
#include "atomics.h"
#include "log_text.h"
#include "switches.h"

/* The attribute of a function for messages and commands. It is empty where each function must have
 * its alignment, which gcc does not give to cold ones. */
#ifdef GPON_ALIGN_ALL_FUNCTIONS
#define GPON_COLD
#else
#define GPON_COLD gnu::cold
#endif

enum log_level : u32 { LOG_ERROR = 1, LOG_WARNING = 2, LOG_TRACE = 4, LOG_IOCTL = 8 };

// Marks a packet that the trace filter chose, for the duration of one hook call.
constexpr u32 GPON_FLOW_TRACE_MARK = 0x100000;

namespace gpon {

/* Prints the tag and then the text. Out of line and without templates: the module has some 250
 * messages, and few of them are ever printed. */
extern "C" [[GPON_COLD]] void gpon_log(u32 level_word, const char* text, ...);

/* The same for a message of one level about a packet, whose flag word takes part in the tag. */
extern "C" [[GPON_COLD]] void gpon_log_packet(const sk_buff* skb, log_level level, const char* text,
                                              ...);

/* A scoped enumeration is not promoted to int in a variable argument list: it is printed as its
 * number. */
template <typename T> [[nodiscard, gnu::always_inline]] constexpr auto printed(T value)
{
    if constexpr (__is_enum(T))
        return static_cast<__underlying_type(T)>(value);
    else
        return value;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

// Always inline, as the functions that call it: out of line, each combination of arguments needs a
// stack frame in the walk, and each call a copy of the text's record.
template <typename... Args>
[[gnu::always_inline]] inline void emit(u32 level_word, log_text<Args...> text, Args... args)
{
    if (text.located)
        gpon_log(level_word, text.text, text.function, text.line, printed(args)...);
    else
        gpon_log(level_word, text.text, printed(args)...);
}

template <typename... Args>
[[gnu::always_inline]] inline void emit(const sk_buff* skb, log_level level, log_text<Args...> text,
                                        Args... args)
{
    if (text.located)
        gpon_log_packet(skb, level, text.text, text.function, text.line, printed(args)...);
    else
        gpon_log_packet(skb, level, text.text, printed(args)...);
}

#pragma GCC diagnostic pop

[[nodiscard]] inline u32 debug_level()
{
    return load_relaxed(gponDebugLevel);
}

[[nodiscard]] inline u32 flag_word_of(const sk_buff* skb)
{
    return load_unaligned<u32>(reinterpret_cast<const u8*>(skb) + skb_flag_word_offset);
}

/* True if the trace filter selected the packet. */
[[nodiscard]] inline bool is_marked(const sk_buff* skb)
{
    return flag_word_of(skb) & GPON_FLOW_TRACE_MARK;
}

} // namespace gpon

/* The name under which a function and its helpers report; gponDebugLevel alone decides. The
 * function creates it at its entry and passes it to its helpers; each message adds its own line. */
class log_context {
public:
    [[nodiscard]] static constexpr log_context here(const char* function = __builtin_FUNCTION())
    {
        return log_context(function);
    }

    /* For code that does a part of another function's work and reports under its name. */
    template <auto Function> [[nodiscard]] static constexpr log_context of()
    {
        return log_context(gpon::name_of<Function>.text);
    }

    template <typename... Args>
    [[gnu::always_inline]] void error(gpon::text_for<Args...> text, Args... args) const
    {
        report<Args...>(LOG_ERROR, text, args...);
    }

    template <typename... Args>
    [[gnu::always_inline]] void warning(gpon::text_for<Args...> text, Args... args) const
    {
        report<Args...>(LOG_WARNING, text, args...);
    }

    template <typename... Args>
    [[gnu::always_inline]] void trace(gpon::text_for<Args...> text, Args... args) const
    {
        report<Args...>(LOG_TRACE, text, args...);
    }

private:
    constexpr explicit log_context(const char* function) : function_(function) {}

    template <typename... Args>
    [[gnu::always_inline]] void report(log_level level, gpon::log_text<Args...> text,
                                       Args... args) const
    {
        if (gpon::debug_level() & level) [[unlikely]]
            gpon::emit<Args...>(level, text.named(function_), args...);
    }

    const char* function_;
};

/* Messages of a function without helpers that report under its name. Any context. */
template <typename... Args>
[[gnu::always_inline]] inline void log_error(gpon::text_for<Args...> text, Args... args)
{
    const log_context log = log_context::here(text.function);
    log.error<Args...>(text, args...);
}

template <typename... Args>
[[gnu::always_inline]] inline void log_warning(gpon::text_for<Args...> text, Args... args)
{
    const log_context log = log_context::here(text.function);
    log.warning<Args...>(text, args...);
}

template <typename... Args>
[[gnu::always_inline]] inline void log_trace(gpon::text_for<Args...> text, Args... args)
{
    const log_context log = log_context::here(text.function);
    log.trace<Args...>(text, args...);
}

/* The same with the packet of the messages. Packet path. A context may be created before its packet
 * is tested for null; then only has_packet and without_packet are of use. */
class packet_log {
public:
    [[nodiscard]] static packet_log here(const sk_buff* skb,
                                         const char* function = __builtin_FUNCTION())
    {
        return packet_log(skb, function);
    }

    template <auto Function> [[nodiscard]] static packet_log of(const sk_buff* skb)
    {
        return packet_log(skb, gpon::name_of<Function>.text);
    }

    /* The same packet's log for a part of another function's work. */
    template <auto Function> [[nodiscard]] packet_log as() const
    {
        packet_log renamed = *this;
        renamed.function_ = gpon::name_of<Function>.text;
        return renamed;
    }

    template <typename... Args>
    [[gnu::always_inline]] void error(gpon::text_for<Args...> text, Args... args) const
    {
        report<Args...>(LOG_ERROR, text, args...);
    }

    template <typename... Args>
    [[gnu::always_inline]] void warning(gpon::text_for<Args...> text, Args... args) const
    {
        report<Args...>(LOG_WARNING, text, args...);
    }

    template <typename... Args>
    [[gnu::always_inline]] void trace(gpon::text_for<Args...> text, Args... args) const
    {
        report<Args...>(LOG_TRACE, text, args...);
    }

    /* For messages that depend on gponDebugLevel alone and not on the packet. */
    [[nodiscard]] constexpr log_context without_packet() const
    {
        return log_context::here(function_);
    }

    [[nodiscard]] constexpr bool has_packet() const { return skb_ != nullptr; }

    /* For messages that are printed out of line. */
    [[nodiscard]] constexpr bool traces() const { return enabled_ & LOG_TRACE; }

private:
    packet_log(const sk_buff* skb, const char* function)
        : skb_(skb), function_(function), enabled_(enabled_levels(skb))
    {
    }

    [[nodiscard]] static u32 enabled_levels(const sk_buff* skb)
    {
        const u32 level = gpon::debug_level();
        const bool all = skb && (gpon::flag_word_of(skb) & (level | GPON_FLOW_TRACE_MARK));
        return all ? ~u32{0} : level;
    }

    template <typename... Args>
    [[gnu::always_inline]] void report(log_level level, gpon::log_text<Args...> text,
                                       Args... args) const
    {
        if (enabled_ & level) [[unlikely]]
            gpon::emit<Args...>(skb_, level, text.named(function_), args...);
    }

    const sk_buff* skb_;
    const char* function_;
    u32 enabled_; /* log levels; read once, because a walk has some forty messages per port */
};

#endif
