// library.h - the library, started with modules of the tests' own, for the length of a scope.
#pragma once

#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "loader/system.h"
#include "support/report_log.h"
#include "zor/str.h"
#include "zor/zor.h"

class Library {
public:
    // Modules by name, delivered in this order; an empty name delivers a null handle.
    explicit Library(std::initializer_list<const char *> names) {
        for (const char *name : names) {
            std::string error;
            const std::string path = std::string(TEST_MODULE_DIR) + name + TEST_MODULE_SUFFIX;
            modules_.push_back({name, *name == '\0' ? nullptr : zor::load_module(path, error)});
        }
        active_ = this;
        restart();
    }
    ~Library() {
        ZOR_exit();
        for (const Module &module : modules_)
            if (module.handle != nullptr)
                zor::unload_module(module.handle);
    }
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    // Down, and up again with the same modules.
    void restart() {
        ZOR_exit();
        next_ = 0;
        result = ZOR_init(this, &Library::next_module);
    }

    // A variable that the i-th module exports.
    template<class T>
    T *variable(size_t i, const char *symbol) const {
        return static_cast<T *>(zor::module_symbol(modules_[i].handle, symbol));
    }

    ReportLog log; // what was reported, from before the start
    int result;    // of ZOR_init

private:
    struct Module {
        std::string name;
        void *handle;
    };

    static unsigned char next_module(void **module, const char **name) {
        if (active_->next_ == active_->modules_.size())
            return 0;
        *module = active_->modules_[active_->next_].handle;
        *name = active_->modules_[active_->next_++].name.c_str();
        return 1;
    }

    inline static Library *active_ = nullptr;
    std::vector<Module> modules_;
    size_t next_ = 0;
};

// An info record for a scope.
struct Info {
    explicit Info(const char *file_name, const char *key = nullptr) {
        ZOR_info_init(&record);
        record.file_name = file_name != nullptr ? STR_save(file_name) : nullptr;
        record.key = key != nullptr ? STR_save(key) : nullptr;
    }
    ~Info() { ZOR_info_cleanup(&record, 1); }
    Info(const Info &) = delete;
    Info &operator=(const Info &) = delete;
    ZOR_INFO *get() { return &record; }
    ZOR_INFO record;
};
