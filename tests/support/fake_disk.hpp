// A disk in memory that keeps every write and sync, fails calls on demand, and makes the images that a power cut could
// leave behind.
#pragma once
#include <map>
#include <random>
#include <string>
#include <vector>

#include "platform/disk.hpp"

namespace korvane::testing {

class FakeDisk final : public Disk {
public:
    /// One change of the disk. A file is known by its number, since names come and go.
    struct Change {
        enum class Kind { write, truncate, sync, create, remove, sync_folder } kind;
        int file = 0;
        std::int64_t at = 0;  // of a write; the size of a truncation
        std::string bytes;    // of a write; the name made or removed
    };
    std::vector<Change> changes;

    int calls = 0;    // of anything that may fail
    int fail_at = 0;  // this call fails, and with fail_on every one behind it too
    bool fail_on = false;
    std::int64_t room = 1ll << 40;  // bytes that may still be added to files
    bool has_locks = true;

    std::map<std::string, int> names;  // of files
    std::map<int, std::string> files;  // by number: what a program sees

    void put(const std::string& path, std::string bytes) {
        files[++last_file_] = std::move(bytes);
        names[path] = last_file_;
    }
    const std::string& bytes(const std::string& path) { return files[names.at(path)]; }

    int open(const std::string& path, Open how) override {
        if (fails() || (how == Open::create) == names.contains(path)) return -1;
        if (how == Open::create) {
            put(path, "");
            changes.push_back({Change::Kind::create, last_file_, 0, path});
        }
        handles_[++last_handle_] = names.at(path);
        return last_handle_;
    }
    void close(int handle) override {
        std::erase_if(locks_, [&](const Held& l) { return l.handle == handle; });
        handles_.erase(handle);
    }
    bool read(int handle, std::int64_t at, void* out, std::size_t n) override {
        const std::string& f = file(handle);
        if (fails() || std::size_t(at) + n > f.size()) return false;
        f.copy(static_cast<char*>(out), n, std::size_t(at));
        return true;
    }
    bool write(int handle, std::int64_t at, const void* in, std::size_t n) override {
        std::string& f = file(handle);
        const std::int64_t more = std::max<std::int64_t>(0, at + std::int64_t(n) - std::int64_t(f.size()));
        if (fails() || more > room) return false;
        room -= more;
        changes.push_back({Change::Kind::write, handles_[handle], at, {static_cast<const char*>(in), n}});
        apply(changes.back(), f);
        return true;
    }
    std::int64_t size(int handle) override { return fails() ? -1 : std::int64_t(file(handle).size()); }
    bool truncate(int handle, std::int64_t size) override {
        if (fails()) return false;
        changes.push_back({Change::Kind::truncate, handles_[handle], size, {}});
        apply(changes.back(), file(handle));
        return true;
    }
    bool sync(int handle) override {
        if (fails()) return false;
        changes.push_back({Change::Kind::sync, handles_[handle], 0, {}});
        return true;
    }
    bool exists(const std::string& path) override { return names.contains(path); }
    bool remove(const std::string& path) override {
        if (fails() || !names.contains(path)) return false;
        changes.push_back({Change::Kind::remove, names[path], 0, path});
        names.erase(path);
        return true;
    }
    bool sync_folder(const std::string&) override {
        if (fails()) return false;
        changes.push_back({Change::Kind::sync_folder, 0, 0, {}});
        return true;
    }
    std::string real_path(const std::string& path) override { return path; }
    Locked lock(int handle, int which, Lock kind, int) override {
        if (!has_locks) return Locked::unsupported;
        const int number = handles_[handle];
        for (const Held& l : locks_)
            if (kind != Lock::none && l.file == number && l.which == which && l.handle != handle &&
                (kind == Lock::exclusive || l.kind == Lock::exclusive))
                return Locked::busy;
        std::erase_if(locks_, [&](const Held& l) { return l.handle == handle && l.which == which; });
        if (kind != Lock::none) locks_.push_back({handle, number, which, kind});
        return Locked::yes;
    }

    /// A disk that a crash behind the first n changes may leave, starting from what `before` held. Without a power cut
    /// (the program was killed) all of them are on it. With one, what no sync had confirmed may be there or not, each
    /// sector of 512 bytes and each name on its own.
    template <class Random>
    static FakeDisk after_crash(const FakeDisk& before, const std::vector<Change>& changes, std::size_t n,
                                bool power_cut, Random& random) {
        FakeDisk disk;
        disk.last_file_ = before.last_file_ + int(changes.size());
        disk.names = before.names;
        disk.files = before.files;
        std::map<int, std::vector<Change>> unsure;  // of a file
        std::vector<Change> names;                  // made or removed
        auto settle = [&](int file) {
            std::string& f = disk.files[file];
            std::vector<std::string> states{f};  // sector by sector, the disk holds one of these
            for (const Change& c : unsure[file]) {
                apply(c, f);
                states.push_back(f);
            }
            unsure[file].clear();
            if (!power_cut) return;
            std::string torn = states[random() % states.size()];  // its size
            for (std::size_t at = 0; at < torn.size(); at += SECTOR) {
                const std::string& from = states[random() % states.size()];
                for (std::size_t i = at; i < std::min(at + SECTOR, torn.size()); ++i)
                    torn[i] = i < from.size() ? from[i] : '\0';
            }
            f = torn;
        };
        for (std::size_t i = 0; i < n; ++i) {
            const Change& c = changes[i];
            switch (c.kind) {
                case Change::Kind::write:
                case Change::Kind::truncate: unsure[c.file].push_back(c); break;
                case Change::Kind::create:
                case Change::Kind::remove: names.push_back(c); break;
                case Change::Kind::sync: {
                    for (const Change& w : unsure[c.file]) apply(w, disk.files[c.file]);
                    unsure[c.file].clear();
                    break;
                }
                case Change::Kind::sync_folder:
                    for (const Change& name : names) disk.apply_name(name);
                    names.clear();
                    break;
            }
        }
        for (auto& [file, changes_of_it] : unsure)
            if (!changes_of_it.empty()) settle(file);
        for (const Change& name : names)
            if (!power_cut || random() % 2) disk.apply_name(name);
        return disk;
    }

private:
    static constexpr std::size_t SECTOR = 512;
    struct Held {
        int handle, file, which;
        Lock kind;
    };

    bool fails() { return ++calls == fail_at || (fail_on && fail_at != 0 && calls > fail_at); }
    std::string& file(int handle) { return files[handles_.at(handle)]; }
    static void apply(const Change& c, std::string& f) {
        if (c.kind == Change::Kind::truncate) return f.resize(std::size_t(c.at), '\0');
        if (f.size() < std::size_t(c.at) + c.bytes.size()) f.resize(std::size_t(c.at) + c.bytes.size(), '\0');
        f.replace(std::size_t(c.at), c.bytes.size(), c.bytes);
    }
    void apply_name(const Change& c) {
        if (c.kind == Change::Kind::create)
            names[c.bytes] = c.file;
        else
            names.erase(c.bytes);
        files[c.file];
    }

    std::map<int, int> handles_;
    std::vector<Held> locks_;
    int last_file_ = 0, last_handle_ = 0;
};

}  // namespace korvane::testing
