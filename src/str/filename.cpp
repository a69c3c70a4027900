// filename.cpp - pieces of file names, and names made clean, absolute or relative.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "str/text.h"
#include "zor/str.h"

using namespace zor;

namespace {

// Characters of the host prefix, its ':' included; 0 without one.
size_t host_prefix(const char *name) {
    if (name == nullptr)
        return 0;
    const size_t host = std::strcspn(name, ":/");
    return name[host] == ':' ? host + 1 : 0;
}

// The last occurrence of a character, or null.
char *last(const char *name, char character) {
    return name == nullptr ? nullptr : const_cast<char *>(std::strrchr(name, character));
}

// Copies between buffers that may be the same.
void copy(char *destination, const char *source) {
    std::memmove(destination, source, std::strlen(source) + 1);
}

const char *skip_slashes(const char *name) { return name + std::strspn(name, "/"); }

// Characters of the component a name begins with.
size_t component(const char *name) { return std::strcspn(name, "/"); }

bool is_dot(const char *name, size_t size) { return size == 1 && name[0] == '.'; }

bool is_dot_dot(const char *name, size_t size) {
    return size == 2 && name[0] == '.' && name[1] == '.';
}

size_t count_components(const char *name) {
    size_t count = 0;
    for (name = skip_slashes(name); *name != '\0'; name = skip_slashes(name + component(name)))
        ++count;
    return count;
}

// Cuts a directory back by one component; slashes at its end do not count as one.
void cut_component(char *directory) {
    size_t size = std::strlen(directory);
    while (size > 0 && directory[size - 1] == '/')
        --size;
    while (size > 0 && directory[size - 1] != '/')
        --size;
    directory[size > 0 ? size - 1 : 0] = '\0';
    if (*directory == '\0') // nothing is above the root
        copy(directory, "/");
}

} // namespace

char *STR_tail(const char *name) {
    char *slash = last(name, '/');
    return slash == nullptr ? const_cast<char *>(name) : slash + 1;
}

char *STR_head(char *name) {
    char *slash = last(name, '/');
    if (slash == nullptr)
        return nullptr;
    while (slash > name && slash[-1] == '/')
        --slash;
    *slash = '\0';
    return name;
}

char *STR_extension(const char *name) {
    char *dot = last(name, '.');
    return dot == nullptr ? nullptr : dot + 1;
}

char *STR_root(char *name) {
    if (char *dot = last(name, '.'))
        *dot = '\0';
    return name;
}

char *STR_host(char *name) {
    const size_t prefix = host_prefix(name);
    if (prefix < 2) // no prefix, or one without a host in it
        return nullptr;
    name[prefix - 1] = '\0';
    return name;
}

char *STR_host_remove(const char *name) {
    // Names that went through several hosts have a prefix for each.
    while (const size_t prefix = host_prefix(name))
        name += prefix;
    return const_cast<char *>(name);
}

intptr_t STR_filename_host(char *destination, const char *name) {
    const size_t prefix = host_prefix(name);
    if (prefix == 0)
        return 0;
    if (destination == nullptr)
        return 1;
    std::memmove(destination, name, prefix - 1);
    destination[prefix - 1] = '\0';
    return reinterpret_cast<intptr_t>(destination);
}

// Every "." goes, also one that kept a component with a ':' from being taken for a host: "./a:b"
// has always become "a:b".
char *STR_filename_clean(char *name) {
    if (name == nullptr)
        return nullptr;
    char *const begin = name + host_prefix(name);
    const bool rooted = *begin == '/';
    char *const first = begin + (rooted ? 1 : 0);
    char *out = first;     // end of the clean name, never ahead of what is read
    char *settled = first; // end of the leading ".." components, which nothing removes

    for (const char *in = skip_slashes(begin); *in != '\0'; in = skip_slashes(in)) {
        const size_t size = component(in);
        const bool up = is_dot_dot(in, size);
        if (up && out > settled) {
            do
                --out;
            while (out > settled && *out != '/');
        } else if (!is_dot(in, size) && !(up && rooted)) {
            if (out > first)
                *out++ = '/';
            std::memmove(out, in, size);
            out += size;
            if (up)
                settled = out;
        }
        in += size;
    }
    if (out == begin)
        *out++ = '.';
    *out = '\0';
    return name;
}

void STR_filename_absolute(char *destination, const char *directory, const char *name) {
    name = or_empty(name);
    if (*name == '\0' || *name == '/' || host_prefix(name) > 0) {
        copy(destination, name);
        return;
    }
    size_t climbs = 0;
    for (;;) {
        const size_t size = component(name);
        const bool up = is_dot_dot(name, size);
        if (!up && !is_dot(name, size))
            break;
        climbs += up ? 1U : 0U;
        name = skip_slashes(name + size);
    }

    copy(destination, or_empty(directory));
    for (; climbs > 0; --climbs)
        cut_component(destination);
    if (*name == '\0')
        return;
    size_t size = std::strlen(destination);
    if (size == 0 || destination[size - 1] != '/')
        destination[size++] = '/';
    copy(destination + size, name);
}

void STR_filename_relative(char *destination, const char *directory, const char *name) {
    // A climb this long, or out of a directory this close to the root, reads worse than the whole
    // name and breaks sooner when trees are moved.
    constexpr size_t too_many_climbs = 3;
    constexpr size_t least_depth = 3;

    name = or_empty(name);
    directory = or_empty(directory);
    if (*name == '\0' || host_prefix(name) > 0) {
        copy(destination, name);
        return;
    }
    size_t common = 0;
    while (directory[common] != '\0' && directory[common] == name[common])
        ++common;
    // Equal beginnings of two different components are not common.
    if (component(directory + common) > 0 || component(name + common) > 0)
        while (common > 0 && directory[common - 1] != '/')
            --common;

    const size_t up = count_components(directory + common);
    if (up > 0 && (up >= too_many_climbs || count_components(directory) < least_depth)) {
        copy(destination, name);
        return;
    }
    char *const rest = destination + 3 * up;
    copy(rest, skip_slashes(name + common));
    for (char *climb = destination; climb < rest;)
        climb = std::copy_n("../", 3, climb);
}
