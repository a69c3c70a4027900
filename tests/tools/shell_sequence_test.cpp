// shell_sequence_test.cpp - the conversion of sequences in parallel, interrupted, on a terminal.
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <thread>

#include <gmock/gmock.h>

#include "shell.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using ShellSequences = Shell;

TEST_F(ShellSequences, InParallelGiveWhatSingleConversionsGive) {
    for (const std::string options : {"", " --resize 60x --display --primaries rec2020"})
        good("for i in 01 02 03 04 05 06 07 08 09 10 11 12; do render_frame f.$i.mox $i 90 70;"
             "zor -q convert f.$i.mox one.$i.png" +
             options + " && test $(wc -c <one.$i.png) -gt 1000 || exit 1; done; " +
             "zor -q convert f.##.mox serial.##.png --jobs 1" + options + " && " +
             "zor -q convert f.##.mox parallel.##.png --jobs 4" + options + " && " +
             "for i in one.*; do cmp $i serial${i#one} && cmp $i parallel${i#one} || exit 1; done");
}

TEST_F(ShellSequences, EndWithTheOutput) {
    write_file("s.1.pam", pam(3, 5, 3, 1));
    write_file("s.2.pam", pam(4, 5, 3, 1));
    expect_failures(
        "trap 'rm -f o.?.png' EXIT; sleep 0.05; zor convert ",
        {{"s.#.pam o.#.png --frames 1-2147483647,1-2147483647 --jobs 1", 1, " not converted"},
         {"s.#.pam /dev/full --to png --frames 1 --json", 4, "/dev/full: No space left"},
         {"s.#.pam o.#.png --json >/dev/full", 4, "standard output: No space left"},
         // Nobody reads the lines.
         {"s.#.pam o.#.png --frames 1,1-2 --json --jobs 1 | true", 0, ""}});
}

TEST_F(ShellSequences, ShowProgressOnATerminalOnly) {
    for (const char *name : {"s.1.pam", "s.2.pam"})
        write_file(name, pam(3, 5, 3, 1));
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
    ASSERT_EQ(grantpt(terminal) | unlockpt(terminal), 0);
    const auto said = [&](const std::string &options) {
        // Held up by a pipe, so that there is time to see the line.
        good("mkfifo s.3.pam; ( sleep 0.4; cat s.1.pam >s.3.pam ) & zor convert --from pam "
             "--jobs 1 s.#.pam o.#.png --frames 1-3 2>" +
             std::string(ptsname(terminal)) + options + "; rm s.3.pam");
        std::string text;
        for (char c; read(terminal, &c, 1) == 1;)
            text += c;
        return text;
    };
    const int other_end = open(ptsname(terminal), O_RDWR | O_NOCTTY); // keeps what is written
    const std::string line = said("");
    EXPECT_THAT(line,
                AllOf(HasSubstr("2/3 frames  "), HasSubstr("/s  0:00:0"), HasSubstr(" left")));
    EXPECT_TRUE(line.ends_with("   \r")) << "it goes away: " << line;
    EXPECT_THAT(said(" -q"), IsEmpty());
    close(other_end);
    close(terminal);
    EXPECT_THAT(run("zor convert s.#.pam o.#.png").err, IsEmpty());
}

// Starts a conversion, interrupts it when it has begun a file, and returns how long it took to end.
class Interrupted : public Shell {
protected:
    static double interrupt(const std::string &command, int signal) {
        const std::string line = "exec " + command; // the shell becomes the program
        const char *const words[] = {"sh", "-c", line.c_str(), nullptr};
        pid_t child = 0;
        EXPECT_EQ(posix_spawnp(&child, "sh", nullptr, nullptr, const_cast<char **>(words), environ),
                  0);
        for (int i = 0; i < 2000 && temporary_files() == 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        EXPECT_GT(temporary_files(), 0) << "there was something to remove";
        const auto start = std::chrono::steady_clock::now();
        kill(child, signal);
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 130) << status;
        EXPECT_EQ(temporary_files(), 0);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    static long temporary_files() {
        const auto all = files();
        return std::count_if(all.begin(), all.end(),
                             [](const std::string &name) { return name.starts_with(".zor-"); });
    }
};

TEST_F(Interrupted, StopAtOnceAndLeaveNothingUnfinished) {
    write_file("s.1.pam", pam(2000, 1500, 3, 2)); // takes about a second
    for (const char *name : {"s.2.pam", "s.3.pam", "s.4.pam", "s.5.pam"})
        fs::create_symlink("s.1.pam", name);
    good("mkfifo p.1.pam");
    const std::string busy = "zor convert -q s.#.pam o.#.png -j2";
    // Waits for lines that never come: a thread, and the program itself.
    const std::string stuck = "zor convert -q --from pam --frames 1 p.#.pam p.#.png";
    const std::string single = "zor convert --from pam p.1.pam single.png";
    for (const auto &[command, signal] :
         {std::pair(busy, SIGINT), {busy, SIGTERM}, {stuck, SIGINT}, {single, SIGTERM}}) {
        const int pipe = open("p.1.pam", O_RDWR);
        const std::string head = pam(2000, 1500, 3, 2).substr(0, 9000);
        EXPECT_EQ(write(pipe, head.data(), head.size()), static_cast<ssize_t>(head.size()));
        EXPECT_LT(interrupt(command, signal), 2.0) << command; // other programs may be busy
        close(pipe);
    }
    for (const std::string &name : files()) { // the one or other frame may have come to its end
        if (name.ends_with(".png"))
            good("zor convert " + name + " whole.pam");
    }
}

} // namespace
