// codec.cpp - what libtiff calls back: files, warnings and errors.
#include "codec.h"

#include <fcntl.h>

#include <cstdarg>
#include <cstring>

using driver::Cause;

namespace tiffio {

namespace {

bool is_writing(const Codec &codec) { return (codec.image->mode & ZOR_MODE_WRITE) != 0; }

Codec &codec_of(thandle_t handle) { return *static_cast<Codec *>(handle); }

// A non-zero result keeps libtiff from printing. Of several errors the first is nearest the cause.
ZOR_PRINTF(4, 0)
int on_error(TIFF *, void *user, const char *, const char *format, va_list arguments) {
    driver::Trouble &trouble = static_cast<Codec *>(user)->trouble;
    if (trouble.text[0] == '\0')
        std::vsnprintf(trouble.text, sizeof trouble.text, format, arguments);
    return 1;
}

ZOR_PRINTF(4, 0)
int on_warning(TIFF *, void *user, const char *, const char *format, va_list arguments) {
    // Every camera and scanner has tags of its own.
    constexpr char unknown_tag[] = "Unknown field";
    if (std::strncmp(format, unknown_tag, sizeof unknown_tag - 1) == 0)
        return 1;
    auto &codec = *static_cast<Codec *>(user);
    char text[sizeof codec.trouble.text];
    std::vsnprintf(text, sizeof text, format, arguments);
    driver::warn(*codec.image, codec.trouble, text);
    return 1;
}

void note_system_error(Codec &codec) {
    codec.trouble.cause = Cause::file;
    codec.trouble.error = errno;
    if (is_writing(codec) && codec.lost == 0)
        codec.lost = errno != 0 ? errno : EIO;
}

// Files are open for writing only, but to add a page libtiff has to find the end of the list of
// pages. It gets that from a second opening of the file.
tmsize_t read_back(Codec &codec, void *data, size_t size) {
    const auto position = ftello(codec.file);
    if (position < 0 || std::fflush(codec.file) != 0)
        return -1;
    if (codec.back == nullptr) {
        codec.back = zor__open_named_file(codec.image->file_name, "rb");
        if (codec.back == nullptr)
            return -1;
        std::setvbuf(codec.back, nullptr, _IONBF, 0); // nothing outdated
    }
    if (fseeko(codec.back, position, SEEK_SET) != 0)
        return -1;
    const size_t count = std::fread(data, 1, size, codec.back);
    if (fseeko(codec.file, position + static_cast<off_t>(count), SEEK_SET) != 0)
        return -1;
    return static_cast<tmsize_t>(count);
}

tmsize_t on_read(thandle_t handle, void *data, tmsize_t length) {
    Codec &codec = codec_of(handle);
    const auto size = static_cast<size_t>(length);
    if (is_writing(codec)) {
        const tmsize_t count = read_back(codec, data, size);
        if (count < 0)
            note_system_error(codec);
        return count;
    }
    const size_t count = std::fread(data, 1, size, codec.file);
    if (count != size && std::ferror(codec.file) != 0)
        note_system_error(codec);
    else if (count != size)
        codec.trouble.cause = Cause::ended;
    return static_cast<tmsize_t>(count);
}

tmsize_t on_write(thandle_t handle, void *data, tmsize_t length) {
    Codec &codec = codec_of(handle);
    const auto size = static_cast<size_t>(length);
    if (codec.discard)
        return length;
    if (data == nullptr && size > 0) // where libtiff did not look whether it got memory
        errno = ENOMEM;
    else if (codec.lost == 0 && std::fwrite(data, 1, size, codec.file) == size)
        return length;
    note_system_error(codec);
    return -1;
}

toff_t on_seek(thandle_t handle, toff_t offset, int whence) {
    Codec &codec = codec_of(handle);
    if (codec.discard)
        return offset;
    // Seeking empties the buffer of a file that is written, so that may fail too.
    if (offset <= INT64_MAX && fseeko(codec.file, static_cast<off_t>(offset), whence) == 0) {
        const auto position = ftello(codec.file);
        if (position >= 0)
            return static_cast<toff_t>(position);
    }
    if (is_writing(codec))
        note_system_error(codec);
    else
        codec.trouble.cause = Cause::ended;
    return static_cast<toff_t>(-1);
}

// The file is closed by the one who opened it.
int on_close(thandle_t) { return 0; }

toff_t on_size(thandle_t handle) {
    const Codec &codec = codec_of(handle);
    const int64_t size = is_writing(codec) ? driver::file_size(codec.file) : codec.size;
    return size > 0 ? static_cast<toff_t>(size) : 0;
}

bool open(Codec &codec, const char *mode, int64_t largest_block) {
    return run(codec, [&] {
        TIFFOpenOptions *options = TIFFOpenOptionsAlloc();
        if (options == nullptr)
            return driver::refuse(codec.trouble, Cause::data, "out of memory");
        TIFFOpenOptionsSetErrorHandlerExtR(options, on_error, &codec);
        TIFFOpenOptionsSetWarningHandlerExtR(options, on_warning, &codec);
        TIFFOpenOptionsSetMaxSingleMemAlloc(options, static_cast<tmsize_t>(largest_block));
        codec.tiff = TIFFClientOpenExt(codec.image->file_name, mode, &codec, on_read, on_write,
                                       on_seek, on_close, on_size, nullptr, nullptr, options);
        TIFFOpenOptionsFree(options);
        return codec.tiff != nullptr;
    });
}

} // namespace

// 'm': no mapping of files; 'h': the header only.
bool open_reader(Codec &codec) { return open(codec, "rmh", codec.allowance); }

// 'l': the least significant byte first on every machine; '8': positions of 64 bits.
bool open_writer(Codec &codec, bool big) { return open(codec, big ? "wl8" : "wl", 0); }

void close(Codec &codec) {
    codec.discard = true; // libtiff would make a page of what there is
    if (codec.tiff != nullptr)
        TIFFClose(codec.tiff);
    if (codec.back != nullptr)
        std::fclose(codec.back);
    codec.tiff = nullptr;
    codec.back = nullptr;
}

void abandon(Codec &codec) {
    if (codec.tiff != nullptr)
        TIFFSetMode(codec.tiff, O_RDONLY);
    close(codec);
}

void forget_trouble(Codec &codec) {
    codec.trouble.cause = Cause::none;
    codec.trouble.text[0] = '\0';
}

void report_complaint(Codec &codec) {
    if (codec.trouble.text[0] != '\0')
        driver::warn(*codec.image, codec.trouble, codec.trouble.text);
    forget_trouble(codec);
}

} // namespace tiffio
