// convert_frames.cpp - threads that take frame after frame, and the one that watches over them.
#include "convert_frames.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <new>

#include "interrupt.h"
#include "jobs.h"
#include "text.h"

namespace zor {

namespace {

using Clock = std::chrono::steady_clock;
using Status = FrameResult::Status;

// How often the watch looks up, and how long it lets the threads come to an end by themselves after
// an interrupt. Together they stay well below the fifth of a second that is promised.
constexpr std::chrono::milliseconds tick(20);
constexpr std::chrono::milliseconds grace(100);

class Run {
public:
    Run(Sequence &sequence, const Conversion &conversion, const RunOptions &options,
        Console &console)
        : sequence_(sequence), conversion_(conversion), options_(options), console_(console) {}

    void work();
    ExitCode conclude();

private:
    bool step();
    std::optional<int32_t> draw();
    FrameResult convert(const Task &task);
    void count(const FrameResult &result, bool told);
    void show_progress();
    [[noreturn]] void abandon();
    [[nodiscard]] uint64_t counted(Status status) const {
        return counts_[static_cast<size_t>(status)];
    }
    [[nodiscard]] std::string summary() const;

    Sequence &sequence_;
    const Conversion &conversion_;
    const RunOptions &options_;
    Console &console_;
    Workplace workplace_;

    std::mutex mutex_; // of all below, and of drawing from the sequence
    uint64_t drawn_ = 0;
    std::array<uint64_t, 5> counts_ = {}; // of results, by status
    ExitCode code_ = EXIT_FINE;
    bool stopped_ = false;   // no more frames are begun
    bool cut_short_ = false; // by an interrupt
};

std::optional<int32_t> Run::draw() {
    const std::lock_guard lock(mutex_);
    if (interrupted() && sequence_.left() > 0)
        cut_short_ = stopped_ = true;
    const std::optional<int32_t> drawn = stopped_ ? std::nullopt : sequence_.next();
    if (drawn.has_value())
        ++drawn_;
    return drawn;
}

// Converts the next frame. Returns false when there is none, or no more are wanted.
bool Run::step() {
    try {
        const std::optional<int32_t> drawn = draw();
        if (!drawn.has_value())
            return false;
        const FrameResult result = convert(sequence_.task(*drawn));
        count(result, result.status == Status::broken_off || console_.tell(result));
        return true;
    } catch (const std::bad_alloc &) { // of the bookkeeping
        std::fputs("zor: out of memory\n", stderr);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "zor: %s\n", error.what());
    }
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    code_ = EXIT_INPUT_FAILED;
    return false;
}

FrameResult Run::convert(const Task &task) {
    const Clock::time_point start = Clock::now();
    FrameResult result = {task, Status::done, EXIT_FINE, {}, 0};
    Reports reports(result.messages);
    if (task.input.empty()) {
        result.status = Status::missing;
        reports.warning(task.absent + ": there is no such frame, it is left out");
        return result;
    }
    if (!task.absent.empty()) {
        result.status = Status::held;
        reports.warning(task.absent + ": there is no such frame, " + task.input + " stands in");
    }
    try {
        result.code = convert_image(task.input, task.output, conversion_, workplace_, reports);
    } catch (const std::bad_alloc &) {
        reports.error("out of memory");
        result.code = EXIT_INPUT_FAILED;
    } catch (const std::exception &error) {
        reports.error(error.what());
        result.code = EXIT_INPUT_FAILED;
    }
    if (result.code != EXIT_FINE)
        result.status = result.code == EXIT_INTERRUPTED ? Status::broken_off : Status::failed;
    result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    return result;
}

//   told  whether the result could be said
void Run::count(const FrameResult &result, bool told) {
    const std::lock_guard lock(mutex_);
    ++counts_[static_cast<size_t>(result.status)];
    if (result.status == Status::broken_off) {
        cut_short_ = stopped_ = true;
    } else if (result.code != EXIT_FINE) {
        code_ = std::max(code_, result.code); // output before input
        stopped_ = stopped_ || !options_.skip_failures;
    }
    if (!told) {
        code_ = EXIT_OUTPUT_FAILED;
        stopped_ = true;
    }
}

void Run::show_progress() {
    uint64_t finished = 0;
    uint64_t left = 0;
    {
        const std::lock_guard lock(mutex_);
        for (const uint64_t count : counts_)
            finished += count;
        left = drawn_ - finished + sequence_.left();
    }
    console_.show_progress(finished, left);
}

// The threads hang in something slow, maybe for ever. What they hold is lost with the process, and
// nothing here may wait for them.
void Run::abandon() {
    workplace_.temporary_files.remove_all();
    std::_Exit(EXIT_INTERRUPTED);
}

void Run::work() {
    const uint64_t most = std::max<uint64_t>(sequence_.left(), 1);
    const auto count = static_cast<unsigned>(std::min<uint64_t>(options_.jobs, most));
    workplace_.threads = static_cast<int>(std::max(options_.jobs / count, 1U)); // jobs left over
    Jobs jobs(count, [this] { return step(); });
    for (std::optional<Clock::time_point> end; !jobs.wait_for(tick);) {
        if (!interrupted())
            show_progress();
        else if (!end.has_value())
            end = Clock::now() + grace;
        else if (Clock::now() >= *end)
            abandon();
    }
}

std::string Run::summary() const {
    std::string text = std::to_string(counted(Status::done)) +
                       (counted(Status::done) == 1 ? " frame converted" : " frames converted");
    const auto add = [&](uint64_t count, const char *what) {
        if (count > 0)
            add_to_list(text, std::to_string(count) + " " + what);
    };
    add(counted(Status::held), "held from earlier ones");
    add(counted(Status::missing), "left out");
    add(counted(Status::failed), "failed");
    add(counted(Status::broken_off) + sequence_.left(), "not converted");
    return text;
}

// Says what did not go as a matter of course.
ExitCode Run::conclude() {
    console_.clear_progress();
    const uint64_t converted = counted(Status::done) + counted(Status::held);
    const bool plain = counted(Status::done) == drawn_ && sequence_.left() == 0;
    if (sequence_.has_frames() && !plain)
        console_.say({ERR_WARNING, "", summary()});
    if (code_ == EXIT_FINE && converted == 0 && !cut_short_) {
        console_.say({ERR_ERROR, "", "none of the frames is there"});
        code_ = EXIT_INPUT_FAILED;
    }
    return cut_short_ ? EXIT_INTERRUPTED : code_;
}

} // namespace

ExitCode convert_frames(Sequence &sequence, const Conversion &conversion, const RunOptions &options,
                        Console &console) {
    Run run(sequence, conversion, options, console);
    run.work();
    return run.conclude();
}

} // namespace zor
