// output_file.cpp - temporary files and their way to the wanted name.
#include "output_file.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <random>

#include "input.h"
#include "loader/paths.h"
#include "system.h"

namespace zor {
namespace fs = std::filesystem;

namespace {

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

std::string random_name(const char *start) {
    static const char letters[] = "abcdefghijklmnopqrstuvwxyz012345";
    std::random_device random;
    std::string name = start;
    for (int i = 0; i < 10; ++i)
        name += letters[random() % 32];
    return name;
}

// Makes a file that has not been there: name gives a path to try, create makes it or returns an
// errno value. Returns its path; an empty text after a message.
std::string make_file(const std::function<fs::path()> &name,
                      const std::function<int(const std::string &)> &create, Reports &reports) {
    int failure = EEXIST;
    for (int tries = 0; tries < 100 && failure == EEXIST; ++tries) {
        std::string path = to_text(name());
        failure = create(path);
        if (failure == 0)
            return path;
    }
    reports.error(std::strerror(failure));
    return {};
}

// Where a file has to go to be found under this name: links are followed.
fs::path resolve(const fs::path &wanted) {
    std::error_code error;
    if (!fs::is_symlink(wanted, error))
        return wanted;
    const fs::path target = fs::weakly_canonical(wanted, error);
    return error ? wanted : target;
}

// Returns false with errno set.
bool copy(std::FILE *from, std::FILE *to) {
    std::array<char, 65536> block;
    while (const size_t count = std::fread(block.data(), 1, block.size(), from)) {
        if (std::fwrite(block.data(), 1, count, to) != count)
            return false;
    }
    return std::ferror(from) == 0 && std::fflush(to) == 0;
}

} // namespace

OutputFile::OutputFile(const std::string &wanted, TemporaryFiles &temporary_files)
    : temporary_files_(temporary_files), target_(resolve(to_path(wanted))) {
    std::error_code error;
    const fs::file_status status = fs::status(target_, error);
    direct_ = is_standard_output(wanted) || (fs::exists(status) && !fs::is_regular_file(status));
    if (is_standard_output(wanted))
        target_.clear();
}

OutputFile::~OutputFile() {
    if (!path_.empty())
        remove_file(path_);
    forget();
}

bool OutputFile::create(const std::string &extension, Reports &reports) {
    std::error_code error;
    if (fs::is_directory(target_, error)) {
        reports.error(std::strerror(EISDIR));
        return false;
    }
    // Replacing a file asks for rights on its directory alone; its own count as well here.
    if (!direct_ && fs::exists(target_, error) &&
        File(open_file(to_text(target_), "r+b")) == nullptr) {
        reports.error(std::strerror(errno));
        return false;
    }
    const fs::path directory = direct_ ? fs::temp_directory_path(error) : target_.parent_path();
    const std::string ending =
        target_.has_extension() && !direct_ ? to_text(target_.extension()) : extension;
    path_ = make_file(
        [&] { return directory / to_path(random_name(".zor-") + ending); },
        [&](const std::string &path) { return temporary_files_.create(path, direct_); }, reports);
    return !path_.empty();
}

bool OutputFile::commit(Reports &reports) {
    if (direct_)
        return copy_out(reports);
    std::error_code error;
    if (const fs::file_status old = fs::status(target_, error); fs::exists(old))
        fs::permissions(to_path(path_), old.permissions(), error);
    fs::rename(to_path(path_), target_, error);
    if (error) {
        reports.error(error.message());
        return false;
    }
    forget();
    return true;
}

bool OutputFile::copy_out(Reports &reports) {
    const File from(open_file(path_, "rb"));
    // Gone at once where the system allows it: copying may take as long as the reader likes.
    if (remove_file(path_) == 0)
        forget();
    const bool standard = target_.empty();
    File opened(standard ? nullptr : open_file(to_text(target_), "wb"));
    std::FILE *to = standard ? binary_standard_output() : opened.get();
    const bool copied = from != nullptr && to != nullptr && copy(from.get(), to);
    const int reason = errno;
    if (copied && (opened == nullptr || std::fclose(opened.release()) == 0))
        return true;
    reports.error(std::strerror(copied ? errno : reason));
    return false;
}

void OutputFile::forget() {
    temporary_files_.forget(path_);
    path_.clear();
}

std::string make_temporary_file(const std::string &extension, Reports &reports) {
    std::error_code error;
    const fs::path directory = fs::temp_directory_path(error);
    return make_file([&] { return directory / (random_name("zor-") + extension); },
                     [](const std::string &path) { return create_new_file(path, true); }, reports);
}

} // namespace zor
