// module_driver.cpp - makes a driver record of the symbols a module exports.
#include <cstring>

#include "core/registry.h"
#include "platform/platform.h"

namespace zor {

namespace {

// The symbols of one module.
class Symbols {
public:
    explicit Symbols(void *module) : module_(module) {}

    // A variable: copies its value, of exactly the field's size, over the default. Returns whether
    // the module has it.
    template<class T>
    bool value(const char *symbol, T *field) const {
        const void *address = platform::module_symbol(module_, symbol);
        if (address != nullptr)
            std::memcpy(field, address, sizeof *field);
        return address != nullptr;
    }

    // A function: its address, or null.
    template<class Function>
    void function(const char *symbol, Function *field) const {
        void *address = platform::module_symbol(module_, symbol);
        static_assert(sizeof *field == sizeof address);
        std::memcpy(field, &address, sizeof *field);
    }

private:
    void *module_;
};

bool report_missing(const char *module, const char *symbol) {
    ERR_report_cat(zor__msg_cat, ZOR_MSG_MUST_BE_DEFINED, module, symbol);
    return false;
}

bool has_right_version(const Symbols &symbols, const char *name) {
    const char *version = nullptr;
    if (!symbols.value("version", &version) || version == nullptr)
        return report_missing(name, "version");
    if (std::strcmp(version, ZOR_DRIVER_VERSION) != 0) {
        ERR_report_cat(zor__msg_cat, ZOR_MSG_WRONG_VERSION, name, "version", ZOR_DRIVER_VERSION,
                       version);
        return false;
    }
    return true;
}

// What a module leaves unsaid.
ZOR_DRIVER default_driver() {
    ZOR_DRIVER driver = {};
    driver.extension = "";
    driver.file_name_format = "%s.%04.4d%s";
    driver.add_extension = 1;
    driver.usage = ZOR_USAGE_STILL;
    driver.num_channels = 3;
    driver.bits_per_channel = 1U << (8 - 1);
    driver.access = ZOR_ACCESS_READ | ZOR_ACCESS_WRITE;
    driver.hard_link_duplicates = 1;
    return driver;
}

// The descriptive symbols. Returns the first required one that is missing, or null.
const char *read_description(const Symbols &symbols, ZOR_DRIVER *driver) {
    symbols.value("imageExtension", &driver->extension);
    if (driver->extension == nullptr)
        driver->extension = "";
    if (!symbols.value("imageName", &driver->name) || driver->name == nullptr)
        return "imageName";
    symbols.value("imageDescription", &driver->description);
    symbols.value("imageFormatString", &driver->file_name_format);
    symbols.value("imageNameSyntax", &driver->name_syntax);
    symbols.value("imageAddExtension", &driver->add_extension);
    symbols.value("imageUsage", &driver->usage);
    if (!symbols.value("imageOrientation", &driver->orientation))
        return "imageOrientation";
    symbols.value("imageBitsPerPaletteEntry", &driver->bits_per_palette_entry);
    symbols.value("imageNumberOfChannels", &driver->num_channels);
    symbols.value("imageBitsPerChannel", &driver->bits_per_channel);
    symbols.value("imageNumberOfMattes", &driver->num_mattes);
    symbols.value("imageBitsPerMatte", &driver->bits_per_matte);
    symbols.value("imageNumberOfZChannels", &driver->num_z);
    symbols.value("imageBitsPerZChannel", &driver->bits_per_z);
    symbols.value("imageSupportsActiveWindow", &driver->active_window);
    symbols.value("imageAccess", &driver->access);
    symbols.value("imageMultiFrame", &driver->multi_frame);
    symbols.value("imageHardLinkDuplicates", &driver->hard_link_duplicates);
    symbols.value("imageSupportRemoteAccess", &driver->remote_access);
    return nullptr;
}

// The functions. Returns the one that the access bits call for and the module lacks, or null: one
// report a module is enough, so a missing imageWriteOpen shows only once reading is fine.
const char *read_functions(const Symbols &symbols, ZOR_DRIVER *driver) {
    symbols.function("imageCapability", &driver->capability);
    symbols.function("imageCapsAvailUpdate", &driver->caps_avail_update);
    symbols.function("imageReadOpen", &driver->read_open);
    symbols.function("imageWriteOpen", &driver->write_open);
    if ((driver->access & ZOR_ACCESS_READ) != 0 && driver->read_open == nullptr)
        return "imageReadOpen";
    if ((driver->access & ZOR_ACCESS_WRITE) != 0 && driver->write_open == nullptr)
        return "imageWriteOpen";
    symbols.function("imageDone", &driver->done);
    symbols.function("imageIsFile", &driver->is_file);
    symbols.function("imagePrivateUIPopup", &driver->ui_popup);
    symbols.function("imagePrivateUIPopdown", &driver->ui_popdown);
    return nullptr;
}

} // namespace

bool read_module(void *module, const char *name, ZOR_DRIVER *driver,
                 void (*on_key)(const char *key, void *context), void *context) {
    const Symbols symbols(module);
    if (!has_right_version(symbols, name))
        return false;

    *driver = default_driver();
    // A module is initialised before it is read any further: it may fill in its variables then.
    symbols.function("imageInit", &driver->init);
    if (driver->init != nullptr && driver->init() == 0)
        return false;
    if (!symbols.value("imageKey", &driver->key) || driver->key == nullptr)
        return report_missing(name, "imageKey");
    on_key(driver->key, context);

    const char *missing = read_description(symbols, driver);
    if (missing == nullptr)
        missing = read_functions(symbols, driver);
    return missing == nullptr || report_missing(name, missing);
}

} // namespace zor
