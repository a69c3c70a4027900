// driver.cpp - the entry points of the MOX driver.
#include "drivers/mox/driver.h"

#include "drivers/mox/header.h"
#include "drivers/mox/stream.h"
#include "err/status.h"
#include "platform/platform.h"
#include "zor/str.h"

namespace zor::mox {

namespace {

constexpr const char *mob_extension = ".mob";

bool ends_with_mob(const char *name) {
    const size_t length = STR_length(name);
    return length >= 4 && STR_compare(name + (length - 4), mob_extension) == 0;
}

// A file of the sibling variant keeps its name when it is opened under the key of this one, whose
// extension would be appended otherwise.
bool keep_mob_name(ZOR_IMAGE *image) {
    if (image == nullptr)
        return set_status(ZOR_E_UNSUPPORTED) == 0;
    if (image->file_name == nullptr || !ends_with_mob(image->file_name))
        return true;
    char *extension = STR_save(mob_extension);
    if (extension == nullptr) {
        zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY);
        return false;
    }
    ERR_free(image->extension);
    image->extension = extension;
    return true;
}

bool read_and_recognise(FILE *file) {
    uint8_t bytes[header_size];
    if (file_calls().seek(file, 0, SEEK_SET) != 0 ||
        file_calls().read(bytes, sizeof bytes, file) != sizeof bytes)
        return false;
    Header header;
    decode_header(bytes, &header);
    return is_mox_header(header);
}

} // namespace

bool is_mob(const ZOR_IMAGE &image) {
    return STR_compare(image.key, "mob") == 0 ||
           (image.file_name != nullptr && ends_with_mob(image.file_name));
}

} // namespace zor::mox

unsigned char ZOR_mox_is_file(void *name, void *stream) {
    if (stream != nullptr)
        return zor::mox::read_and_recognise(static_cast<FILE *>(stream)) ? 1 : 0;
    if (name == nullptr)
        return 0;
    FILE *file = zor::platform::open_file(static_cast<const char *>(name), "rb");
    if (file == nullptr)
        return 0;
    const bool found = zor::mox::read_and_recognise(file);
    std::fclose(file);
    return found ? 1 : 0;
}

int ZOR_mox_r_open(ZOR_IMAGE *image) {
    return zor::mox::keep_mob_name(image) ? zor::mox::open_reader(image) : 0;
}

int ZOR_mox_w_open(ZOR_IMAGE *image) {
    return zor::mox::keep_mob_name(image) ? zor::mox::open_writer(image) : 0;
}
