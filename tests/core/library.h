// library.h - the library, started with modules of the tests' own, for the length of a scope.
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "loader/system.h"
#include "support/info.h"
#include "support/report_log.h"

class Library {
public:
    // Modules by name, delivered in this order; an empty name delivers a null handle.
    explicit Library(std::initializer_list<const char *> names) {
        for (const char *name : names) {
            std::string error;
            const std::string path = std::string(TEST_MODULE_DIR) + name + TEST_MODULE_SUFFIX;
            modules_.emplace_back(name, *name == '\0' ? nullptr : zor::load_module(path, error));
        }
        active_ = this;
        restart();
    }
    ~Library() {
        ZOR_exit();
        for (const auto &[name, handle] : modules_)
            if (handle != nullptr)
                zor::unload_module(handle);
    }
    Library(Library &&) = delete;

    // Down, and up again with the same modules.
    void restart() {
        ZOR_exit();
        next_ = 0;
        result = ZOR_init(this, &Library::next_module);
    }

    // A variable that the i-th module exports.
    template<class T>
    T *variable(size_t i, const char *symbol) const {
        return static_cast<T *>(zor::module_symbol(modules_[i].second, symbol));
    }

    ReportLog log; // what was reported, from before the start
    int result;    // of ZOR_init

private:
    static unsigned char next_module(void **module, const char **name) {
        if (active_->next_ == active_->modules_.size())
            return 0;
        std::tie(*name, *module) = active_->modules_[active_->next_++];
        return 1;
    }

    inline static Library *active_ = nullptr;
    std::vector<std::pair<const char *, void *>> modules_;
    size_t next_ = 0;
};

// An image that is closed with its scope.
struct CloseImage {
    void operator()(ZOR_IMAGE *image) const { ZOR_close(image); }
};
using Image = std::unique_ptr<ZOR_IMAGE, CloseImage>;
