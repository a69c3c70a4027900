// output_file.h - a file that appears under its name only when it is complete.
#pragma once

#include <filesystem>
#include <string>

#include "reports.h"
#include "temporary_files.h"

namespace zor {

// What is written goes to a temporary file first: beside the wanted one, so that it can take its
// name at the end, or in the directory for temporary files when the wanted one is the standard
// output or a device, to be copied there. The temporary file goes away with this object, or with
// all others of its list.
class OutputFile {
public:
    OutputFile(const std::string &wanted, TemporaryFiles &temporary_files);
    ~OutputFile();
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    // Makes the temporary file. Returns false after a message.
    //   extension  of the temporary file's name, with its dot, where the wanted one has none
    bool create(const std::string &extension, Reports &reports);

    // The temporary file's path: what to write to.
    [[nodiscard]] const std::string &path() const { return path_; }

    // Gives the finished file its name. Returns false after a message.
    bool commit(Reports &reports);

private:
    bool copy_out(Reports &reports);
    void forget();

    TemporaryFiles &temporary_files_;
    std::filesystem::path target_;
    bool direct_ = false; // the target takes a copy instead of being replaced
    std::string path_;    // empty: no temporary file
};

// Makes an empty file of its own in the directory for temporary files, for the user alone. Returns
// its path; an empty text after a message.
std::string make_temporary_file(const std::string &extension, Reports &reports);

} // namespace zor
