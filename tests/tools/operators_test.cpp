// operators_test.cpp - pictures changed on their way, compared and shown, by the command.
#include <algorithm>
#include <cmath>
#include <limits>

#include <gmock/gmock.h>

#include "tool.h"

using namespace std::string_literals;
using nlohmann::json;
using testing::HasSubstr;

namespace {

class Operators : public Tool {
protected:
    int compare(const std::string &arguments) { return run("zor compare " + arguments).code; }
    // Writes a picture of one row, in which pixel x has the value x in all channels, with a matte.
    void write_ramp(const std::string &name, double gamma, const std::string &channel_format) {
        std::string samples;
        for (int x = 0; x < 256; ++x)
            samples.append(4, static_cast<char>(x));
        write_file("ramp.pam", pam(256, 1, 4, 1, samples));
        good("zor convert ramp.pam " + name);
        std::string file = read_file(name);
        file.replace(28, 8, std::to_string(gamma)); // the texts of the header
        file.replace(580, channel_format.size() + 1, channel_format + '\0');
        write_file(name, file);
    }
    // The bytes of the last row, channels by turns, of a file with a matte.
    std::string last_row(const std::string &name, size_t width) {
        good("zor convert -q " + name + " row.pam");
        const std::string bytes = read_file("row.pam");
        return bytes.substr(bytes.size() - 4 * width);
    }
    inline static const std::string small_mox = fs::absolute(SMALL_MOX).generic_string();
    static void write_pfm(const char *name, const std::vector<float> &samples) {
        const std::string bytes(reinterpret_cast<const char *>(samples.data()), 4 * samples.size());
        write_file(name, "Pf\n" + std::to_string(samples.size()) + " 1\n-1.0\n" + bytes);
    }
};

TEST_F(Operators, FilesSayWhatTheirSamplesAre) {
    good("render_frame f.mox 1 64 48");
    good("zor convert f.mox wide.mox --bits 16");
    const struct {
        const char *command;
        int width, height, colours, bits;
        const char *type;
        double gamma;
        int aux_bits;
    } cases[] = {
        {"f.mox --float", 64, 48, 3, 32, "float", 1, 32},
        {"wide.mox --float", 64, 48, 3, 32, "float", 2.2, 32}, // no light was made of these
        {"wide.mox --resize 32x", 32, 24, 3, 16, "integer", 2.2, 32},
        {"f.mox --resize x96 --filter lanczos3", 128, 96, 3, 8, "integer", 2.2, 32},
        {"f.mox --resize 150% --float", 96, 72, 3, 32, "float", 1, 32},
        {"f.mox --resize 1x1 --bits 16", 1, 1, 3, 16, "integer", 2.2, 32},
        {"wide.mox --bits 5", 64, 48, 3, 5, "integer", 2.2, 32},
        {"f.mox --display --gamma 1.8 --primaries p3", 64, 48, 3, 8, "integer", 1.8, 8},
        {"wide.mox --luminance --resize 50%", 32, 24, 1, 8, "integer", 2.2, 8},
    };
    for (const auto &[command, width, height, colours, bits, type, gamma, aux_bits] : cases) {
        SCOPED_TRACE(command);
        good(std::string("zor convert --strict ") + command + " out.mox");
        const json file = info("out.mox");
        const json &image = file["images"][0];
        const bool resized = width != 64;
        EXPECT_EQ(json({image["width"], image["height"], image["gamma"], image["matte"]["bits"],
                        image["auxiliary"]["bits"], image["picture"]["width"]}),
                  json({width, height, gamma, bits, aux_bits, resized ? width : 640}));
        EXPECT_EQ(image["colour"], json({{"count", colours}, {"type", type}, {"bits", bits}}));
        EXPECT_EQ(image["picture"]["format"] == "ntsc_640", !resized);
        const bool p3 = std::string(command).ends_with("p3");
        EXPECT_EQ(file["primaries"]["red"], p3 ? json({0.68, 0.32}) : json({0.64, 0.33}));
    }
}

TEST_F(Operators, WhatComesBackIsTheSame) {
    good("render_frame f.mox 1 64 48");
    good("zor convert -q f.mox f.pam");
    write_file("a.pam", pam(37, 11, 4, 1));
    const std::string picture = png ? "g.png" : "g.pam";
    for (const char *way : {"--resize 100% --filter box", "--bits 16", "--display", "--bits 8"}) {
        good(std::string("zor convert f.mox g.mox ") + way);
        good("zor convert -q g.mox " + picture);
        EXPECT_EQ(compare("f.pam " + picture), 0) << way;
    }
    good("zor convert a.pam w.pam --bits 12");
    good("zor convert w.pam b.pam --bits 8");
    EXPECT_EQ(compare("a.pam b.pam"), 0);
    // Light of a display's own gamma comes back too, where there is no matte to clip to.
    good("zor convert f.mox f.ppm -q");
    good("zor convert f.ppm l.pfm --float");
    good("zor convert l.pfm d.ppm --display --gamma 1");
    EXPECT_EQ(compare("f.ppm d.ppm"), 0);
    // Dark light of 16 bits keeps steps that 8 bits do not have.
    write_file("l.pgm", "P5\n2 1\n65535\n" + std::string("\0\x20\0\x80", 4));
    good("zor convert l.pgm d.pgm --display");
    EXPECT_THAT(read_file("d.pgm"), testing::EndsWith("\x08\x0f")); // 255 (32 / 65535)^(1 / 2.2)
}

// Colours are mixed as light and look as before, in the dark too; mattes are mixed as they are.
TEST_F(Operators, ResizedPicturesKeepTheirLook) {
    for (const double gamma : {1.0, 2.2})
        for (const std::string display : {"", " --display --gamma 1.8"}) {
            write_ramp("a.mox", gamma, "rgb");
            good("zor convert --strict a.mox b.mox --resize 128x1 --filter box" + display);
            const double stated = info("b.mox")["images"][0]["gamma"];
            EXPECT_EQ(stated, display.empty() ? gamma : 1.8);
            const std::string pixels = last_row("b.mox", 128);
            for (int x = 0; x < 128; ++x) {
                const double light =
                    (std::pow(2 * x / 255.0, gamma) + std::pow((2 * x + 1) / 255.0, gamma)) / 2;
                const auto sample = [&](int k) { return static_cast<uint8_t>(pixels[4 * x + k]); };
                EXPECT_NEAR(sample(2), 255 * std::pow(light, 1 / stated), 1.2) << x << display;
                EXPECT_NEAR(sample(3), 2 * x + 0.5, 0.51);
            }
        }
}

TEST_F(Operators, ADisplayMakesRgbOfOtherColours) {
    for (const char *format : {"xyz", "sampled"}) {
        write_ramp("a.mox", 2.2, format);
        good("zor convert --strict a.mox b.mox --display --gamma 1.8");
        EXPECT_EQ(info("b.mox")["images"][0]["gamma"], 1.8);
        EXPECT_EQ(info("b.mox")["images"][0]["channel_format"], "rgb");
        std::string greens;
        for (size_t x = 1; const char sample : last_row("b.mox", 256))
            greens.append(x++ % 4 == 2 ? 1 : 0, sample);
        EXPECT_TRUE(std::is_sorted(greens.begin(), greens.end(), std::less<uint8_t>()));
        EXPECT_GT(static_cast<uint8_t>(greens.back()), 200) << format;
        EXPECT_EQ(run("zor convert --strict a.mox c.mox --luminance").code, *format == 's' ? 0 : 1);
    }
}

TEST_F(Operators, WindowsAndFurtherImagesGoOverWhereTheyCan) {
    // 10 x 4 with rows 1 and 2, columns 2 to 9 stored, and an image without scanlines.
    const std::string one = read_file(small_mox);
    std::string two = one + one.substr(0, 748);
    two[738] = static_cast<char>(one.size() >> 8); // where the next header is
    two[739] = static_cast<char>(one.size());
    two.replace(one.size() + 28, 4, "3.0\0"s); // its gamma
    write_file("a.mox", two);
    EXPECT_EQ(run("zor convert --strict a.mox b.mox").code, 4) << "one image only";
    good("zor convert a.mox b.mox");
    good("zor convert --strict a.mox c.mox --select 1");
    EXPECT_EQ(info("c.mox")["images"], info("b.mox")["images"]) << "the first one";
    good("zor convert --strict b.mox c.mox");
    EXPECT_EQ(one.substr(0, 16), read_file("b.mox").substr(0, 16)) << "window and active window";
    good("zor convert b.mox c.pgm");
    const std::string row = "\0\0\7\7\7\7\7\1\2\3"s;
    const std::string empty(10, '\0');
    EXPECT_THAT(read_file("c.pgm"), testing::EndsWith(empty + row + row + empty));
}

TEST_F(Operators, WhatMakesNoSenseIsRefused) {
    write_file("a.pam", pam(4, 3, 3, 1));
    write_pfm("f.pfm", {0, 0.5, 1});
    expect_failures("zor convert f.pfm b.pgm", {{"", 4, "--display or --bits 8"}});
    expect_failures("zor convert a.pam b.ppm --",
                    {{"resize 10", 2, "WxH"},
                     {"resize 0x9", 2, "WxH"},
                     {"resize x", 2, "WxH"},
                     {"resize -5%", 2, "WxH"},
                     {"resize 9x --filter sinc", 2, "lanczos3"},
                     {"filter box", 2, "--resize"},
                     {"display --luminance", 2, "name one"},
                     {"display --float", 2, "--float"},
                     {"float --bits 8", 2, "--bits"},
                     {"bits 33", 2, "--bits"},
                     {"gamma 2", 2, "--display"},
                     {"display --gamma nan", 2, "0.01"},
                     {"resize 16777217x1", 2, "16777216"},
                     {"luminance --primaries p3", 2, "--display"},
                     {"display --primaries 1,2,3", 2, "rec709"},
                     {"select 2", 1, "there is no image 2"},
                     {"display --primaries 0,0,0,0,0,0,0,0", 1, "primaries"}});
}

TEST_F(Operators, ComparisonsTellHowFarPicturesLieApart) {
    write_file("a.ppm", "P6\n2 1\n255\n\0\0\0\0\0\0"s);
    write_file("b.ppm", "P6\n2 1\n255\n\0\0\0\x33\0\0"s); // 51, a fifth
    write_file("c.ppm", "P6\n1 2\n255\n......");
    write_file("d.pgm", "P5\n2 1\n255\n..");
    const float nan = std::numeric_limits<float>::quiet_NaN();
    write_pfm("n.pfm", {nan, 1});
    write_pfm("m.pfm", {nan, 0.5});
    write_pfm("o.pfm", {0, 1});
    good("zor convert b.ppm b16.ppm --bits 16");
    good("zor convert b.ppm rising.mox");
    const std::vector<const char *> results[] = {
        {"a.ppm a.ppm", "a.ppm b.ppm --tolerance 0.2", "b.ppm b16.ppm", "b.ppm rising.mox",
         "rising.mox b.ppm", "n.pfm n.pfm"},
        {"a.ppm b.ppm", "a.ppm b.ppm --tolerance 0.1999", "a.ppm c.ppm", "a.ppm d.pgm",
         "n.pfm o.pfm --tolerance 9", "--from ppm a.ppm - <b.ppm"},
        {"a.ppm b.ppm --tolerance -1", "a.ppm b.ppm --difference d",
         "a.ppm b.ppm --difference ./b.ppm"},
        {},
        {"a.ppm b.ppm --difference no/d.ppm"},
        {"a.ppm none.ppm"}};
    for (int code = 0; code < std::ssize(results); ++code)
        for (const char *arguments : results[code])
            EXPECT_EQ(compare(arguments), code) << arguments;
    EXPECT_THAT(run("zor compare a.ppm c.ppm").out, HasSubstr("2 x 1 against 1 x 2"));
    EXPECT_THAT(run("zor compare a.ppm d.pgm").out, HasSubstr("3 against 1 colour"));

    const json result = json::parse(run("zor compare a.ppm b.ppm --json --difference e.ppm").out);
    EXPECT_EQ(result["within_tolerance"], false);
    const json &red = result["channels"][0];
    EXPECT_EQ(red["maximum"], 51 / 255.0);
    EXPECT_DOUBLE_EQ(red["rms"].get<double>(), std::sqrt(0.02)); // of one in two pixels
    EXPECT_NEAR(red["psnr"].get<double>(), 16.9897, 1e-4);
    EXPECT_EQ(red["maximum_code"], 51);
    EXPECT_NEAR(result["rms"].get<double>(), std::sqrt(0.04 / 6), 1e-12);
    EXPECT_EQ(result["channels"][1]["psnr"], nullptr);
    EXPECT_THAT(read_file("e.ppm"), testing::EndsWith("\0\0\0\xff\0\0"s));
    EXPECT_EQ(json::parse(run("zor compare n.pfm m.pfm --json").out)["maximum"], 0.5);
    EXPECT_EQ(json::parse(run("zor compare n.pfm o.pfm --json").out)["maximum"], nullptr);

    write_file("up.pfm", "Pf\n3 2\n-1.0\n" + raster(3, 2, 1, 4)); // rises, as PAM does not
    good("zor convert up.pfm up.mox");
    EXPECT_EQ(compare("up.pfm up.mox --difference e.pgm"), 0);
}

TEST_F(Operators, ATerminalShowsTwoPixelsACharacter) {
    write_file("a.ppm", "P6\n2 3\n255\n\1\2\3\1\2\3aaaaaazzzAAA");
    const std::string block = "\u2580";
    const std::string end = "\x1b[0m\n";
    EXPECT_EQ(good("zor show --terminal a.ppm"), "\x1b[38;2;1;2;3m\x1b[48;2;97;97;97m" + block +
                                                     block + end + "\x1b[38;2;122;122;122m" +
                                                     block + "\x1b[38;2;65;65;65m" + block + end);
    write_file("m.pam", pam(1, 1, 2, 1, "A\0"s)); // its matte lets a grey through
    EXPECT_THAT(good("zor show --terminal m.pam"), HasSubstr("38;2;102;102;102m"));
    EXPECT_THAT(good("zor show --terminal --opaque m.pam"), HasSubstr("38;2;65;65;65m"));

    good("render_frame f.mox 1 64 48");
    for (const auto &[columns, rows, options, lines, blocks] : {std::tuple("20", "50", "", 8, 160),
                                                                {"99", "7", "", 6, 96},
                                                                {"", "", " --width 10", 4, 40}}) {
        set_variable("COLUMNS", columns);
        set_variable("LINES", rows);
        const std::string drawn = good(std::string("zor show --terminal f.mox") + options);
        EXPECT_EQ(std::count(drawn.begin(), drawn.end(), '\n'), lines) << columns;
        EXPECT_EQ(std::count(drawn.begin(), drawn.end(), block[1]), blocks) << columns;
    }
    EXPECT_EQ(run("zor show --terminal none.ppm").code, 1);
    EXPECT_EQ(run("zor show --terminal f.mox --select 2").code, 1);
}

} // namespace
