// pathname_test.cpp - path names built from their parts.
#include <string>

#include <gtest/gtest.h>

#include "support/fault.h"
#include "support/report_log.h"
#include "zor/zor.h"

namespace {

// Takes a new path; null becomes "error N" with the status.
std::string taken(char *path) {
    const std::string text = path != nullptr ? path : "error " + std::to_string(zor__err);
    ERR_free(path);
    return text;
}

TEST(Pathname, Build) {
    const struct {
        const char *syntax, *directory, *base;
        int32_t frame;
        const char *extension, *path;
    } cases[] = {
        // without a syntax
        {nullptr, nullptr, "im", -1, ".mox", "im.mox"},
        {"", "d/../e/", "s/im", -1, "", "d/../e/s/im"},
        {nullptr, "/", "im.mox", -1, ".mox", "/im.mox"},
        {nullptr, nullptr, "a.b.MOX", -1, ".mox", "a.b.MOX.mox"},
        {nullptr, "/d", "/abs/im", -1, ".mox", "/abs/im.mox"},
        {nullptr, "/d", "host:im", -1, ".mox", "host:im.mox"},
        {nullptr, "/d", "s/host:im", -1, ".mox", "/d/s/host:im.mox"},
        {nullptr, "/d", "im", 7, ".mox", "/d/im.0007.mox"},
        {nullptr, nullptr, "im.mox", INT32_MAX, ".mox", "im.mox.2147483647.mox"},
        // with one
        {"name.####.ext", "/d", "Im", 7, ".MOX", "/d/Im.0007.MOX"},
        {"NAME_##.Ext", nullptr, "im", 123, "mox", "im_123.mox"},
        {"name.####.ext", nullptr, "im", -1, ".mox", "im.mox"},
        {"name(--####--).ext", nullptr, "im", -2, ".mox", "im--).mox"},
        {"####name", nullptr, "im", -1, ".mox", "im"},
        {"name-name.namename", nullptr, "im", 1, ".mox", "im-im.im"},
        {"#name.ext", "/d", "/abs/im", 1, nullptr, "1/abs/im."},
        // failures: the syntax is looked at first
        {nullptr, "/d", "", -1, ".mox", "error -5"},
        {"####", "/d", "im", -1, ".mox", "error -5"},
        {"name/#", nullptr, "", 1, ".mox", "error -11"},
    };
    for (const auto &[syntax, directory, base, frame, extension, path] : cases)
        EXPECT_EQ(taken(ZOR_pathname_build(directory, base, frame, extension, syntax)), path);
    EXPECT_EQ(taken(ZOR_pathname_build_from_name_syntax(nullptr, "/d", "im", 1, "")), "error -13");
    EXPECT_EQ(taken(ZOR_pathname_build_no_name_syntax("/d", nullptr, ".mox")), "error -5");
}

TEST(Pathname, OutOfMemoryIsSilent) {
    const ReportLog log;
    static std::string syntax = "name" + std::string(1000, '-');
    const long count = for_each_failing_allocation([&](const Fault &fault) {
        syntax.append(64, '-'); // outgrows the parser's buffer again
        const std::string path = taken(ZOR_pathname_build("d", "im", 1, ".mox", syntax.c_str()));
        EXPECT_EQ(path == "error -10", fault.struck());
    });
    EXPECT_EQ(count, 3);

    const std::string base(1 << 24, 'x');
    std::string many = "name"; // too many for a path
    while (many.size() < 1000)
        many += ".name";
    EXPECT_EQ(taken(ZOR_pathname_build("", base.c_str(), -1, "", many.c_str())), "error -10");
    EXPECT_EQ(log.text(), "");
}

} // namespace
