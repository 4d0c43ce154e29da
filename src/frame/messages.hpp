// Messages: a number under the name of the routine that found it. Above 0 an error, else a warning.
#pragma once
#include <array>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "frame/catalogue.hpp"

namespace korvane {

struct Run;

/// What an element number of a message means.
namespace element {
constexpr int none = 0;
constexpr int bus = 1;          // bus position
constexpr int bus_number = 11;  // external bus number
constexpr int branch = 2;       // branch position
constexpr int link = 6;         // direct-current link
constexpr int number = 9;       // a plain number
constexpr int unit = 19;        // a plain number, of a logical unit
}  // namespace element

/// A message as it was printed, for who reads the outcome of a run.
struct PrintedMessage {
    std::string routine;
    int number;
    int element;
    int type;
    std::string identification;  // what the element is: a name, a number, the ends of a branch
    std::string text;            // Latin-1
};

/// What the network tells of an element that a message names.
struct ElementName {
    bool known = false;
    int number = 0;           // external number of a bus, or of the from end of a branch
    std::string_view name{};  // its name; name of a link
    int to_number = 0;        // the other end of a branch
    std::string_view to_name{};
    int circuit = 0;
};
/// Looks up a bus position (type 1), a bus number (11), a branch position (2) or a link (6).
using NameElement = ElementName (*)(const Run&, int element, int type);

struct Messages {
    static constexpr int QUEUE = 40;
    static constexpr int TEXTS = 200, TEXT_LENGTH = 200;  // of one routine; of one message
    struct Entry {
        int number, element, type;
    };
    std::array<Entry, QUEUE> errors, warnings;
    int NERQ = 0;        // errors waiting; negative: that many were flushed
    int NWAQ = 0;        // warnings waiting
    std::string MSGROT;  // routine of what waits
    int NERR = 0;        // errors of the last flush that held any
    int NFLUSH = 0;      // flushes that held errors
    std::vector<PrintedMessage> printed;

    NameElement identify = nullptr;  // installed by the network; without it an element is its number and "?"

    Catalogue file;
    std::unordered_map<std::string, std::unordered_map<int, std::string>> texts;  // routines met so far

    bool errors_wait() const { return NERQ > 0; }
    bool any_wait() const { return NERQ > 0 || NWAQ > 0; }
};

/// MSGPUT: queues one message. A change of routine, or a full queue, flushes first.
void MSGPUT(Run& run, std::string_view routine, int number, int element = 0, int type = element::none);

/// MSGOUT: prints what waits, errors first, in the order of arrival. NERR takes the errors' count.
void MSGOUT(Run& run);

/// MSGTXT: prints one message, with what its element is, on the report unit.
void MSGTXT(Run& run, std::string_view routine, int number, int element, int type);

/// MSGFND: the text of a message, at most 200 characters; a fixed text when the file has none.
const std::string& MSGFND(Run& run, std::string_view routine, int number);

/// MSGLIN: tells the line of the stream that was read last, and the name of its file.
void MSGLIN(Run& run);

/// Queues message number of the current routine when the condition holds, and tells whether it did.
bool refuse(Run& run, bool condition, int number, int element = 0, int type = element::none);

/// INTERR: after errors. A batch run stops with status 1, a stream started at the console falls back to it, and the
/// console goes on.
void INTERR(Run& run);

/// LDFORM: FMTROT takes the rows of the routine's block, and messages of refuse() its name. A block that is missing,
/// too long or has a row index out of range stops the run.
void LDFORM(Run& run, std::string_view routine);

/// The second form: the rows of a block without touching FMTROT.
const Formats::Rows& load_rows(Run& run, std::string_view routine);

/// Ends the run: the text goes to the console, the status to who started the program. Thrown through stop_run, caught
/// in main and in the test fixture.
struct RunStop {
    int status;
    std::string text;
};
[[noreturn]] void stop_run(int status, std::string text);

}  // namespace korvane
