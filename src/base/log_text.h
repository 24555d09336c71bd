/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The texts of messages, checked against their arguments at compile time.
 *
 * Most texts begin with the caller's name and line. The compiler supplies both if a text has
 * exactly two conversions more than arguments.
 */
#ifndef GPON_LOG_TEXT_H
#define GPON_LOG_TEXT_H

#include "types.h"

namespace gpon {

// Not constexpr: a call while a text is checked stops the compiler at the faulty message.
inline void log_text_does_not_fit_its_arguments() {}

template <typename T> [[nodiscard]] constexpr bool fits(char conversion)
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

    [[nodiscard]] constexpr log_text named(const char* name) const
    {
        log_text renamed = *this;
        renamed.function = name;
        return renamed;
    }
};

// Keeps the arguments from taking part in the deduction of the text's type.
template <typename T> struct same {
    using type = T;
};
template <typename... Args> using text_for = log_text<typename same<Args>::type...>;

/* The name of a function as a text, taken from the function itself: a misspelt or outdated name
 * does not compile. */
template <auto Function> struct function_name {
    static constexpr size_t longest = 64;
    char text[longest] = {};

    consteval function_name()
    {
        // "... [with auto Function = NAME]" by gcc, "... [Function = &NAME]" by clang.
        const char* at = __PRETTY_FUNCTION__;
        for (const char* c = at; *c; ++c)
            if (*c == '=')
                at = c + 1;
        while (*at == ' ' || *at == '&')
            ++at;
        for (size_t i = 0; *at && *at != ']' && *at != ';'; ++i)
            text[i] = *at++;
    }
};
template <auto Function> static constexpr function_name<Function> name_of = {};

} // namespace gpon

#endif
