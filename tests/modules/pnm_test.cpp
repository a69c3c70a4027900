// pnm_test.cpp - the pnm family: what is read, what is written, what is refused.
#include <gmock/gmock.h>

#include "modules/picture.h"

using namespace std::string_literals;
using testing::HasSubstr;

namespace {

struct Pnm : ModuleTest {
    Pnm() : ModuleTest{"pnm", "pbm", "pgm", "ppm", "pam", "pfm"} {}
};

const std::string pam = "P7\n#c\nWIDTH 1\n\nHEIGHT 1\nMAXVAL 255\n";

// Files, and what is in them.
const std::pair<std::string, Picture> frozen[] = {
    {"P1#c\n3 # c\n2\n110\n0 1#x\n1", {3, 2, integers(1, 1), {}, {}, {0, 0, 1, 1, 0, 0}}},
    {"P2 3 1 10 0 5 10", {3, 1, integers(1, 4), {}, {}, {0, 8, 15}}},
    {"P3\n1 1\n300\n300 #\n150\t0", {1, 1, integers(3, 9), {}, {}, {511, 256, 0}}},
    {"P4\n9 1\n\x80\x80", {9, 1, integers(1, 1), {}, {}, {0, 1, 1, 1, 1, 1, 1, 1, 0}}},
    {"P5 2 2 3# c\n\0\1\2\3"s, {2, 2, integers(1, 2), {}, {}, {0, 1, 2, 3}}},
    {"P6 1 1 1000 \3\xE8\1\xF4\0\0"s, {1, 1, integers(3, 10), {}, {}, {1023, 512, 0}}},
    {pam + "DEPTH 1\nTUPLTYPE BLACKANDWHITE\nENDHDR\n#", {1, 1, integers(1, 8), {}, {}, {35}}},
    {pam + "DEPTH 2\nENDHDR\nab", {1, 1, integers(1, 8), integers(1, 8), {}, {97, 98}}},
    {pam + "DEPTH 4\nTUPLTYPE RGB_ALPHA\nENDHDR\nabcd",
     {1, 1, integers(3, 8), integers(1, 8), {}, {97, 98, 99, 100}}},
    {pam + "DEPTH 4\nTUPLTYPE  RGB \nENDHDR \nabcd",
     {1, 1, integers(3, 8), {}, integers(1, 8), {97, 98, 99, 100}}},
    {pam + "TUPLTYPE RGB\nTUPLTYPE X\nDEPTH 5\nENDHDR\nabcde",
     {1, 1, integers(3, 8), {}, integers(2, 8), {97, 98, 99, 100, 101}}},
    {"Pf 1 2 +1.5e0\n\x3F\x80\0\0\x40\0\0\0"s, {1, 2, floats(1), {}, {}, {2, 1}}},
    {"PF\n1 1\n-1.0\n\0\0\x80\x3F\0\0\0\x40\0\0\x80\xBF"s, {1, 1, floats(3), {}, {}, {1, 2, -1}}},
};

TEST_F(Pnm, EveryKindIsRecognisedAndReadAsAWholeOnly) {
    for (const auto &[bytes, expected] : frozen) {
        SCOPED_TRACE(bytes);
        const TempFile temp(".x", bytes);
        unsigned char tried = 0;
        EXPECT_STREQ(ZOR_get_file_type(const_cast<char *>(temp.path.c_str()), nullptr, &tried),
                     "pnm");
        Picture picture;
        EXPECT_EQ(read_picture(temp.path, &picture, false, "pnm"), 0) << log.text();
        EXPECT_TRUE(picture == expected);
        const bool in_order = bytes[1] <= '3' && expected.height > 1; // texts of several lines
        EXPECT_EQ(read_picture(temp.path, &picture, true, "pnm"), in_order ? ZOR_E_SCANLINE : 0);

        // Each single format knows its own kinds only.
        for (const std::string kind : {"pbm14", "pgm25", "ppm36", "pam7", "pfmfF"}) {
            const bool own = kind.find(bytes[1], 3) != std::string::npos;
            const std::string key = kind.substr(0, 3);
            FILE *stream = std::fopen(temp.path.c_str(), "rb");
            std::fseek(stream, 1, SEEK_SET); // tests rewind
            EXPECT_EQ(ZOR_is_file_type(nullptr, stream, key.c_str(), &tried) != nullptr, own);
            std::fclose(stream);
            EXPECT_EQ(read_picture(temp.path, &picture, false, key.c_str()),
                      own ? 0 : ZOR_E_NOT_THIS_TYPE);
        }

        // No beginning passes for the whole, but the last number of a text may be cut unnoticed.
        const size_t end = bytes[1] <= '3' ? bytes.find_last_of(" \t\n") + 1 : bytes.size() - 1;
        for (size_t size = 0; size <= end; ++size) {
            const int status = read_bytes(".pnm", bytes.substr(0, size), log);
            EXPECT_TRUE(status == ZOR_E_READ || status == ZOR_E_NOT_THIS_TYPE) << size;
            EXPECT_EQ(log.reports.size(), 1U) << log.text();
        }
    }
}

TEST_F(Pnm, DamageIsReported) {
    const auto expect = [this](int status, const char *message, const auto &...files) {
        for (const std::string &bytes : {std::string(files)...}) {
            EXPECT_EQ(read_bytes(".pnm", bytes, log), status) << bytes;
            EXPECT_THAT(log.last(), HasSubstr(message)) << bytes;
        }
    };
    const std::string many(300, '9');
    expect(ZOR_E_DECODE, "out of range", "P5 0 1 255\n", "P5 2147483648 1 255\n",
           "P5 1 " + many + " 255\n", "P5 1 1 65536\n");
    expect(ZOR_E_DECODE, "malformed", "P5 1 1 255x", "P5 -1 1 255\n", "PF 1 1 -.\n", "PF 1 1 1e\n",
           pam + "DEPTH 1\nENDHDR x\n");
    expect(ZOR_E_DECODE, "zero", "PF 1 1 0.0e1\n");
    expect(ZOR_E_DECODE, "lacks a size", pam + "ENDHDR\n",
           "P7\nHEIGHT 1\nDEPTH 1\nMAXVAL 1\nENDHDR\n");
    expect(ZOR_E_DECODE, "do not agree", pam + "DEPTH 1\nTUPLTYPE RGB\nENDHDR\n");
    expect(ZOR_E_DECODE, "unknown keyword", pam + many + " 1\n");
    expect(ZOR_E_DECODE, "Cannot decode scanline 0", "P5 1 1 254\n\xFF",
           "P6 1 1 256\n\0\0\1\0\1\1"s, "P2 1 1 255 256", "P2 1 1 3 -1", "P2 1 1 3 1x", "P1 1 1 2");
    expect(ZOR_E_NOT_THIS_TYPE, "not a file of this type", "P51 1 255\n", "P\0 1 1 255\n"s);
    // of any file, then of one so small
    expect(ZOR_E_MEMORY, "memory", "P5 2147483647 1 65535\n", "P2 2147483647 1 1\n",
           "P6 5000000 1 255\n");
}

TEST_F(Pnm, WhatIsWrittenIsReadBack) {
    const std::tuple<const char *, const char *, ZOR_CHANNELS, ZOR_CHANNELS> cases[] = {
        {".pnm", "P4", integers(1, 1), {}},
        {".pnm", "P5", integers(1, 2), {}},
        {".pnm", "P6", integers(3, 12), {}},
        {".pnm", "P7", integers(1, 1), integers(1, 1)},
        {".pnm", "P7", integers(3, 16), integers(1, 16)},
        {".pnm", "Pf", floats(1), {}},
        {".pnm", "PF", floats(3), {}},
        {".pgm", "P5", integers(1, 1), {}},
        {".pam", "P7", integers(1, 9), {}},
        {".pam", "P7", integers(3, 8), integers(1, 8)}};
    for (const auto &[extension, magic, image, matte] : cases) {
        const Picture picture = noise(13, 5, image, matte);
        const TempFile temp(extension);
        EXPECT_EQ(write_picture(picture, temp.path), 0) << log.text();
        EXPECT_EQ(temp.bytes().substr(0, 2), magic);
        Picture back;
        EXPECT_EQ(read_picture(temp.path, &back, true), 0) << log.text();
        EXPECT_TRUE(back == picture);
    }
    // The matte is scaled to the colours' 8 bits, a colour beyond its width counts as the largest.
    const TempFile matte(".pam");
    EXPECT_EQ(write_picture({3, 1, integers(1, 8), integers(1, 16), {}, {1, 2, 3, 0, 32768, 65535}},
                            matte.path),
              0);
    EXPECT_EQ(matte.bytes().substr(matte.bytes().size() - 6), "\1\0\2\x80\3\xFF"s);
    const TempFile grey(".pgm");
    EXPECT_EQ(write_picture({2, 1, integers(1, 4), {}, {}, {16, 14}}, grey.path), 0);
    EXPECT_EQ(grey.bytes(), "P5\n2 1\n15\n\x0F\x0E");
}

} // namespace
