// reports.cpp - messages, and the way of the library's reports to the thread that they concern.
#include "reports.h"

#include <cstdio>
#include <utility>

#include "text.h"

namespace zor {

namespace {

// The library does not tell whom a report is for; it reports in the thread that called it.
thread_local Reports *newest = nullptr;

} // namespace

void print_message(const Message &message) {
    std::fprintf(stderr, "zor: %s\n", printable(message.line()).c_str());
}

LibraryReports::LibraryReports() { ERR_dcl_handler(nullptr, Reports::handle, nullptr); }

LibraryReports::~LibraryReports() { ERR_can_handler(nullptr); }

Reports::Reports(bool quiet) : quiet_(quiet), before_(std::exchange(newest, this)) {}

Reports::Reports(std::vector<Message> &collection)
    : collection_(&collection), before_(std::exchange(newest, this)) {}

Reports::~Reports() { newest = before_; }

void Reports::about(const std::string &subject, const std::string &alias) {
    subject_ = subject;
    alias_ = alias;
    last_error_.clear();
}

void Reports::say(int severity, std::string text) {
    if (muted_)
        return;
    if (!alias_.empty()) {
        for (size_t at = 0; (at = text.find(alias_, at)) != std::string::npos;
             at += subject_.size())
            text.replace(at, alias_.size(), subject_);
    }
    const std::string prefix = subject_.empty() ? "" : subject_ + ": ";
    if (text.starts_with(prefix))
        text.erase(0, prefix.size());
    if (severity >= ERR_ERROR)
        last_error_ = text;
    if (collection_ != nullptr)
        collection_->push_back({severity, subject_, std::move(text)});
    else if (severity >= ERR_ERROR || !quiet_)
        print_message({severity, subject_, std::move(text)});
}

void Reports::explain(int32_t status) {
    if (last_error_.empty())
        error(status != 0 ? "failed with status " + std::to_string(status)
                          : "failed, and nobody said why");
}

int Reports::handle(const char *, int severity, const char *message, ERR_OBJECT *, void *) {
    if (severity >= ERR_FATAL || newest == nullptr)
        return 1; // the default handler prints it, and ends the process after a fatal one
    if (severity < ERR_WARNING)
        return 0;
    try {
        newest->say(severity, message);
    } catch (...) { // out of memory: said without dressing
        std::fprintf(stderr, "zor: %s\n", message);
    }
    return 0;
}

} // namespace zor
