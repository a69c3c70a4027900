// startup_test.cpp - modules become formats, or are skipped for the right reason.
#include <gtest/gtest.h>

#include <sstream>

#include "core/library.h"

namespace {

std::string registered() {
    std::string keys;
    while (const ZOR_FORMAT *format = ZOR_info())
        keys.append(format->key) += ' ';
    return keys;
}

// The fields of a format, functions by whether there is one.
std::string outline(const ZOR_FORMAT &is) {
    const auto text = [](const char *given) { return given != nullptr ? given : "(null)"; };
    std::ostringstream all;
    all << is.key << ' ' << is.extension << ' ' << is.name << ' ' << text(is.description) << ' '
        << is.file_name_format << ' ' << text(is.name_syntax) << ' ' << is.add_extension << ' '
        << is.usage << ' ' << is.orientation << ' ' << is.bits_per_palette_entry << ' '
        << is.num_channels << ' ' << is.bits_per_channel << ' ' << is.num_mattes << ' '
        << is.bits_per_matte << ' ' << is.num_z << ' ' << is.bits_per_z << ' ' << is.active_window
        << ' ' << is.access << ' ' << is.multi_frame << ' ' << +is.hard_link_duplicates << ' '
        << +is.remote_access << ' ' << (is.capability != nullptr)
        << (is.caps_avail_update != nullptr) << (is.is_file != nullptr);
    return all.str();
}

TEST(Startup, TakesEverySymbolIntoItsOwnFieldOrADefault) {
    const Library library({"", "minimal", "full"});
    EXPECT_EQ(library.result, 0);
    EXPECT_EQ(outline(*ZOR_find("minimal")),
              "minimal  Minimal (null) %s.%04.4d%s (null) 1 1 0 0 3 128 0 0 0 0 0 12 0 1 0 000");
    const ZOR_FORMAT *full = ZOR_find(".full");
    EXPECT_EQ(outline(*full), "full .full Full has it all %s%d%s name_##.ext 0 3 3 11 12 13 14 15 "
                              "16 17 18 12 19 0 1 111");
    void *popup = library.variable<void>(2, "imagePrivateUIPopup");
    EXPECT_EQ(reinterpret_cast<void *>(full->ui_popup), popup);
    EXPECT_NE(full->ui_popdown, full->ui_popup);
}

TEST(Startup, SkipsUnfitModulesAndGoesOn) {
    const std::pair<const char *, const char *> cases[] = {
        {"no_version", "no_version: version must be defined\n"},
        {"old_version", "old_version: the version protocol of this plug-in (\"version\") is not "
                        "supported; expecting version \"3.2\" but found \"3.1\"\n"},
        {"no_key", "no_key: imageKey must be defined\n"},
        {"borrows", "borrows: version must be defined\n"}, // another library's do not count
        {"null_texts", "null_texts: imageName must be defined\n"},
        {"unfit_twin", "unfit_twin: imageName must be defined\n"},
        {"no_orientation", "no_orientation: imageOrientation must be defined\n"},
        {"no_read_open", "no_read_open: imageReadOpen must be defined\n"},
        {"no_write_open", "no_write_open: imageWriteOpen must be defined\n"},
        {"declines", ""}, // skipped without a word
    };
    for (const auto &[module, reports] : cases) {
        const Library library({module, "minimal"});
        EXPECT_EQ(library.result, 0) << module;
        EXPECT_EQ(library.log.text(), reports);
        EXPECT_EQ(registered(), "minimal ") << module;
    }
}

TEST(Startup, IsNotDisturbedByModulesThatMeddle) {
    const Library library({"meddles", "minimal"});
    EXPECT_TRUE(library.result == 0 && zor__err == 0);
    unsigned char tried;
    char name[] = "x";
    EXPECT_EQ(ZOR_get_file_type(name, nullptr, &tried), nullptr);
    EXPECT_EQ(registered(), "meddler minimal ");
}

TEST(Startup, LetsTheLaterOfTwoModulesWithOneKeyWin) {
    const Library library({"twin_1", "minimal", "twin_2"});
    EXPECT_EQ(registered(), "minimal twin ");
    EXPECT_STREQ(ZOR_name_from_key("twin"), "Twin 2");
    EXPECT_EQ(ZOR_find(".1"), nullptr);
    ZOR_exit();
    EXPECT_EQ(*library.variable<int>(0, "done_calls"), 0) << "dropped before it was in use";
    EXPECT_EQ(*library.variable<int>(2, "done_calls"), 1);
    const Library unfit({"twin_1", "unfit_twin"});
    EXPECT_EQ(registered(), "") << "even when it cannot be used";
}

TEST(Startup, OnlyRewindsWhenUpAlready) {
    const Library library({"minimal", "full"});
    EXPECT_EQ(registered(), "minimal full ");
    EXPECT_EQ(ZOR_info(), nullptr) << "the end is the end";
    zor__err = ZOR_E_READ;
    EXPECT_EQ(ZOR_init(nullptr, nullptr), 0);
    EXPECT_EQ(zor__err, 0);
    EXPECT_EQ(zor__msg_cat, &library) << "the new catalogue is ignored";
    EXPECT_EQ(registered(), "minimal full ");
    EXPECT_EQ(ZOR_exit() + ZOR_exit(), 0);
    EXPECT_EQ(ZOR_find("minimal"), nullptr) << "one exit takes it down";
}

} // namespace
