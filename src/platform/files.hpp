// Files: names as the operator types them, whole-file reads, buffered writes, commits to disk.
#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// The existing file that a typed name means: as typed, else upper-cased, else lower-cased, the whole name or only its
/// last part; backslashes count as slashes. Nothing when there is no such regular file or pipe.
std::optional<std::string> existing_file(std::string_view typed);

/// The path of a new file of the name as typed: backslashes become slashes.
std::string new_file(std::string_view typed);

/// Whether two paths lead to the same existing regular file.
bool same_file(const std::string& a, const std::string& b);

/// All bytes of a file; nothing when it cannot be read or is larger than 2 GiB.
std::optional<std::string> read_file(const std::string& path);

bool file_exists(const std::string& path);
void delete_file(const std::string& path);

/// A text file being written: buffered, in the order of the calls. After the first failure every call is a no-op and
/// good() is false. A path with a NUL character cannot be opened.
class OutputFile {
public:
    enum class Mode {
        create,                // empty from now on
        overwrite_from_start,  // an existing file keeps its bytes until the first write, which drops them all
        append
    };
    /// Opens the file; good() tells whether that worked.
    OutputFile(const std::string& path, Mode mode);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    bool good() const { return descriptor_ >= 0 && !failed_; }
    const std::string& path() const { return path_; }
    void write(std::string_view bytes);
    void flush();
    /// Flushes, so that the bytes are safe if the program dies; false on failure.
    bool commit();
    /// Empties the file.
    void rewind();

private:
    void put(std::string_view bytes);

    std::string path_, buffer_;
    int descriptor_ = -1;
    bool failed_ = false, drop_first_ = false;
};

/// A direct-access file: records of one length. Opened for reading and writing, or for reading alone when writing is
/// not allowed.
class RecordFile {
public:
    enum class Mode { existing, create };
    RecordFile(const std::string& path, int record_length, Mode mode);
    ~RecordFile();
    RecordFile(const RecordFile&) = delete;
    RecordFile& operator=(const RecordFile&) = delete;

    bool good() const { return descriptor_ >= 0; }
    bool writable() const { return writable_; }
    const std::string& path() const { return path_; }
    int record_length() const { return record_length_; }
    int descriptor() const { return descriptor_; }
    /// To be called after a write through the descriptor.
    void wrote() { unsaved_ = true; }
    /// Waits until what was written has reached the disk; false on failure.
    bool commit();

private:
    std::string path_;
    int record_length_, descriptor_ = -1;
    bool writable_ = false, unsaved_ = false;
};

}  // namespace korvane
