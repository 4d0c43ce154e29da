// What stands at each bus besides its own row: one function for each kind of element. A kind whose data block is read
// one day adds its power here, and every report of buses has it.
#include "powerflow/load_models.hpp"
#include "reports/reports.hpp"

namespace korvane {

namespace {

using Sums = std::vector<BusElements::Sums>;
BusElements::Sums& at(Sums& sums, int k) { return sums[std::size_t(k)]; }

void add_loads(const Store& s, Sums& sums) {
    const BusLoads loads(s);
    for (int k : rows(s.bus.NB)) {
        at(sums, k).p_load = loads(k).p;
        at(sums, k).q_load = loads(k).q;
    }
}

void add_injections(const Store& s, Sums& sums) {
    for (int e : rows(s.eqv.NEQV)) at(sums, s.eqv.NOEQV(e)).injection = e;
}

/// Groups on a bus are part of its shunt, groups on a branch end count as line shunts.
void add_banks(const Store& s, Sums& sums) {
    for (int b : rows(s.bsh.NBSH)) {
        BusElements::Sums& bus = at(sums, s.bsh.NOBSH(b));
        const int l = s.bsh.IDCIR(b);
        if (l == 0)
            bus.bank += s.bsh.QBSH(b);
        else if (s.branch.STLIN(l))
            bus.line_shunt += s.bsh.QBSH(b);
    }
}

/// Automatic shunts are part of the shunt of their bus; those that stand for banks count as these.
void add_automatic_shunts(const Store& s, Sums& sums) {
    std::vector<char> of_bank(std::size_t(s.sca.NSCA) + 1);
    for (int b : rows(s.bsh.NBSH)) of_bank[std::size_t(s.bsh.IPSCA(b))] = 1;
    for (int i : rows(s.sca.NSCA))
        if (!of_bank[std::size_t(i)]) at(sums, s.sca.NBUSSCA(i)).bank += s.sca.BSCA(i);
}

void add_compensators(const Store& s, Sums& sums) {
    for (int c : rows(s.cer.NCER))
        if (s.cer.STUCER(c)) at(sums, s.cer.NBECER(c)).compensator += s.cer.QGCER(c);
}

/// A shunt at a branch end draws on its bus while it is switched in and the bus feeds that end: through the branch in
/// service, or as the one end that is left of it.
void add_line_shunts(const Store& s, Sums& sums) {
    const BranchTables& b = s.branch;
    for (int h : rows(s.shl.NSHL)) {
        const int l = s.shl.LISHL(h);
        const bool from = b.STLIN(l) || (b.STLIND(l) && !b.STLINP(l));
        const bool to = b.STLIN(l) || (b.STLINP(l) && !b.STLIND(l));
        if (from && s.shl.STSHLD(h)) at(sums, b.NFROM(l)).line_shunt += s.shl.SHLFR(h);
        if (to && s.shl.STSHLP(h)) at(sums, b.NTO(l)).line_shunt += s.shl.SHLTO(h);
    }
}

}  // namespace

// Converters and motors have no power in the store yet: their sums are 0 until their blocks are read.
BusElements::BusElements(const Store& s) : sums_(std::size_t(s.bus.NB) + 1) {
    add_loads(s, sums_);
    add_injections(s, sums_);
    add_banks(s, sums_);
    add_automatic_shunts(s, sums_);
    add_compensators(s, sums_);
    add_line_shunts(s, sums_);
}

}  // namespace korvane
