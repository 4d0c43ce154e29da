// The disk as a file that must survive a crash sees it: reads and writes at a place, syncs, names, locks. Code that
// cares for every write goes through this, so that a test can keep the writes, lose some of them, or fail any call.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace korvane {

class Disk {
public:
    virtual ~Disk() = default;

    enum class Open {
        for_reading,
        for_writing,  // an existing file, for reading too
        create        // a new file, for reading too; fails when there is one
    };
    /// A handle, or -1.
    virtual int open(const std::string& path, Open how) = 0;
    virtual void close(int file) = 0;

    /// Exactly n bytes at a place; false when there are fewer, or the disk fails.
    virtual bool read(int file, std::int64_t at, void* out, std::size_t n) = 0;
    virtual bool write(int file, std::int64_t at, const void* in, std::size_t n) = 0;
    /// Bytes in the file, -1 when nobody can tell.
    virtual std::int64_t size(int file) = 0;
    virtual bool truncate(int file, std::int64_t size) = 0;
    /// Waits until the bytes and the size of the file would survive a power cut.
    virtual bool sync(int file) = 0;

    virtual bool exists(const std::string& path) = 0;
    virtual bool remove(const std::string& path) = 0;
    /// Waits until the names in the folder of the path would survive one: files made there, files removed.
    virtual bool sync_folder(const std::string& path) = 0;
    /// The path without links, from the root: it leads to the same file wherever the program moves.
    virtual std::string real_path(const std::string& path) = 0;

    enum class Lock { none, shared, exclusive };
    enum class Locked { yes, busy, unsupported };
    /// An advisory lock number `which` of the file, held by the handle until it asks for another or closes. Waits so
    /// many milliseconds at most for others to give theirs up. unsupported: the file system has no locks.
    virtual Locked lock(int file, int which, Lock kind, int patience) = 0;
};

/// The disk of this machine.
Disk& machine_disk();

}  // namespace korvane
