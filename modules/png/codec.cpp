// codec.cpp - what libpng calls back: memory, files, warnings and errors.
#include "codec.h"

#include <cerrno>

using driver::Cause;

namespace pngio {

namespace {

void *allocate(png_structp png, png_alloc_size_t size) {
    auto *codec = static_cast<Codec *>(png_get_mem_ptr(png));
    void *block = ERR_malloc(size <= codec->largest_block ? size : SIZE_MAX);
    if (block == nullptr)
        codec->trouble.cause = Cause::memory;
    return block;
}

void release(png_structp, void *block) { ERR_free(block); }

[[noreturn]] void on_error(png_structp png, const char *message) {
    auto *codec = static_cast<Codec *>(png_get_error_ptr(png));
    const Cause cause = codec->trouble.cause;
    driver::refuse(codec->trouble, cause == Cause::none ? Cause::data : cause, message);
    png_longjmp(png, 1);
}

void on_warning(png_structp png, const char *message) {
    auto *codec = static_cast<Codec *>(png_get_error_ptr(png));
    driver::warn(*codec->image, codec->trouble, message);
}

// Where libpng lacks memory for something that it deems unimportant it goes on, more or less in
// step with the file. The next transfer ends that.
void stop_without_memory(png_structp png, const Codec &codec) {
    if (codec.trouble.cause == Cause::memory)
        png_error(png, "");
}

void on_read(png_structp png, png_byte *data, size_t length) {
    auto &codec = *static_cast<Codec *>(png_get_io_ptr(png));
    stop_without_memory(png, codec);
    if (std::fread(data, 1, length, codec.file) == length)
        return;
    codec.trouble.error = errno;
    codec.trouble.cause = std::ferror(codec.file) != 0 ? Cause::file : Cause::ended;
    png_error(png, "");
}

void on_write(png_structp png, png_byte *data, size_t length) {
    auto &codec = *static_cast<Codec *>(png_get_io_ptr(png));
    stop_without_memory(png, codec);
    if (std::fwrite(data, 1, length, codec.file) == length)
        return;
    codec.trouble.error = errno;
    codec.trouble.cause = Cause::file;
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
    // The library found at run time may not be the one this was built with.
    return driver::fail_open(*codec.image, codec.trouble) == 0;
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

} // namespace pngio
