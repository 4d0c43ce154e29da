// Macros: definition in the stream and in the macro file, and their call.
#include <gtest/gtest.h>

#include <filesystem>

#include "frame/run.hpp"
#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

/// A definition card with its fields in their columns.
std::string card(const std::string& name, const std::string& code, const std::vector<std::string>& options,
                 bool more = false) {
    std::string s = name;
    s.resize(19, ' ');
    s += code;
    for (const std::string& o : options) s += " " + o;
    s.resize(74, ' ');
    return s + (more ? "+" : " ") + "\n";
}

std::vector<std::string> defined(const Run& run) {
    std::vector<std::string> all;
    for (const Macro& m : run.ctl.macros) {
        std::string s = std::string(m.name.trimmed()) + ":" + run.ctl.codes[std::size_t(m.code - 1)].code;
        for (int option : m.options) s += " " + std::string(OPTION(option));
        all.push_back(s);
    }
    return all;
}

TEST(Macros, AreDefinedWholeOrNotAtAll) {
    struct Case {
        std::string cards;
        std::vector<std::string> macros;
        std::vector<int> messages;
    };
    const std::vector<std::string> ten(10, "NEWT");
    std::string long_one = "LONGA:EXLF";
    for (int i = 0; i < 11; ++i) long_one += i < 10 ? " NEWT" : " RCVG";
    const Case cases[] = {
        {card("curto", "exlf", {"flat"}), {"CURTO:EXLF FLAT"}, {}},
        {card("LONGA", "EXLF", ten, true) + card("", "    ", {"RCVG"}), {long_one}, {}},
        {card("A", "EXLF", {"    ", "STEP"}), {"A:EXLF STEP"}, {}},
        {card("A", "ZZZZ", {"FLAT"}) + card("B", "VISO", {}), {"B:VISO"}, {100}},
        {card("A", "EXLF", {"ZZZZ", "spar"}) + card("B", "VISO", {}), {"B:VISO"}, {140, 140}},
        {card("A", "EXLF", {}, true) + card("", "    ", {"ZZZZ"}), {}, {140}},
        {card("", "EXLF", {}), {}, {110}},
        {card("A", "EXLF", {}, true), {}, {150}},
    };
    for (const Case& c : cases) {
        Session s({.via = Via::console});
        s.start().feed(c.cards + "99999\nVISO\n");
        INPMAC(s.run);
        EXPECT_EQ(defined(s.run), c.macros) << c.cards;
        EXPECT_EQ(s.numbers("INPMAC"), c.messages) << c.cards;
    }
    Session s({.via = Via::console});
    s.start().feed(card("A", "EXLF", {}));
    INPMAC(s.run);
    EXPECT_EQ(s.numbers("INPMAC"), std::vector<int>{160});
}

TEST(Macros, ACallSetsTheOptionsOfTheLastDefinitionOfItsName) {
    Session s({.via = Via::console});
    auto& run = s.start().run;
    s.feed(card("RESOLVE", "EXLF", {"FLAT"}) + card("@OUTRA", "RELA", {"RBAR"}) +
           card("RESOLVE", "EXLF", {"QLIM", "CTAP"}) + "99999\n" + "@resolve                STEP\n@OUTRA\n@RESOLV\n");
    INPMAC(run);
    EXPECT_EQ(SELKOD(run), 16);
    EXPECT_TRUE(run.opt["QLIM"_opt] && run.opt["NEWT"_opt]);
    EXPECT_FALSE(run.opt["FLAT"_opt]);
    EXPECT_FALSE(run.opt["STEP"_opt]) << "options behind the name are not read";
    EXPECT_EQ(run.ctl.order.size(), 2u);
    EXPECT_EQ(SELKOD(run), 24) << "a name may have its @ in the definition";
    EXPECT_TRUE(run.opt["RBAR"_opt]);
    EXPECT_EQ(SELKOD(run), FIM);
    EXPECT_EQ(s.numbers("SELKOD"), std::vector<int>{140});
}

TEST(Macros, OfTheFileComeBackInTheNextRun) {
    const std::string deck = "DMAC GRAV\n" + card("A\xC7\xC3O", "VISO", {"IMPR"}) + "99999\nFIM\n";
    Session first(deck, {.prepare = [](const TempDir& d, FakePlatform&) { d.write("KVNMACRO", "( macros\n99999"); }});
    EXPECT_EQ(first.status, 0) << first.messages();
    const std::string file = first.dir.read("KVNMACRO");
    EXPECT_EQ(file.substr(0, 14), "( macros\n99999") << "what stood in the file stays";

    Session second({.prepare = [&](const TempDir& d, FakePlatform&) { d.write("KVNMACRO", file); }});
    auto& run = second.start().run;
    ASSERT_EQ(run.ctl.macros.size(), 1u);
    EXPECT_EQ(defined(run), defined(first.run));
}

TEST(Macros, TheFileIsMadeForTheFirstMacroThatIsKept) {
    const std::string macro = card("A", "VISO", {"IMPR"}) + "99999\nFIM\n";
    EXPECT_FALSE(Session("DMAC\n" + macro).dir.has("KVNMACRO"));
    EXPECT_TRUE(Session("DMAC GRAV\n" + macro).dir.has("KVNMACRO"));
    const Session refused("DMAC GRAV\n" + macro, {.prepare = [](const TempDir&, FakePlatform&) {
                              std::filesystem::create_directory("KVNMACRO");
                          }});
    EXPECT_EQ(refused.numbers("INPMAC"), std::vector{-900});
    EXPECT_EQ(refused.run.ctl.macros.size(), 1u);
}

}  // namespace
}  // namespace korvane::testing
