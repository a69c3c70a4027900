// temporary_files.h - the temporary files there are at present, so that all can be removed at once.
#pragma once

#include <mutex>
#include <set>
#include <string>

namespace zor {

// For any thread.
class TemporaryFiles {
public:
    // Makes an empty file that nobody has made before and lists it.
    //   confidential  for the user alone
    // Returns 0 or an errno value.
    int create(const std::string &path, bool confidential);

    // Takes a file off the list that has its final name now, or is removed.
    void forget(const std::string &path);

    // Removes all files listed; no more are made from then on.
    void remove_all();

private:
    std::mutex mutex_;
    std::set<std::string> paths_;
    bool closed_ = false;
};

} // namespace zor
