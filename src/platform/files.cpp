#include "platform/files.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace korvane {

namespace {

constexpr std::size_t BUFFER = 1 << 18;      // bytes of a text file held back before they are written
constexpr std::size_t LARGEST = 1ull << 31;  // bytes of a file that is read whole
constexpr std::size_t PIPE_BLOCK = 1 << 16;

bool has_nul(std::string_view path) { return path.find('\0') != std::string_view::npos; }

/// The letters of a name in one case; bytes above 127 stay.
std::string with_case(std::string name, std::size_t from, bool upper) {
    for (std::size_t i = from; i < name.size(); ++i) {
        char& c = name[i];
        if (upper && c >= 'a' && c <= 'z') c = char(c - 'a' + 'A');
        if (!upper && c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    }
    return name;
}

bool write_all(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(descriptor, bytes.data(), bytes.size());
        if (n >= 0)
            bytes.remove_prefix(std::size_t(n));
        else if (errno != EINTR)
            return false;
    }
    return true;
}

}  // namespace

bool file_exists(const std::string& path) {
    struct stat info;
    return !has_nul(path) && stat(path.c_str(), &info) == 0 && (S_ISREG(info.st_mode) || S_ISFIFO(info.st_mode));
}

void delete_file(const std::string& path) {
    if (!has_nul(path)) unlink(path.c_str());
}

std::string new_file(std::string_view typed) {
    std::string path(typed);
    for (char& c : path)
        if (c == '\\') c = '/';
    return path;
}

std::optional<std::string> existing_file(std::string_view typed) {
    const std::string path = new_file(typed);
    const std::size_t last = path.rfind('/') + 1;  // npos + 1 is 0
    for (const std::string& candidate : {path, with_case(path, 0, true), with_case(path, last, true),
                                         with_case(path, 0, false), with_case(path, last, false)})
        if (file_exists(candidate)) return candidate;
    return std::nullopt;
}

bool same_file(const std::string& a, const std::string& b) {
    struct stat first, second;
    return !has_nul(a) && !has_nul(b) && stat(a.c_str(), &first) == 0 && stat(b.c_str(), &second) == 0 &&
           S_ISREG(first.st_mode) && first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

std::optional<std::string> read_file(const std::string& path) {
    if (!file_exists(path)) return std::nullopt;
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return std::nullopt;

    struct stat info;
    std::size_t expected = fstat(descriptor, &info) == 0 && info.st_size > 0 ? std::size_t(info.st_size) : 0;
    bool good = expected < LARGEST;
    std::string bytes;
    std::size_t length = 0;
    while (good) {
        // One byte more than expected, so that a file read to its end needs no second growth to notice it.
        if (length == bytes.size()) bytes.resize(length < expected + 1 ? expected + 1 : length + PIPE_BLOCK);
        const ssize_t n = read(descriptor, bytes.data() + length, bytes.size() - length);
        if (n < 0 && errno == EINTR) continue;
        if (n == 0) break;
        good = n > 0 && (length += std::size_t(n)) < LARGEST;
    }
    close(descriptor);
    if (!good) return std::nullopt;
    bytes.resize(length);
    return bytes;
}

// --- text files being written

OutputFile::OutputFile(const std::string& path, Mode mode)
    : path_(path), drop_first_(mode == Mode::overwrite_from_start) {
    if (has_nul(path)) return;
    const int how = mode == Mode::create ? O_TRUNC : mode == Mode::append ? O_APPEND : 0;
    descriptor_ = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | how, 0666);
}

OutputFile::~OutputFile() {
    if (descriptor_ < 0) return;
    flush();
    close(descriptor_);
}

void OutputFile::put(std::string_view bytes) {
    if (!good() || bytes.empty()) return;
    if (drop_first_ && ftruncate(descriptor_, 0) != 0 && errno != EINVAL) failed_ = true;  // EINVAL: a device, a pipe
    drop_first_ = false;
    if (!failed_ && !write_all(descriptor_, bytes)) failed_ = true;
}

void OutputFile::write(std::string_view bytes) {
    if (buffer_.size() + bytes.size() > BUFFER) flush();
    if (bytes.size() > BUFFER)
        put(bytes);
    else if (good())
        buffer_.append(bytes);
}

void OutputFile::flush() {
    put(buffer_);
    buffer_.clear();
}

bool OutputFile::commit() {
    flush();
    return good();
}

void OutputFile::rewind() {
    buffer_.clear();
    if (!good()) return;
    if (ftruncate(descriptor_, 0) != 0 && errno != EINVAL) failed_ = true;
    lseek(descriptor_, 0, SEEK_SET);
}

// --- direct-access files

RecordFile::RecordFile(const std::string& path, int record_length, Mode mode)
    : path_(path), record_length_(record_length) {
    if (has_nul(path) || (mode == Mode::existing && !file_exists(path))) return;
    const int how = O_CLOEXEC | (mode == Mode::create ? O_CREAT | O_EXCL : 0);
    descriptor_ = open(path.c_str(), O_RDWR | how, 0666);
    writable_ = descriptor_ >= 0;
    if (!writable_ && mode == Mode::existing) descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
}

RecordFile::~RecordFile() {
    if (descriptor_ >= 0) close(descriptor_);
}

bool RecordFile::commit() {
    if (unsaved_ && fdatasync(descriptor_) == 0) unsaved_ = false;
    return good() && !unsaved_;
}

}  // namespace korvane
