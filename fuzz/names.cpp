// names.cpp - name syntaxes and path names of any bytes: the functions agree with each other on
// what is valid, and what they build is made of what they were given.
#include "choices.h"
#include "watch.h"
#include "zor/str.h"
#include "zor/zor.h"

namespace {

// Null when empty, half the time.
class Text {
public:
    explicit Text(Choices &choices, size_t most = 60) : text_(choices.text(most)) {
        given_ = !text_.empty() || choices.toss();
    }
    [[nodiscard]] const char *get() const { return given_ ? text_.c_str() : nullptr; }
    [[nodiscard]] const std::string &string() const { return text_; }

private:
    std::string text_;
    bool given_;
};

bool contains(const char *whole, const std::string &part) {
    return std::string_view(whole).find(part) != std::string_view::npos;
}

void parse(const char *syntax) {
    const bool valid = ZOR_name_syntax_verify(syntax) != 0;
    check(valid == (zor__err == 0));
    const bool has_extension = ZOR_name_syntax_has_ext(syntax) != 0;
    ZOR_name_syntax_ends_ext(syntax);
    const bool has_frame = ZOR_name_syntax_has_frame(syntax) != 0;
    for (int32_t front = 0; front < 3; ++front) {
        ZOR_NAME_ELEMENT *elements = nullptr;
        const bool parsed = ZOR_parse_name_syntax(syntax, &elements, front) != 0;
        check(parsed == valid && parsed == (elements != nullptr));
        if (!parsed)
            continue;
        size_t length = 0;
        bool frame = false;
        bool extension = false;
        for (ZOR_NAME_ELEMENT *element = elements + front; element->kind != ZOR_NAME_END;
             ++element) {
            check(element->length > 0 && strnlen(element->text, 1) == 1);
            length += static_cast<size_t>(element->length);
            frame |= element->kind == ZOR_NAME_FRAME;
            extension |= element->kind == ZOR_NAME_EXTENSION;
        }
        check(length == std::strlen(syntax) && frame == has_frame && extension == has_extension);
        ERR_free(elements);
    }
}

void build(const Text &directory, const Text &base, int32_t frame, const Text &extension,
           const Text &syntax) {
    char *const paths[] = {
        ZOR_pathname_build(directory.get(), base.get(), frame, extension.get(), syntax.get()),
        ZOR_pathname_build_from_name_syntax(syntax.get(), directory.get(), base.get(), frame,
                                            extension.get()),
        ZOR_pathname_build_no_name_syntax(directory.get(), base.get(), extension.get())};
    check((paths[2] == nullptr) == base.string().empty());
    if (paths[2] != nullptr)
        check(contains(paths[2], base.string()) &&
              std::string_view(paths[2]).ends_with(extension.string()));
    if (syntax.string().empty())
        check((paths[0] != nullptr) == (paths[2] != nullptr) && paths[1] == nullptr);
    else
        check(STR_compare(paths[0], paths[1]) == 0 || (paths[0] != nullptr && paths[1] != nullptr));
    for (char *path : paths) {
        check(path == nullptr || STR_length(path) > 0);
        ERR_free(path);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    watch::start();
    Choices choices(data, size);
    // Half of them of words that mean something.
    Text syntax(choices, 200);
    const char *words[] = {"name", "ext", "#", "##", ".", "_", "NAME", "-", "/", "Ext"};
    std::string made;
    for (int i = choices.roll(8); i > 0; --i)
        made += choices.pick(words);
    const size_t before = watch::used;
    parse(syntax.get());
    parse(made.c_str());
    const size_t kept = watch::used; // the copy that elements point into
    check(kept >= before && kept - before <= 2 * size + 256);

    const Text directory(choices);
    const Text base(choices);
    const Text extension(choices);
    const auto frame = choices.bits<int32_t>();
    build(directory, base, frame, extension, syntax);
    const auto *text = reinterpret_cast<const uint8_t *>(made.c_str());
    Choices made_choices(text, made.size());
    build(directory, base, frame % 100000, extension, Text(made_choices, 200));
    check(watch::used == kept);
    return 0;
}
