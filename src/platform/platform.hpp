// All that the operating system answers. The program asks here and nowhere else, so a test can answer instead.
#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace korvane {

/// What stands behind standard input.
enum class InputKind { console = 0, redirected = 1, unknown = 2 };

struct Moment {
    int year, month, day, hour, minute, second;
};

class Platform {
public:
    virtual ~Platform() = default;

    /// vstdio: whether standard input is a console.
    virtual InputKind standard_input() const = 0;
    /// One line from standard input without its line end; nothing at the end of input.
    virtual std::optional<std::string> read_console() = 0;
    /// Bytes to standard output, as they stand.
    virtual void write_console(std::string_view bytes) = 0;
    /// False when standard output could not take everything written so far.
    virtual bool flush_console() = 0;

    /// Value of an environment variable; nothing when it is not set.
    virtual std::optional<std::string> environment(const std::string& name) const = 0;
    virtual std::string working_directory() const = 0;
    /// Folder that holds the running program, without a final slash.
    virtual std::string program_directory() const = 0;
    virtual Moment now() const = 0;
    virtual double elapsed_seconds() const = 0;
    /// A number from 0 to below 1.
    virtual double random() = 0;
    /// Runs a command line in the shell and waits; its exit status, or -1 when it could not be started.
    virtual int shell(const std::string& command) = 0;
    /// Shows a text to the operator in a box with a stop icon; false when the platform has no such thing.
    virtual bool message_box(std::string_view text) = 0;
    /// Tells whoever waits that the run has come to this step.
    virtual void progress(std::string_view step) { (void)step; }
};

/// The platform that this build runs on.
std::unique_ptr<Platform> make_platform();

}  // namespace korvane
