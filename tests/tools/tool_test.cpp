// tool_test.cpp - the zor command and the examples, run as users run them.
#include <gmock/gmock.h>

#include "shell.h"

using nlohmann::json;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;

namespace {

TEST_F(Shell, AReaderThatGoesAwayIsAFailureLikeOthers) {
    write_file("a.ppm", "P6\n500 400\n255\n" + raster(500, 400, 3, 1)); // more than a pipe holds
    for (const char *format : {"pipe", "ppm"}) {
        const Run result = run(std::string("(zor convert a.ppm - --to ") + format +
                               "; echo $? >code) | head -c 10");
        EXPECT_EQ(result.out.size(), 10U);
        EXPECT_EQ(read_file("code"), "4\n");
        EXPECT_THAT(result.err,
                    AllOf(HasSubstr("zor: standard output: "), testing::EndsWith("Broken pipe\n")));
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    }
}

TEST_F(Shell, ModulesAreFoundAndTheirFateIsTold) {
    fs::create_directory("mine");
    write_file("mine/broken.so", "no module");
    write_file("mine/mox.so", "not asked for: there is one before it");
    fs::copy(MODULES "/png.so", "mine/twin.so"); // has a key that png.so has
    for (const char *command :
         {"zor formats --json --modules " OLD_MODULES " --modules " MODULES " --modules mine",
          "ZOR_MODULES=" OLD_MODULES ":" MODULES "::mine zor formats --json"}) {
        std::map<std::string, std::string> fates;
        const json listed = json::parse(run(command).out);
        for (const json &module : listed["modules"])
            fates[fs::path(module["path"].get<std::string>()).filename()] =
                module["state"].get<std::string>() + " " + module["reason"].dump();
        EXPECT_EQ(fates["mox.so"], "loaded null");
        EXPECT_EQ(fates["twin.so"], "loaded null");
        EXPECT_THAT(fates["png.so"], HasSubstr("refused")) << "the later of two modules counts";
        EXPECT_THAT(fates["old.so"], ContainsRegex("^refused .*but found .*3.1"));
        EXPECT_THAT(fates["broken.so"], ContainsRegex("^not loaded .*broken.so"));
    }
    EXPECT_EQ(run("zor -v formats").code, 2) << "the option is the command's";
    EXPECT_THAT(good("zor formats -v"), AllOf(HasSubstr("  .mox  "), HasSubstr("png.so")));

    const Run none = run("zor formats -v --modules " OLD_MODULES);
    EXPECT_EQ(none.code, 3);
    EXPECT_THAT(none.out, HasSubstr("refused: "));
    EXPECT_THAT(none.err, AllOf(HasSubstr("zor: old.so: "), HasSubstr("no usable modules")));
    EXPECT_THAT(run("zor info x --modules absent").err, HasSubstr("zor: absent: No such file"));
}

TEST_F(Shell, FailuresLeaveNothingBehind) {
    const std::string old = "the old content";
    write_file("a.pam", pam(64, 64, 3, 2));
    good("zor convert a.pam a.png && head -c 9999 a.png >cut.png");
    write_file("target.png", old);
    fs::create_symlink("target.png", "link.png");
    expect_failures(
        "",
        {{"zor convert - target.png <a.png", 2, "--from"},
         {"zor convert . target.png", 1, "directory"},
         {"zor convert cut.png link.png", 1, "zor: cut.png: "},
         {"zor convert a.pam --to png /dev/full", 4, "zor: /dev/full: No space left"},
         {"zor convert a.pam --to mox - >/dev/full", 4, "zor: standard output: No space left"},
         {"zor convert a.pam --to pipe - >/dev/full", 4, "Cannot write scanline 0; No space left"},
         {"zor info a.png >/dev/full", 4, "standard output: No space left"},
         // A disk that fills up, at last before anything could be written, messages included.
         {"trap '' XFSZ; ulimit -f 4; zor convert a.pam target.png", 4, "zor: target.png: "},
         {"trap '' XFSZ; ulimit -f 4; zor convert a.pam new.mox", 4, "zor: new.mox: "},
         {"trap '' XFSZ; ulimit -f 0; zor convert a.pam new.mox", 4, ""}});
    EXPECT_EQ(read_file("target.png"), old);
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
    constexpr auto mine = fs::perms::owner_read | fs::perms::owner_write;
    fs::permissions("target.png", mine);
    good("zor convert a.pam link.png");
    EXPECT_EQ(fs::status("target.png").permissions(), mine);
    EXPECT_TRUE(fs::is_symlink("link.png"));
    EXPECT_NE(read_file("target.png"), old);
}

TEST_F(Shell, WhatGoesToAFileIsNotDrawn) {
    good("render_frame f.mox 1 64 48");
    fs::create_directory("tmp");
    std::string path = good("TMPDIR=$PWD/tmp COLORTERM=truecolor zor show -q --width 10 f.mox");
    path.pop_back();
    EXPECT_THAT(good("zor info " + path), AllOf(HasSubstr("png"), HasSubstr("10 x 8")));
    EXPECT_EQ(run("TMPDIR=$PWD/tmp zor show none.png").code, 1);
    EXPECT_EQ(std::distance(fs::directory_iterator("tmp"), {}), 1) << "the one that was shown";
}

TEST_F(Shell, ExamplesWork) {
    good("render_frame f.mox 3 40 30");
    EXPECT_THAT(good("image_stats f.mox"),
                AllOf(HasSubstr("40 x 30"), HasSubstr("colour 3 "), // and of the sky:
                      ContainsRegex("matte 1 +0 +255 "), ContainsRegex("aux 1 .* 1000 ")));
    good("zor -q convert f.mox f.png && cp f.png unnamed && image_stats unnamed");
    EXPECT_EQ(run("render_frame f.mox").code, 2);
    EXPECT_EQ(run("image_stats missing.mox").code, 1);
    EXPECT_EQ(run("render_frame absent/f.mox 1").code, 1);
}

} // namespace
