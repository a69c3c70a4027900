// file.cpp - the files behind images, for drivers.
#include "core/file.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "base/base/owned.h"
#include "core/description.h"
#include "core/registry.h"
#include "platform/platform.h"
#include "zor/str.h"

namespace {

bool is_reading(const ZOR_IMAGE &image) { return (image.mode & ZOR_MODE_READ) != 0; }

// The standard stream a handle names, or null.
FILE *standard_stream(const ZOR_IMAGE &image) {
    if (STR_compare(image.file_name, is_reading(image) ? "/dev/stdin" : "/dev/stdout") != 0)
        return nullptr;
    return is_reading(image) ? stdin : stdout;
}

// The extension to add to the name, or null: the driver and, for a new file, the application may
// have declined it.
const char *extension_to_add(const ZOR_IMAGE &image) {
    const ZOR_DRIVER *driver = zor::find_driver(image.key);
    const bool declined = (driver != nullptr && driver->add_extension == 0) ||
                          (!is_reading(image) && image.add_extension == 0);
    return declined ? nullptr : image.extension;
}

// Opens the name in a directory, null for the current one. The path tried becomes the handle's file
// name, for messages and for whoever asks what was opened.
FILE *open_in(ZOR_IMAGE *image, const char *directory, const char *name) {
    char *path = zor::path_in(*image, directory, name);
    if (path == nullptr) {
        errno = ENOMEM;
        return nullptr;
    }
    zor::drop_text(&image->file_name);
    image->file_name = path;
    return zor::platform::open_file(path, is_reading(*image) ? "rb" : "wb");
}

// The tries in their order: a reader looks at the name as it stands before it asks for the image
// directory, a writer goes there at once.
FILE *try_paths(ZOR_IMAGE *image, const char *name) {
    const char *directory = std::getenv("QK_IMG_DIR");
    if (!is_reading(*image))
        return open_in(image, directory, name);
    FILE *file = open_in(image, nullptr, name);
    if (file == nullptr && image->complete_path == 0 && directory != nullptr)
        file = open_in(image, directory, name);
    return file;
}

} // namespace

char *zor::path_in(const ZOR_IMAGE &image, const char *directory, const char *name) {
    if (image.complete_path != 0)
        return STR_save(name);
    return ZOR_pathname_build_no_name_syntax(directory, name, extension_to_add(image));
}

void zor::fail_open(const ZOR_IMAGE &image, int reason) {
    if (reason == ENOMEM)
        zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY);
    else
        zor__fail(ZOR_E_OPEN, ZOR_MSG_CANNOT_OPEN,
                  image.file_name != nullptr ? image.file_name : "(null)", std::strerror(reason));
}

FILE *zor::take_stream(FILE *stream) {
    if (stream == stdout) // where input is flushed, what was read ahead is lost
        std::fflush(stdout);
    zor::platform::hold_binary(stream);
    return stream;
}

int zor::give_stream_back(FILE *stream) {
    const int result = stream == stdout ? std::fflush(stdout) : 0;
    zor::platform::release_binary(stream);
    return result;
}

FILE *zor__open_file(ZOR_IMAGE *image) {
    if (FILE *stream = standard_stream(*image))
        return zor::take_stream(stream);
    int reason = ENOENT;
    FILE *file = nullptr;
    if (STR_length(image->file_name) > 0) {
        const zor::Owned<char> name(STR_save(image->file_name));
        file = name != nullptr ? try_paths(image, name.get()) : nullptr;
        reason = name != nullptr ? errno : ENOMEM;
    }
    if (file == nullptr)
        zor::fail_open(*image, reason);
    return file;
}

FILE *zor__open_named_file(const char *path, const char *mode) {
    return zor::platform::open_file(path, mode);
}

int zor__close_file(ZOR_IMAGE *image, FILE *file) {
    // What failed to be written earlier is lost, even if the rest goes well.
    const bool lost = !is_reading(*image) && std::ferror(file) != 0;
    const bool standard = file == stdin || file == stdout;
    const int result = standard ? zor::give_stream_back(file) : std::fclose(file);
    return lost ? EOF : result;
}

void zor__remove_file(ZOR_IMAGE *image) {
    if (!is_reading(*image) && standard_stream(*image) == nullptr && image->file_name != nullptr)
        zor::platform::remove_file(image->file_name);
}
