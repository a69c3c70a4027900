// defaults.cpp - the format defaults: picture geometries and settings for new images.
#include "fmt/defaults.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/base/dst_list.h"
#include "base/base/number.h"
#include "base/base/owned.h"
#include "err/status.h"
#include "fmt/config.h"
#include "fmt/database.h"
#include "zor/fmt.h"
#include "zor/messages.h"
#include "zor/str.h"

namespace {

using zor::Owned;

// Results of a start that failed.
constexpr int no_record = -1;         // nothing is left of it
constexpr int no_text = ZOR_E_MEMORY; // what was read so far stays

const FMT_ASPECT built_in_aspects[] = {{"ntsc_640", 640, 486, 1.33F}};

struct AspectNode {
    AspectNode *next; // link of dst_list
    int32_t built_in; // 0: entry and name are owned
    const FMT_ASPECT *entry;
};

enum Text { TEXT_ASPECT, TEXT_KEY, TEXT_BASE_NAME, TEXT_CHANNELS, NUM_TEXTS };
constexpr const char *built_in_texts[NUM_TEXTS] = {"ntsc_640", "mox", "im", "rgb"};

// The database, from FMT_init to FMT_exit.
struct Database {
    bool initialised;
    dst_list aspects;       // of AspectNode; its cursor is the place of FMT_info
    char *texts[NUM_TEXTS]; // owned; from the file, null: the built-in one
} database;

// Numbers from a file outlive FMT_exit: a new start goes on from them.
struct Numbers {
    uint32_t dominance = 1;
    uint32_t frame_rate = 30;
    float gamma = 2.2F;
    float input_gamma = 1.0F;
    int32_t gamma_tab_res = 4096;
    uint32_t swatch = 0;
} numbers;

const char *current_text(Text which) {
    const char *text = database.texts[which];
    return text != nullptr ? text : built_in_texts[which];
}

// Aspect entries -----------------------------------------------------------------------------

AspectNode *find_node(const char *name) {
    auto *node = static_cast<AspectNode *>(dst_list_first(&database.aspects));
    while (node != nullptr && std::strcmp(node->entry->name, name) != 0)
        node = node->next;
    return node;
}

void free_node(AspectNode *node) {
    if (node->built_in == 0) {
        ERR_free(const_cast<char *>(node->entry->name));
        ERR_free(const_cast<FMT_ASPECT *>(node->entry));
    }
    ERR_free(node);
}

int add_built_in_aspects() {
    for (const FMT_ASPECT &aspect : built_in_aspects) {
        auto *node = zor::allocate<AspectNode>();
        if (node == nullptr)
            return no_record;
        *node = {nullptr, 1, &aspect};
        dst_list_append(&database.aspects, node);
    }
    return 0;
}

// Reading the file ---------------------------------------------------------------------------

// What is known of the file so far.
struct Reading {
    bool in_table;      // between fmt__aspect_table and end_aspect_table
    Owned<char> aspect; // wanted default aspect; its entry may come later in the file
};

// A private copy of a text; null, reported, when memory ran out.
Owned<char> copy_text(const char *text) {
    Owned<char> copy(STR_save(text));
    if (copy == nullptr)
        ERR_report_cat(config_catalogue(), FMT_MSG_NO_MEMORY);
    return copy;
}

int set_text(Text which, const char *argument) {
    Owned<char> copy = copy_text(argument);
    if (copy == nullptr)
        return no_text;
    ERR_free(database.texts[which]);
    database.texts[which] = copy.release();
    return 0;
}

// Leaves the setting alone when the text does not begin with a number.
int set_real(float *setting, const char *argument) {
    zor::read_real(argument, setting);
    return 0;
}

int set_frame_rate(const char *argument) {
    const int32_t rate = zor::parse_integer(argument);
    if (rate >= 1)
        numbers.frame_rate = static_cast<uint32_t>(rate);
    return 0;
}

int set_swatch(const char *argument) {
    // "none" is no number and so 0, like everything below 0.
    numbers.swatch = static_cast<uint32_t>(std::max(zor::parse_integer(argument), 0));
    return 0;
}

// Returns 0 or no_text.
using Apply = int (*)(Reading &reading, const char *argument);

// clang-format off
constexpr zor::Keyword<Apply> keywords[] = {
    {"fmt__aspect_default", 2, [](Reading &reading, const char *argument) {
        Owned<char> copy = copy_text(argument);
        if (copy == nullptr)
            return no_text;
        reading.aspect = std::move(copy);
        return 0;
    }},
    {"fmt__aspect_table", 1, [](Reading &reading, const char *) {
        reading.in_table = true;
        return 0;
    }},
    {"end_aspect_table", 1, [](Reading &reading, const char *) {
        reading.in_table = false;
        return 0;
    }},
    {"fmt__gamma_table_res", 2, [](Reading &, const char *argument) {
        numbers.gamma_tab_res = zor::parse_integer(argument);
        return 0;
    }},
    {"fmt__gamma_default", 2, [](Reading &, const char *argument) {
        return set_real(&numbers.gamma, argument);
    }},
    {"fmt__input_gamma_default", 2, [](Reading &, const char *argument) {
        return set_real(&numbers.input_gamma, argument);
    }},
    {"fmt__key_default", 2, [](Reading &, const char *argument) {
        return set_text(TEXT_KEY, argument);
    }},
    {"fmt__name_default", 2, [](Reading &, const char *argument) {
        return set_text(TEXT_BASE_NAME, argument);
    }},
    {"fmt__chan_default", 2, [](Reading &, const char *argument) {
        return set_text(TEXT_CHANNELS, argument);
    }},
    {"fmt__dominance", 2, [](Reading &, const char *argument) {
        numbers.dominance = std::strcmp(argument, "even") == 0 ? 0 : 1;
        return 0;
    }},
    {"fmt__frame_rate", 2, [](Reading &, const char *argument) {
        return set_frame_rate(argument);
    }},
    {"fmt__swatch_size", 2, [](Reading &, const char *argument) {
        return set_swatch(argument);
    }},
};
// clang-format on

// Adds an entry, in place of one with the same name. Returns 0, no_record or no_text.
int add_aspect(char *const *tokens) {
    Owned<AspectNode> node(zor::allocate<AspectNode>());
    Owned<FMT_ASPECT> entry(node != nullptr ? zor::allocate<FMT_ASPECT>() : nullptr);
    if (entry == nullptr)
        return no_record;
    Owned<char> name = copy_text(tokens[0]);
    if (name == nullptr)
        return no_text;
    float aspect = 0.0F;
    set_real(&aspect, tokens[3]);

    if (AspectNode *former = find_node(name.get())) {
        dst_list_remove(&database.aspects, former);
        free_node(former);
    }
    *entry = {name.release(), zor::parse_integer(tokens[1]), zor::parse_integer(tokens[2]), aspect};
    *node = {nullptr, 0, entry.release()};
    dst_list_append(&database.aspects, node.release());
    return 0;
}

// A row of the aspect table may be named after a keyword of another database: only our own are
// known here.
int read_line(Reading &reading, const config_line &line) {
    const char *first = line.tokens[0];
    const auto *keyword = zor::find_keyword(keywords, first);
    if (keyword == nullptr && (!reading.in_table || first[0] == '#'))
        return 0; // a comment, or somebody else's
    constexpr int32_t row_tokens = 4;
    if (!zor::has_tokens(line, keyword != nullptr ? keyword->num_tokens : row_tokens))
        return 0;
    return keyword != nullptr ? keyword->apply(reading, line.tokens[1]) : add_aspect(line.tokens);
}

// Takes over what the lines of the configuration file say. Returns 0, no_record or no_text.
int read_settings() {
    Reading reading = {};
    while (const config_line *line = config_next_line()) {
        const int result = line->count > 0 ? read_line(reading, *line) : 0;
        if (result != 0)
            return result;
    }
    if (reading.aspect != nullptr && find_node(reading.aspect.get()) != nullptr)
        database.texts[TEXT_ASPECT] = reading.aspect.release();
    return 0;
}

// Starts the database for an operation that needs it. Returns false when that failed.
bool start_for(const char *operation) {
    if (database.initialised)
        return true;
    const bool good = FMT_init(nullptr) == 0;
    if (good)
        zor::report_start("fmt", operation);
    return good;
}

} // namespace

int FMT_init(void *catalogue) {
    if (!database.initialised) {
        database.initialised = true;
        int result = add_built_in_aspects();
        if (result == 0) {
            config_open(catalogue); // without a file the built-in values apply
            result = read_settings();
        }
        if (result == no_record)
            FMT_exit();
        if (result != 0) {
            zor::set_status(ZOR_E_MEMORY);
            return result;
        }
    }
    dst_list_rewind(&database.aspects);
    return 0;
}

int FMT_exit(void) {
    if (!database.initialised)
        return 0;
    while (auto *node = static_cast<AspectNode *>(dst_list_pop_first(&database.aspects)))
        free_node(node);
    for (char *text : database.texts)
        ERR_free(text);
    database = {};
    config_close();
    return 0;
}

const FMT_ASPECT *FMT_find(const char *name) {
    if (!start_for(__func__) || name == nullptr)
        return nullptr;
    const AspectNode *node = find_node(name);
    if (node == nullptr)
        return nullptr;
    dst_list_set_cursor(&database.aspects, node->next);
    return node->entry;
}

const FMT_ASPECT *FMT_info(void) {
    if (!start_for(__func__))
        return nullptr;
    const auto *node = static_cast<AspectNode *>(dst_list_step(&database.aspects));
    return node != nullptr ? node->entry : nullptr;
}

const char *FMT_def_aspect(void) {
    start_for(__func__);
    return current_text(TEXT_ASPECT);
}

uint32_t FMT_def_dominance(void) {
    start_for(__func__);
    return numbers.dominance;
}

uint32_t FMT_def_frame_rate(void) {
    start_for(__func__);
    return numbers.frame_rate;
}

float FMT_def_gamma(void) {
    start_for(__func__);
    return numbers.gamma;
}

float FMT_def_input_gamma(void) {
    start_for(__func__);
    return numbers.input_gamma;
}

int32_t FMT_def_gamma_tab_res(void) {
    start_for(__func__);
    return numbers.gamma_tab_res;
}

uint32_t FMT_def_swatch(void) {
    start_for(__func__);
    return numbers.swatch;
}

const char *FMT_def_image_data(void) {
    start_for(__func__);
    return current_text(TEXT_CHANNELS);
}

const char *fmt__def_key() { return current_text(TEXT_KEY); }

const char *fmt__def_base_name() { return current_text(TEXT_BASE_NAME); }
