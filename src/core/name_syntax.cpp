// name_syntax.cpp - the grammar of name syntaxes: checking and parsing them.
#include <cctype>
#include <cstdint>
#include <cstring>

#include "err/memory.h"
#include "err/status.h"
#include "zor/zor.h"

namespace {

constexpr char name_word[] = "name";
constexpr char extension_word[] = "ext";

// The lowered copy of the syntax parsed last; parsed elements point into it. It only grows and
// lives as long as the process.
struct WorkCopy {
    char *text;
    size_t size; // of the buffer, in bytes
} work_copy;

char lower(char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); }

bool has_word(const char *text, const char *word) {
    for (; *word != '\0'; ++text, ++word)
        if (lower(*text) != *word)
            return false;
    return true;
}

// Bytes from 128 on are no punctuation here, whatever the locale makes of them.
bool is_literal(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x80 && std::ispunct(byte) != 0 && c != '#' && c != '/';
}

struct Element {
    int32_t kind; // ZOR_NAME_END: nothing of the grammar
    size_t length;
};

// The longest element at the start of a text.
Element element_at(const char *text) {
    size_t length = 0;
    while (text[length] == '#')
        ++length;
    if (length > 0)
        return {ZOR_NAME_FRAME, length};
    while (is_literal(text[length]))
        ++length;
    if (length > 0)
        return {ZOR_NAME_LITERAL, length};
    while (has_word(text + length, name_word))
        length += std::strlen(name_word);
    if (length > 0)
        return {ZOR_NAME_NAME, length};
    if (has_word(text, extension_word))
        return {ZOR_NAME_EXTENSION, std::strlen(extension_word)};
    return {ZOR_NAME_END, 0};
}

struct Outline {
    bool valid;
    bool has_extension;
    size_t length;       // characters
    size_t num_elements; // without an end record
};

Outline outline_of(const char *syntax) {
    size_t seen[ZOR_NAME_LITERAL + 1] = {};
    Outline outline = {};
    while (syntax[outline.length] != '\0') {
        const Element element = element_at(syntax + outline.length);
        if (element.kind == ZOR_NAME_END)
            return outline;
        outline.length += element.length;
        ++outline.num_elements;
        ++seen[element.kind];
    }
    outline.has_extension = seen[ZOR_NAME_EXTENSION] > 0;
    outline.valid = seen[ZOR_NAME_NAME] + seen[ZOR_NAME_FRAME] > 0 && seen[ZOR_NAME_FRAME] <= 1 &&
                    seen[ZOR_NAME_EXTENSION] <= 1;
    return outline;
}

// Leaves the verdict on a syntax in zor__err.
Outline verified(const char *syntax) {
    if (syntax == nullptr || syntax[0] == '\0') {
        zor::set_status(ZOR_E_EMPTY_SYNTAX);
        return {};
    }
    const Outline outline = outline_of(syntax);
    zor::set_status(outline.valid ? ZOR_OK : ZOR_E_SYNTAX);
    return outline;
}

// An array of cleared element records; null when memory ran out.
ZOR_NAME_ELEMENT *allocate_elements(uint64_t count) {
    if (count > PTRDIFF_MAX / sizeof(ZOR_NAME_ELEMENT))
        return nullptr;
    const size_t size = static_cast<size_t>(count) * sizeof(ZOR_NAME_ELEMENT);
    void *block = zor::quiet_malloc(size); // naming calls report nothing
    if (block != nullptr)
        std::memset(block, 0, size);
    return static_cast<ZOR_NAME_ELEMENT *>(block);
}

// The work copy with a syntax in it, lowered; null when memory ran out.
const char *lowered(const char *syntax, size_t length) {
    constexpr size_t step = 16;
    if (length > INT32_MAX) // elements count their characters in 32 bits
        return nullptr;
    if (length >= work_copy.size) {
        const size_t size = ((length + 1) / step + 1) * step;
        void *block = zor::quiet_realloc(work_copy.text, size);
        if (block == nullptr)
            return nullptr;
        work_copy = {static_cast<char *>(block), size};
    }
    for (size_t i = 0; i <= length; ++i)
        work_copy.text[i] = lower(syntax[i]);
    return work_copy.text;
}

} // namespace

int ZOR_name_syntax_verify(const char *syntax) { return verified(syntax).valid ? 1 : 0; }

int ZOR_name_syntax_has_ext(const char *syntax) {
    if (syntax == nullptr)
        return 0;
    const Outline outline = verified(syntax);
    return outline.valid && outline.has_extension ? 1 : 0;
}

int ZOR_name_syntax_ends_ext(const char *syntax) {
    const size_t length = syntax == nullptr ? 0 : std::strlen(syntax);
    const size_t wanted = std::strlen(extension_word);
    return length >= wanted && has_word(syntax + length - wanted, extension_word) ? 1 : 0;
}

int ZOR_name_syntax_has_frame(const char *syntax) {
    return syntax != nullptr && std::strchr(syntax, '#') != nullptr ? 1 : 0;
}

const char *ZOR_name_syntax_name(void) { return name_word; }

int ZOR_parse_name_syntax(const char *syntax, ZOR_NAME_ELEMENT **elements, int32_t index) {
    *elements = nullptr;
    const Outline outline = syntax == nullptr ? Outline{} : outline_of(syntax);
    if (!outline.valid) {
        zor::set_status(ZOR_E_SYNTAX);
        return 0;
    }
    const size_t first = index > 0 ? static_cast<size_t>(index) : 0;
    const char *text = lowered(syntax, outline.length);
    ZOR_NAME_ELEMENT *array =
        text == nullptr ? nullptr : allocate_elements(uint64_t{first} + outline.num_elements + 1);
    if (array == nullptr) {
        zor::set_status(ZOR_E_MEMORY);
        return 0;
    }
    for (size_t i = 0; i <= outline.num_elements; ++i) {
        const Element element = element_at(text);
        ZOR_NAME_ELEMENT &record = array[first + i];
        record.four = 4;
        record.length = element.kind == ZOR_NAME_END ? 1 : static_cast<int32_t>(element.length);
        record.text = text;
        record.kind = element.kind;
        text += element.length;
    }
    *elements = array;
    return 1;
}
