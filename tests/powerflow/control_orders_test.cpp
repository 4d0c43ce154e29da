// One network with every kind of control, in all orders in which a code line can name them.
#include <gtest/gtest.h>

#include "powerflow/automatic_shunts.hpp"
#include "powerflow/solver.hpp"
#include "powerflow/tap_steps.hpp"
#include "support/expect.hpp"
#include "support/fixture.hpp"

namespace korvane::testing {
namespace {

// Generator 6 meets its limit, 8 holds bus 7, the tap of 4-9 bus 9, the shunt of 14 its own bus, the shifter 6-13 its
// flow.
constexpr std::string_view DECK = R"(TITU
CASE14  14 BUSES 20 BRANCHES
DBAR
(Num)OETGb(   nome   )Gl( V)( A)( Pg)( Qg)( Qn)( Qm)(Bc  )( Pl)( Ql)( Sh)Are(Vf)
    1 L2 1Bus 1 HV     11060  0.232.4   0.   0.  10.                       1
    2 L1 1Bus 2 HV     11045 -5.  40. 42.4 -40.  50.       21.7 12.7       1
    3 L1 1Bus 3 HV     11010-13.   0. 23.4   0.  40.       94.2  19.       1
    4 L0 1Bus 4 HV     11019-10.                           47.8 -3.9       1
    5 L0 1Bus 5 HV     11020-8.8                            7.6  1.6       1
    6 L1 1Bus 6 LV     11070-14.   0. 10.0  -6.  10.       11.2  7.5       1
    7 L0 1Bus 7 ZV     11062-13.                                           1
    8 L1 1Bus 8 TV     11090-13.   0. 17.4  -6.  24.     7                 1
    9 L0 1Bus 9 LV     11056-15.                           29.5 16.6  19.  1
   10 L0 1Bus 10 LV    11051-15.                             9.  5.8       1
   11 L0 1Bus 11 LV    11057-15.                            3.5  1.8       1
   12 L0 1Bus 12 LV    11055-15.                            6.1  1.6       1
   13 L0 1Bus 13 LV    11050-15.                           13.5  5.8       1
   14 L0 1Bus 14 LV    11036-16.                           14.9   5.       1
99999
DLIN
(De )d O d(Pa )NcEP ( R% )( X% )(Mvar)(Tap)(Tmn)(Tmx)(Phs)(Bc  )(Cn)(Ce)Ns(Cq)
    1         2 1    1.938 5.917  5.28                          9999
    1         5 1    5.40322.304  4.92                          9999
    2         3 1    4.69919.797  4.38                          9999
    2         4 1    5.81117.632   3.4                          9999
    2         5 1    5.69517.388  3.46                          9999
    3         4 1    6.70117.103  1.28                          9999
    4         5 1    1.335 4.211                                9999
    4         7 1         20.912       .978                     9999
    4         9 1         55.618       .969 .9001.100         -99999    33
    5         6 1         25.202       .932                     9999
    6        11 1    9.498 19.89                                9999
    6        12 1   12.29125.581                                9999
    6        13 1    6.61513.027                                9999
    7         8 1         17.615                                9999
    7         9 1         11.001                                9999
    9        10 1    3.181  8.45                                9999
    9        14 1   12.71127.038                                9999
   10        11 1    8.20519.207                                9999
   12        13 1   22.09219.988                                9999
   13        14 1   17.09334.802                                9999
    6        13 2          20.00      1.000            1.0      9999
99999
DCTR
    6 A    13  2                -20.0   20.0 P    5.0     6 99
99999
DSCA
   14 A D 10451055            5   2.0                                         C
99999
DGER
(No ) O (Pmn ) (Pmx ) ( Fp)
    1 A     0.  332.4
    2 A     0.   140.
    3 A     0.   100.
    6 A     0.   100.
    8 A     0.   100.
99999
DGLT
(G (Vmn) (Vmx)
 1   .94  1.06
99999
DGBT
(G ( kV)
 1    1.
99999
DARE
(Ar    (Xchg)     (Nome
  1               AREA 1
99999
)";

bool off(const Session& s, std::string_view control) {
    return s.print().find("Controle " + std::string(control) + " desligado") != std::string::npos;
}

// Every control that the report does not call off is met, or stands at the limit that explains it.
void expect_controlled(Session& session, const std::string& what) {
    Run& run = session.run;
    const Store& s = run.store;
    const auto at = [&](int number) { return bus_of(s, number); };
    const auto v = [&](int number) { return s.bus.VOLT(at(number)); };
    if (!off(session, "QLIM"))
        for (int j : rows(s.gen.NG)) {
            if (s.bus.NTYPE(s.gen.NOGEN(j)) == 3) continue;
            EXPECT_LT(s.gen.QGEN(j), s.gen.QMAX(j) + run.cte.TLPR + 1e-6) << what << " generator " << j;
            EXPECT_GT(s.gen.QGEN(j), s.gen.QMIN(j) - run.cte.TLPR - 1e-6) << what << " generator " << j;
        }
    if (!off(session, "CREM") && s.bus.NTYPE(at(8)) > 0) {
        EXPECT_NEAR(v(7), 1.062, run.cte.TLVC) << what;
    }
    if (const double error = v(9) - 1.056;
        !off(session, "CTAP") && !at_explaining_limit(run, s.branch.LITRF(9), error)) {
        EXPECT_NEAR(error, 0, run.cte.TLVC) << what;
    }
    if (!off(session, "CSCA")) {
        const auto [low, high] = steps_around(s.sca, 1, s.sca.BSCA(1) + 1e-9, true);
        EXPECT_NEAR(s.sca.BSCA(1), low, 1e-6) << what << ": on a step";
        EXPECT_NEAR(v(14), 1.05, 0.005 + 0.01) << what << ": the band, and what one step moves";
        EXPECT_GT(high, 0) << what;
    }
    if (!off(session, "CPHS") && !s.phs.FLGPHS(1)) {
        EXPECT_NEAR(solved_flow(run, s.tap.NOTAP(s.phs.NOPHS(1))).pf, 0.05, run.cte.TEPA) << what;
    }
}

TEST(Controls, WorkInEveryOrder) {
    std::vector<std::string> order = {"CPHS", "CREM", "CSCA", "CTAP", "QLIM"};
    int orders = 0;
    do {
        ++orders;
        std::string line;
        for (const std::string& control : order) line += ' ' + control;
        Session s(std::string(DECK) + "EXLF FILE NEWT CPRI" + line + "\nEXLF NEWT" + line + "\nFIM\n");
        EXPECT_EQ(s.status, 0) << line << s.messages();
        EXPECT_EQ(s.run.store.sol.CONVSTAT, 1) << line << s.messages();
        EXPECT_TRUE(shows(s.print(), " + " + order.back() + ' ')) << line << ": the last one joined";
        EXPECT_FALSE(shows(s.print(), "desligado")) << line << ": one was given up\n" << s.print();
        EXPECT_EQ(s.run.store.sol.NITP, 0) << line << ": all controls at once find nothing left to do";
        expect_controlled(s, line);
    } while (std::next_permutation(order.begin(), order.end()));
    EXPECT_EQ(orders, 120);
}

}  // namespace
}  // namespace korvane::testing
