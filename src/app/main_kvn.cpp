// kvn: runs a deck in-process, as korvane would with the file names in its environment, and exports its result.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <map>
#include <tuple>

#include "app/case_tool.hpp"
#include "app/code_table.hpp"
#include "app/export.hpp"
#include "casestore/directory.hpp"
#include "casestore/record_file.hpp"
#include "frame/control.hpp"
#include "network/store.hpp"
#include "platform/files.hpp"
#include "platform/host.hpp"
#include "powerflow/powerflow.hpp"

namespace korvane {

namespace {

constexpr int NORMAL = 0, FAILED = 1, WRONG_USAGE = 2;
constexpr const char* VERSION = "kvn " KORVANE_VERSION;

/// What the command line asks for.
struct Request {
    std::string deck, report, cases, cards, log, folder;
    bool quiet = false;
    bool looks_at_cases = false, checks = false;  // `kvn cases`, on the file `cases`
    int number = 0;                               // of the case to export, 0 for none
};

void tell(const std::string& text) {
    std::fprintf(stderr, "kvn: %s\n", text.c_str());
    std::fflush(stderr);
}

/// The machine as a batch run sees it: files by their names in the environment, nobody at the console.
class FrontPlatform final : public Platform {
public:
    FrontPlatform(Platform& host, const Request& request)
        : host_(host),
          quiet_(request.quiet),
          typed_deck_(request.deck == "-"),
          shows_progress_(errors_are_terminal() && (request.quiet || !output_is_terminal())) {
        names_["KVN$DADOS"] = typed_deck_ ? "" : request.deck;
        for (const auto& [variable, name] : {std::pair("KVN$PRINT", &request.report),
                                             {"KVN$SAVCA", &request.cases},
                                             {"KVN$PUNCH", &request.cards},
                                             {"KVN$TEMPO", &request.log}})
            if (!name->empty()) names_[variable] = *name;
    }

    InputKind standard_input() const override { return InputKind::redirected; }
    /// Only a deck on standard input is read from there: a deck in a file that turns to the console finds its end.
    std::optional<std::string> read_console() override { return typed_deck_ ? host_.read_console() : std::nullopt; }
    void write_console(std::string_view bytes) override {
        if (!quiet_) host_.write_console(bytes);
    }
    bool flush_console() override { return quiet_ || host_.flush_console(); }
    std::optional<std::string> environment(const std::string& name) const override {
        const auto it = names_.find(name);
        if (it == names_.end()) return host_.environment(name);
        return it->second.empty() ? std::nullopt : std::optional(it->second);
    }
    std::string working_directory() const override { return host_.working_directory(); }
    std::string program_directory() const override { return host_.program_directory(); }
    Moment now() const override { return host_.now(); }
    double elapsed_seconds() const override { return host_.elapsed_seconds(); }
    double random() override { return host_.random(); }
    int shell(const std::string& command) override { return host_.shell(command); }
    bool message_box(std::string_view) override { return false; }
    void progress(std::string_view step) override {
        if (!shows_progress_) return;
        std::fprintf(stderr, "\r\x1b[K");  // the line that the last step left
        if (!step.empty()) std::fprintf(stderr, "kvn: %.*s ...", int(step.size()), step.data());
        std::fflush(stderr);
    }

private:
    Platform& host_;
    bool quiet_, typed_deck_, shows_progress_;
    std::map<std::string, std::string> names_;  // empty: hidden from the run
};

// --- the command line

/// What is wrong with the command line, in the program's language.
std::string usage_error(const CLI::ParseError& e) {
    const std::string detail = e.what();
    if (dynamic_cast<const CLI::ExtrasError*>(&e))
        return "argumento desconhecido: " + detail.substr(detail.rfind(": ") + 2);
    if (dynamic_cast<const CLI::RequiredError*>(&e))
        return detail.find("DECK") != detail.npos   ? "falta o arquivo de dados (DECK)"
               : detail.find("FILE") != detail.npos ? "falta o arquivo de casos (FILE)"
                                                    : "falta o comando \"run\" ou \"cases\"";
    const std::string option = detail.substr(0, detail.find_first_of(": "));
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&e)) return "opção sem valor ou repetida: " + option;
    if (dynamic_cast<const CLI::ValidationError*>(&e)) return "opção com valor em branco: " + option;
    return detail;
}

/// The device names of the program, which are no files.
bool is_device(std::string name) {
    for (char& c : name) c = c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c;
    return name == "CON" || name == "NUL";
}

/// Reads the arguments. A status when there is nothing to run.
std::optional<int> read_arguments(int argc, char** argv, Request& request) {
    CLI::App app("Korvane: análise de redes elétricas em regime permanente.", "kvn");
    app.option_defaults()->group("Opções");
    app.set_version_flag("--version", VERSION, "Mostra a versão e termina");
    app.set_help_flag("-h,--help", "Mostra esta ajuda e termina")->group("Opções");
    app.require_subcommand(1);
    app.footer("Estado de saída: 0 normal, 1 erros nos dados ou na execução, 2 uso incorreto.");
    CLI::App& run = *app.add_subcommand("run", "Executa um arquivo de dados");
    run.group("Comandos");
    run.add_option("DECK", request.deck, "Arquivo de dados; \"-\" lê a entrada padrão")->type_name("")->required();
    run.set_help_flag("-h,--help", "Mostra esta ajuda e termina");
    const std::tuple<const char*, std::string*, const char*, const char*> files[] = {
        {"--report", &request.report, "FILE", "Arquivo dos relatórios pedidos com a opção FILE"},
        {"--cases", &request.cases, "FILE", "Arquivo de casos gravados"},
        {"--cards", &request.cards, "FILE", "Arquivo dos cartões gravados"},
        {"--log", &request.log, "FILE", "Arquivo da cópia do registro de linhas digitadas"},
        {"--export", &request.folder, "DIR",
         "Pasta do resultado: run.json e tabelas CSV de barras, ramos e controles"}};
    for (const auto& [name, value, kind, text] : files)
        run.add_option(name, *value, text)->type_name(kind)->check([name = std::string(name)](const std::string& v) {
            return v.empty() ? name : std::string();
        });
    CLI::App& cases = *app.add_subcommand("cases", "Lista, verifica ou exporta os casos de um arquivo");
    cases.group("Comandos");
    cases.add_option("FILE", request.cases, "Arquivo de casos gravados")->type_name("")->required();
    cases.set_help_flag("-h,--help", "Mostra esta ajuda e termina");
    cases.add_flag("--check", request.checks, "Verifica todas as cadeias e todos os casos");
    std::pair<int, std::string> exported;
    cases.add_option("--export", exported, "Número de um caso e pasta para as suas tabelas")->type_name("N DIR");
    run.add_flag("--quiet", request.quiet, "Não mostra a saída do programa no terminal");
    for (CLI::App* a : {&app, &run, &cases}) {
        a->get_formatter()->label("Usage", "Uso");
        a->get_formatter()->label("OPTIONS", "opções");
        a->get_formatter()->label("SUBCOMMAND", "COMANDO");
        a->get_formatter()->label("Positionals", "Argumentos");
        a->get_formatter()->label("REQUIRED", "(obrigatório)");
    }
    try {
        app.parse(argc, argv);
        request.looks_at_cases = cases.parsed();
        if (!request.looks_at_cases) return std::nullopt;
        const bool wanted = cases.count("--export") > 0;
        if (wanted) std::tie(request.number, request.folder) = exported;
        if (!wanted || (request.number >= 1 && request.number <= CASES && !request.folder.empty())) return std::nullopt;
        tell("uso incorreto: --export pede o número de um caso, de 1 a 99, e uma pasta (veja kvn --help)");
        return WRONG_USAGE;
    } catch (const CLI::Success& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        tell("uso incorreto: " + usage_error(e) + " (veja kvn --help)");
        return WRONG_USAGE;
    }
}

/// Finds the deck, and sees to it that the other names lead to files that the run can write and that nothing is
/// overwritten that it reads. A status when it cannot begin.
std::optional<int> prepare_files(Request& r) {
    if (r.deck != "-") {
        const auto found = existing_file(r.deck);
        if (!found) {
            tell("o arquivo de dados '" + r.deck + "' não existe ou não pode ser lido");
            return WRONG_USAGE;
        }
        r.deck = is_device(*found) ? "./" + *found : *found;
    }
    struct Output {
        const char* option;
        std::string& name;
        OutputFile::Mode mode;
    };
    const Output outputs[] = {{"--report", r.report, OutputFile::Mode::create},
                              {"--cases", r.cases, OutputFile::Mode::append},
                              {"--cards", r.cards, OutputFile::Mode::create},
                              {"--log", r.log, OutputFile::Mode::append}};
    // Each file is made here under the name as typed, so that the run finds that one and no other spelling of it.
    std::vector<const Output*> made;
    for (const Output& o : outputs) {
        if (o.name.empty() || is_device(o.name)) continue;
        if (const std::string path = new_file(o.name); file_exists(path)) {
            const Output* const before = [&]() -> const Output* {
                for (const Output* m : made)
                    if (same_file(m->name, path)) return m;
                return nullptr;
            }();
            if (before || same_file(r.deck, path)) {
                tell("uso incorreto: " + std::string(o.option) + " e " + (before ? before->option : "DECK") +
                     " são o mesmo arquivo '" + o.name + "'");
                return WRONG_USAGE;
            }
        }
        o.name = new_file(o.name);
        if (!OutputFile(o.name, o.mode).good()) {
            tell("o arquivo '" + o.name + "' de " + o.option + " não pode ser gravado");
            return FAILED;
        }
        made.push_back(&o);
    }
    if (!r.folder.empty() && !make_folder(r.folder)) {
        tell("a pasta '" + r.folder + "' de --export não pode ser criada");
        return FAILED;
    }
    return std::nullopt;
}

// --- the end of a run

/// What stopped the run, and where.
std::string failure(const Run& run, const Request& request) {
    std::string where = request.deck == "-" ? "entrada padrão" : request.deck;
    const TextSource* const stream = run.units.nested ? run.units.nested.get() : run.units.stream.get();
    if (stream) where = stream->name() + ", linha " + std::to_string(stream->line_number());
    std::string what;
    const auto& printed = run.msg.printed;
    const auto error = std::find_if(printed.rbegin(), printed.rend(), [](const auto& m) { return m.number > 0; });
    if (error != printed.rend()) {
        what = error->routine + " " + std::to_string(error->number);
        if (!error->identification.empty()) what += " (" + utf8_from_latin1(error->identification) + ")";
        what += ": " + utf8_from_latin1(error->text);
    } else {
        what = utf8_from_latin1(run.ctl.stop_text);
        what.erase(0, what.find_first_not_of(' '));
    }
    std::string code;
    for (const CodeRun& c : run.ctl.log)
        if (c.code != "FIM") code = " no código " + c.code;
    return "execução terminada com erro" + code + " (" + where + "): " + what;
}

/// How the last solution ended when it is no solution; empty when all is well.
std::string_view no_solution(const Run& run) {
    switch (run.store.sol.CONVSTAT) {
        case 2: return "limite de iterações";
        case 3: return "divergiu";
        case 4: return "sem fechamento de intercâmbio ou de potência";
        case 5: return "motor parado";
        case 6: return "falha do modelo de corrente contínua";
        default: return {};
    }
}

int run_deck(const Request& request) {
    const auto host = make_platform();
    FrontPlatform os(*host, request);
    const StorePtr store = make_store();
    const MatricesPtr matrices = make_matrices();
    Run run(os, *store, *matrices);
    equip(run);
    const char* const arguments[] = {"kvn"};
    int status = run_program(run, arguments);
    os.progress("");
    if (!flush_units(run)) {
        tell("um arquivo de saída não pôde ser gravado por inteiro");
        status = FAILED;
    } else if (status != NORMAL) {
        tell(failure(run, request));
    }
    if (const std::string_view how = no_solution(run); status == NORMAL && !how.empty())
        tell("atenção: a última solução não convergiu (" + std::string(how) + ")");
    if (!request.folder.empty())
        if (const auto path = export_run(run, request.folder, status)) {
            tell("o arquivo '" + *path + "' não pode ser gravado");
            status = FAILED;
        }
    return status;
}

/// `kvn cases`: the list, what is wrong with the file, or a case as tables.
int look_at_cases(Request& request) {
    Disk& disk = machine_disk();
    const auto path = existing_file(request.cases);
    const int file = path ? disk.open(*path, Disk::Open::for_reading) : -1;
    if (file < 0) {
        tell("o arquivo de casos '" + request.cases + "' não existe ou não pode ser lido");
        return WRONG_USAGE;
    }
    FileRecords records(disk, file, *path, CASE_RECORD, false);
    const auto print = [](const std::vector<std::string>& lines) {
        for (const std::string& line : lines) std::printf("%s\n", line.c_str());
    };
    if (!request.checks && request.number == 0) {
        const auto lines = case_list(records);
        if (lines.empty()) tell("o diretório de '" + request.cases + "' não pode ser lido: não é um arquivo de casos");
        print(lines);
        return lines.empty() ? FAILED : NORMAL;
    }
    const auto host = make_platform();
    request.cases.clear();  // the run itself needs no file
    request.quiet = true;
    FrontPlatform os(*host, request);
    const StorePtr store = make_store();
    const MatricesPtr matrices = make_matrices();
    Run run(os, *store, *matrices);
    equip(run);
    start_up(run);
    if (request.checks) {
        const auto faults = case_faults(run, records);
        print(faults);
        if (!faults.empty()) return FAILED;
        std::puts("nenhum defeito");
    }
    if (request.number == 0) return NORMAL;
    if (const std::string fault = case_restored(run, records, request.number); !fault.empty()) {
        tell("caso " + std::to_string(request.number) + ": " + fault);
        return FAILED;
    }
    if (const auto missing = export_run(run, request.folder, NORMAL)) {
        tell("o arquivo '" + *missing + "' não pode ser gravado");
        return FAILED;
    }
    return NORMAL;
}

}  // namespace
}  // namespace korvane

int main(int argc, char** argv) {
    using namespace korvane;
    Request request;
    try {
        if (const auto status = read_arguments(argc, argv, request)) return *status;
        if (request.looks_at_cases) return look_at_cases(request);
        if (const auto status = prepare_files(request)) return *status;
        return run_deck(request);
    } catch (const RunStop& stop) {
        tell(utf8_from_latin1(stop.text));
        return stop.status;
    }
}
