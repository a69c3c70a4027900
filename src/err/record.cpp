// record.cpp - record reports: a record that the application owns, with a format of its own.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "base/base/number.h"
#include "err/reporter.h"

static_assert(sizeof(void *) != 4 || sizeof(ERR_OBJECT) == 40);
static_assert(sizeof(ERR_HANDLER) == 3 * sizeof(void *));

namespace {

// Collects text in a buffer and cuts what does not fit. Terminated by finish().
class Writer {
public:
    // The size counts the terminator. SIZE_MAX stands for a buffer the caller vouches for.
    Writer(char *buffer, size_t size) : at_(buffer), room_(size - 1) {}

    void put(char c) {
        if (room_ == 0)
            return;
        *at_++ = c;
        --room_;
    }
    void put(const char *text) {
        while (*text != '\0' && room_ != 0)
            put(*text++);
    }
    void finish() { *at_ = '\0'; }

private:
    char *at_;
    size_t room_;
};

const char *text_or_empty(const char *text) { return text == nullptr ? "" : text; }

// Of printf, %c, %d, %f, %s and %% are understood; anything else after a '%' is ordinary text.
void expand(Writer &out, const char *format, va_list arguments) {
    char number[400]; // the longest double has 309 digits before the point
    for (; *format != '\0'; ++format) {
        if (*format != '%') {
            out.put(*format);
            continue;
        }
        switch (*++format) {
        case '%':
            out.put('%');
            break;
        case 'c':
            out.put(static_cast<char>(va_arg(arguments, int)));
            break;
        case 'd':
            std::snprintf(number, sizeof number, "%d", va_arg(arguments, int));
            out.put(number);
            break;
        case 'f':
            zor::print_fixed(number, sizeof number, va_arg(arguments, double), 0, 6);
            out.put(number);
            break;
        case 's': {
            const char *text = va_arg(arguments, const char *);
            out.put(text == nullptr ? "(null)" : text);
            break;
        }
        case '\0':
            out.put('%');
            out.finish();
            return;
        default:
            out.put('%');
            out.put(*format);
        }
    }
    out.finish();
}

const char *conversion_name(char conversion) {
    switch (conversion) {
    case 'c':
        return "character";
    case 'd':
        return "integer";
    case 'f':
        return "real";
    case 's':
        return "string";
    default:
        return "unknown type";
    }
}

bool is_masked(const ERR_OBJECT *record) {
    return zor::report_mask(record->severity) != 0 || (record->flags & zor::record_masked) != 0;
}

template<class T, class U>
void put(T *output, U value) {
    if (output != nullptr)
        *output = static_cast<T>(value);
}

} // namespace

void zor::expand_format(char *buffer, size_t size, const char *format, va_list arguments) {
    Writer out(buffer, size);
    expand(out, format, arguments);
}

int ERR_report(ERR_OBJECT *record, ...) {
    // Masked reports count here, unlike those of ERR_report_cat: a record's count tells how often
    // its trouble happened, whether or not anyone wanted to hear of it.
    zor::count_report(record->severity);
    ++record->count;
    if (is_masked(record))
        return 0;
    char message[256];
    Writer out(message, sizeof message);
    va_list arguments;
    va_start(arguments, record);
    expand(out, text_or_empty(record->text), arguments);
    va_end(arguments);
    zor::remember_report(record);
    err__dispatch(record, message);
    return 0;
}

char *ERR_format(char *buffer, ERR_OBJECT *record, ...) {
    if (is_masked(record))
        return buffer;
    Writer out(buffer, SIZE_MAX);
    va_list arguments;
    va_start(arguments, record);
    expand(out, text_or_empty(record->text), arguments);
    va_end(arguments);
    return buffer;
}

char *ERR_format_fill(const ERR_OBJECT *record, char *buffer) {
    Writer out(buffer, SIZE_MAX);
    const char *const *names = record->argument_names;
    for (const char *c = text_or_empty(record->text); *c != '\0'; ++c) {
        if (*c != '%' || c[1] == '\0') {
            out.put(*c);
            continue;
        }
        if (*++c == '%') {
            out.put('%');
            continue;
        }
        // A null name ends the names for good: the list does not advance past it.
        const bool named = names != nullptr && *names != nullptr;
        out.put('<');
        out.put(named ? *names++ : conversion_name(*c));
        out.put('>');
    }
    out.finish();
    return buffer;
}

uintptr_t ERR_query(const ERR_OBJECT *record, int *severity, int *masked, uint32_t *count,
                    const char **name, const char **text, uintptr_t *user_word_1,
                    uintptr_t *user_word_2) {
    put(severity, record->severity);
    put(masked, record->flags & zor::record_masked);
    put(count, record->count);
    put(name, record->name);
    put(text, record->text);
    put(user_word_1, record->user_word_1);
    put(user_word_2, record->user_word_2);
    return record->user_word_2;
}

int ERR_compare(const char *text, const ERR_OBJECT *record, int skip) {
    constexpr size_t prefix_length = 5;
    const char *name = text_or_empty(record->name);
    if (skip != 0)
        name += strnlen(name, prefix_length);
    const size_t length = std::strlen(text);
    return length < std::strlen(name) ? std::strncmp(text, name, length) : std::strcmp(text, name);
}
