// The disk of a POSIX system.
#include "platform/disk.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>

namespace korvane {

namespace {

constexpr off_t FIRST_LOCK = off_t(1) << 40;  // locks stand on bytes far behind any that a file holds
constexpr int PAUSE = 5;                      // between two tries for a lock, ms

/// Calls io until n bytes are through. Interrupted and partial transfers go on.
template <class Io>
bool transfer(std::size_t n, Io&& io) {
    for (std::size_t done = 0; done < n;) {
        const ssize_t now = io(done);
        if (now > 0)
            done += std::size_t(now);
        else if (now == 0 || errno != EINTR)
            return false;
    }
    return true;
}

template <class Call>
bool uninterrupted(Call&& call) {
    int result;
    do result = call();
    while (result != 0 && errno == EINTR);
    return result == 0;
}

std::string folder_of(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

class PosixDisk final : public Disk {
public:
    int open(const std::string& path, Open how) override {
        if (path.find('\0') != std::string::npos) return -1;
        const int flags = how == Open::for_reading ? O_RDONLY
                          : how == Open::create    ? O_RDWR | O_CREAT | O_EXCL
                                                   : O_RDWR;
        return ::open(path.c_str(), flags | O_CLOEXEC, 0666);
    }
    void close(int file) override { ::close(file); }

    bool read(int file, std::int64_t at, void* out, std::size_t n) override {
        return transfer(n, [&](std::size_t done) {
            return ::pread(file, static_cast<char*>(out) + done, n - done, off_t(at) + off_t(done));
        });
    }
    bool write(int file, std::int64_t at, const void* in, std::size_t n) override {
        return transfer(n, [&](std::size_t done) {
            return ::pwrite(file, static_cast<const char*>(in) + done, n - done, off_t(at) + off_t(done));
        });
    }
    std::int64_t size(int file) override {
        struct stat info;
        return ::fstat(file, &info) == 0 ? std::int64_t(info.st_size) : -1;
    }
    bool truncate(int file, std::int64_t size) override {
        return uninterrupted([&] { return ::ftruncate(file, off_t(size)); });
    }
    bool sync(int file) override {
        return uninterrupted([&] { return ::fdatasync(file); });
    }

    bool exists(const std::string& path) override {
        struct stat info;
        return ::stat(path.c_str(), &info) == 0;
    }
    bool remove(const std::string& path) override { return ::unlink(path.c_str()) == 0; }
    bool sync_folder(const std::string& path) override {
        const int folder = ::open(folder_of(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (folder < 0) return false;
        const bool done =
            uninterrupted([&] { return ::fsync(folder); }) || errno == EINVAL;  // EINVAL: cannot be synced
        ::close(folder);
        return done;
    }
    std::string real_path(const std::string& path) override {
        char* const found = ::realpath(path.c_str(), nullptr);
        if (!found) return path;
        std::string real = found;
        std::free(found);
        return real;
    }

    Locked lock(int file, int which, Lock kind, int patience) override {
        // Locks of the open file, not of the process: two handles in one process are as strange to each other as two
        // programs, and closing one handle keeps the locks of the other.
        struct flock range {};
        range.l_type = kind == Lock::none ? F_UNLCK : kind == Lock::shared ? F_RDLCK : F_WRLCK;
        range.l_whence = SEEK_SET;
        range.l_start = FIRST_LOCK + which;
        range.l_len = 1;
        for (int waited = 0;; waited += PAUSE) {
            if (uninterrupted([&] { return ::fcntl(file, F_OFD_SETLK, &range); })) return Locked::yes;
            if (errno != EAGAIN && errno != EACCES) return Locked::unsupported;
            if (waited >= patience) return Locked::busy;
            const timespec pause{0, PAUSE * 1000000};
            ::nanosleep(&pause, nullptr);
        }
    }
};

}  // namespace

Disk& machine_disk() {
    static PosixDisk disk;  // holds nothing
    return disk;
}

}  // namespace korvane
