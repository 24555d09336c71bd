/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The module's messages in the kernel log.
 *
 * A levelled message is two prints, the level tag and then the text on the same line. Most texts
 * begin with the caller's name and line; these two come in by themselves when a text has exactly
 * two conversions more than arguments, and the compiler checks every text against its arguments.
 *
 * Functions without a packet go by gponDebugLevel alone. Functions that have the packet at hand
 * also print when the packet carries the trace mark, or when a level bit of its flag word is on
 * in gponDebugLevel; the tag then names the lowest bit of flag word and level together.
 */
#ifndef GPON_LOG_H
#define GPON_LOG_H

#include "../platform/api/kernel_api.h"
#include "atomics.h"
#include "switches.h"

enum log_level : u32 { LOG_ERROR = 1, LOG_WARNING = 2, LOG_TRACE = 4, LOG_IOCTL = 8 };

// Marks a packet that the trace filter chose, for the duration of one hook call.
constexpr u32 GPON_FLOW_TRACE_MARK = 0x100000;

namespace gpon {

// Not constexpr: a call while a text is checked stops the compiler at the faulty message.
inline void log_text_does_not_fit_its_arguments() {}

template <typename T> constexpr bool fits(char conversion)
{
    if constexpr (__is_same(T, const char*))
        return conversion == 's';
    else
        return (__is_same(T, i32) || __is_same(T, u32) || sizeof(T) < sizeof(i32)) &&
               (conversion == 'd' || conversion == 'x');
}

// Collects the conversion characters of a text; '*' counts as one that takes an int.
struct conversions {
    char of[16] = {};
    size_t count = 0;

    constexpr explicit conversions(const char* text)
    {
        for (; *text; ++text)
            if (*text == '%')
                read(text);
    }

private:
    constexpr void read(const char*& text)
    {
        for (++text; *text == '#' || *text == '.' || *text == '*' || (*text >= '0' && *text <= '9');
             ++text)
            if (*text == '*')
                of[count++] = 'd';
        of[count++] = *text;
    }
};

template <typename... Args> struct log_text {
    const char* text;
    const char* function;
    i32 line;
    bool located;

    consteval log_text(const char* words, const char* caller = __builtin_FUNCTION(),
                       i32 caller_line = __builtin_LINE())
        : text(words), function(caller), line(caller_line), located(false)
    {
        const conversions found(words);
        located = found.count == sizeof...(Args) + 2;
        if (!located && found.count != sizeof...(Args))
            log_text_does_not_fit_its_arguments();
        if (located && (found.of[0] != 's' || found.of[1] != 'd'))
            log_text_does_not_fit_its_arguments();
        size_t at = located ? 2 : 0;
        if (!(fits<Args>(found.of[at++]) && ...))
            log_text_does_not_fit_its_arguments();
    }
};

// Keeps the arguments from taking part in the deduction of the text's type.
template <typename T> struct same {
    using type = T;
};
template <typename... Args> using text_for = log_text<typename same<Args>::type...>;

/* Prints the tag and the text behind it. Out of line and without templates: the module has some
 * 250 messages, and few of them are ever printed. */
extern "C" [[gnu::cold]] void gpon_log(u32 level_word, const char* text, ...);

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

// Always inline: out of line, each combination of arguments keeps a frame of its own in the walk.
template <typename... Args>
[[gnu::always_inline]] inline void emit(u32 level_word, log_text<Args...> text, Args... args)
{
    if (text.located)
        gpon_log(level_word, text.text, text.function, text.line, args...);
    else
        gpon_log(level_word, text.text, args...);
}

#pragma GCC diagnostic pop

inline u32 debug_level()
{
    return load_relaxed(gponDebugLevel);
}

inline u32 flag_word_of(const sk_buff* skb)
{
    return load_unaligned<u32>(reinterpret_cast<const u8*>(skb) + skb_flag_word_offset);
}

} // namespace gpon

/* Messages of functions without a packet, by gponDebugLevel alone. Any context. */
template <typename... Args> inline void log_error(gpon::text_for<Args...> text, Args... args)
{
    if (gpon::debug_level() & LOG_ERROR) [[unlikely]]
        gpon::emit<Args...>(LOG_ERROR, text, args...);
}

template <typename... Args> inline void log_warning(gpon::text_for<Args...> text, Args... args)
{
    if (gpon::debug_level() & LOG_WARNING) [[unlikely]]
        gpon::emit<Args...>(LOG_WARNING, text, args...);
}

template <typename... Args> inline void log_trace(gpon::text_for<Args...> text, Args... args)
{
    if (gpon::debug_level() & LOG_TRACE) [[unlikely]]
        gpon::emit<Args...>(LOG_TRACE, text, args...);
}

/* Messages about one packet; skb must not be null. Packet path. */
template <typename... Args>
inline void log_packet(const sk_buff* skb, log_level level, gpon::text_for<Args...> text,
                       Args... args)
{
    const u32 word = gpon::flag_word_of(skb) | level;
    if ((word & gpon::debug_level()) || (word & GPON_FLOW_TRACE_MARK)) [[unlikely]]
        gpon::emit<Args...>(word, text, args...);
}

template <typename... Args>
inline void packet_error(const sk_buff* skb, gpon::text_for<Args...> text, Args... args)
{
    log_packet<Args...>(skb, LOG_ERROR, text, args...);
}

template <typename... Args>
inline void packet_warning(const sk_buff* skb, gpon::text_for<Args...> text, Args... args)
{
    log_packet<Args...>(skb, LOG_WARNING, text, args...);
}

template <typename... Args>
inline void packet_trace(const sk_buff* skb, gpon::text_for<Args...> text, Args... args)
{
    log_packet<Args...>(skb, LOG_TRACE, text, args...);
}

/* Where a message comes from, taken at the call of a helper that reports under its caller's name:
 * a parameter `log_site site = log_site::here()`. */
struct log_site {
    const char* function;
    i32 line;
    static constexpr log_site here(const char* caller = __builtin_FUNCTION(),
                                   i32 caller_line = __builtin_LINE())
    {
        return {caller, caller_line};
    }

    template <typename... Args>
    constexpr gpon::log_text<Args...> locate(gpon::log_text<Args...> text) const
    {
        text.function = function;
        text.line = line;
        return text;
    }
};

template <typename... Args>
inline void log_error_from(log_site site, gpon::text_for<Args...> text, Args... args)
{
    if (gpon::debug_level() & LOG_ERROR) [[unlikely]]
        gpon::emit<Args...>(LOG_ERROR, site.locate(text), args...);
}

template <typename... Args>
inline void log_trace_from(log_site site, gpon::text_for<Args...> text, Args... args)
{
    if (gpon::debug_level() & LOG_TRACE) [[unlikely]]
        gpon::emit<Args...>(LOG_TRACE, site.locate(text), args...);
}

template <typename... Args>
inline void log_warning_from(log_site site, gpon::text_for<Args...> text, Args... args)
{
    if (gpon::debug_level() & LOG_WARNING) [[unlikely]]
        gpon::emit<Args...>(LOG_WARNING, site.locate(text), args...);
}

template <typename... Args>
inline void log_packet_from(log_site site, const sk_buff* skb, log_level level,
                            gpon::text_for<Args...> text, Args... args)
{
    const u32 word = gpon::flag_word_of(skb) | level;
    if ((word & gpon::debug_level()) || (word & GPON_FLOW_TRACE_MARK)) [[unlikely]]
        gpon::emit<Args...>(word, site.locate(text), args...);
}

#endif
