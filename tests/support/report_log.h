// report_log.h - collects the library's reports instead of printing them.
//
//     ReportLog log;
//     EXPECT_EQ(FMT_init(nullptr), 0);
//     EXPECT_TRUE(log.has(FMT_MSG_SYNTAX)) << log.text();
#pragma once

#include <string>
#include <vector>

#include "zor/err.h"
#include "zor/messages.h"

class ReportLog {
public:
    struct Report {
        int severity;
        std::string format; // unexpanded: tells which message it is
        std::string message;
    };

    ReportLog() : declared_(ERR_dcl_handler(nullptr, &ReportLog::handle, this) != 0) {}
    ~ReportLog() {
        if (declared_)
            ERR_can_handler(nullptr);
    }
    ReportLog(ReportLog &&) = delete;

    // Takes a message of messages.h: how often it was reported, at its own severity.
    [[nodiscard]] int count(int /*set*/, int /*number*/, int severity, const char *format) const {
        int found = 0;
        for (const Report &report : reports)
            found += report.severity == severity && report.format == format ? 1 : 0;
        return found;
    }

    // Whether the message is the only report so far.
    [[nodiscard]] bool has_only(int set, int number, int severity, const char *format) const {
        return reports.size() == 1 && count(set, number, severity, format) == 1;
    }

    [[nodiscard]] bool has(int set, int number, int severity, const char *format) const {
        return count(set, number, severity, format) > 0;
    }

    // Message of the latest report, or an empty text.
    [[nodiscard]] std::string last() const { return reports.empty() ? "" : reports.back().message; }

    // All messages, one a line, for failure output.
    [[nodiscard]] std::string text() const {
        std::string all;
        for (const Report &report : reports)
            all += report.message + "\n";
        return all;
    }

    void clear() { reports.clear(); }

    std::vector<Report> reports;

private:
    static int handle(const char *name, int severity, const char *message, ERR_OBJECT *,
                      void *data) {
        static_cast<ReportLog *>(data)->reports.push_back({severity, name, message});
        return 0;
    }

    bool declared_; // memory may have run out by then
};
