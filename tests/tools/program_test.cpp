// program_test.cpp - the zor command started by itself: conversions, standard streams, file names.
#include <gmock/gmock.h>

#include <set>

#include "picture.h"
#include "support/files.h"

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

std::string utf8(const fs::path &path) {
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
}

class Program : public testing::Test {
protected:
    Program() {
        set_variable("ZOR_MODULES", nullptr);
        fs::create_directory(work_.path / "w");
    }

    [[nodiscard]] fs::path at(const std::u8string &name) const { return work_.path / "w" / name; }
    [[nodiscard]] std::string name(const std::u8string &name) const { return utf8(at(name)); }

    // Runs the command, with a file for its standard input. What it says is in out and err then.
    int run(std::vector<std::string> arguments, const fs::path &input = {}) {
        write_file(work_.path / "empty", "");
        arguments.insert(arguments.begin(), ZOR_PROGRAM);
        const int code = run_program(arguments, utf8(input.empty() ? work_.path / "empty" : input),
                                     utf8(work_.path / "out"), utf8(work_.path / "err"));
        out = read_file(work_.path / "out");
        err = read_file(work_.path / "err");
        return code;
    }
    void good(const std::vector<std::string> &arguments, const fs::path &input = {}) {
        EXPECT_EQ(run(arguments, input), 0) << arguments.back() << "\n" << err;
    }
    [[nodiscard]] std::set<std::string> files() const {
        std::set<std::string> names;
        for (const auto &entry : fs::directory_iterator(at(u8"")))
            names.insert(utf8(entry.path().filename()));
        return names;
    }

    TempDir work_;
    std::string out, err;
};

TEST_F(Program, PicturesComeBackUnchanged) {
    for (const auto &[channels, bytes] : {std::pair(1, 1), {3, 1}, {3, 2}, {4, 1}, {4, 2}}) {
        SCOPED_TRACE(testing::Message() << channels << " channels of " << bytes << " bytes");
        write_file(at(u8"a.pam"), pam(37, 11, channels, bytes));
        good({"convert", name(u8"a.pam"), name(u8"b.mox")});
        good({"convert", name(u8"b.mox"), name(u8"c.mob")});
        good({"convert", name(u8"c.mob"), name(u8"d.pam")});
        EXPECT_THAT(read_file(at(u8"d.pam")), EndsWith(raster(37, 11, channels, bytes)));
    }
    write_file(at(u8"g.pfm"), "PF\n3 2\n-1.0\n" + raster(3, 2, 3, 4));
    good({"convert", name(u8"g.pfm"), name(u8"h.mox")});
    good({"convert", name(u8"h.mox"), name(u8"i.pfm")});
    EXPECT_THAT(read_file(at(u8"i.pfm")), EndsWith(raster(3, 2, 3, 4)));
}

// Line ends and what text modes take for the end of a file are samples like others here.
TEST_F(Program, StandardStreamsAreBinary) {
    std::string samples = raster(500, 400, 3, 1);
    for (size_t i = 0; i < samples.size(); i += 3)
        samples[i] = "\n\r\x1a"[i / 3 % 3];
    write_file(at(u8"a.ppm"), "P6\n500 400\n255\n" + samples);
    good({"convert", name(u8"a.ppm"), "-", "--to", "mox"});
    write_file(at(u8"b.mox"), out);
    good({"convert", "--from", "mox", "-", "-", "--to", "ppm"}, at(u8"b.mox"));
    EXPECT_TRUE(out.ends_with(samples)) << out.size();
    good({"convert", "--from", "ppm", "/dev/stdin", name(u8"c.mox")}, at(u8"a.ppm"));
    good({"convert", name(u8"c.mox"), "/dev/stdout", "--to", "ppm"});
    EXPECT_TRUE(out.ends_with(samples)) << out.size();
    good({"convert", name(u8"c.mox"), "-", "--to", "pipe"});
    std::string stream = "ZORPIPE 1 500 400 3 0 0 1 8 0 0 0 0\n"; // and rising rows of channels
    for (size_t y = 400; y-- > 0;)
        for (size_t channel = 0; channel < 3; ++channel)
            for (size_t x = 0; x < 500; ++x)
                stream += samples[(y * 500 + x) * 3 + channel];
    EXPECT_TRUE(out == stream) << out.substr(0, out.find('\n'));
    good({"info", "--from", "mox", "-"}, at(u8"b.mox"));
    EXPECT_THAT(out, HasSubstr("500 x 400"));
}

TEST_F(Program, NamesMayBeOfAnyLanguage) {
    const std::u8string folder = u8"\u0416 \u65e5\u672c";
    const std::u8string picture = folder + u8"/caf\u00e9 \U0001F3A8";
    fs::create_directory(at(folder));
    write_file(at(picture + u8".ppm"), "P6\n5 4\n255\n" + raster(5, 4, 3, 1));
    good({"convert", name(picture + u8".ppm"), name(picture + u8".mox")});
    good({"info", "--json", name(picture + u8".mox")});
    EXPECT_THAT(out, HasSubstr(name(picture + u8".mox")));
    good({"convert", name(picture + u8".mox"), name(picture + u8".ppm")}); // over the old one
    EXPECT_THAT(read_file(at(picture + u8".ppm")), EndsWith(raster(5, 4, 3, 1)));
    EXPECT_EQ(std::distance(fs::directory_iterator(at(folder)), {}), 2) << "no other files";
    EXPECT_EQ(run({"info", name(folder + u8"/\u00fc")}), 1);
    EXPECT_THAT(err, HasSubstr(name(folder + u8"/\u00fc") + ": No such file"));

    fs::copy(MODULES "/mox" MODULE_SUFFIX, at(folder));
    good({"formats", "--modules", name(folder)});
    EXPECT_THAT(out, HasSubstr("mox"));
}

TEST_F(Program, SequencesAreConverted) {
    for (int frame = 8; frame <= 11; ++frame)
        write_file(at(u8"in.") += std::to_string(frame) + ".pgm", "P5\n2 1\n255\nab");
    good({"-q", "convert", name(u8"in.#.pgm"), name(u8"out.####.mox"), "--jobs", "2"});
    EXPECT_EQ(files(), (std::set<std::string>{"in.8.pgm", "in.9.pgm", "in.10.pgm", "in.11.pgm",
                                              "out.0008.mox", "out.0009.mox", "out.0010.mox",
                                              "out.0011.mox"}));
}

TEST_F(Program, FailuresLeaveNothingBehind) {
    write_file(at(u8"a.pam"), pam(64, 64, 3, 2));
    good({"convert", name(u8"a.pam"), name(u8"a.mox")});
    write_file(at(u8"cut.mox"), read_file(at(u8"a.mox")).substr(0, 3000));
    write_file(at(u8"target.pam"), "the old content");
    fs::create_directory(at(u8"folder.mox"));
    const auto before = files();
    const struct {
        std::vector<std::string> arguments;
        int code;
        const char *message;
    } cases[] = {{{}, 2, ""},
                 {{"convert", name(u8"a.pam"), name(u8"new.xyz")}, 2, "mox (.mox)"},
                 {{"convert", name(u8"a.pam"), "-"}, 2, "--to"},
                 {{"convert", name(u8"missing.mox"), name(u8"target.pam")}, 1, "No such file"},
                 {{"convert", name(u8"cut.mox"), name(u8"target.pam")}, 1, "cut.mox: "},
                 {{"convert", name(u8"a.pam"), name(u8"folder.mox")}, 4, "folder.mox: "},
                 {{"convert", name(u8"a.pam"), name(u8"absent/new.mox")}, 4, "No such file"},
                 {{"formats", "--modules", name(u8"absent")}, 3, "No such file"}};
    for (const auto &[arguments, code, message] : cases) {
        EXPECT_EQ(run(arguments), code) << message << "\n" << err;
        EXPECT_THAT(err, HasSubstr(message));
        EXPECT_EQ(files(), before) << message;
        EXPECT_EQ(read_file(at(u8"target.pam")), "the old content");
    }
}

} // namespace
