// reports.cpp - messages and the library's reports on the standard error stream.
#include "reports.h"

#include <cstdio>

#include "text.h"

namespace zor {

Reports::Reports(bool quiet) : quiet_(quiet) { ERR_dcl_handler(nullptr, handle, this); }

Reports::~Reports() { ERR_can_handler(nullptr); }

void Reports::about(const std::string &subject, const std::string &alias) {
    subject_ = subject;
    alias_ = alias;
    last_error_.clear();
}

void Reports::say(int severity, std::string message) {
    if (!alias_.empty()) {
        for (size_t at = 0; (at = message.find(alias_, at)) != std::string::npos;
             at += subject_.size())
            message.replace(at, alias_.size(), subject_);
    }
    const std::string prefix = subject_.empty() ? "" : subject_ + ": ";
    if (message.starts_with(prefix))
        message.erase(0, prefix.size());
    if (severity >= ERR_ERROR)
        last_error_ = message;
    else if (quiet_)
        return;
    std::fprintf(stderr, "zor: %s\n", printable(prefix + message).c_str());
}

void Reports::explain(int32_t status) {
    if (last_error_.empty())
        error("failed with status " + std::to_string(status));
}

int Reports::handle(const char *, int severity, const char *message, ERR_OBJECT *, void *data) {
    if (severity >= ERR_FATAL)
        return 1; // the default handler ends the process
    if (severity < ERR_WARNING)
        return 0;
    try {
        static_cast<Reports *>(data)->say(severity, message);
    } catch (...) { // out of memory: said without dressing
        std::fprintf(stderr, "zor: %s\n", message);
    }
    return 0;
}

} // namespace zor
