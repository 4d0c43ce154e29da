// Logical units: where lines come from and where they go.
#pragma once
#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.hpp"
#include "platform/platform.hpp"

namespace korvane {

/// Roles of LUN, 1 to 9.
namespace role {
constexpr int input = 1, cases = 2, log_copy = 3, print = 4, console_in = 5, console_out = 6, cards = 7, model = 8,
              flow = 9;
}
/// Fixed units.
namespace unit {
constexpr int stream = 1, console_in = 5, console_out = 6, nested_input = 11, null = 25, macros = 71, log = 80;
}

/// A stream of lines read whole into memory. Line ends are LF, CR LF or CR; the last one may be missing. Bytes that
/// are valid UTF-8 become Latin-1, other lines are taken as Latin-1 already.
class TextSource {
public:
    /// False when the file cannot be read.
    bool open(const std::string& path);
    /// The next line; the view holds until the next call. False at the end.
    bool next(std::string_view& line);
    void rewind();
    int line_number() const { return number_; }  // of the line that next gave last
    const std::string& name() const { return name_; }

private:
    std::string name_, bytes_, converted_;
    std::size_t at_ = 0, start_ = 0;         // where the next line begins; behind a byte-order mark
    std::size_t next_lf_ = 0, next_cr_ = 0;  // the first of each at or behind at_
    int number_ = 0;
    bool ascii_ = true;  // no byte above 127 in the whole file
};

struct Units {
    std::array<int, 10> LUN{};         // LUN[1] to LUN[9]: the unit that holds each role
    int LUREP = unit::console_out;     // unit that reports go to now
    std::array<std::string, 10> name;  // file behind each role

    bool CONINP = true;   // lines come from the console; false while a stream is read
    bool BATCHI = false;  // standard input is redirected: nobody can answer a prompt
    bool LOGON = false;   // lines are being copied to the log

    std::unique_ptr<TextSource> stream, nested;          // units 1 and 11
    std::unique_ptr<OutputFile> log_copy, print, cards;  // units 3, 4 and 7
    std::unique_ptr<OutputFile> log;                     // unit 80
    std::unique_ptr<RecordFile> cases, model, flow;      // units 2, 8 and 9
    int LULOG = unit::null;                              // unit that the log goes to: 80 or LUN[3]
    std::string console_line;                            // the line read from the console last
    bool output_lost = false;                            // a file that was closed could not take all its lines
    bool console_begun = false;                          // a line has been read from it
    int console_ends = 0;                                // ends of input met at the console, one after the other

    /// A name in the environment that led to no file, and what the role fell back to. Shown below the table of units.
    struct Unopened {
        std::string variable, file, fallback;
    };
    std::vector<Unopened> unopened;

    /// A person sits at the console and can answer a prompt.
    bool interactive() const { return CONINP && !BATCHI; }
    bool to_console() const { return LUREP == unit::console_out; }
};

struct Run;

/// The next line of the current input, in Latin-1, without its line end; false at the end of input.
bool read_line(Run& run, std::string_view& line);

/// A line of Latin-1 text to a unit, as UTF-8: console, print, cards or log. Column 1 of a line for the console or
/// the print unit is its carriage control: " " a line, "0" after an empty line, "1" a new page, "$" a prompt that
/// leaves the cursor behind it. Cards and log lines have none.
void write_line(Run& run, int lun, std::string_view line);

/// A card to the card unit, column 1 being a column like any other, on the console too.
void write_card(Run& run, std::string_view card);

/// Ends the present stream: a nested one returns to the outer stream, a stream to the console. False when input was
/// the console already.
bool close_stream(Run& run);

/// Copies a line that the operator typed to the log, when the log is on and lines come from the console.
void log_line(Run& run, std::string_view line);

/// Start-up opens: console and null units, and the files that the environment names. Errors leave a role on its
/// fallback.
void open_units(Run& run);

/// IOFILE: the dialogue of ULOG, one assignment. Messages 170 to 230.
void IOFILE(Run& run);
/// CONNUL: commits units 2 to 8 to disk. Message 100.
void CONNUL(Run& run);
/// LOGCTL: 1 opens the log, 2 closes it. Message 100: the log file cannot be created.
void LOGCTL(Run& run, int kind);
/// CPYLOG: copies the log to unit 3, which is the log from then on. Messages 100 and 110.
void CPYLOG(Run& run);
/// The table of units, as shown at the start and by ULOG.
void show_units(Run& run);

/// Writes out what is buffered anywhere; false when something could not be written, now or earlier.
bool flush_units(Run& run);

/// Valid UTF-8 becomes Latin-1, with an inverted question mark for a character that Latin-1 does not have. Any other
/// text is taken as Latin-1 already and returned as it stands.
std::string latin1_from_utf8(std::string_view utf8);
std::string utf8_from_latin1(std::string_view latin1);
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";  // before the first line of a text in UTF-8

}  // namespace korvane
