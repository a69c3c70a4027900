// program_test.cpp - the zor command on every system: conversions, standard streams, file names.
#include <gmock/gmock.h>

#include "tool.h"

using namespace std::string_literals;
using nlohmann::json;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

std::string utf8(const std::u8string &text) { return {text.begin(), text.end()}; }

TEST_F(Tool, PicturesComeBackUnchangedThroughEveryOrderOfLines) {
    const std::string middle = png ? "c.png" : "c.mob";
    for (const auto &[channels, bytes] : {std::pair(1, 1), {3, 1}, {3, 2}, {4, 1}, {4, 2}}) {
        SCOPED_TRACE(testing::Message() << channels << " channels of " << bytes << " bytes");
        write_file("a.pam", pam(37, 11, channels, bytes));
        for (const std::string &names :
             {"a.pam b.MOX"s, "b.MOX " + middle, middle + " d.mob", "d.mob e.pam"s})
            good("zor convert " + names);
        EXPECT_THAT(read_file("e.pam"), EndsWith(raster(37, 11, channels, bytes)));
    }
}

// Line ends and what text modes take for the end of a file are samples like others here.
TEST_F(Tool, StandardStreamsAreBinary) {
    std::string samples = raster(500, 400, 3, 1); // more than a reader keeps in memory
    for (size_t i = 0; i < samples.size(); i += 3)
        samples[i] = "\n\r\x1a"[i / 3 % 3];
    write_file("a.ppm", "P6\n500 400\n255\n" + samples);
    write_file("b.mox", start({"zor", "convert", "a.ppm", "-", "--to", "mox"}).out);
    const Run piped = start({"zor", "convert", "--from", "mox", "-", "-", "--to", "ppm"}, "b.mox");
    EXPECT_TRUE(piped.out.ends_with(samples)) << piped.err;
    good("zor convert --from ppm /dev/stdin c.mox <a.ppm");
    const Run named = start({"zor", "convert", "c.mox", "/dev/stdout", "--to", "ppm"});
    EXPECT_TRUE(named.out.ends_with(samples)) << named.err;
    std::string stream = "ZORPIPE 1 500 400 3 0 0 1 8 0 0 0 0\n"; // and rising rows of channels
    for (size_t y = 400; y-- > 0;)
        for (size_t channel = 0; channel < 3; ++channel)
            for (size_t x = 0; x < 500; ++x)
                stream += samples[(y * 500 + x) * 3 + channel];
    EXPECT_TRUE(start({"zor", "convert", "c.mox", "-", "--to", "pipe"}).out == stream);
    EXPECT_THAT(good("zor info --from mox - <b.mox"), HasSubstr("500 x 400"));
}

TEST_F(Tool, NamesMayBeOfAnyLanguage) {
    const std::u8string folder = u8"\u0416 \u65e5\u672c";
    const std::u8string picture = folder + u8"/caf\u00e9 \U0001F3A8";
    const std::string ppm = utf8(picture + u8".ppm");
    const std::string mox = utf8(picture + u8".mox");
    fs::create_directory(folder);
    write_file(picture + u8".ppm", "P6\n5 4\n255\n" + raster(5, 4, 3, 1));
    EXPECT_EQ(start({"zor", "convert", ppm, mox}).code, 0);
    EXPECT_EQ(start({"zor", "convert", mox, ppm}).code, 0) << "over the old one";
    EXPECT_THAT(read_file(picture + u8".ppm"), EndsWith(raster(5, 4, 3, 1)));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 2) << "no other files";
    const Run both = start({"zor", "info", "--json", mox, utf8(folder + u8"/\u00fc")});
    EXPECT_EQ(both.code, 1);
    EXPECT_THAT(both.out, HasSubstr(mox));
    EXPECT_THAT(both.err, HasSubstr(utf8(folder + u8"/\u00fc: No such file")));

    fs::copy_file(modules + "/mox" MODULE_SUFFIX, folder + u8"/mox" MODULE_SUFFIX);
    EXPECT_THAT(start({"zor", "formats", "--modules", utf8(folder)}).out, HasSubstr("mox"));
}

TEST_F(Tool, FailuresLeaveNothingBehind) {
    write_file("a.pam", pam(64, 64, 3, 2));
    good("zor convert a.pam a.mox");
    write_file("cut.mox", read_file("a.mox").substr(0, 3000));
    write_file("target.pam", "the old content");
    write_file("g.pfm", "PF\n1 1\n-1.0\n" + raster(1, 1, 3, 4));
    fs::create_directory("folder.mox");
    expect_failures("zor ", {{"", 2, ""},
                             {"convert a.pam new.xyz", 2, "mox (.mox)"},
                             {"convert a.pam -", 2, "--to"},
                             {"convert a.pam target.pam --fast", 2, "--fast"},
                             {"convert --to xyz a.pam target.pam", 2, "mox (.mox)"},
                             {"convert a.pam --to pipe target.pam", 2, "standard output"},
                             {"convert a.pam --to mem target.pam", 2, "do not outlive"},
                             {"convert a.pam target.pipe", 2, "mox (.mox)"},
                             {"info --from mem a.pam", 1, "no file is of the format 'mem'"},
                             {"convert a.mox target.pam --from ppm", 1, "zor: a.mox: "},
                             {"convert g.pfm target.pam", 4,
                              "zor: target.pam: pam cannot handle image channel"},
                             {"convert a.mox new.pfm", 4, ""}, // integers are not made floats
                             {"convert missing.mox target.pam", 1, "No such file"},
                             {"convert cut.mox target.pam", 1, "cut.mox: "},
                             {"convert a.pam folder.mox", 4, "folder.mox: "},
                             {"convert a.pam absent/new.mox", 4, "No such file"},
                             {"formats --modules absent", 3, "No such file"}});
    EXPECT_EQ(read_file("target.pam"), "the old content");
}

TEST_F(Tool, InfoTellsWhatAFileHolds) {
    good("render_frame f.mox 7 32 24");
    const json result = info("f.mox");
    EXPECT_EQ(result["format"], "mox");
    EXPECT_EQ(result["texts"]["name"], "spheres");
    EXPECT_EQ(result["primaries"]["red"], json({0.64, 0.33}));
    const json image = json::parse(R"({
        "width": 32, "height": 24, "order": "rising", "index_bits": 0, "gamma": 2.2, "frame": 7,
        "window": {"left": 0, "right": 31, "bottom": 0, "top": 23},
        "active": {"left": 0, "right": 31, "bottom": 0, "top": 23},
        "colour": {"count": 3, "type": "integer", "bits": 8}, "channel_format": "rgb",
        "matte": {"count": 1, "type": "integer", "bits": 8},
        "auxiliary": {"count": 1, "type": "float", "bits": 32}, "auxiliary_name": "depth",
        "picture": {"format": "ntsc_640", "ratio": "1.330", "width": 640, "height": 486,
                    "aspect": 1.33}})");
    EXPECT_EQ(result["images"], json({image}));

    // By content, whatever the name; a bad file does not hide the good ones.
    fs::copy("f.mox", "renamed.png");
    write_file("empty.png", "");
    write_file("unnamed", "P6\n1 1\n255\nabc");
    const Run mixed = run("zor info renamed.png missing.mox empty.png unnamed f.mox");
    EXPECT_EQ(mixed.code, 1);
    EXPECT_THAT(mixed.out, AllOf(HasSubstr("renamed.png: mo"), HasSubstr("unnamed: p"),
                                 HasSubstr("f.mox: mox"), HasSubstr("32 x 24"),
                                 HasSubstr("Spheres going round")));
    EXPECT_THAT(mixed.err,
                AllOf(HasSubstr("zor: missing.mox: No such file"), HasSubstr("zor: empty.png: ")));
    const json missing = json::parse(run("zor info --json missing.mox").out);
    EXPECT_THAT(missing["files"][0]["error"], HasSubstr("No such file"));
}

TEST_F(Tool, TextsFromFilesSteerNeitherTerminalNorJson) {
    good("render_frame f.mox 1 8 6");
    std::string file = read_file("f.mox");
    file.replace(144, 8, "A\x1b[2J\xff\xc2\x9b"); // the image's name
    write_file("f.mox", file);
    EXPECT_THAT(good("zor info f.mox"), HasSubstr("A\\x1b[2J\xff\xc2\\x9b\n"));
    EXPECT_EQ(info("f.mox")["texts"]["name"], "A\x1b[2J\uFFFD\u009b");
}

TEST_F(Tool, LossesAreToldOrRefused) {
    good("render_frame f.mox 1 8 6");
    const Run told = run("zor convert f.mox a.pam");
    EXPECT_EQ(told.code, 0);
    EXPECT_EQ(told.err, "zor: a.pam: 1 auxiliary channel left out: pam has no place for that\n");
    EXPECT_THAT(run("zor convert f.mox b.ppm -q").err, testing::IsEmpty());
    EXPECT_THAT(good("zor info b.ppm"), HasSubstr("matte        0"));
    EXPECT_EQ(run("zor convert --strict f.mox c.pam").code, 4);
    EXPECT_FALSE(fs::exists("c.pam"));
}

} // namespace
