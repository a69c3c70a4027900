// capability_test.cpp - what drivers offer, as the commands show and set it.
#include <gmock/gmock.h>

#include "loader/system.h"
#include "tool.h"

using nlohmann::json;
using testing::HasSubstr;

namespace {

class Capabilities : public Tool {
protected:
    Capabilities() {
        const std::string separator(1, zor::search_path_separator);
        set_variable("ZOR_MODULES", (modules + separator + option_modules).c_str());
        write_file("a.pam", pam(4, 3, 3, 1));
    }
    inline static const std::string option_modules = fs::absolute(OPTION_MODULES).generic_string();
};

TEST_F(Capabilities, AreListedForEveryFormat) {
    EXPECT_THAT(good("zor formats -v"),
                testing::AllOf(HasSubstr("packing: none, tight (default), loose\n"),
                               HasSubstr("quality: a number\n"),
                               HasSubstr("magic: a whole number; not at present\n")));
    const json all = json::parse(good("zor formats --json"));
    for (const json &format : all["formats"])
        if (format["key"] == "option") {
            const json &packing = format["capabilities"][0];
            EXPECT_EQ(packing["kind"], "choice");
            EXPECT_EQ(packing["default"], "tight");
            EXPECT_EQ(packing["choices"][2], json({{"name", "loose"}, {"value", 6}}));
            EXPECT_EQ(format["capabilities"][3]["available"], false);
        }
}

TEST_F(Capabilities, AreSetByName) {
    const std::pair<const char *, const char *> cases[] = {
        {"", ""},
        {"--set packing=loose", "0: 6\n"},
        {"--set Packing=TIGHT --set quality=0.25", "0: 5\n1: 0.25\n"},
        {"--set tiles=-3 --set packing=none --set packing=6", "0: -3\n0: 6\n"},
    };
    for (const auto &[options, written] : cases) {
        good(std::string("zor convert a.pam b.option ") + options);
        EXPECT_EQ(read_file("b.option"), written) << options;
    }
}

TEST_F(Capabilities, ThatMakeNoSenseAreRefusedWithTheChoices) {
    expect_failures("zor convert a.pam b.ppm --set packing=none", {{"", 2, "ppm has nothing"}});
    expect_failures("zor convert a.pam b.option --set ",
                    {{"packing", 2, "NAME=VALUE"},
                     {"speed=1", 2, "there is packing, quality, tiles, magic"},
                     {"packing=7", 2, "none, tight (default), loose"},
                     {"packing=", 2, "none, tight (default), loose"},
                     {"quality=nan", 2, "a number"},
                     {"tiles=1.5", 2, "a whole number"},
                     {"magic=1", 2, "at present"}});
}

} // namespace
