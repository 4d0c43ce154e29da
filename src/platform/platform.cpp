// The platform of a POSIX system.
#include "platform/platform.hpp"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <random>

namespace korvane {

namespace {

constexpr std::size_t BLOCK = 1 << 16;         // bytes asked for, or handed over, at once
constexpr std::size_t LONGEST_LINE = 1 << 24;  // a longer line is taken for several: input without an end must not
                                               // take all memory

class PosixPlatform : public Platform {
public:
    ~PosixPlatform() override { PosixPlatform::flush_console(); }

    InputKind standard_input() const override {
        struct stat info;
        if (fstat(STDIN_FILENO, &info) != 0) return InputKind::unknown;
        return isatty(STDIN_FILENO) ? InputKind::console : InputKind::redirected;
    }

    std::optional<std::string> read_console() override {
        flush_console();
        line_.clear();
        while (line_.size() < LONGEST_LINE) {
            if (at_ == end_ && !fill()) {
                if (line_.empty()) return std::nullopt;
                break;
            }
            if (after_cr_ && input_[at_] == '\n') ++at_;  // CR LF is one line end
            after_cr_ = false;
            const std::size_t from = at_;
            while (at_ < end_ && input_[at_] != '\n' && input_[at_] != '\r') ++at_;
            line_ += std::string_view(input_).substr(from, at_ - from);
            if (at_ == end_) continue;
            after_cr_ = input_[at_++] == '\r';
            break;
        }
        return line_;
    }

    void write_console(std::string_view bytes) override {
        output_.append(bytes);
        if (output_.size() >= BLOCK) flush_console();
    }

    bool flush_console() override {
        std::string_view rest = output_;
        while (!rest.empty()) {
            const ssize_t n = write(STDOUT_FILENO, rest.data(), rest.size());
            if (n >= 0) {
                rest.remove_prefix(std::size_t(n));
            } else if (errno != EINTR) {
                output_lost_ = true;
                break;
            }
        }
        output_.clear();
        return !output_lost_;
    }

    std::optional<std::string> environment(const std::string& name) const override {
        const char* value = std::getenv(name.c_str());
        if (!value) return std::nullopt;
        return value;
    }

    std::string working_directory() const override {
        char path[PATH_MAX];
        return getcwd(path, sizeof path) ? path : ".";
    }

    std::string program_directory() const override {
        char path[PATH_MAX];
        const ssize_t n = readlink("/proc/self/exe", path, sizeof path);
        const std::string_view program(path, n > 0 ? std::size_t(n) : 0);
        const auto slash = program.rfind('/');
        return slash == std::string_view::npos ? "." : std::string(program.substr(0, slash));
    }

    Moment now() const override {
        const std::time_t t = std::time(nullptr);
        std::tm local{};
        localtime_r(&t, &local);
        return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec};
    }

    double elapsed_seconds() const override {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    }

    double random() override { return std::uniform_real_distribution<double>(0.0, 1.0)(generator_); }

    int shell(const std::string& command) override {
        flush_console();
        const int status = std::system(command.c_str());
        if (status == -1) return -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    bool message_box(std::string_view) override { return false; }

private:
    /// One more block of standard input; false at its end. A terminal may go on after an end of input.
    bool fill() {
        for (;;) {
            const ssize_t n = read(STDIN_FILENO, input_.data(), input_.size());
            if (n < 0 && errno == EINTR) continue;
            at_ = 0;
            end_ = n > 0 ? std::size_t(n) : 0;
            return end_ > 0;
        }
    }

    std::string input_ = std::string(BLOCK, '\0');
    std::string line_;
    std::size_t at_ = 0, end_ = 0;
    bool after_cr_ = false;
    std::string output_;
    bool output_lost_ = false;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    std::mt19937_64 generator_{std::random_device{}()};
};

}  // namespace

std::unique_ptr<Platform> make_platform() { return std::make_unique<PosixPlatform>(); }

}  // namespace korvane
