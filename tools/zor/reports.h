// reports.h - all that the zor command says on the standard error stream.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <zor/err.h>

namespace zor {

struct Message {
    int severity;        // ERR_WARNING or ERR_ERROR
    std::string subject; // the file that it is about; may be empty
    std::string text;

    // As it is printed behind "zor: ".
    [[nodiscard]] std::string line() const {
        return subject.empty() ? text : subject + ": " + text;
    }
};

void print_message(const Message &message);

// Takes the library's reports, as long as it lives, to the Reports of the thread they come from.
// Made and ended while no other thread uses the library.
class LibraryReports {
public:
    LibraryReports();
    ~LibraryReports();
    LibraryReports(const LibraryReports &) = delete;
    LibraryReports &operator=(const LibraryReports &) = delete;
};

// What is said about files: by us, and by the library in the same thread as long as no newer object
// of this class lives there. Each object belongs to the thread that made it.
class Reports {
public:
    explicit Reports(bool quiet = false);               // prints; quiet: errors only
    explicit Reports(std::vector<Message> &collection); // appends there instead
    ~Reports();
    Reports(const Reports &) = delete;
    Reports &operator=(const Reports &) = delete;

    // Names the file that the messages that follow are about; empty: none in particular. Where they
    // mention it by another name, alias, that is replaced.
    void about(const std::string &subject, const std::string &alias = {});

    // Says something about that file.
    void error(const std::string &message) { say(ERR_ERROR, message); }
    void warning(const std::string &message) { say(ERR_WARNING, message); }

    // Says that something failed, unless an error has been said since the subject was named.
    //   status  what a call returned; 0: nothing is known (zor__err may be another thread's)
    void explain(int32_t status = 0);

    // While muted, what is said is dropped.
    void set_muted(bool muted) { muted_ = muted; }

    // The latest error's message since the subject was named, without prefix; empty when there was
    // none.
    [[nodiscard]] const std::string &last_error() const { return last_error_; }

private:
    friend class LibraryReports;

    void say(int severity, std::string text);
    static int handle(const char *name, int severity, const char *message, ERR_OBJECT *record,
                      void *data);

    bool quiet_ = false;
    bool muted_ = false;
    std::vector<Message> *collection_ = nullptr; // null: messages are printed
    Reports *before_;                            // which this one hides in its thread
    std::string subject_;
    std::string alias_;
    std::string last_error_;
};

} // namespace zor
