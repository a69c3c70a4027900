// driver_records.cpp - modules may export anything or nothing, and their drivers may fill in
// anything and fail at any time: the application survives.
//
// The loader's look-up of symbols is replaced at link time. What stays true is what memory safety
// hangs on: texts end, counts of capabilities and of images are those there are, rows that are
// handed out have their size.
#include <deque>
#include <list>
#include <map>
#include <set>

#include "choices.h"
#include "core/handle.h"
#include "ops/any_operator.h"
#include "platform/platform.h"
#include "watch.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

// zor::platform::module_symbol(void *, const char *)
extern "C" void *__wrap__ZN3zor8platform13module_symbolEPvPKc(void *module, const char *name);

namespace {

Choices *choices; // of this run

std::deque<std::string> texts; // that live as long as the modules

const char *any_text() {
    static const char *const usual[] = {nullptr, "",    "mem",        "mox", ".mem",
                                        "other", "rgb", "name.#.ext", "3.2", ".x"};
    if (choices->roll(4) != 0)
        return choices->pick(usual);
    return texts.emplace_back(choices->text(20)).c_str();
}

// Mostly something sensible.
int32_t any_number() {
    return choices->roll(4) != 0 ? choices->roll(33) : choices->bits<int32_t>();
}

// The driver ------------------------------------------------------------------------------------

int any_status() { return choices->pick<int>({0, 0, 0, ZOR_E_READ, ZOR_E_MEMORY, -1000}); }

struct State {
    ZOR_IMAGE *image;
    void **rows;
};
std::list<State> states; // of this run: who cannot be closed cannot free it

int scan(void *state, int, void **rows) {
    const auto &own = *static_cast<State *>(state);
    const int status = own.rows == nullptr ? ZOR_E_READ : any_status();
    if (status == 0 && (own.image->mode & ZOR_MODE_READ) != 0)
        *reinterpret_cast<void ***>(rows) = own.rows;
    return status;
}

template<class... Words>
int fail_or_not(void *, Words...) {
    return any_status();
}

// Any of a description's numbers in front of the texts, and any window.
void disturb(ZOR_IMAGE_DESC *desc) {
    for (int32_t *number :
         {&desc->size_code,   &desc->curve.kind,         &desc->image.count,
          &desc->image.type,  &desc->image.bits,         &desc->matte.count,
          &desc->matte.type,  &desc->matte.bits,         &desc->aux.count,
          &desc->aux.type,    &desc->aux.bits,           &desc->win_left,
          &desc->win_top,     &desc->act_right,          &desc->act_bottom,
          &desc->orientation, &desc->chan_flag,          &desc->picture_width,
          &desc->frame,       &desc->curve.num_channels, &desc->curve.num_elements,
          &desc->curve.depth})
        if (choices->roll(8) == 0)
            *number = any_number();
}

// Rows for a handle, null when they would be large.
void **make_rows(ZOR_IMAGE *image) {
    const ZOR_IMAGE_DESC *desc = ZOR_image_desc(image, 0);
    const bool small = desc != nullptr && desc->win_right - int64_t{desc->win_left} < 4096 &&
                       desc->image.count < 99 && desc->matte.count < 99 && desc->aux.count < 99 &&
                       desc->chan_flag != 0;
    return small ? ZOR_chan_alloc(image, 0) : nullptr;
}

// Going to another frame, which may be anything.
int change_frame(void *state, ZOR_WORD) {
    if (auto *own = static_cast<State *>(state); own != nullptr && choices->toss()) {
        for (int32_t i = 0; i < own->image->num_images; ++i)
            disturb(&own->image->images[i]);
        own->rows = make_rows(own->image);
    }
    return any_status();
}

int close_image(ZOR_IMAGE *image) {
    zor__free_obj(image);
    return any_status();
}

void describe(ZOR_IMAGE_DESC *desc) {
    zor__describe(desc, 1 + choices->roll(64), 1 + choices->roll(8), choices->roll(5), 8);
    desc->matte = {choices->roll(2), ZOR_C_INTEGER, 8};
    if (choices->toss())
        disturb(desc);
    desc->curve.gamma = choices->roll(4) == 0 ? choices->bits<float>() : 2.2F;
    if (const char *format = any_text(); format != nullptr)
        desc->chan_format = STR_save(format);
}

int open_image(ZOR_IMAGE *image) {
    if (choices->roll(8) == 0)
        return -choices->roll(2);
    const bool reading = image->mode == ZOR_MODE_READ;
    if (reading && choices->roll(8) != 0) {
        if (zor__build_handle(image, choices->roll(4)) != 0)
            return 0;
        for (int32_t i = 0; i < image->num_images; ++i)
            describe(&image->images[i]);
    }
    const auto given = [&](auto function) { return choices->roll(4) != 0 ? function : nullptr; };
    image->scan = given(&scan);
    image->close = given(&close_image);
    image->raster = given(&fail_or_not<ZOR_WORD, ZOR_WORD, ZOR_WORD, ZOR_WORD, ZOR_WORD>);
    image->region = image->raster;
    image->direct_scan = given(&fail_or_not<int, ZOR_WORD, ZOR_WORD, ZOR_WORD, ZOR_WORD>);
    image->seek = given(&fail_or_not<int>);
    image->set_frame = image->playback_goto = given(&change_frame);
    image->get_frame = image->playback_stop = given(&fail_or_not<ZOR_WORD>);
    image->num_frames = any_number();
    if (!reading && image->num_images > 0 && choices->toss())
        disturb(&image->images[0]);
    if (choices->roll(8) == 0 && image->close == nullptr)
        return 1; // without a state
    states.push_back({image, make_rows(image)});
    image->data[0] = &states.back();
    return 1 + choices->roll(2);
}

// Descriptors are the same as long as the library is up, and every list has its default.
struct Choice {
    ZOR_CAP_ENTRY entries[3];
    ZOR_CAP_LIST list;
};
Choice lists[3];
ZOR_CAPABILITY capabilities[3];
int32_t num_capabilities;

void make_capabilities() {
    for (int i = 0; i < 3; ++i) {
        lists[i] = {};
        lists[i].list.entries = lists[i].entries;
        lists[i].entries[0].name = "first";
        for (int k = choices->roll(2); k >= 0; --k) {
            ZOR_CAP_ENTRY &entry = lists[i].entries[k];
            entry.value = static_cast<uint16_t>(k);
            entry.name_set = choices->roll(2);
            entry.name_default = any_text();
        }
        capabilities[i] = {};
        capabilities[i].name = any_text();
        capabilities[i].name_set = choices->roll(2);
        capabilities[i].name_default = any_text();
        capabilities[i].kind = static_cast<uint8_t>(choices->roll(2));
        capabilities[i].list = choices->roll(4) != 0 ? &lists[i].list : nullptr;
    }
    num_capabilities = choices->roll(4);
}

void list_capabilities(ZOR_CAPABILITY **list, int32_t *first, int32_t *second, int32_t *count) {
    *list = num_capabilities > 0 ? capabilities : nullptr;
    *first = any_number();
    *second = any_number();
    *count = num_capabilities > 0 ? num_capabilities : any_number();
}

// Its symbols -----------------------------------------------------------------------------------

union Value {
    const char *text;
    int32_t number;
    unsigned char byte;
};

struct Module {
    bool usual = choices->toss();             // all of its symbols are there and make sense
    std::map<std::string, Value> values = {}; // made when they are asked for
};

void *value_of(Module &module, const char *name, Value value) {
    return &module.values.insert_or_assign(name, value).first->second;
}

template<class Function>
void *address_of(Function *function) {
    void *address;
    std::memcpy(&address, &function, sizeof address);
    return address;
}

void *function_of(const char *name) {
    static const std::map<std::string, void *> functions = {
        {"imageReadOpen", address_of(&open_image)},
        {"imageWriteOpen", address_of(&open_image)},
        {"imageCapability", address_of(&list_capabilities)},
        {"imageInit", address_of(+[]() -> int { return choices->roll(8); })},
        {"imageDone", address_of(+[] { ZOR_exit(); })}, // which is not its to call
        {"imageIsFile", address_of(+[](void *, void *) -> unsigned char {
             return static_cast<unsigned char>(choices->roll(3));
         })},
        {"imageCapsAvailUpdate", address_of(+[](ZOR_WORD x, ZOR_WORD) -> unsigned char {
             return static_cast<unsigned char>(x);
         })}};
    const auto found = functions.find(name);
    return found != functions.end() ? found->second : nullptr;
}

void *find_symbol(Module &module, const std::string &name) {
    const bool usual = module.usual || choices->roll(8) != 0;
    if (void *function = function_of(name.c_str()); function != nullptr)
        return usual ? function : nullptr;
    if (!usual && choices->toss())
        return nullptr;
    static const std::map<std::string, const char *> usual_texts = {
        {"version", ZOR_DRIVER_VERSION}, {"imageKey", "fuzz"},     {"imageName", "Fuzz"},
        {"imageExtension", ".fuzz"},     {"imageDescription", ""}, {"imageFormatString", "%s"},
        {"imageNameSyntax", nullptr}};
    const auto text = usual_texts.find(name);
    Value value = {};
    if (text != usual_texts.end())
        value.text = usual ? text->second : any_text();
    else
        value.number = usual ? 15 : any_number();
    return value_of(module, name.c_str(), value);
}

// The application -------------------------------------------------------------------------------

void ask() {
    for (int i = 0; i < 3; ++i)
        ZOR_info();
    const char *text = any_text();
    const ZOR_FORMAT *format = ZOR_find(text);
    ZOR_name_from_key(text);
    ZOR_CAPABILITY *list;
    int32_t first, second, count;
    ZOR_info_get_specific(nullptr, format, &list, &first, &second, &count);
    ZOR_info_num_specific(&first, &second);
    ZOR_capabilities_available(format, 1, 2);
    unsigned char tried;
    char name[] = "name";
    ZOR_get_file_type(name, nullptr, &tried);
    ZOR_is_file_type(name, nullptr, text, &tried);
}

using Call = void (*)(ZOR_IMAGE *&image, int32_t y);
const Call calls[] = {
    [](ZOR_IMAGE *&image, int32_t y) {
        void **rows = nullptr; // of any length: no good for writing from
        if (image->mode == ZOR_MODE_READ)
            ZOR_scan_read(image, y, &rows);
    },
    [](ZOR_IMAGE *&image, int32_t y) { ZOR_direct_scan_read(image, y, 1, 2, 3, 4); },
    [](ZOR_IMAGE *&image, int32_t) { ZOR_get_raster(image, 1, 2, 3, 4, 5); },
    [](ZOR_IMAGE *&image, int32_t) { ZOR_get_region(image, 1, 2, 3, 4, 5); },
    [](ZOR_IMAGE *&image, int32_t y) { ZOR_set_frame(image, y); },
    [](ZOR_IMAGE *&image, int32_t y) { ZOR_get_frame(image, y); },
    [](ZOR_IMAGE *&image, int32_t y) { ZOR_playback_stop(image, y); },
    [](ZOR_IMAGE *&image, int32_t y) {
        const ZOR_IMAGE_DESC *desc = ZOR_image_desc(image, 0);
        if (desc != nullptr && int64_t{desc->win_top} - desc->win_bottom < 100)
            ZOR_seek(&image, desc->win_bottom + y);
    },
    [](ZOR_IMAGE *&image, int32_t) {
        ZOR_chan_free(image, ZOR_chan_alloc(image, choices->roll(3)));
    },
    [](ZOR_IMAGE *&image, int32_t) {
        ZOR_INFO info;
        if (ZOR_info_from_image(&info, image) == 0)
            ZOR_info_cleanup(&info, 1);
    },
    [](ZOR_IMAGE *&image, int32_t) { choices->pick(operators).undo(image); }};

void operate(ZOR_IMAGE *&image) {
    const int32_t y = choices->roll(10) - 1;
    const auto call = static_cast<size_t>(choices->roll(14));
    if (call < std::size(calls))
        calls[call](image, y);
    else
        choices->pick(operators).push(image, *choices);
}

// Those whose driver cannot close them: they stay, and are freed when the library is down.
std::set<ZOR_IMAGE *> stuck;

void use_image(const char *mode) {
    ZOR_INFO info;
    ZOR_info_init(&info);
    info.key = STR_save(choices->toss() ? any_text() : "fuzz");
    info.file_name = STR_save(put_file(nullptr, 0).c_str());
    info.complete_path = 1;
    ZOR_info_add_image(&info, 8, 4);
    ZOR_IMAGE *image = ZOR_open(&info, mode);
    for (int i = choices->roll(12); i > 0 && image != nullptr; --i)
        operate(image);
    if (image != nullptr && image->close == nullptr)
        stuck.insert(image);
    ZOR_close(image);
    ZOR_info_cleanup(&info, 1);
}

} // namespace

void *__wrap__ZN3zor8platform13module_symbolEPvPKc(void *module, const char *name) {
    return find_symbol(*static_cast<Module *>(module), name);
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool started = (leave_home(), watch::start(), true);
    watch::largest = size_t{1} << 24;
    static_cast<void>(started);
    static std::list<Module> modules;
    Choices of_input(data, size);
    choices = &of_input;
    const size_t before = watch::used;
    modules.clear();
    texts.clear();
    make_capabilities();
    ZOR_init(nullptr, [](void **module, const char **name) -> unsigned char {
        if (static_cast<int>(modules.size()) > 1 + choices->roll(3))
            return 0;
        *module = choices->roll(16) != 0 ? &modules.emplace_back() : nullptr;
        *name = any_text();
        return *module != nullptr || choices->more() ? 1 : 0;
    });
    ask();
    for (int i = choices->roll(4); i > 0; --i)
        use_image(choices->pick({"r", "r", "w"}));
    ZOR_exit();
    for (ZOR_IMAGE *image : stuck) {
        auto *lock = static_cast<zor::platform::Mutex *>(image->lock);
        zor__free_obj(image);
        zor::platform::mutex_destroy(lock);
    }
    stuck.clear();
    states.clear();
    check(watch::used == before);
    return 0;
}
