// From the command line to the first code line: every stop, and what is there after a start without one.
#include <gtest/gtest.h>

#include <filesystem>

#include "frame/catalogue.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"
#include "support/paths.hpp"

namespace korvane::testing {
namespace {

std::string built(const char* type) { return read_file(std::string(BIN_DIRECTORY) + "/trov0_s." + type).value_or(""); }

/// A catalogue of its own, in the folder of the program or in one that the environment names.
SessionOptions with_catalogue(const char* folder, std::optional<std::string> formats,
                              std::optional<std::string> messages) {
    return {.prepare = [=](const TempDir& dir, FakePlatform& os) {
        std::filesystem::create_directory("program");
        std::filesystem::create_directory("elsewhere");
        if (formats) dir.write(std::string(folder) + "/trov0_s.fmt", *formats);
        if (messages) dir.write(std::string(folder) + "/trov0_s.msg", *messages);
        os.home = dir.path() + "/program";
    }};
}

TEST(StartUp, FindsTheCatalogueBesideTheProgramOrWhereTheEnvironmentSays) {
    const std::string fmt = built("fmt"), msg = built("msg");
    ASSERT_FALSE(fmt.empty());
    EXPECT_EQ(Session("FIM\n", with_catalogue("program", fmt, msg)).stop, " Termino Normal");
    for (const char* folder : {"elsewhere", "elsewhere/", "elsewhere\\"}) {
        SessionOptions options = with_catalogue("elsewhere", fmt, msg);
        options.variables["trov0_s"] = folder;
        EXPECT_EQ(Session("FIM\n", options).status, 0) << folder;
    }
    // half a catalogue beside the program sends the search to the environment for both
    SessionOptions half = with_catalogue("program", fmt, std::nullopt);
    half.variables["trov0_s"] = BIN_DIRECTORY;
    EXPECT_EQ(Session("FIM\n", half).status, 0);
}

TEST(StartUp, StopsOnAnUnusableCatalogue) {
    const std::string fmt = built("fmt"), msg = built("msg");
    CatalogueVersion other;
    other.stamp = "KVN-9999";
    const std::string stranger = Catalogue::build({{"KORVAN", {{1, "(A)"}}}}, other);
    const auto turned = [](std::string bytes, std::size_t at) {
        bytes[at] = char(bytes[at] ^ 0x40);
        return bytes;
    };
    const std::string bad_formats = " LDFORM - Erro na leitura do arquivo formatos Korvane.";
    const std::string bad_stamp = "** Arquivo korvane.fmt incompativel com esta versao **";
    const struct {
        const char* what;
        std::optional<std::string> formats, messages;
        std::string stop;
    } cases[] = {
        {"no formats", std::nullopt, msg, "** Arquivo de Formatos **"},
        {"no messages", fmt, std::nullopt, "** Arquivo de Mensagens **"},
        {"nothing", std::nullopt, std::nullopt, "** Arquivo de Formatos **"},
        {"empty formats", "", msg, bad_formats},
        {"short formats", fmt.substr(0, fmt.size() - 1), msg, bad_formats},
        {"one record of formats", fmt.substr(0, 800), msg, bad_formats},
        {"a byte of the formats turned over", turned(fmt, fmt.size() / 2), msg, bad_formats},
        {"a byte of the directory turned over", turned(fmt, 3), msg, bad_formats},
        {"empty messages", fmt, "", "ERRMSG-100"},
        {"a byte of the messages turned over", fmt, turned(msg, msg.size() / 2), "ERRMSG-100"},
        {"formats of another release", stranger, msg, bad_stamp},
        {"messages of another release", fmt, stranger, bad_stamp},
    };
    for (const auto& c : cases)
        for (const bool beside : {true, false}) {
            if (beside && (!c.formats || !c.messages)) continue;  // half a catalogue is not looked at there
            SessionOptions options = with_catalogue(beside ? "program" : "elsewhere", c.formats, c.messages);
            options.variables["trov0_s"] = "elsewhere";
            const Session s("FIM\n", options);
            EXPECT_EQ(s.stop, c.stop) << c.what;
            EXPECT_EQ(s.status, 1) << c.what;
            EXPECT_EQ(s.console(), c.stop + "\n") << "the stop is all that the operator sees";
        }
}

TEST(StartUp, StopsOnWhatThePlatformCannotAnswer) {
    const SessionOptions closed{.prepare = [](const TempDir&, FakePlatform& os) { os.input = InputKind::unknown; }};
    const Session s("FIM\n", closed);
    EXPECT_EQ(s.status, 1);
    EXPECT_EQ(s.stop, " *** Erro na verificacao da entrada\n padrao (stdin) ***");

    for (const int length : {243, 244, 245}) {  // with a slash, and 11 columns of a name: 255 is the most
        const SessionOptions deep{.variables = {{"trov0_s", BIN_DIRECTORY}},
                                  .prepare = [=](const TempDir&, FakePlatform& os) {
                                      os.home = "/" + std::string(std::size_t(length) - 1, 'x');
                                  }};
        const Session t("FIM\n", deep);
        EXPECT_EQ(t.status, length <= 243 ? 0 : 1) << length;
        EXPECT_EQ(t.stop.starts_with("Excedido o tamanho maximo para o nome dos arquivos"), length > 243) << t.stop;
    }
}

TEST(StartUp, CommandLine) {
    const auto session = [](std::vector<std::string> arguments) {
        return std::make_unique<Session>("FIM\n", SessionOptions{.arguments = std::move(arguments)});
    };
    const auto s = session({"/nproc=4", "-Irank=-3", "/IDIRE=77", "-aqvrs=Case Bus.sav", "/DRTEM=Sub/Folder",
                            "/other=1", "-", "", "plain"});
    EXPECT_EQ(s->status, 0);
    EXPECT_EQ(these(s->run.ctl.NPROC, s->run.ctl.IRANK, s->run.ctl.IDIRE), these(4, -3, 77));
    EXPECT_EQ(s->run.ctl.ARQVSA0, "Case Bus.sav");  // a path keeps its case
    EXPECT_EQ(s->run.ctl.DRTEM, "Sub/Folder");

    const auto none = session({});
    EXPECT_EQ(none->run.ctl.NPROC, 1);
    EXPECT_EQ(none->run.ctl.IRANK, 0);

    EXPECT_EQ(session(std::vector<std::string>(9, "x"))->status, 0);
    const auto many = session(std::vector<std::string>(10, "x"));  // the name of the program counts
    EXPECT_EQ(many->status, 1);
    EXPECT_EQ(many->stop, "Excedido o numero maximo de argumentos do programa.\n ARGC = 11  MAXARG = 10");

    for (const char* wrong : {"/NPROC=", "/NPROC=two", "/NPROC=2x", "-IRANK=99999999999"}) {
        const auto w = session({wrong});
        EXPECT_EQ(w->status, 1) << wrong;
        EXPECT_EQ(w->stop, std::string("Argumento invalido na linha de comando: ") + wrong);
    }
}

TEST(StartUp, TheOperatorSeesTheBannerAndTheUnits) {
    const Session s("FIM\n");
    std::size_t at = 0;
    for (const char* words : {"KORVANE", "Análise de redes elétricas", "KVN-0001", "Correio", "Página",
                              "Unidades lógicas", "deck.dat", "NUL", "print.out", "CON", "Termino Normal"}) {
        at = s.console().find(words, at);
        ASSERT_NE(at, std::string::npos) << words << " is not there, or out of order:\n" << s.console();
    }
    for (std::size_t from = 0, to; (to = s.console().find('\n', from)) != std::string::npos; from = to + 1)
        EXPECT_LE(latin1_from_utf8(s.console().substr(from, to - from)).size(), 80u);
}

TEST(StartUp, LeavesNothingBehindInTheWorkingDirectory) {
    const Session s("FIM\n", {.print_file = false});
    EXPECT_EQ(s.dir.files(), std::vector<std::string>{"deck.dat"});
}

TEST(StartUp, ReadsTheMacroFile) {
    const SessionOptions options{
        .prepare = [](const TempDir& dir, FakePlatform&) { dir.write("KVNMACRO", "@TITULO            TITU\n"); }};
    const Session s("@TITULO\nBy a macro\nFIM\n", options);
    EXPECT_EQ(s.messages(), "");
    EXPECT_EQ(s.run.TITLE.trimmed(), "By a macro");
}

TEST(StartUp, AnAbnormalEndHasStatusOne) {
    const struct {
        const char* deck;
        int status;
        const char* stop;
    } cases[] = {
        {"FIM\n", 0, " Termino Normal"}, {"fim", 0, " Termino Normal"}, {"NADA\nFIM\n", 1, nullptr},
        {"EXLF\nFIM\n", 1, nullptr},     {"TITU\n", 1, nullptr},        {"", 1, nullptr},
    };
    for (const auto& c : cases)
        for (const Via via : {Via::environment, Via::standard_input}) {
            const Session s(c.deck, {.via = via});
            EXPECT_EQ(s.status, c.status) << c.deck << ": " << s.messages();
            if (c.stop) {
                EXPECT_EQ(s.stop, c.stop);
            }
            EXPECT_TRUE(s.console().ends_with(s.stop + "\n")) << "the last words are those of the stop";
        }
}

TEST(StartUp, OutputThatIsLostMakesTheEndAbnormal) {
    const Session s("FIM\n", {.prepare = [](const TempDir&, FakePlatform& os) { os.console_works = false; }});
    EXPECT_EQ(s.status, 1);
    EXPECT_EQ(s.stop, " Termino Anormal");
}

}  // namespace
}  // namespace korvane::testing
