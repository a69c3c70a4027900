// codec.cpp - what libpng calls back: memory, files, warnings and errors.
#include "codec.h"

#include <cerrno>
#include <cstring>

#include "shared/driver_support.h"

namespace pngio {

namespace {

constexpr int most_warnings = 8;

void *allocate(png_structp png, png_alloc_size_t size) {
    auto *codec = static_cast<Codec *>(png_get_mem_ptr(png));
    void *block = ERR_malloc(size <= codec->largest_block ? size : SIZE_MAX);
    if (block == nullptr)
        codec->trouble = Trouble::memory;
    return block;
}

void release(png_structp, void *block) { ERR_free(block); }

[[noreturn]] void on_error(png_structp png, const char *message) {
    auto *codec = static_cast<Codec *>(png_get_error_ptr(png));
    if (codec->trouble == Trouble::none)
        codec->trouble = Trouble::data;
    std::snprintf(codec->text, sizeof codec->text, "%s", message);
    png_longjmp(png, 1);
}

// A file that is odd but can be used.
void on_warning(png_structp png, const char *message) {
    auto *codec = static_cast<Codec *>(png_get_error_ptr(png));
    if (codec->trouble != Trouble::memory && codec->warnings++ < most_warnings)
        ERR_printf(ERR_WARNING, "%s: %s", codec->image->file_name, message);
}

// Where libpng lacks memory for something that it deems unimportant it goes on, more or less in step
// with the file. The next transfer ends that.
void stop_without_memory(png_structp png, const Codec &codec) {
    if (codec.trouble == Trouble::memory)
        png_error(png, "");
}

void on_read(png_structp png, png_byte *data, size_t length) {
    auto &codec = *static_cast<Codec *>(png_get_io_ptr(png));
    stop_without_memory(png, codec);
    if (std::fread(data, 1, length, codec.file) == length)
        return;
    codec.error = errno;
    codec.trouble = std::ferror(codec.file) != 0 ? Trouble::file : Trouble::ended;
    png_error(png, "");
}

void on_write(png_structp png, png_byte *data, size_t length) {
    auto &codec = *static_cast<Codec *>(png_get_io_ptr(png));
    stop_without_memory(png, codec);
    if (std::fwrite(data, 1, length, codec.file) == length)
        return;
    codec.error = errno;
    codec.trouble = Trouble::file;
    png_error(png, "");
}

// Closing flushes.
void on_flush(png_structp) {}

// The second half of both creations.
bool create_info(Codec &codec) {
    if (codec.png != nullptr)
        codec.info = png_create_info_struct(codec.png);
    if (codec.info != nullptr)
        return true;
    if (codec.trouble == Trouble::memory)
        driver::set_status(ZOR_E_MEMORY);
    else
        fail_open(codec); // the library found at run time is not the one this was built with
    return false;
}

} // namespace

bool create_reader(Codec &codec) {
    codec.png = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, &codec, on_error, on_warning,
                                         &codec, allocate, release);
    if (!create_info(codec))
        return false;
    png_set_read_fn(codec.png, &codec, on_read);
    return true;
}

bool create_writer(Codec &codec) {
    codec.png = png_create_write_struct_2(PNG_LIBPNG_VER_STRING, &codec, on_error, on_warning,
                                          &codec, allocate, release);
    if (!create_info(codec))
        return false;
    png_set_write_fn(codec.png, &codec, on_write, on_flush);
    return true;
}

void destroy_reader(Codec &codec) {
    if (codec.png != nullptr)
        png_destroy_read_struct(&codec.png, &codec.info, nullptr);
}

void destroy_writer(Codec &codec) {
    if (codec.png != nullptr)
        png_destroy_write_struct(&codec.png, &codec.info);
}

const char *reason(const Codec &codec) {
    switch (codec.trouble) {
    case Trouble::ended:
        return "the file is too short";
    case Trouble::file:
        return std::strerror(codec.error);
    default:
        return codec.text;
    }
}

bool fail_open(Codec &codec) {
    const char *name = codec.image->file_name;
    const bool writing = (codec.image->mode & ZOR_MODE_WRITE) != 0;
    switch (codec.trouble) {
    case Trouble::memory:
        return driver::set_status(ZOR_E_MEMORY) == 0;
    case Trouble::ended:
    case Trouble::file:
        if (writing)
            return zor__fail(ZOR_E_WRITE, ZOR_MSG_CANNOT_WRITE, name, reason(codec)) == 0;
        return zor__fail(ZOR_E_READ, ZOR_MSG_CANNOT_OPEN, name, reason(codec)) == 0;
    default:
        return zor__fail(writing ? ZOR_E_WRITE : ZOR_E_DECODE, ZOR_MSG_CANNOT_OPEN, name,
                         reason(codec)) == 0;
    }
}

} // namespace pngio
