#include "support/fixture.hpp"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "app/code_table.hpp"
#include "support/paths.hpp"

namespace fs = std::filesystem;

namespace korvane::testing {

// --- the platform

FakePlatform::FakePlatform() : home(BIN_DIRECTORY) {}

void FakePlatform::type(std::string_view text) {
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        typed.emplace_back(text.substr(0, end));
        if (end == text.npos) break;
        text.remove_prefix(end + 1);
    }
}

std::optional<std::string> FakePlatform::read_console() {
    if (typed.empty()) return std::nullopt;
    std::string line = std::move(typed.front());
    typed.pop_front();
    return line;
}

std::optional<std::string> FakePlatform::environment(const std::string& name) const {
    const auto it = variables.find(name);
    if (it == variables.end()) return std::nullopt;
    return it->second;
}

std::string FakePlatform::working_directory() const { return fs::current_path().string(); }

double FakePlatform::random() {
    seed_ = seed_ * 1664525u + 1013904223u;
    return seed_ / 4294967296.0;
}

int FakePlatform::shell(const std::string& command) {
    commands.push_back(command);
    return on_command ? on_command(command) : 0;
}

bool FakePlatform::message_box(std::string_view text) {
    if (has_boxes) boxes.emplace_back(text);
    return has_boxes;
}

// --- files

TempDir::TempDir() : before_(fs::current_path().string()) {
    std::string name = (fs::temp_directory_path() / "korvane-test-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary directory");
    path_ = fs::canonical(name).string();
    fs::current_path(path_);
}

TempDir::~TempDir() {
    std::error_code ignored;
    fs::current_path(before_, ignored);
    fs::remove_all(path_, ignored);
}

void TempDir::write(const std::string& name, std::string_view bytes) const {
    std::ofstream out(fs::path(path_) / name, std::ios::binary);
    out.write(bytes.data(), std::streamsize(bytes.size()));
}

std::string TempDir::read(const std::string& name) const {
    std::ifstream in(fs::path(path_) / name, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
}

bool TempDir::has(const std::string& name) const { return fs::exists(fs::path(path_) / name); }

std::vector<std::string> TempDir::files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path_)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

// --- a run

Session::Session(const SessionOptions& options)
    : store_memory(make_store()),
      matrices_memory(make_matrices()),
      run(os, *store_memory, *matrices_memory),
      arguments_(options.arguments) {
    equip(run);
    os.input = options.via == Via::console ? InputKind::console : InputKind::redirected;
    os.variables = options.variables;
    if (options.print_file) os.variables.emplace("KVN$PRINT", "print.out");
    if (options.prepare) options.prepare(dir, os);
}

Session::Session(std::string_view deck, const SessionOptions& options) : Session(options) {
    if (options.via == Via::environment) {
        dir.write("deck.dat", deck);
        os.variables.emplace("KVN$DADOS", "deck.dat");
    } else {
        os.type(deck);
    }
    std::vector<const char*> words{"korvane"};
    for (const std::string& a : arguments_) words.push_back(a.c_str());
    status = run_program(run, words);
    stop = run.ctl.stop_text;
}

Session& Session::start() {
    start_up(run);
    return *this;
}

Session& Session::feed(std::string_view deck) {
    dir.write("deck.dat", deck);
    run.units.stream = std::make_unique<TextSource>();
    run.units.stream->open("deck.dat");
    run.units.name[role::input] = "deck.dat";
    run.units.LUN[role::input] = unit::stream;
    run.units.CONINP = false;
    return *this;
}

std::vector<int> Session::numbers(std::string_view routine) const {
    std::vector<int> all;
    for (const PrintedMessage& m : run.msg.printed)
        if (routine.empty() || m.routine == routine) all.push_back(m.number);
    return all;
}

std::string Session::messages() const {
    std::string all;
    for (const PrintedMessage& m : run.msg.printed)
        all += (all.empty() ? "" : ", ") + m.routine + ' ' + std::to_string(m.number);
    return all;
}

std::string Session::print() const {
    if (run.units.print) run.units.print->flush();
    return dir.read("print.out");
}

// --- a process

namespace {

// Everything that arrives from the two pipes, read as it comes so that neither side can block the other.
void drain(int out, int err, ProcessResult& result) {
    std::string* const into[] = {&result.output, &result.errors};
    const int from[] = {out, err};
    bool open[] = {true, true};
    while (open[0] || open[1]) {
        fd_set ready;
        FD_ZERO(&ready);
        for (int i : {0, 1})
            if (open[i]) FD_SET(from[i], &ready);
        if (select(std::max(out, err) + 1, &ready, nullptr, nullptr, nullptr) < 0) {
            if (errno == EINTR) continue;
            return;
        }
        for (int i : {0, 1}) {
            if (!open[i] || !FD_ISSET(from[i], &ready)) continue;
            char block[65536];
            const ssize_t n = read(from[i], block, sizeof block);
            if (n > 0) into[i]->append(block, std::size_t(n));
            if (n == 0 || (n < 0 && errno != EINTR)) open[i] = false;
        }
    }
}

ProcessResult run_binary(const char* name, const std::vector<std::string>& arguments, std::string_view standard_input,
                         const std::map<std::string, std::string>& variables) {
    static std::atomic<int> count = 0;
    const fs::path input =
        fs::temp_directory_path() / ("korvane-input-" + std::to_string(getpid()) + '-' + std::to_string(count++));
    std::ofstream(input, std::ios::binary).write(standard_input.data(), std::streamsize(standard_input.size()));

    int out[2], err[2];
    if (pipe(out) != 0 || pipe(err) != 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        dup2(open(input.c_str(), O_RDONLY), 0);
        dup2(out[1], 1);
        dup2(err[1], 2);
        for (int fd : {out[0], out[1], err[0], err[1]}) close(fd);
        const std::string program = std::string(BIN_DIRECTORY) + "/" + name;
        std::vector<char*> argv{const_cast<char*>(program.c_str())};
        for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        for (const auto& [variable, value] : variables) setenv(variable.c_str(), value.c_str(), 1);
        execv(program.c_str(), argv.data());
        _exit(126);
    }
    close(out[1]);
    close(err[1]);
    ProcessResult result{};
    drain(out[0], err[0], result);
    close(out[0]);
    close(err[0]);
    int status = 0;
    waitpid(child, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    fs::remove(input);
    return result;
}

}  // namespace

ProcessResult run_korvane(const std::vector<std::string>& arguments, std::string_view standard_input,
                          const std::map<std::string, std::string>& variables) {
    return run_binary("korvane", arguments, standard_input, variables);
}

ProcessResult run_kvn(const std::vector<std::string>& arguments, std::string_view standard_input,
                      const std::map<std::string, std::string>& variables) {
    return run_binary("kvn", arguments, standard_input, variables);
}

}  // namespace korvane::testing
