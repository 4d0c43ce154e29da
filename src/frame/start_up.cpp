// From the command line to the first code line, and from the last one to the exit status.
#include <charconv>
#include <new>

#include "frame/card_text.hpp"
#include "frame/run.hpp"

namespace korvane {

void RESET(Run& run);  // of the store, which the frame does not know

namespace {

constexpr std::size_t MAXARG = 10;
constexpr std::size_t LONGEST_NAME = 255, NAME_ROOM = 11;  // of a file of the program; "trov0_s.fmt"
constexpr const char* CATALOGUE_NAME = "trov0_s";

constexpr std::string_view INPUT_UNKNOWN = " *** Erro na verificacao da entrada\n padrao (stdin) ***";
constexpr std::string_view NO_FORMATS = "** Arquivo de Formatos **";
constexpr std::string_view NO_MESSAGES = "** Arquivo de Mensagens **";
constexpr std::string_view NOT_OPENED = "Erro na abertura do arquivo:";
constexpr std::string_view BAD_FORMATS = " LDFORM - Erro na leitura do arquivo formatos Korvane.";
constexpr std::string_view BAD_MESSAGES = "ERRMSG-100";
constexpr std::string_view OTHER_VERSION = "** Arquivo korvane.fmt incompativel com esta versao **";
constexpr std::string_view OUTPUT_LOST = " *** Erro na gravacao dos arquivos de saida ***";
constexpr std::string_view NO_MEMORY = "** Memoria insuficiente **";
constexpr std::string_view NORMAL = " Termino Normal", ABNORMAL = " Termino Anormal";

[[noreturn]] void stop(std::string_view text) { stop_run(1, std::string(text)); }

// --- the catalogue

struct CatalogueFiles {
    std::string formats, messages;
    bool beside_program = false;
};

/// Beside the program when both files are there, else in the directory that the environment names.
CatalogueFiles find_catalogue(Run& run) {
    const std::string name = run.os.program_directory() + "/" + CATALOGUE_NAME;
    if (name.size() - std::string_view(CATALOGUE_NAME).size() + NAME_ROOM > LONGEST_NAME)
        stop("Excedido o tamanho maximo para o nome dos arquivos do programa, incluindo diretorio de instalacao (" +
             std::to_string(LONGEST_NAME) +
             ")\n Sugestao: Reduza o nome ou o numero de subdiretorios no caminho da arvore de diretorios onde esta' "
             "instalado o programa.");
    const auto formats = existing_file(name + ".FMT"), messages = existing_file(name + ".MSG");
    if (formats && messages) return {*formats, *messages, true};

    std::string directory = run.os.environment(CATALOGUE_NAME).value_or("");
    if (directory.empty()) return {};
    if (directory.back() != '/' && directory.back() != '\\') directory.push_back('/');
    const auto in_directory = [&](const char* type) {
        return existing_file(directory + CATALOGUE_NAME + type).value_or("");
    };
    return {in_directory(".fmt"), in_directory(".msg"), false};
}

/// Stops when a file could not be opened.
void require_open(CatalogueFault fault, const CatalogueFiles& files, const std::string& path, std::string_view text) {
    if (fault != CatalogueFault::missing) return;
    if (files.beside_program) stop(std::string(NOT_OPENED) + "\n " + latin1_from_utf8(path));
    stop(text);
}

/// Stops when a file is damaged, or made for another release.
void require_sound(CatalogueFault fault, std::string_view text) {
    switch (fault) {
        case CatalogueFault::unreadable:
        case CatalogueFault::damaged: stop(text);
        case CatalogueFault::other_stamp: stop(OTHER_VERSION);
        case CatalogueFault::missing:
        case CatalogueFault::none: break;
    }
}

void open_catalogue(Run& run) {
    const CatalogueFiles files = find_catalogue(run);
    const CatalogueFault formats = run.fmt.file.open(files.formats);
    const CatalogueFault messages = run.msg.file.open(files.messages);
    require_open(formats, files, files.formats, NO_FORMATS);
    require_open(messages, files, files.messages, NO_MESSAGES);
    require_sound(formats, BAD_FORMATS);
    require_sound(messages, BAD_MESSAGES);
    run.fmt.FMTFIX = &load_rows(run, "KORVAN");
}

// --- the command line

/// The rest of the argument behind "-NAME=" or "/NAME=", whose letters may be of either case.
std::optional<std::string_view> value_of(std::string_view argument, std::string_view name) {
    if (argument.size() < name.size() || (argument[0] != '-' && argument[0] != '/')) return std::nullopt;
    std::string head(argument.substr(0, name.size()));
    UPPER(head.data(), int(head.size()));
    if (std::string_view(head).substr(1) != name.substr(1)) return std::nullopt;
    return argument.substr(name.size());
}

int whole_number(std::string_view argument, std::string_view digits) {
    int v = 0;
    const char* const end = digits.data() + digits.size();
    const auto [at, error] = std::from_chars(digits.data(), end, v);
    if (error != std::errc() || at != end)
        stop("Argumento invalido na linha de comando: " + latin1_from_utf8(argument));
    return v;
}

// --- what the operator sees first

/// Files that the environment names and that could not be opened, so that nobody wonders where a role went.
void tell_unopened(Run& run) {
    constexpr int NOT_OPENED_ROW = 18;
    for (const Units::Unopened& file : run.units.unopened)
        print_console(run, run.fmt.rot(NOT_OPENED_ROW),
                      {file.variable, latin1_from_utf8(file.file), latin1_from_utf8(file.fallback)});
}

}  // namespace

void read_command_line(Run& run, std::span<const char* const> arguments) {
    if (arguments.size() > MAXARG)
        stop("Excedido o numero maximo de argumentos do programa.\n ARGC = " + std::to_string(arguments.size()) +
             "  MAXARG = " + std::to_string(MAXARG));
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string_view a = arguments[i];
        if (const auto rank = value_of(a, "-IRANK=")) run.ctl.IRANK = whole_number(a, *rank);
        if (const auto copies = value_of(a, "-NPROC=")) run.ctl.NPROC = whole_number(a, *copies);
        if (const auto identity = value_of(a, "-IDIRE=")) run.ctl.IDIRE = whole_number(a, *identity);
        if (const auto file = value_of(a, "-AQVRS=")) run.ctl.ARQVSA0 = *file;
        if (const auto directory = value_of(a, "-DRTEM=")) run.ctl.DRTEM = *directory;
    }
}

void start_up(Run& run) {
    run.cte.reset();
    run.opt.reset();
    run.opt.restore();
    const InputKind input = run.os.standard_input();
    if (input == InputKind::unknown) stop(INPUT_UNKNOWN);
    run.units.BATCHI = input == InputKind::redirected;
    open_units(run);
    open_catalogue(run);
    run.opt.set("80CO"_opt);
    if (const auto path = macro_file(run)) {
        TextSource macros;
        if (macros.open(*path)) read_macro_file(run, macros);
    }
    IOCONT(run);
    show_units(run);
    tell_unopened(run);
    RESET(run);
}

int run_program(Run& run, std::span<const char* const> arguments) {
    int status = 0;
    std::string& text = run.ctl.stop_text;
    try {
        read_command_line(run, arguments);
        start_up(run);
        KORVAN(run);
        status = run.msg.NERR == 0 ? 0 : 1;
        text = status == 0 ? NORMAL : ABNORMAL;
    } catch (const RunStop& s) {
        status = s.status;
        text = s.text;
    } catch (const std::bad_alloc&) {
        status = 1;
        text = NO_MEMORY;
    }
    if (!flush_units(run)) {
        run.os.write_console(OUTPUT_LOST);
        run.os.write_console("\n");
        if (status == 0) text = ABNORMAL;
        status = 1;
    }
    run.os.write_console(utf8_from_latin1(text));
    run.os.write_console("\n");
    if (!run.os.flush_console()) status = 1;
    return status;
}

}  // namespace korvane
