// runtime.cpp - start-up of the library for a command.
#include "runtime.h"

#include <zor/zor.h>

#include "text.h"

namespace zor {

Runtime::Runtime(const RuntimeOptions &options)
    : reports_(options.quiet),
      directories_(module_directories(options.module_directories)),
      loader_(directories_) {}

bool Runtime::start() {
    if (loader_.start() != 0) {
        reports_.explain();
        return false;
    }
    // Every file is opened for itself: a handle that is kept would keep its operators, and one that
    // two threads share has but one set of rows.
    ZOR_multiframe_set(0, 0);
    const bool usable = ZOR_info() != nullptr;
    ZOR_init(nullptr, nullptr); // rewinds ZOR_info
    if (usable)
        return true;
    std::string places;
    for (const std::string &directory : directories_)
        add_to_list(places, directory);
    reports_.error("no usable modules" +
                   (places.empty() ? "; say where they are with --modules" : " in " + places));
    return false;
}

} // namespace zor
