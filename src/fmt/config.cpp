// config.cpp - finds, reads and splits the configuration file.
#include "fmt/config.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "base/base/dst_list.h"
#include "base/base/owned.h"
#include "platform/platform.h"
#include "zor/messages.h"
#include "zor/str.h"

namespace {

constexpr char file_name[] = ".zorrc";
constexpr char built_in_root[] = "/usr/vy/"; // gives a path with two slashes, which users know

constexpr size_t piece_size = 255; // with the terminator

// What pretends to be a configuration file and goes on longer, a device for instance, must not eat
// the memory: reading ends there.
constexpr size_t max_bytes = size_t{16} * 1024 * 1024;

struct LineRecord {
    LineRecord *next; // link of dst_list
    config_line line;
    char *text; // owned; the tokens point into it
};
static_assert(sizeof(void *) != 4 || sizeof(LineRecord) == 84);

// The reader: filled by the first config_open, emptied by config_close. A file that is missing
// counts as open too, so that one start looks for it once; only running out of memory for a line's
// record closes the reader again.
struct Reader {
    bool open;
    dst_list lines; // of LineRecord; its cursor is the next line to hand out
    int32_t number; // of the line handed out last
    char *path;     // owned; tried last
    void *catalogue;
} reader;

struct CloseFile {
    void operator()(FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

// Characters are classed as in the "C" locale, whatever the application's locale is.
bool is_ascii_space(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x80 && std::isspace(byte) != 0;
}

bool is_ascii_graphic(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x80 && std::isgraph(byte) != 0;
}

bool is_quote(char c) { return c == '"' || c == '\'' || c == '\x1b'; }

int no_memory() {
    ERR_report_cat(reader.catalogue, FMT_MSG_NO_MEMORY);
    return -1;
}

// Tries the user's, the site's and the built-in place. Null when there is no file, or, then without
// a path, when memory ran out.
File open_first() {
    const struct Place {
        const char *root;
        const char *folder;
    } places[] = {
        {std::getenv("HOME"), "/"},
        {std::getenv("QK_ROOT"), "/userconfig/"},
        {built_in_root, "/userconfig/"},
    };
    for (const Place &place : places) {
        if (place.root == nullptr)
            continue;
        ERR_free(reader.path);
        reader.path = STR_save_n(3, place.root, place.folder, file_name);
        if (reader.path == nullptr)
            return nullptr;
        // A text mode would end the file at the first 0x1A; the '\r' of line ends is a space.
        File file(zor::platform::open_file(reader.path, "rb"));
        if (file != nullptr)
            return file;
    }
    return nullptr;
}

// A line of its own for one piece of the file. Returns 0 or -1.
int add_line(const char *piece) {
    zor::Owned<LineRecord> record(zor::allocate<LineRecord>());
    if (record == nullptr) {
        config_close();
        return -1;
    }
    record->text = STR_save(piece);
    if (record->text == nullptr)
        return no_memory();
    record->line.count = config_tokenize(config_max_tokens, record->text, record->line.tokens);
    dst_list_append(&reader.lines, record.release());
    return 0;
}

int read_lines(FILE *file) {
    char piece[piece_size];
    size_t bytes = 0;
    errno = 0;
    while (std::fgets(piece, sizeof piece, file) != nullptr) {
        // A piece costs its record at least, and its text's length once more.
        bytes += sizeof(LineRecord) + std::strlen(piece);
        if (bytes > max_bytes) {
            ERR_report_cat(reader.catalogue, FMT_MSG_SYNTAX, reader.path,
                           dst_list_count(&reader.lines) + 1);
            break;
        }
        if (add_line(piece) != 0)
            return -1;
    }
    if (std::ferror(file) != 0) // what there is of it counts all the same
        ERR_report_errno(errno, reader.path);
    dst_list_rewind(&reader.lines);
    return 0;
}

} // namespace

int config_open(void *catalogue) {
    if (reader.open) {
        dst_list_rewind(&reader.lines);
        reader.number = 0;
        return 0;
    }
    reader = {};
    reader.open = true;
    reader.catalogue = catalogue;
    const File file = open_first();
    if (reader.path == nullptr)
        return no_memory();
    return file != nullptr ? read_lines(file.get()) : -1;
}

const config_line *config_next_line() {
    const auto *record = static_cast<LineRecord *>(dst_list_step(&reader.lines));
    if (record == nullptr)
        return nullptr;
    ++reader.number;
    return &record->line;
}

int config_close() {
    while (auto *record = static_cast<LineRecord *>(dst_list_pop_first(&reader.lines))) {
        ERR_free(record->text);
        ERR_free(record);
    }
    ERR_free(reader.path);
    reader = {};
    return 0;
}

int32_t config_tokenize(int32_t max_count, char *text, char **tokens) {
    int32_t count = 0;
    for (char *at = text;;) {
        while (is_ascii_space(*at))
            ++at;
        if (*at == '\0' || count > max_count)
            break;
        char *end;
        if (is_quote(*at)) {
            const char quote = *at;
            tokens[count] = ++at;
            for (end = at; *end != '\0' && *end != quote;)
                ++end;
        } else {
            tokens[count] = at;
            for (end = at; is_ascii_graphic(*end);)
                ++end;
        }
        ++count;
        if (*end == '\0')
            break;
        *end = '\0';
        at = end + 1;
    }
    tokens[count] = nullptr;
    return count;
}

const char *config_path() { return reader.path != nullptr ? reader.path : ""; }

int32_t config_line_number() { return reader.number; }

void *config_catalogue() { return reader.catalogue; }

void config_report_syntax() {
    ERR_report_cat(reader.catalogue, FMT_MSG_SYNTAX, config_path(), reader.number);
}
