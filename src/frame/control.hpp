// The interpreter's own state: codes done, the code being run, the title, macros, the history of typed lines.
#pragma once
#include <array>
#include <bitset>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "frame/text.hpp"

namespace korvane {

struct Run;
class TextSource;

constexpr int CODES = 228;
constexpr int FIM = 228;

/// One test that a code must pass before it runs.
struct Need {
    int slot;                 // KNTRL that must be true, 0: ask the function
    bool (*met)(const Run&);  // another condition, when slot is 0
    int refusal;              // NEXT when the test fails
};

constexpr int NO_HANDLER = 7000;  // refusal of a code that nothing in this program runs

/// One row of the table of codes.
struct CodeRow {
    int index;  // 1 to 228
    char code[5];
    std::array<Need, 4> needs{};      // in the order of the tests; refusal 0 ends them
    void (*handler)(Run&) = nullptr;  // nothing: refused with NO_HANDLER once its needs are met
    void (*sets)(Run&) = nullptr;     // KNTRL after the handler
    void (*before)(Run&) = nullptr;   // KNTRL before it
};

struct Macro {
    Text<18> name;
    int code;  // index of CODTAB
    std::vector<int> options;
};

/// What the codes of a run came to.
struct CodeRun {
    std::string code;
    int refused;  // refusal number, 0 when it ran
};

struct Control {
    std::span<const CodeRow> codes;  // the table of codes, handed to the interpreter by the program
    std::bitset<CODES + 1> KNTRL;    // the block or run of a code left something usable
    std::array<int, 3> returned{};   // counts of what a handler left, for the slots that depend on them
    int ICODE = 0, ILAST = 0, NEXT = 0;
    std::string KODLIN;      // the code line as read, 69 columns
    std::vector<int> order;  // control options of EXLF as written, at most 12
    std::vector<Macro> macros;
    std::vector<std::string> history;  // code lines typed at the console, at most 20
    int position = 0;                  // in the history, from 1; size + 1: behind the last
    std::string recall;
    int lines_missed = 0;      // reads of a code line in a row that met the end of input at the console
    std::vector<CodeRun> log;  // in the order run
    std::string macro_directory;
    std::string stop_text;  // the words that the run ended with, set by run_program

    // command line, for parallel runs
    int IRANK = 0, NPROC = 1, IDIRE = 0;
    std::string ARQVSA0, DRTEM;
    std::array<int, 4> colours{};  // CONC: colour set of the screen, without visible effect
    int colour_set = 0;
};

/// KORVAN: reads code lines and runs their handlers up to FIM. Messages: the refusals of the table of codes.
void KORVAN(Run& run);
/// SELKOD: reads and matches one code line; returns its index, 228 when input ended in error, with NERR above 0.
/// Messages 100 to 140, -100, -110.
int SELKOD(Run& run);
/// Index of a code in the table, 0 for none: four columns, upper case.
int find_code(const Run& run, std::string_view code);
/// INPTIT: reads the title. Messages 100, -100.
void INPTIT(Run& run);
/// IOCONT: the banner.
void IOCONT(Run& run);
/// INPMAC: reads macro definitions. Messages 100 to 160, -900.
void INPMAC(Run& run);
/// The macro file: in the macro directory, else in the working directory; nothing when neither holds one. The first
/// macro that is to be kept makes one in the working directory.
std::optional<std::string> macro_file(const Run& run);
/// Reads the definitions of the macro file up to its end. Its messages are printed.
void read_macro_file(Run& run, TextSource& file);

/// One record of the file of voltages that TV0+ reads back: number of 4 bytes, voltage (pu) and angle (rad) of 8.
constexpr int VOLTAGE_RECORD = 20;
constexpr std::string_view VOLTAGE_FILE = "TENSAO.TMP";
/// INPMSG: shows a line to the operator. Message 100.
void INPMSG(Run& run);
/// INPCMD: a block of system commands. Message 120.
void INPCMD(Run& run);
/// DOSCMD: a shell for the operator. Message 100.
void DOSCMD(Run& run);
/// CONC: the colour set.
void CONSET(Run& run);

/// Start-up: constants and limits, units, catalogue, macros, banner, store. Stops the run when the catalogue is not
/// usable.
void start_up(Run& run);

/// The command line of the program: run options for parallel runs. Stops on more than 10 arguments.
void read_command_line(Run& run, std::span<const char* const> arguments);

/// One run of the program from start-up to its stop; returns the exit status. Writes the stop text to the console.
int run_program(Run& run, std::span<const char* const> arguments);

}  // namespace korvane
