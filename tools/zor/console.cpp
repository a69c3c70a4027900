// console.cpp - one voice for all threads.
#include "console.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "json.h"
#include "system.h"

namespace zor {

namespace {

// More warnings that differ are not remembered, and may come again.
constexpr size_t most_warnings = 1000;

const char *status_name(FrameResult::Status status) {
    static const char *const names[] = {"done", "held", "missing", "failed", "broken off"};
    return names[static_cast<size_t>(status)];
}

// The first error, or else the first warning.
Json message_of(const FrameResult &result) {
    const Message *chosen = nullptr;
    for (const Message &message : result.messages) {
        if (chosen == nullptr || message.severity > chosen->severity)
            chosen = &message;
    }
    return chosen != nullptr ? Json(chosen->line()) : Json();
}

Json to_json(const FrameResult &result) {
    return {{"frame", result.task.frame.has_value() ? Json(*result.task.frame) : Json()},
            {"input", result.task.input.empty() ? result.task.absent : result.task.input},
            {"output", result.task.output},
            {"status", status_name(result.status)},
            {"message", message_of(result)},
            {"seconds", std::round(result.seconds * 1e6) / 1e6}};
}

} // namespace

Console::Console(bool quiet, bool json, bool progress)
    : quiet_(quiet), json_(json), progress_(progress && !quiet && standard_error_is_terminal()) {}

void Console::print(const Message &message) {
    const bool is_error = message.severity >= ERR_ERROR;
    if (!is_error && (quiet_ || warnings_.count(message.text) > 0))
        return;
    progress_.clear();
    print_message(message);
    if (!is_error && warnings_.size() < most_warnings)
        warnings_.insert(message.text);
}

bool Console::tell(const FrameResult &result) {
    const std::lock_guard lock(mutex_);
    for (const Message &message : result.messages)
        print(message);
    if (!json_)
        return true;
    progress_.clear();
    print_json(to_json(result), -1);
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return true;
    print({ERR_ERROR, "standard output", std::strerror(errno)});
    return false;
}

void Console::say(const Message &message) {
    const std::lock_guard lock(mutex_);
    print(message);
}

void Console::show_progress(uint64_t finished, uint64_t left) {
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (lock.owns_lock())
        progress_.draw(finished, left);
}

void Console::clear_progress() {
    const std::lock_guard lock(mutex_);
    progress_.clear();
}

} // namespace zor
