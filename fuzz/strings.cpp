// strings.cpp - the string functions on any texts and numbers keep to the buffers they were
// promised and, where it can be told in a line, do what a plain string would.
#include <algorithm>
#include <memory>

#include "choices.h"
#include "watch.h"
#include "zor/str.h"

namespace {

// A buffer of exactly so many bytes that begins with a text.
class Buffer {
public:
    explicit Buffer(const std::string &text, size_t spare = 0)
        : bytes_(std::make_unique<char[]>(text.size() + 1 + spare)) {
        std::memcpy(bytes_.get(), text.c_str(), text.size() + 1);
    }
    char *get() { return bytes_.get(); }

private:
    std::unique_ptr<char[]> bytes_;
};

std::string take(char *growable) {
    check(growable != nullptr);
    std::string text = growable;
    ERR_free(growable);
    return text;
}

void lengthen(const std::string &a, const std::string &b, int32_t index, int32_t n) {
    const size_t most = n < 0 ? 0 : static_cast<size_t>(n);
    check(take(STR_save_n(2, a.c_str(), b.c_str())) == a + b);
    check(take(STR_append(STR_save(a.c_str()), b.c_str())) == a + b);
    check(take(STR_n_save(a.c_str(), n)) == a.substr(0, most));
    const auto place = static_cast<size_t>(std::clamp<int64_t>(index, 0, int64_t(a.size())));
    std::string expected = a;
    check(take(STR_n_insert(STR_save(a.c_str()), b.c_str(), index, n)) ==
          expected.insert(place, b.substr(0, most)));
    take(STR_insert(STR_save(a.c_str()), 'x', index));
    take(STR_n_append(STR_save(a.c_str()), b.c_str(), n % 1000));
    char *more = STR_more(STR_save(a.c_str()), n % 1000);
    check(more != nullptr && std::strlen(more) <= 1000);
    ERR_free(more);
}

void shorten(const std::string &a, char c, int32_t index, int32_t n) {
    const auto edit = [&](auto function) {
        Buffer buffer(a);
        check(function(buffer.get()) == buffer.get());
        return std::string(buffer.get());
    };
    std::string expected = a;
    std::erase(expected, c);
    check(edit([&](char *text) { return STR_remove_all(text, c); }) == expected);
    edit([&](char *text) { return STR_remove(text, c); });
    edit([&](char *text) { return STR_remove_reverse(text, c); });
    edit([&](char *text) { return STR_remove_index(text, index); });
    check(edit([&](char *text) { return STR_n_remove_index(text, index, n); }).size() <= a.size());
    check(edit([](char *text) { return STR_reverse(text); }) == std::string(a.rbegin(), a.rend()));
    edit(STR_tolower);
    edit(STR_toupper);
    const int32_t width = n % 300;
    Buffer padded(a, 300);
    check(std::strlen(STR_pad(padded.get(), c == '\0' ? ' ' : c, width)) ==
          std::max(a.size(), static_cast<size_t>(std::max(width, 0))));
}

void compare(const std::string &a, const std::string &b, int32_t n, uint32_t modulus) {
    const auto sign = [](int order) { return (order > 0) - (order < 0); };
    check(sign(STR_compare(a.c_str(), b.c_str())) == -sign(STR_compare(b.c_str(), a.c_str())));
    check((STR_compare(a.c_str(), b.c_str()) == 0) == (a == b));
    check(STR_n_compare(a.c_str(), a.c_str(), n) == 0);
    STR_n_compare(a.c_str(), b.c_str(), n);
    STR_abbr(a.c_str(), b.c_str());
    check(sign(STR_abbr_compare(a.c_str(), b.c_str())) ==
          -sign(STR_abbr_compare(b.c_str(), a.c_str())));
    check(modulus == 0 || STR_hash(a.c_str(), modulus) < modulus);
    check(STR_is_numeric(a.c_str()) <= STR_is_real(a.c_str()) &&
          STR_is_integer(a.c_str()) <= STR_is_real(a.c_str()));
}

void split(const std::string &a, const std::string &b) {
    Buffer buffer(a);
    char **words = STR_parse(buffer.get());
    check(words != nullptr);
    for (char **word = words; *word != nullptr; ++word)
        check(**word != '\0');
    check((STR_find_string(words, b.c_str()) == nullptr) ==
          (STR_find_string_reverse(words, b.c_str()) == nullptr));
    check(STR_sort_collate(words) == words && STR_sort_reverse(words) == words &&
          STR_sort(words) == words);
    for (char **word = words; *word != nullptr; ++word) {
        check(word == words || STR_compare(word[-1], word[0]) <= 0);
        *word = const_cast<char *>(STR_define(*word));
    }
    STR_undefine_array(words);
}

void use_names(const std::string &a, const std::string &b) {
    for (char *(*const cut)(char *) : {STR_head, STR_root, STR_host}) {
        Buffer buffer(a);
        const char *result = cut(buffer.get());
        check(result == nullptr ? buffer.get() == a : a.starts_with(result));
    }
    for (char *(*const find)(const char *) : {STR_tail, STR_extension, STR_host_remove}) {
        const char *result = find(a.c_str());
        check(result == nullptr || a.ends_with(result));
    }
    Buffer host(a);
    check((STR_filename_host(host.get(), a.c_str()) != 0) ==
          (STR_filename_host(nullptr, a.c_str()) != 0));
    Buffer clean(a, 2);
    const std::string once = STR_filename_clean(clean.get());
    // "./a:b" loses what kept "a:" from being a host.
    check(a.find(':') != std::string::npos || STR_filename_clean(clean.get()) == once);

    Buffer absolute(a + b, 1); // which makes two more than the lengths
    STR_filename_absolute(absolute.get(), a.c_str(), b.c_str());
    Buffer in_place(a, b.size() + 1);
    STR_filename_absolute(in_place.get(), in_place.get(), b.c_str());
    check(std::string(absolute.get()) == in_place.get());
    Buffer relative(b, 6);
    STR_filename_relative(relative.get(), a.c_str(), b.c_str());
}

void expand(const std::string &a, const std::string &b) {
    const std::string value = "v" + b; // an empty one is none at all on some systems
    set_variable("V", value.c_str());
    char *result = nullptr;
    const int known = STR_expand_filename(a.c_str(), &result);
    const size_t length = take(result).size();
    check(length <= 259);
    STR_expand_filename("${V}x$V", &result);
    check(known == 1 || a.find('$') != std::string::npos);
    check(take(result) == (value + "x" + value).substr(0, 259));
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    watch::start();
    Choices choices(data, size);
    const auto index = choices.toss() ? choices.bits<int8_t>() : choices.bits<int32_t>();
    const auto n = choices.toss() ? choices.bits<int8_t>() : choices.bits<int32_t>();
    const auto c = choices.bits<char>();
    const std::string a = choices.text(400);
    const std::string b = choices.text(400);
    const size_t before = watch::used;
    lengthen(a, b, index, n);
    shorten(a, c, index, n);
    compare(a, b, n, static_cast<uint32_t>(index));
    split(a, b);
    use_names(a, b);
    expand(a, b);
    check(watch::used == before);
    return 0;
}
