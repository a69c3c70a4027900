// broken_pipe_test.cpp - images on standard outputs that take no more.
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

#include "support/driver_test.h"

namespace {

class BrokenPipeTest : public DriverTest {
protected:
    static void SetUpTestSuite() { ASSERT_EQ(ZOR_init(nullptr, nullptr), 0); }
    static void TearDownTestSuite() { ZOR_exit(); }

    static int write(ZOR_IMAGE *image) {
        return ZOR_scan_write(image, 0, Rows(image->images[0], 0, false).pointers.data());
    }
};

// On a full device, and with a reader that has gone; in child processes, because what could not be
// written stays in the standard output.
TEST_F(BrokenPipeTest, BrokenStreamsAreToldAtOnceAndForGood) {
    const auto breaks = [&](int target, const char *reason) {
        dup2(target, STDOUT_FILENO);
        Request request("x.pipe");
        request.add(4, 3);
        ZOR_IMAGE *image = request.open("w");
        if (image == nullptr)
            return false;
        const bool first = write(image) == ZOR_E_WRITE && zor__err == ZOR_E_WRITE &&
                           log.has_only(ZOR_MSG_CANNOT_WRITE_LINE) &&
                           log.last() == std::string("Cannot write scanline 0; ") + reason;
        const bool second = write(image) == ZOR_E_WRITE && log.reports.size() == 2;
        const bool closed = ZOR_close(image) == ZOR_E_WRITE && log.reports.size() == 3 &&
                            log.last() == std::string("Cannot write to x.pipe; ") + reason;
        std::fputs(log.text().c_str(), stderr);
        return first && second && closed;
    };
    std::signal(SIGPIPE, SIG_IGN);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    const int full = open("/dev/full", O_WRONLY);
    const auto well = testing::ExitedWithCode(0);
    EXPECT_EXIT(std::_Exit(breaks(full, std::strerror(ENOSPC)) ? 0 : 1), well, "");
    EXPECT_EXIT(std::_Exit(breaks(ends[1], std::strerror(EPIPE)) ? 0 : 1), well, "");
    close(full);
    close(ends[1]);
}

} // namespace
