// fmt_test.cpp - the configuration file and what it does to the format defaults.
#include <filesystem>
#include <set>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "fmt/config.h"
#include "fmt/defaults.h"
#include "support/fault.h"
#include "support/home.h"
#include "support/report_log.h"
#include "zor/fmt.h"

namespace {

using Texts = std::vector<std::string>;

const std::string built_in = "mox im rgb ntsc_640 2.2 1 4096 1 30 0; ntsc_640 640 486 1.33";

// Numbers outlive FMT_exit: this sets them back.
const std::string reset = "fmt__gamma_default 2.2\nfmt__input_gamma_default 1\n"
                          "fmt__gamma_table_res 4096\nfmt__dominance odd\nfmt__frame_rate 30\n"
                          "fmt__swatch_size none\n";

const std::string every_keyword =
    "fmt__key_default mox\nfmt__key_default png\nfmt__name_default 'main plate'\nfmt__chan_default "
    "xyz\n"
    "fmt__aspect_default pal\nfmt__aspect_table\n# rows\nntsc_640 720 486 1.5\npal 1 2 3\n"
    "fmt__gamma_default 1.8\npal 720 576 1.25\nend_aspect_table\nfmt__input_gamma_default 2.5\n"
    "fmt__gamma_table_res 1024\nfmt__dominance even\nfmt__frame_rate 25\nfmt__swatch_size 64\n";
const std::string every_setting =
    "png main plate xyz pal 1.8 2.5 1024 0 25 64; ntsc_640 720 486 1.5; pal 720 576 1.25";

// The settings, and the entries from the place of FMT_info on.
std::string state() {
    std::ostringstream text;
    text << fmt__def_key() << ' ' << fmt__def_base_name() << ' ' << FMT_def_image_data() << ' '
         << FMT_def_aspect() << ' ' << FMT_def_gamma() << ' ' << FMT_def_input_gamma() << ' '
         << FMT_def_gamma_tab_res() << ' ' << FMT_def_dominance() << ' ' << FMT_def_frame_rate()
         << ' ' << FMT_def_swatch();
    while (const FMT_ASPECT *is = FMT_info())
        text << "; " << is->name << ' ' << is->width << ' ' << is->height << ' ' << is->aspect;
    return text.str();
}

class Fmt : public ::testing::Test {
protected:
    ~Fmt() override {
        start_with(reset);
        FMT_exit();
    }

    // Starts the database from a text as the user's configuration file.
    int start_with(const std::string &text) {
        FMT_exit();
        config_close();
        write_file(file, text);
        return FMT_init(nullptr);
    }

    const Home directory;
    const std::string &home = directory.path;
    const std::string &file = directory.file;
    ReportLog log;
};

TEST_F(Fmt, BuiltInValuesWithoutAFile) { // comes first, before a file has set numbers
    EXPECT_EQ(state(), built_in);
    EXPECT_STREQ(config_path(), "/usr/vy//userconfig/.zorrc");
    EXPECT_EQ(log.text(), "");
}

TEST_F(Fmt, LinesSplitIntoTokens) {
    const std::pair<std::string, Texts> cases[] = {
        {" \t\v\f\r\n", {}},
        {"\"a b\" c", {"a b", "c"}},
        {"'x y\n", {"x y\n"}}, // a quote left open takes the line end too
        {"key='a b'\r\n", {"key='a", "b'"}},
        {"'''it\"s'\"it's\"\x1b' \"\x1b z", {"", "it\"s", "it's", "' \"", "z"}},
        {"\xc3\xa9 a\xe9z \x7f", {"", "", "a", "z", ""}}, // bytes without a class
        {"1 2 3 4 5 6 7", {"1", "2", "3", "4", "5", "6"}}};
    for (auto [text, expected] : cases) {
        char *tokens[7];
        const int32_t count = config_tokenize(5, text.data(), tokens);
        EXPECT_EQ(Texts(tokens, tokens + count), expected);
        EXPECT_EQ(tokens[count], nullptr);
    }
}

TEST_F(Fmt, FirstFileFoundIsReadOnce) {
    const std::string in_site = home + "/userconfig/.zorrc";
    int catalogue = 0;
    set_variable("QK_ROOT", home.c_str());
    write_file(in_site, "site\nsecond");
    std::filesystem::create_directory(file); // can be opened, but is no file
    EXPECT_EQ(config_open(nullptr), 0);
    EXPECT_EQ(config_path(), in_site);
    config_close();
    std::filesystem::remove(file);
    write_file(file, "home\nsecond");
    for (const char *found : {"home", "site", ""}) {
        EXPECT_EQ(config_open(&catalogue), *found != '\0' ? 0 : -1);
        write_file(file, "changed");
        config_next_line();
        EXPECT_EQ(config_open(nullptr), 0); // only rewinds
        EXPECT_EQ(config_catalogue(), &catalogue);
        const config_line *line = config_next_line();
        EXPECT_STREQ(line != nullptr ? line->tokens[0] : "", found);
        EXPECT_EQ(config_close(), 0);
        set_variable(*found == 'h' ? "HOME" : "QK_ROOT", nullptr);
    }
}

TEST_F(Fmt, EndlessFilesEnd) {
    EXPECT_EQ(start_with("fmt__frame_rate 9\n" + std::string(40 << 20, '\n')), 0);
    EXPECT_EQ(FMT_def_frame_rate(), 9U); // and what came before counts
    EXPECT_TRUE(log.has_only(FMT_MSG_SYNTAX)) << log.text();
}

TEST_F(Fmt, KeywordsAndRows) {
    // the file, the state it leads to, lines reported
    const std::tuple<std::string, std::string, std::vector<int>> cases[] = {
        {every_keyword, every_setting, {}},
        {"fmt__aspect_default pal\nfmt__dominance even\nfmt__dominance EVEN\nfmt__frame_rate 0\n"
         "fmt__gamma_default x\nfmt__input_gamma_default inf\nfmt__swatch_size 5\n"
         "fmt__swatch_size -5\n# fmt__frame_rate 25\nframe_rate 25\nFMT__FRAME_RATE 25\nclr__x",
         built_in,
         {}},
        {"fmt__gamma_table_res -1\r\nfmt__gamma_default 1e999\n\"fmt__input_gamma_default\" .5x\n"
         "fmt__frame_rate 99999999999\nfmt__key_default ''\nfmt__swatch_size none",
         " im rgb ntsc_640 3.40282e+38 0.5 -1 1 2147483647 0; ntsc_640 640 486 1.33",
         {}},
        {"fmt__gamma_default\n\nfmt__frame_rate 25 fps\n1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17\n"
         "fmt__aspect_table 1\noutside 1 1 1\nfmt__aspect_table\nthree 1 1\nframe_rate 25\n" +
             std::string(254, '#') + "x\nfmt__swatch_size a b c d e f g h i j k l m n o p q\n" +
             "clr__white 1 2 x\nend_aspect_table\noutside 1 1 1",
         built_in + "; clr__white 1 2 0", // another database's line passes for a row
         {1, 3, 5, 8, 9, 11, 12}},        // a comment too long for one line goes on in line 11
    };
    for (const auto &[lines, expected, errors] : cases) {
        EXPECT_EQ(start_with(reset), 0);
        EXPECT_EQ(start_with(lines), 0);
        EXPECT_EQ(state(), expected);
        std::string reports;
        for (const int line : errors)
            reports +=
                file + ": Invalid configuration file syntax, line " + std::to_string(line) + "\n";
        EXPECT_EQ(log.text(), reports);
    }
}

TEST_F(Fmt, EnumerationAndLife) {
    ASSERT_EQ(start_with(every_keyword), 0);
    EXPECT_STREQ(FMT_info()->name, "ntsc_640");
    EXPECT_EQ(FMT_init(&log), 0); // rewinds, and ignores the catalogue
    EXPECT_EQ(config_catalogue(), nullptr);
    EXPECT_STREQ(FMT_info()->name, "ntsc_640");
    EXPECT_EQ(FMT_find("PAL"), nullptr); // leaves the place
    EXPECT_STREQ(FMT_info()->name, "pal");
    EXPECT_STREQ(FMT_find("ntsc_640")->name, "ntsc_640"); // moves it
    EXPECT_STREQ(FMT_info()->name, "pal");
    EXPECT_EQ(FMT_info(), nullptr);
    FMT_exit();
    std::filesystem::remove(file);
    ERR_unmask_s(ERR_DEBUG);
    EXPECT_EQ(state(), "mox im rgb ntsc_640 1.8 2.5 1024 0 25 64; ntsc_640 640 486 1.33");
    EXPECT_EQ(log.text(), "fmt, initializing database for FMT_def_image_data request\n");
    FMT_exit();
    const Fault fault(1);
    EXPECT_EQ(FMT_find("ntsc_640"), nullptr); // cannot start
    EXPECT_EQ(log.count(FMT_MSG_ON_DEMAND_START), 1);
    ERR_mask_s(ERR_DEBUG);
}

TEST_F(Fmt, FailingAllocations) {
    write_file(file, every_keyword);
    std::set<int> results;
    for_each_failing_allocation([&](Fault &fault) {
        zor__err = 0;
        log.clear();
        const int result = FMT_init(nullptr);
        results.insert(result);
        EXPECT_EQ(log.count(FMT_MSG_NO_MEMORY), fault.struck() ? 1 : 0);
        EXPECT_EQ(zor__err, result == 0 ? 0 : ZOR_E_MEMORY);
        EXPECT_EQ(result == -1, fault.live() == 0); // otherwise what was read stays
        EXPECT_TRUE(fault.struck() || state() == every_setting);
        FMT_exit();
        EXPECT_EQ(fault.live(), 0);
    });
    EXPECT_EQ(results, (std::set<int>{ZOR_E_MEMORY, -1, 0}));
}

} // namespace
