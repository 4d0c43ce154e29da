// What every test shares: a platform that answers from memory, a temporary working directory, and a whole run of the
// program on a deck that stands in a string.
//
//     const Session s("TITU\nTwo buses\nDBAR\n...\n99999\nFIM\n");
//     EXPECT_EQ(s.status, 0);
//     EXPECT_EQ(s.numbers("INPBUS"), (std::vector{310, -900}));
//     EXPECT_EQ(s.run.store.bus.NB, 2);
#pragma once
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "frame/run.hpp"
#include "network/store.hpp"
#include "powerflow/powerflow.hpp"

namespace korvane::testing {

/// A platform without an operating system: input and environment are given, output and shell commands are kept.
class FakePlatform : public Platform {
public:
    InputKind input = InputKind::redirected;
    std::deque<std::string> typed;                 // lines of standard input that are still to come
    std::string output;                            // what went to the console, UTF-8
    std::map<std::string, std::string> variables;  // the environment, nothing else in it
    std::string home;                              // program directory; at first where the catalogue was built
    Moment clock{2001, 2, 3, 4, 5, 6};
    double elapsed = 0;
    std::vector<std::string> commands;                  // given to the shell
    std::function<int(const std::string&)> on_command;  // what the shell does; nothing: 0
    bool has_boxes = false;
    std::vector<std::string> boxes;  // shown in message boxes
    bool console_works = true;       // false: standard output takes nothing more

    FakePlatform();
    /// Splits a text into lines that will be typed.
    void type(std::string_view text);

    InputKind standard_input() const override { return input; }
    std::optional<std::string> read_console() override;
    void write_console(std::string_view bytes) override { output.append(bytes); }
    bool flush_console() override { return console_works; }
    std::optional<std::string> environment(const std::string& name) const override;
    std::string working_directory() const override;
    std::string program_directory() const override { return home; }
    Moment now() const override { return clock; }
    double elapsed_seconds() const override { return elapsed; }
    double random() override;
    int shell(const std::string& command) override;
    bool message_box(std::string_view text) override;

private:
    unsigned seed_ = 1;
};

/// A directory of its own that is the working directory while this object lives, and is removed with it.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return path_; }
    void write(const std::string& name, std::string_view bytes) const;
    /// The bytes of a file, empty when there is none.
    std::string read(const std::string& name) const;
    bool has(const std::string& name) const;
    /// Names of its files, in order.
    std::vector<std::string> files() const;

private:
    std::string path_, before_;
};

/// How a deck reaches the program.
enum class Via {
    environment,     // KVN$DADOS names it, standard input is redirected: a batch run
    standard_input,  // redirected standard input: console input that nobody can answer
    console,         // typed by a person
};

struct SessionOptions {
    Via via = Via::environment;
    bool print_file = true;                   // KVN$PRINT names a file, so "FILE" reports can be read in print()
    std::vector<std::string> arguments = {};  // behind the program name
    std::map<std::string, std::string> variables = {};
    /// Last touches before the run: files in the directory, clock, ...
    std::function<void(const TempDir&, FakePlatform&)> prepare = {};
};

/// One run of the program in its own directory, with its own platform and store. Members stay for inspection.
class Session {
public:
    TempDir dir;
    FakePlatform os;
    StorePtr store_memory;
    MatricesPtr matrices_memory;
    Run run;
    int status = -1;   // exit status
    std::string stop;  // text of the stop, UTF-8

    /// Ready, but nothing has run: call start() or run_program.
    explicit Session(const SessionOptions& options = {});
    /// Runs the whole program on the deck.
    explicit Session(std::string_view deck, const SessionOptions& options = {});

    /// Start-up without the loop: units, catalogue and store are ready, routines can be called one by one.
    Session& start();
    /// The lines become the input stream of routines that are called after start().
    Session& feed(std::string_view deck);

    const Store& store() const { return run.store; }
    /// Numbers of the messages printed by a routine, in their order; of all routines when the name is empty.
    std::vector<int> numbers(std::string_view routine = "") const;
    /// All messages printed, as "INPBUS 310, DLIN -900": what a failed test should show.
    std::string messages() const;
    const std::string& console() const { return os.output; }
    /// What went to the print file, UTF-8.
    std::string print() const;

private:
    std::vector<std::string> arguments_;
};

/// A run of a program itself: standard input from a string, environment added to this one's.
struct ProcessResult {
    int status;  // exit status; 128 + signal when it was killed
    std::string output, errors;
};
ProcessResult run_korvane(const std::vector<std::string>& arguments, std::string_view standard_input,
                          const std::map<std::string, std::string>& variables = {});
ProcessResult run_kvn(const std::vector<std::string>& arguments, std::string_view standard_input = "",
                      const std::map<std::string, std::string>& variables = {});

}  // namespace korvane::testing
