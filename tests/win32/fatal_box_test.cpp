// fatal_box_test.cpp - what a fatal report shows before the program ends.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include <windows.h>

#include "zor/err.h"

// The linker takes this for the imported function: the box's title and text go to the standard
// error stream, in brackets.
extern "C" {
static int WINAPI show(HWND, const char *text, const char *title, UINT kind) {
    std::fprintf(stderr, "<%s|%s|%u>", title, text, kind);
    std::fflush(stderr);
    return IDOK;
}
int(WINAPI *imported_message_box)(HWND, const char *, const char *,
                                  UINT) __asm__("__imp__MessageBoxA@16") = show;
}

namespace {

TEST(FatalBoxDeathTest, ShowsAsMuchOfTheReportAsABoxCanAndAborts) {
    EXPECT_DEATH(ERR_printf(ERR_FATAL, "%s", "out of luck"),
                 "FATAL, out of luck\r?\n<Fatal Error.FATAL, out of luck\r?\n.0>");
    EXPECT_DEATH(ERR_printf(ERR_FATAL, "%s", std::string(2000, 'x').c_str()),
                 "<Fatal Error.FATAL, " + std::string(1000, 'x') + "\r?\n.0>");
    EXPECT_EXIT(ERR_printf(ERR_FATAL, "x"), testing::ExitedWithCode(3), "") << "as abort ends it";
    testing::internal::CaptureStderr();
    ERR_printf(ERR_ERROR, "no more than this");
    EXPECT_EQ(testing::internal::GetCapturedStderr().find('<'), std::string::npos);
}

} // namespace
