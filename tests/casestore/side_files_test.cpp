// The model file (ARQV with PECO) and the flow interface file (FLOW): networks that go out and come back, commands,
// bytes, damage.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "casestore/desk.hpp"
#include "casestore/side_files.hpp"
#include "support/expect.hpp"
#include "support/reference.hpp"
#include "support/rows.hpp"

namespace korvane::testing {
namespace {

// Two areas, two slacks, remote control, taps fixed and under control, a phase shifter between parallel circuits, a tap
// at the end of the higher number, shunts, an injection, load models, elements out of service.
constexpr const char* NETWORK = R"(TITU
REDE DE TESTE
DBAR
    2 L2  SUL           1020               -999  999                       1
    5 L0  CARGA CINCO   1000                                60.  20.  10.  1
    7 L1  USINA         1010      30.       -50   50     5                 1
   10 L2  NORTE         1000               -999  999                      12
   12 L0  CARGA DOZE    1000                                50.  10.      12
   15 L0  MEIO          1000                                              12
   20 D0  DESLIGADA     1000                                50.  10.      12
99999
DLIN
    2         5 1       1.   10.    4.                           80.120.
    2         5 2            12.       1.02   .9  1.1          5
    7         5 1            15.        .98                     100.
   12        10 1             9.       1.03             3.
   12        15 1       1.    8.    2.
   15         5 1 F     1.   14.
   15        10 1D      1.   14.
    5        20 1       1.   10.
99999
DARE
  1        0.     SUL
 12        0.     NORTE
99999
DCAR
BARR     5                                        A  30  20  10  60   70.
99999
DINJ
   12       10.     2.     5.    50.
99999
)";

/// What a plain solution of two networks has in common: voltages, angles and generation by bus number.
void expect_same_solution(const Store& a, Store& b) {
    map_bus_rows(b);
    int compared = 0;
    for (int k : rows(a.bus.NB)) {
        if (!a.bus.STBUS(k)) continue;
        const int m = bus_of(b, a.bus.NOINT(k));
        ASSERT_NE(m, 0) << a.bus.NOINT(k);
        ++compared;
        EXPECT_NEAR(a.bus.VOLT(k), b.bus.VOLT(m), 1e-5) << a.bus.NOINT(k);
        EXPECT_NEAR(a.bus.ANGLE(k), b.bus.ANGLE(m), 1e-5) << a.bus.NOINT(k);
        EXPECT_EQ(a.bus.BNAME(k), b.bus.BNAME(m));
        EXPECT_EQ(a.area.NAINT(a.bus.IAREA(k)), b.area.NAINT(b.bus.IAREA(m)));
    }
    EXPECT_EQ(compared, b.bus.NB);
}

/// Solved, written by the line, read back in another run by the other line, and solved again from a flat start.
void expect_round_trip(const std::string& blocks, const char* write, const char* read) {
    TempDir files;
    const std::string model = files.path() + "/m", flow = files.path() + "/f";
    files.write("m", "");
    files.write("f", "");
    const SessionOptions with{.variables = {{"KVN$PWMOD", model}, {"KVN$FWINT", flow}}};
    const std::string tight = "DCTE\nTEPA  .0001 TEPR  .0001\n99999\n";
    Session out(blocks + tight + "EXLF NEWT\n" + write + "FIM\n", with);
    ASSERT_EQ(out.status, 0) << out.messages() << out.console();
    Session back(std::string(read) + "FIM\n", with);
    ASSERT_EQ(back.status, 0) << back.messages() << back.console();
    EXPECT_EQ(back.run.TITLE, out.run.TITLE);
    EXPECT_EQ(stray_reference(back.run.store), "");
    EXPECT_EQ(wrong_address(back.run.store), "");
    EXPECT_GE(back.run.cte.TEPA, 0.01);
    expect_same_solution(out.store(), back.run.store);
    Session again(std::string(read) + tight + "EXLF NEWT FLAT INDC\nFIM\n", with);
    ASSERT_EQ(again.run.store.sol.CONVSTAT, 1) << again.console();
    expect_same_solution(out.store(), again.run.store);
}

/// The network of a run in the form of a file.
struct Streamed {
    SideHead head;
    SideWriter stream;
};
Streamed streamed(korvane::Run& run, SideForm form) {
    Streamed s;
    EXPECT_EQ(network_to_side(run, form, s.head, s.stream).message, 0);
    return s;
}

TEST(SideFiles, ANetworkComesBackAsItWasSolved) {
    constexpr const char *MODEL = "ARQV PECO INIC\nSIM\nARQV PECO GRAV\n 7\n", *FROM_MODEL = "ARQV PECO REST\n 7\n";
    expect_round_trip(NETWORK, MODEL, FROM_MODEL);
    expect_round_trip(NETWORK, "FLOW GRAV\n", "FLOW REST\n");
    for (const char* name : {"case14", "case118"}) {
        if (!reference_present(name)) GTEST_SKIP() << "no reference networks beside the checkout";
        std::string blocks = reference_deck(name, "");
        blocks.resize(blocks.rfind("FIM"));
        expect_round_trip(blocks, MODEL, FROM_MODEL);
        expect_round_trip(blocks, "FLOW GRAV\n", "FLOW REST\n");
    }
}

TEST(SideFiles, WhatTheStreamHoldsOfEveryElement) {
    Session n(std::string(NETWORK) + "FIM\n");
    ASSERT_EQ(n.status, 0) << n.messages();
    for (const SideForm form : {SideForm::model, SideForm::flow}) {
        auto [head, stream] = streamed(n.run, form);
        EXPECT_EQ(head.rows, form == SideForm::model ? 15 : 6);
        EXPECT_EQ(head_bytes(head, form).size(), std::size_t(SIDE_HEAD_BYTES));
        Session back;
        korvane::Run& run = back.start().run;
        SideReader in({stream.words().begin(), stream.words().end()});
        ASSERT_EQ(network_from_side(run, form, head_from(head_bytes(head, form)), in).message, 0);
        EXPECT_FALSE(in.short_of());
        const Store& s = run.store;
        const auto branch = [&](int from, int to, int circuit) {
            for (int l : rows(s.branch.NL))
                if (s.bus.NOINT(s.branch.NFROM(l)) == from && s.bus.NOINT(s.branch.NTO(l)) == to &&
                    s.branch.NCIR(l) == circuit)
                    return l;
            ADD_FAILURE() << from << '-' << to;
            return 0;
        };
        EXPECT_EQ(these(s.bus.NB, s.branch.NL, s.area.NAREA, s.slk.NSLK), these(6, 6, 2, 2));
        ASSERT_EQ(s.rcb.NRCB, 1);
        EXPECT_EQ(s.bus.NOINT(s.rcb.IRCB(1)), 5);
        const int line = branch(2, 5, 1), tapped = branch(2, 5, 2), shifted = branch(12, 10, 1);
        EXPECT_EQ(s.branch.LTYPE(line), 0);
        EXPECT_NEAR(s.branch.BC(line), 0.02, 1e-8);
        EXPECT_EQ(s.branch.CAPAC(line), 80);
        EXPECT_EQ(s.branch.CAPAE(line), 120);
        EXPECT_EQ(these(s.branch.CAPAC(tapped), s.branch.LTYPE(tapped), s.branch.LTYPE(shifted),
                        s.branch.LTYPE(branch(7, 5, 1))),
                  these(INFINITE_RATING, 3, 2, 1));
        EXPECT_TRUE(s.branch.OWNER(branch(5, 15, 1)) == false);  // the card has it the other way round, owned there
        ASSERT_EQ(s.phs.NPHS, 1);
        EXPECT_NEAR(s.phs.PHS(1) * DEGREES, 3, 1e-5);
        EXPECT_NEAR(1 / s.tap.TAP(s.phs.NOPHS(1)), 1.03, 1e-6);
        ASSERT_EQ(s.fld.NFLD, 1);
        EXPECT_EQ(these(s.fld.IPFLA(1), s.fld.IPFLB(1), s.fld.IQFLA(1), s.fld.IQFLB(1)), these(30, 20, 10, 60));
        EXPECT_EQ(s.sht.NSHT, 2);  // one of them of the injection
    }
}

TEST(SideFiles, Commands) {
    Desk d;
    d.run.units.model = std::make_unique<RecordFile>("MODEL.DAT", SIDE_RECORD, RecordFile::Mode::create);
    d.session.feed(NETWORK);
    const auto load = [&] {
        Session n(std::string(NETWORK) + "FIM\n");
        auto [head, stream] = streamed(n.run, SideForm::model);
        SideReader in({stream.words().begin(), stream.words().end()});
        network_from_side(d.run, SideForm::model, head, in);
        d.run.store.sol.CONVSTAT = 1;
    };
    struct Row {
        std::vector<Option> options;
        const char *lines, *messages;
    };
    const Row table[] = {
        {{"REST"_opt}, " 1\n", "CNFILE 130"},
        {{"LIST"_opt}, "", "LIPECO 100"},
        {{"ELIM"_opt}, " 1\n", "DELPEC 110"},
        {{"INIC"_opt}, "", "INPECO 120"},
        {{"INIC"_opt}, "TALVEZ\n", "INPECO 100"},
        {{"INIC"_opt}, "NAO\n", ""},
        {{"GRAV"_opt}, " 1\n", "SAVPEC 105"},
        {{"INIC"_opt}, "SIM\n", ""},
        {{"GRAV"_opt, "KORV"_opt}, " 1\n", "CNFILE 170"},
        {{"REST"_opt, "NOVO"_opt}, " 1\n", "CNFILE 170"},
        {{"ELIM"_opt}, " 1\n", "DELPEC 100"},
        {{"REST"_opt}, " 1\n", "RETPEC 100"},
        {{"GRAV"_opt}, " 3\n", ""},
        {{"GRAV"_opt}, " 3\n", "SAVPEC 120"},
        {{"GRAV"_opt, "SUBS"_opt}, " 3\n", ""},
        {{"GRAV"_opt}, "\n", ""},  // the first free one
        {{"ELIM"_opt}, " 3\n", ""},
        {{"LIST"_opt}, "", ""},
        {{"REST"_opt}, " 1\n", ""},
    };
    load();
    for (const Row& row : table) {
        std::vector<Option> options = row.options;
        options.push_back("PECO"_opt);
        options.push_back("IMPR"_opt);
        EXPECT_EQ(d.arqv(options, row.lines), row.messages) << row.lines;
        if (row.options[0].index == ("LIST"_opt).index)
            EXPECT_EQ(bool(shows(d.session.os.output, "Casos gravados .........:      1")), *row.messages == '\0');
    }
    // Each case takes as many records as it needs, until there are none.
    load();
    std::string last;
    int cases = 1;
    while (cases < 140 && (last = d.arqv({"PECO"_opt, "GRAV"_opt}, "\n")).empty()) ++cases;
    EXPECT_EQ(last, "SAVPEC 140");
    ModelDirectory directory;
    FileRecords r(machine_disk(), d.run.units.model->descriptor(), "MODEL.DAT", SIDE_RECORD, true);
    {
        const Reading scope(r);
        ASSERT_TRUE(directory.read(r));
    }
    EXPECT_EQ(cases, (MODEL_RECORDS - 1) / directory.count(1));
    // What does not fit the format is refused, and an empty network too.
    d.run.store.bus.NOINT(6) = 32768;
    rebuild_addresses(d.run);
    EXPECT_EQ(d.arqv({"PECO"_opt, "GRAV"_opt, "SUBS"_opt}, " 1\n"), "SAVPEC 150");
    load();
    d.run.store.area.NAINT(2) = 101;
    EXPECT_EQ(d.arqv({"PECO"_opt, "GRAV"_opt, "SUBS"_opt}, " 1\n"), "SAVPEC 160");
    RESET(d.run);
    d.run.store.sol.CONVSTAT = 1;
    EXPECT_EQ(d.arqv({"PECO"_opt, "GRAV"_opt, "SUBS"_opt}, " 1\n"), "SAVPEC 100");
    EXPECT_EQ(d.arqv({"GRAV"_opt}, "", exchange_flow), "GRFLOW 104");
    EXPECT_EQ(d.arqv({"REST"_opt}, "", exchange_flow), "FLWINT 104");
    d.run.units.flow = std::make_unique<RecordFile>("FLOW.DAT", SIDE_RECORD, RecordFile::Mode::create);
    EXPECT_EQ(d.arqv({"GRAV"_opt}, "", exchange_flow), "GRFLOW 100");
    EXPECT_EQ(d.arqv({"REST"_opt}, "", exchange_flow), "FLWINT 105");
    load();
    EXPECT_EQ(d.arqv({"GRAV"_opt}, "", exchange_flow), "");
    EXPECT_EQ(d.arqv({"REST"_opt}, "", exchange_flow), "");
    EXPECT_EQ(d.arqv({"REST"_opt, "GRAV"_opt}, "", exchange_flow), "");
}

TEST(SideFiles, BytesOfAModelFile) {
    Session n(std::string(NETWORK) + "FIM\n");
    auto [head, stream] = streamed(n.run, SideForm::model);
    MemoryRecords r(SIDE_RECORD);
    ASSERT_TRUE(format_model(r));
    ModelDirectory d;
    ASSERT_TRUE(d.read(r));
    const auto word = [&](int record, int at) {
        std::string bytes(SIDE_RECORD, '\0');
        EXPECT_TRUE(r.read(record, bytes.data(), SIDE_RECORD));
        std::int32_t v;
        std::memcpy(&v, bytes.data() + 4 * (at - 1), sizeof v);
        return v;
    };
    const auto real = [&](int record, int at) { return std::bit_cast<float>(word(record, at)); };
    EXPECT_EQ(these(word(1, 2), word(139, 1), word(140, 1)), these(2, 140, 0));
    ASSERT_EQ(save_model(r, d, 5, false, head, stream).message, 0);
    const int records = d.count(5);
    EXPECT_EQ(word(1, 2), 2 + records);  // head of the free chain
    EXPECT_EQ(word(1, 7), 2);            // cell 2 + n
    EXPECT_EQ(word(1, 106), records);    // cell 101 + n
    EXPECT_EQ(word(2, 1), 3);            // links
    EXPECT_EQ(word(1 + records, 1), 0);
    EXPECT_EQ(word(2, 22), 2);   // first slack, behind the title of 20 words
    EXPECT_EQ(word(2, 23), 6);   // NB
    EXPECT_EQ(word(2, 24), 12);  // 2 NL
    EXPECT_EQ(word(2, 30), 15);  // NBMAX
    // Record 3: 100 area names of 9 words fill it to word 789 and go on: the bus of area 1 is behind 900 words.
    EXPECT_EQ(word(4, 2 + 900 - 788) & 0xFFFF, 2);
    constexpr int BUSES = 900 + 50 + 100 + 100;              // areas: names, buses, interchange, tolerance
    EXPECT_EQ(word(4, 2 + BUSES - 788) & 0xFFFF, 5);         // first bus that is no slack
    constexpr int VOLTAGES = BUSES + 8 + 8 + 45 + 15;        // list, area, names, shunt
    EXPECT_FLOAT_EQ(real(4, 2 + VOLTAGES - 788 + 4), 1.0f);  // bus 5
    EXPECT_EQ(word(4, 2 + VOLTAGES - 788), 0);               // there is no bus 1
    // A case that goes gives its records back in front of the others.
    EXPECT_EQ(delete_model(r, d, 5), 0);
    EXPECT_EQ(word(1, 2), 2);
    EXPECT_EQ(word(1 + records, 1), 2 + records);
}

// Any bytes anywhere: refused or taken, and what is taken holds together.
TEST(SideFiles, Damaged) {
    Session n(std::string(NETWORK) + "FIM\n");
    for (const SideForm form : {SideForm::model, SideForm::flow}) {
        auto [head, stream] = streamed(n.run, form);
        Session back;
        korvane::Run& run = back.start().run;
        std::mt19937 random(7);
        int taken = 0;
        std::set<int> messages;
        for (int i = 0; i < 3000; ++i) {
            std::string bytes = head_bytes(head, form);
            std::vector<std::uint32_t> words(stream.words().begin(), stream.words().end());
            for (auto j = 1 + random() % 3; j > 0; --j) {
                if (random() % 2)
                    bytes[80 + random() % 140] = char(random());
                else
                    words[random() % words.size()] =
                        random() % 2 ? std::uint32_t(random() % 40) : std::uint32_t(random());
            }
            if (random() % 20 == 0) words.resize(random() % words.size());
            SideReader in(std::move(words));
            const SideFault fault = network_from_side(run, form, head_from(bytes), in);
            messages.insert(fault.message);
            taken += fault.message == 0;
            ASSERT_EQ(stray_reference(run.store), "");
            ASSERT_EQ(wrong_address(run.store), "");
            if (fault.message) ASSERT_EQ(run.store.bus.NB + run.store.area.NAREA, 0);
        }
        EXPECT_GT(taken, 300);
        for (const int message : {106, 110, 115, 155, 160, 180, 210})
            EXPECT_TRUE(messages.contains(message)) << message;
    }
}

// Links and what they take from their buses come back by the flow interface file; in the model file they are
// generation.
TEST(SideFiles, Links) {
    Session n(std::string(NETWORK) + "FIM\n");
    Store& s = n.run.store;
    for (int link = 1; link <= 2; ++link) {
        s.ldc.NINLNK(add_row(s.ldc)) = 10 * link;
        s.ldc.STUELO(link) = link == 2;  // the first one is out of service
        s.ldc.VBLNK(link) = 600;
        s.ldc.NAMLNK(link) = "ELO";
        for (int end = 0; end < 2; ++end) {
            const int b = add_row(s.dcb), c = add_row(s.cnv);
            set_row(s.dcb, b, "NDCINT", b, "IPOLE", end ? 1 : 2, "LINKDC", link, "NDGLT", 1);
            set_row(s.cnv, c, "NCVINT", c, "INTBUS", bus_of(s, end ? 12 : 7), "NDCBUS", b, "NPCNV", 4, "VVSCNV", 127.4,
                    "CTAP", 0.95, "DL", 0.3, "DMX", 1.2);
        }
        put_row(s.dcl, "NDCFR", 2 * link - 1, "NDCTO", 2 * link, "DRL", 5.5);
    }
    rebuild_addresses(n.run);
    ASSERT_EQ(s.trm.NTRM, 2);
    for (int t : rows(2)) s.trm.PLDC(t) = s.bus.NOINT(s.trm.NOLDC(t)) == 7 ? 0.2 : -0.19, s.trm.QLDC(t) = 0.1;
    for (const SideForm form : {SideForm::model, SideForm::flow}) {
        auto [head, stream] = streamed(n.run, form);
        Session back;
        korvane::Run& run = back.start().run;
        SideReader in({stream.words().begin(), stream.words().end()});
        ASSERT_EQ(network_from_side(run, form, head_from(head_bytes(head, form)), in).message, 0);
        const Store& t = run.store;
        const bool flow = form == SideForm::flow;
        map_bus_rows(run.store);
        const auto generation = [&](int number) {
            const int j = t.map.NGADR(bus_of(t, number));
            return j ? t.gen.PGEN(j) : 0;
        };
        EXPECT_NEAR(generation(7), flow ? 0.3 : 0.1, 1e-6);
        EXPECT_NEAR(generation(12), flow ? 0 : 0.19, 1e-6);
        ASSERT_EQ(t.ldc.NLDC, flow ? 1 : 0);
        if (!flow) continue;
        EXPECT_EQ(stray_reference(run.store), "");
        EXPECT_EQ(t.ldc.NINLNK(1), 20);
        EXPECT_EQ(t.ldc.NAMLNK(1).trimmed(), "ELO");
        ASSERT_EQ(t.dcb.NDCB, 2);
        EXPECT_EQ(t.dcb.NDCINT(1), 3);
        ASSERT_EQ(t.dcl.NDCL, 1);
        EXPECT_EQ(t.dcl.NDCTO(1), 2);
        EXPECT_FLOAT_EQ(float(t.dcl.DRL(1)), 5.5f);
        ASSERT_EQ(t.cnv.NCNV, 2);
        EXPECT_EQ(t.bus.NOINT(t.cnv.INTBUS(2)), 12);
        EXPECT_EQ(t.cnv.NDCBUS(2), 2);
        EXPECT_NEAR(t.cnv.VVSCNV(1), 127.4, 1e-4);
        EXPECT_NEAR(t.cnv.CTAP(1), 0.95, 1e-6);
        EXPECT_NEAR(t.cnv.DL(1), 0.3, 1e-6);
        EXPECT_NEAR(t.cnv.DMX(1), 1.2, 1e-6);
        ASSERT_EQ(t.trm.NTRM, 2);
        EXPECT_NEAR(t.trm.PLDC(1) + t.trm.PLDC(2), 0.01, 1e-6);
        // Counts and places that cannot be.
        const std::vector<std::uint32_t> sound(stream.words().begin(), stream.words().end());
        std::set<int> messages;
        for (std::size_t at = 0; at < sound.size(); ++at) {
            auto words = sound;
            words[at] = 1000;
            SideReader damaged(std::move(words));
            messages.insert(network_from_side(run, form, head, damaged).message);
        }
        for (const int message : {0, 270, 280, 290, 295, 300}) EXPECT_TRUE(messages.contains(message)) << message;
        head.links = 37;
        SideReader many(sound);
        EXPECT_EQ(network_from_side(run, form, head, many).message, 260);
    }
}

TEST(SideFiles, HeadsThatAskForTooMuch) {
    Session n(std::string(NETWORK) + "FIM\n");
    auto [sound, stream] = streamed(n.run, SideForm::model);
    struct Row {
        int SideHead::*field;
        int value, message;
    };
    for (const Row& row : {Row{&SideHead::buses, MXBUS + 1, 106}, Row{&SideHead::slack, 0, 110},
                           Row{&SideHead::rows, 0, 110}, Row{&SideHead::highest_area, SIDE_AREAS + 1, 110},
                           Row{&SideHead::taps, -1, 110}, Row{&SideHead::ends, 2 * MXLIN + 2, 150},
                           Row{&SideHead::regulated, MXGEN + 1, 160}, Row{&SideHead::taps, MXTAP + 1, 190},
                           Row{&SideHead::phases, MXPHS + 1, 220}, Row{&SideHead::slacks, MXSLK + 1, 250}}) {
        SideHead head = sound;
        head.*row.field = row.value;
        SideReader in({stream.words().begin(), stream.words().end()});
        EXPECT_EQ(network_from_side(n.run, SideForm::model, head, in).message, row.message) << row.value;
    }
}

// The two slacks stand in front of the six columns of the loads.
TEST(SideFiles, SlacksThatAreNotThere) {
    Session n(std::string(NETWORK) + "FIM\n");
    auto [head, stream] = streamed(n.run, SideForm::model);
    for (const auto& [second, message] : {std::pair{10u, 0}, std::pair{9u, 230}, std::pair{2u, 240}}) {
        std::vector<std::uint32_t> words(stream.words().begin(), stream.words().end());
        words[words.size() - 1 - std::size_t(6 * head.rows)] = 2u | second << 16;
        SideReader in(std::move(words));
        EXPECT_EQ(network_from_side(n.run, SideForm::model, head, in).message, message) << second;
    }
}

}  // namespace
}  // namespace korvane::testing
