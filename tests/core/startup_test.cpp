// startup_test.cpp - modules become formats, or are skipped for the right reason.
#include <gtest/gtest.h>

#include "core/library.h"

namespace {

std::vector<std::string> registered() {
    std::vector<std::string> keys;
    while (const ZOR_FORMAT *format = ZOR_info())
        keys.emplace_back(format->key);
    return keys;
}

using Keys = std::vector<std::string>;

TEST(Startup, GivesWhatAModuleLeavesOutItsDefaults) {
    const Library library({"", "minimal"});
    ASSERT_EQ(library.result, 0);
    const ZOR_FORMAT *format = ZOR_find("minimal");
    ASSERT_NE(format, nullptr);
    EXPECT_STREQ(format->extension, "");
    EXPECT_EQ(format->description, nullptr);
    EXPECT_STREQ(format->file_name_format, "%s.%04.4d%s");
    EXPECT_EQ(format->name_syntax, nullptr);
    EXPECT_EQ(format->add_extension, 1);
    EXPECT_EQ(format->usage, 1);
    EXPECT_EQ(format->num_channels, 3);
    EXPECT_EQ(format->bits_per_channel, 128U);
    EXPECT_EQ(format->num_mattes + format->num_z + format->active_window + format->multi_frame, 0);
    EXPECT_EQ(format->access, 12);
    EXPECT_EQ(format->hard_link_duplicates, 1);
    EXPECT_EQ(format->remote_access, 0);
    EXPECT_TRUE(format->is_file == nullptr && format->capability == nullptr);
}

TEST(Startup, TakesEverySymbolIntoItsOwnField) {
    const Library library({"full"});
    const ZOR_FORMAT *format = ZOR_find(".full");
    ASSERT_NE(format, nullptr);
    EXPECT_STREQ(format->name, "Full");
    EXPECT_STREQ(format->description, "has it all");
    EXPECT_STREQ(format->file_name_format, "%s%d%s");
    EXPECT_STREQ(format->name_syntax, "name_##.ext");
    EXPECT_EQ(format->add_extension, 0);
    EXPECT_EQ(format->usage, 3);
    EXPECT_EQ(format->orientation, 3);
    EXPECT_EQ(format->bits_per_palette_entry, 11);
    EXPECT_EQ(format->num_channels, 12);
    EXPECT_EQ(format->bits_per_channel, 13U);
    EXPECT_EQ(format->num_mattes, 14);
    EXPECT_EQ(format->bits_per_matte, 15U);
    EXPECT_EQ(format->num_z, 16);
    EXPECT_EQ(format->bits_per_z, 17U);
    EXPECT_EQ(format->active_window, 18);
    EXPECT_EQ(format->multi_frame, 19);
    EXPECT_EQ(format->hard_link_duplicates, 0);
    EXPECT_EQ(format->remote_access, 1);
    void *popup = library.variable<void>(0, "imagePrivateUIPopup");
    EXPECT_EQ(reinterpret_cast<void *>(format->ui_popup), popup);
    EXPECT_NE(format->ui_popdown, format->ui_popup);
    EXPECT_TRUE(format->caps_avail_update != nullptr && format->capability != nullptr);
}

TEST(Startup, SkipsUnfitModulesAndGoesOn) {
    struct Case {
        const char *module;
        std::string report; // empty: skipped without a word
    };
    const Case cases[] = {
        {"no_version", "no_version: version must be defined"},
        {"old_version", "old_version: the version protocol of this plug-in (\"version\") is not "
                        "supported; expecting version \"3.2\" but found \"3.1\""},
        {"no_key", "no_key: imageKey must be defined"},
        {"borrows", "borrows: version must be defined"}, // another library's do not count
        {"null_texts", "null_texts: imageName must be defined"},
        {"unfit_twin", "unfit_twin: imageName must be defined"},
        {"no_orientation", "no_orientation: imageOrientation must be defined"},
        {"no_read_open", "no_read_open: imageReadOpen must be defined"},
        {"no_write_open", "no_write_open: imageWriteOpen must be defined"},
        {"declines", ""},
    };
    for (const Case &unfit : cases) {
        const Library library({unfit.module, "minimal"});
        EXPECT_EQ(library.result, 0) << unfit.module;
        EXPECT_EQ(library.log.last(), unfit.report);
        EXPECT_EQ(library.log.reports.size(), unfit.report.empty() ? 0U : 1U) << unfit.module;
        EXPECT_EQ(registered(), Keys{"minimal"}) << unfit.module;
    }
}

TEST(Startup, IsNotDisturbedByModulesThatMeddle) {
    const Library library({"meddles", "minimal"});
    EXPECT_EQ(library.result, 0);
    EXPECT_EQ(zor__err, 0);
    unsigned char tried;
    char name[] = "x";
    EXPECT_EQ(ZOR_get_file_type(name, nullptr, &tried), nullptr);
    EXPECT_EQ(registered(), (Keys{"meddler", "minimal"}));
}

TEST(Startup, LetsTheLaterOfTwoModulesWithOneKeyWin) {
    const Library library({"twin_1", "minimal", "twin_2"});
    EXPECT_EQ(registered(), (Keys{"minimal", "twin"}));
    EXPECT_STREQ(ZOR_name_from_key("twin"), "Second twin");
    EXPECT_EQ(ZOR_find(".one"), nullptr);
    ZOR_exit();
    EXPECT_EQ(*library.variable<int>(0, "done_calls"), 0) << "dropped before it was in use";
    EXPECT_EQ(*library.variable<int>(2, "done_calls"), 1);
}

TEST(Startup, LosesBothTwinsWhenTheLaterIsUnfit) {
    const Library library({"twin_1", "unfit_twin"});
    EXPECT_EQ(registered(), Keys{});
}

TEST(Startup, OnlyRewindsWhenUpAlready) {
    Library library({"minimal", "full"});
    EXPECT_EQ(registered().size(), 2U);
    EXPECT_EQ(ZOR_info(), nullptr) << "the end is the end";
    zor__err = ZOR_E_READ;
    EXPECT_EQ(ZOR_init(nullptr, nullptr), 0);
    EXPECT_EQ(zor__err, 0);
    EXPECT_EQ(zor__msg_cat, &library) << "the new catalogue is ignored";
    EXPECT_EQ(registered().size(), 2U);
    EXPECT_EQ(ZOR_exit(), 0);
    EXPECT_EQ(ZOR_exit(), 0);
    EXPECT_EQ(ZOR_find("minimal"), nullptr) << "one exit takes it down";
}

} // namespace
