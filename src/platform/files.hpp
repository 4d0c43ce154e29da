// Files: names as the operator types them, whole-file reads, buffered writes, commits to disk.
#pragma once
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// The existing file that a typed name means: as typed, else upper-cased, else lower-cased; backslashes count as
/// slashes. Nothing when none of the three exists as a readable regular file.
std::optional<std::string> existing_file(std::string_view typed);

/// All bytes of a file; nothing when it cannot be read.
std::optional<std::string> read_file(const std::string& path);

bool file_exists(const std::string& path);
void delete_file(const std::string& path);

/// A file being written: buffered, in the order of the calls. After the first failure every call is a no-op and
/// good() is false.
class OutputFile {
public:
    enum class Mode { create, overwrite_from_start, append };
    /// Opens the file; good() tells whether that worked.
    OutputFile(const std::string& path, Mode mode);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    bool good() const { return file_ != nullptr && !failed_; }
    const std::string& path() const { return path_; }
    void write(std::string_view bytes);
    void flush();
    /// Flushes, and hands everything to the operating system for the disk; false on failure.
    bool commit();
    /// Empties the file.
    void rewind();

private:
    std::string path_;
    std::FILE* file_ = nullptr;
    bool failed_ = false;
};

}  // namespace korvane
