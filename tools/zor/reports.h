// reports.h - all that the zor command says on the standard error stream.
#pragma once

#include <cstdint>
#include <string>

#include <zor/err.h>

namespace zor {

// Prints messages as "zor: subject: message", the library's reports included, as long as it lives.
class Reports {
public:
    explicit Reports(bool quiet = false); // quiet: errors only
    ~Reports();
    Reports(const Reports &) = delete;
    Reports &operator=(const Reports &) = delete;

    void set_quiet(bool quiet) { quiet_ = quiet; }

    // Names the file that the reports that follow are about; empty: none in particular. Where they
    // mention it by another name, alias, that is replaced.
    void about(const std::string &subject, const std::string &alias = {});

    // Says something about that file.
    void error(const std::string &message) { say(ERR_ERROR, message); }
    void warning(const std::string &message) { say(ERR_WARNING, message); }

    // Says that something failed with a status of the library's, unless an error has been said since
    // the subject was named.
    void explain(int32_t status);

    // The latest error's message since the subject was named, without prefix; empty when there was
    // none.
    [[nodiscard]] const std::string &last_error() const { return last_error_; }

private:
    void say(int severity, std::string message);
    static int handle(const char *name, int severity, const char *message, ERR_OBJECT *record,
                      void *data);

    bool quiet_;
    std::string subject_;
    std::string alias_;
    std::string last_error_;
};

} // namespace zor
