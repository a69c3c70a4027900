// directories.cpp - following the list of pages. libtiff could, but only page by page from the
// first one each time; going to a page at once takes knowing where it is.
#include "directories.h"

using driver::Cause;

namespace tiffio {

namespace {

constexpr int32_t most_pages = 1 << 20;

// The sizes of numbers in the two kinds of files.
struct Layout {
    int count, entry, offset; // bytes
    int first;                // position of the first directory's position
    bool big_endian;
};

Layout layout_of(TIFF *tiff) {
    const bool big_endian = TIFFIsBigEndian(tiff) != 0;
    return TIFFIsBigTIFF(tiff) != 0 ? Layout{8, 20, 8, 8, big_endian}
                                    : Layout{2, 12, 4, 4, big_endian};
}

// Reads an unsigned number. False when the file has no such position or cannot be read.
bool read_number(Codec &codec, const Layout &layout, int64_t position, int size, uint64_t *number) {
    uint8_t bytes[8];
    const auto length = static_cast<size_t>(size);
    if (position > codec.size - size || fseeko(codec.file, position, SEEK_SET) != 0 ||
        std::fread(bytes, 1, length, codec.file) != length)
        return false;
    *number = 0;
    for (int i = 0; i < size; ++i)
        *number = *number << 8 | bytes[layout.big_endian ? i : size - 1 - i];
    return true;
}

// Finds the directory behind one. False when this one is not all there. A file that is cut off
// right behind the last entry still has the page.
bool find_next(Codec &codec, const Layout &layout, int64_t at, uint64_t *next) {
    uint64_t entries = 0;
    if (!read_number(codec, layout, at, layout.count, &entries) ||
        entries > static_cast<uint64_t>(codec.size / layout.entry))
        return false;
    const int64_t end = at + layout.count + static_cast<int64_t>(entries) * layout.entry;
    if (!read_number(codec, layout, end, layout.offset, next))
        *next = 0;
    return end <= codec.size;
}

bool append(Directories *list, int64_t offset) {
    if (list->count == list->room) {
        const int32_t room = list->room == 0 ? 16 : 2 * list->room;
        void *grown = ERR_realloc(list->offsets, static_cast<size_t>(room) * sizeof(int64_t));
        if (grown == nullptr)
            return false;
        list->offsets = static_cast<int64_t *>(grown);
        list->room = room;
    }
    list->offsets[list->count++] = offset;
    return true;
}

// Cuts the list where it begins to repeat itself with the given period.
void cut_loop(Directories *list, int32_t period) {
    int32_t first = 0;
    while (list->offsets[first] != list->offsets[first + period])
        ++first;
    list->count = first + period;
}

// Returns what is wrong with the list, or null. The codec knows when memory ran out.
const char *follow(Codec &codec, uint64_t next, Directories *list) {
    const Layout layout = layout_of(codec.tiff);
    // The mark moves ahead in growing strides; a list that comes by it again is a loop.
    int32_t mark = 0;
    while (next != 0) {
        if (next > static_cast<uint64_t>(codec.size))
            return "the list of its pages is damaged";
        const auto at = static_cast<int64_t>(next);
        if (!find_next(codec, layout, at, &next))
            return "the list of its pages is damaged";
        if (!append(list, at)) {
            codec.trouble.cause = Cause::memory;
            return nullptr;
        }
        const int32_t latest = list->count - 1;
        if (latest > mark && list->offsets[mark] == at) {
            cut_loop(list, latest - mark);
            return "the list of its pages has no end";
        }
        if (latest >= 2 * mark + 1)
            mark = latest;
        if (list->count == most_pages)
            return next != 0 ? "there are more pages than can be read" : nullptr;
    }
    return nullptr;
}

} // namespace

int32_t list_directories(Codec &codec, Directories *list) {
    const Layout layout = layout_of(codec.tiff);
    forget_trouble(codec);
    uint64_t first = 0;
    if (!read_number(codec, layout, layout.first, layout.offset, &first))
        codec.trouble.cause = Cause::ended;
    const char *problem = follow(codec, first, list);
    if (list->count > 0 && codec.trouble.cause != Cause::memory) {
        if (problem != nullptr)
            driver::warn(*codec.image, codec.trouble, problem);
        return 0;
    }
    if (first == 0 && codec.trouble.cause == Cause::none)
        driver::refuse(codec.trouble, Cause::data, "there is no page in it");
    else if (codec.trouble.cause != Cause::memory)
        codec.trouble.cause = std::ferror(codec.file) != 0 ? Cause::file : Cause::ended;
    return driver::fail_open(*codec.image, codec.trouble);
}

} // namespace tiffio
