// open_write.cpp - opening images for writing: the handle is filled from the info record, and what
// it asks for is checked against what the format can store.
#include <cctype>
#include <cerrno>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "base/base/number.h"
#include "core/channels.h"
#include "core/description.h"
#include "core/handle.h"
#include "core/open.h"
#include "core/registry.h"
#include "err/status.h"
#include "platform/platform.h"
#include "zor/fmt.h"
#include "zor/str.h"

namespace zor {

namespace {

// Length of the character at text when it is well-formed UTF-8 of two bytes or more and not a
// control character, else 0.
size_t wide_character(const unsigned char *text) {
    struct Form {
        unsigned first, last; // lead bytes
        uint32_t smallest;    // code point that needs so many bytes, or is no control character
        size_t length;
    };
    constexpr Form forms[] = {
        {0xC2, 0xDF, 0xA0, 2}, {0xE0, 0xEF, 0x800, 3}, {0xF0, 0xF4, 0x10000, 4}};
    for (const Form &form : forms) {
        if (text[0] < form.first || text[0] > form.last)
            continue;
        uint32_t code = text[0] & (0xFFU >> (form.length + 1));
        for (size_t i = 1; i < form.length; ++i) {
            if ((text[i] & 0xC0U) != 0x80U) // the terminator ends it too
                return 0;
            code = code << 6 | (text[i] & 0x3FU);
        }
        const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
        return code >= form.smallest && code <= 0x10FFFF && !surrogate ? form.length : 0;
    }
    return 0;
}

// Names made of control characters or broken encodings are refused before they litter a disk.
bool is_clean_name(const char *file_name) {
    const auto *text = reinterpret_cast<const unsigned char *>(STR_tail(file_name));
    while (*text != '\0') {
        if (const size_t length = wide_character(text); length > 0)
            text += length;
        else if (std::isprint(*text) != 0)
            ++text;
        else
            return false;
    }
    return true;
}

// 1 when the file exists, -1 when it does not, 0 when the name cannot be one.
int check_file_name(const char *file_name) {
    const int exists = platform::file_exists(file_name);
    if (exists < 0 || !is_clean_name(file_name))
        return 0;
    return exists == 1 ? 1 : -1;
}

// Keeps what is given, else saves what stands in for it.
bool default_text(char **field, const char *text) {
    return *field != nullptr || save_text(field, text);
}

bool default_texts(ZOR_IMAGE *image) {
    constexpr const char *unknown = "unknown";
    char host[255];
    char user[256];
    char date[32] = "";
    if (image->date == nullptr) {
        const auto now = static_cast<int64_t>(std::time(nullptr));
        if (now == -1)
            ERR_report_errno(errno, nullptr);
        std::snprintf(date, sizeof date, "{%" PRId64 "}", now);
    }
    const bool has_host = image->machine == nullptr && platform::host_name(host, sizeof host);
    const bool has_user = image->user == nullptr && platform::user_name(user, sizeof user);
    return default_text(&image->name, unknown) && default_text(&image->description, unknown) &&
           default_text(&image->program, unknown) &&
           default_text(&image->machine, has_host ? host : unknown) &&
           default_text(&image->user, has_user ? user : unknown) &&
           default_text(&image->date, date) && default_text(&image->time, unknown) &&
           default_text(&image->filter, unknown) && default_text(&image->compression, unknown);
}

// The texts and words that do not depend on the driver. The key stays out: until the driver is
// chosen the handle has none.
bool take_request(ZOR_IMAGE *image, const ZOR_INFO &info) {
    for (const SharedText &text : shared_texts)
        if (text.of_info != &ZOR_INFO::key &&
            !save_text(&(image->*text.of_image), info.*text.of_info))
            return false;
    if (!default_texts(image) || !save_text(&image->open_name, info.file_name))
        return false;
    copy_shared_words(image, info);
    image->complete_path = info.complete_path & 0xFF; // its low byte only
    image->cap_settings = info.cap_settings;
    image->first_frame = info.first_frame;
    const char *job = info.job_number == 0 ? std::getenv("QK_JOB_NUM") : nullptr;
    if (job != nullptr)
        image->job_number = parse_integer(job);
    return true;
}

// The driver for a new file: of the record's key, or chosen by the name.
const ZOR_DRIVER *driver_for_writing(ZOR_IMAGE *image, const ZOR_INFO &info) {
    if (!save_text(&image->key, info.key)) {
        fail_memory();
        return nullptr;
    }
    const ZOR_DRIVER *driver = choose_driver(image);
    if (driver == nullptr)
        return nullptr;
    if (driver->write_open == nullptr || (driver->access & ZOR_ACCESS_WRITE) == 0) {
        zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_CANNOT_HANDLE, driver->key);
        return nullptr;
    }
    return adopt_driver(image, *driver) ? driver : nullptr;
}

// An active window that is turned around means the whole window, and so does any in a format that
// stores none.
void settle_active_window(ZOR_IMAGE_DESC *desc, const ZOR_DRIVER &driver) {
    if (driver.active_window != 0 && desc->act_left <= desc->act_right &&
        desc->act_bottom <= desc->act_top)
        return;
    desc->act_left = desc->win_left;
    desc->act_right = desc->win_right;
    desc->act_bottom = desc->win_bottom;
    desc->act_top = desc->win_top;
}

// A tabulated curve needs its tables.
bool has_sound_curve(const ZOR_RESPONSE_CURVE &curve) {
    return curve.kind != 2 ||
           (curve.tables != nullptr && curve.num_channels > 0 && curve.num_elements > 0);
}

// Gives the handle its own copy of one description, with the defaults filled in. Returns 0 or a
// negative status, reported.
int32_t take_description(ZOR_IMAGE_DESC *copy, const ZOR_IMAGE_DESC &desc,
                         const ZOR_DRIVER &driver) {
    if (const int32_t status = copy_whole_description(copy, desc); status != 0)
        return status;
    // The driver's order, until its open function says otherwise.
    copy->orientation = driver.orientation;
    if ((copy->picture_format == nullptr && !save_text(&copy->picture_format, FMT_def_aspect())) ||
        !complete_description(copy, FMT_def_gamma()))
        return zor__fail(ZOR_E_MEMORY, ZOR_MSG_NO_MEMORY);
    return 0;
}

// What the record asks for must be something the format can store. Returns 0 or a negative status,
// reported.
int32_t check_request(const ZOR_INFO &info, const ZOR_DRIVER &driver) {
    if (info.num_images < 1 || info.images == nullptr)
        return zor__fail(ZOR_E_OPEN, ZOR_MSG_FIELD_MISSING, "images");
    if (info.num_images > 1 && (driver.usage & ZOR_USAGE_SUB_IMAGES) == 0)
        return zor__fail(ZOR_E_UNSUPPORTED, ZOR_MSG_MULTIPLE_IMAGES, driver.key);
    const ChannelLimits limits = {{driver.num_channels, driver.bits_per_channel},
                                  {driver.num_mattes, driver.bits_per_matte},
                                  {driver.num_z, driver.bits_per_z}};
    for (int32_t i = 0; i < info.num_images; ++i)
        if (const int32_t status = check_channels(info.images[i], limits, driver.key); status != 0)
            return status;
    return 0;
}

// Copies the descriptions of the record. Returns 0 or a negative status, reported.
int32_t take_descriptions(ZOR_IMAGE *image, const ZOR_INFO &info, const ZOR_DRIVER &driver) {
    if (const int32_t status = zor__build_handle(image, info.num_images); status != 0)
        return status;
    for (int32_t i = 0; i < info.num_images; ++i) {
        ZOR_IMAGE_DESC desc = info.images[i];
        settle_active_window(&desc, driver);
        if (!has_sound_windows(desc))
            return zor__fail(ZOR_E_OPEN, ZOR_MSG_FIELD_MISSING, "window");
        if (!has_sound_curve(desc.curve))
            return zor__fail(ZOR_E_OPEN, ZOR_MSG_FIELD_MISSING, "curve");
        if (const int32_t status = take_description(&image->images[i], desc, driver); status != 0)
            return status;
    }
    return 0;
}

} // namespace

ZOR_IMAGE *open_for_writing(const ZOR_INFO &info) {
    if (info.file_name != nullptr && check_file_name(info.file_name) == 0) {
        zor__fail(ZOR_E_OPEN, ZOR_MSG_BAD_FILE_NAME, info.file_name);
        return nullptr;
    }
    if (info.file_name == nullptr) {
        // The message has always named the handle here.
        zor__fail(ZOR_E_OPEN, ZOR_MSG_FIELD_MISSING, "handle");
        return nullptr;
    }
    NewHandle image(new_handle(ZOR_MODE_WRITE));
    if (image == nullptr) {
        set_status(ZOR_E_MEMORY);
        return nullptr;
    }
    if (!take_request(image.get(), info))
        return fail_memory();
    const ZOR_DRIVER *driver = driver_for_writing(image.get(), info);
    if (driver == nullptr || check_request(info, *driver) != 0 ||
        take_descriptions(image.get(), info, *driver) != 0)
        return nullptr;
    image->last_scanline = -1;
    if (driver->write_open(image.get()) <= 0 || !accept_descriptions(&image))
        return nullptr;
    return image.release();
}

} // namespace zor
