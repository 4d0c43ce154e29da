// DANC: a change of the load of areas (INPANC) or of selected buses (INPACL), in per cent or to a new total.
#include "network/element_selection.hpp"
#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

namespace {

/// What the three values of a card are.
enum class Meaning {
    per_cent,      // change of active load, of reactive load, of shunts
    active_total,  // FCTE: active load, MW, at constant power factor
    totals,        // VABS: active load, MW, and reactive load, Mvar
};

Meaning meaning(const Run& run) {
    if (run.opt["FCTE"_opt]) return Meaning::active_total;
    return run.opt["VABS"_opt] ? Meaning::totals : Meaning::per_cent;
}

/// Message numbers of the two forms of the block.
struct ChangeMessages {
    int changed_before;  // by another card of the block
    int unused_fcte, unused_vabs;
    int format, end;
};

/// What the two forms share: the loads behind each bus, and what a card does to a set of buses.
class LoadChange {
public:
    LoadChange(Run& of, const ChangeMessages& messages, bool all_units);

    /// Changes the loads of the buses; or queues what keeps it from that, and nothing is changed.
    void change(std::span<const int> buses, const std::array<double, 3>& value, const std::array<bool, 3>& given);
    /// The end of the block, with BPAR or BPSI.
    void share_out(ShareBalance share);

    Run& run;
    Store& s;
    const ChangeMessages messages;

private:
    struct Power {
        double p = 0, q = 0;
    };
    Power total(std::span<const int> buses) const;
    bool factor(double wanted, double total, int message, double& f);
    void scale(std::span<const int> buses, double fp, double fq, double fshunt);
    template <class F>
    void each_load(int k, F f) const {
        for (int n = first_load_[std::size_t(k)]; n; n = next_load_[std::size_t(n)]) f(n);
    }

    const bool all_units_;                     // totals count all units of an individual load, or those in operation
    std::vector<int> first_load_, next_load_;  // individual loads of a bus; next one of the same bus
};

LoadChange::LoadChange(Run& of, const ChangeMessages& numbers, bool all_units)
    : run(of), s(of.store), messages(numbers), all_units_(all_units) {
    map_bus_rows(s);
    first_load_.resize(std::size_t(s.bus.NB) + 1);
    next_load_.resize(std::size_t(s.cai.NCAI) + 1);
    for (int n = s.cai.NCAI; n >= 1; --n) {
        int& first = first_load_[std::size_t(s.cai.NOCAI(n))];
        next_load_[std::size_t(n)] = first;
        first = n;
    }
}

LoadChange::Power LoadChange::total(std::span<const int> buses) const {
    Power sum;
    for (int k : buses) {
        sum.p += s.bus.PLOAD(k);
        sum.q += s.bus.QLOAD(k);
        each_load(k, [&](int n) {
            const int units = all_units_ ? s.cai.NUNIC(n) : s.cai.NUNICOP(n);
            sum.p += s.cai.PLOADI(n) * units;
            sum.q += s.cai.QLOADI(n) * units;
        });
    }
    return sum;
}

void LoadChange::scale(std::span<const int> buses, double fp, double fq, double fshunt) {
    for (int k : buses) {
        s.bus.PLOAD(k) *= fp;
        s.bus.QLOAD(k) *= fq;
        if (const int h = s.map.NSADR(k)) s.sht.SHUNT(h) *= fshunt;
        each_load(k, [&](int n) {
            s.cai.PLOADI(n) *= fp;
            s.cai.QLOADI(n) *= fq;
        });
    }
}

/// f such that f times the total is what is wanted, pu. There is none when there is no load to scale.
bool LoadChange::factor(double wanted, double total, int message, double& f) {
    f = wanted == total ? 1 : wanted / total;
    return !refuse(run, !std::isfinite(f), message);
}

void LoadChange::change(std::span<const int> buses, const std::array<double, 3>& value,
                        const std::array<bool, 3>& given) {
    const double RBASE = run.cte.RBASE;
    if (meaning(run) == Meaning::per_cent) {
        scale(buses, 1 + value[0] / 100, 1 + value[1] / 100, 1 + value[2] / 100);
        return;
    }
    const Power sum = total(buses);
    double fp = 1, fq = 1;
    if (meaning(run) == Meaning::active_total) {
        refuse(run, given[1] || given[2], messages.unused_fcte);
        // At constant power factor the reactive load follows the active one.
        if (refuse(run, sum.p == 0, 220) || !factor(value[0] * RBASE, sum.p, 220, fp)) return;
        fq = fp;
    } else {
        refuse(run, given[2], messages.unused_vabs);
        if (refuse(run, sum.p == 0 && sum.q == 0, 220)) return;
        const bool active = factor(value[0] * RBASE, sum.p, 220, fp);
        if (!factor(value[1] * RBASE, sum.q, 230, fq) || !active) return;
    }
    scale(buses, fp, fq, 1);
}

void LoadChange::share_out(ShareBalance share) {
    const bool by_island = run.opt["BPSI"_opt];
    if (!by_island && !run.opt["BPAR"_opt]) return;
    MSGOUT(run);
    if (!run.units.interactive() && run.msg.NERR != 0) return;
    if (refuse(run, !run.ctl.KNTRL[16], 170)) return;
    auto selected = [&] {
        for (int a : rows(s.area.NAREA))
            if (!s.area.ARESEL(a)) return false;
        return true;
    };
    if (!by_island && refuse(run, !selected(), 150)) return;
    s.sol.CONVSTAT = 0;
    share(run, by_island);
    for (int r : rows(s.slk.NSLK)) s.slk.PSLK(r) = s.gen.PGEN(s.slk.NGSLK(r));
    refuse(run, s.sol.CONVSTAT != 0, 160);
}

// --- by area

struct AreaChangeCard {
    int area;
    double value1, value2, value3;
};
using AreaCard = AreaChangeCard;
using AreaEdit = Edit<AreaChangeCard>;

constexpr Field<AreaChangeCard> BY_AREA[] = {
    {1, 3, &AreaCard::area, {.key = true}},
    {5, 10, &AreaCard::value1},
    {12, 17, &AreaCard::value2},
    {19, 24, &AreaCard::value3},
};
static_assert(well_formed(BY_AREA));

void locate(LoadChange& load, AreaEdit& e, const std::vector<bool>& changed) {
    const AreaTables& t = load.s.area;
    const int number = e.card.area;
    auto say = [&](bool wrong, int message) { return refuse(load.run, wrong, message, number, element::number); };
    if (say(number < 1, 100)) return;
    e.row = LOCINT(t.NAINT, t.NAREA, number);
    if (!say(e.row == 0, 110)) say(changed[std::size_t(e.row)], load.messages.changed_before);
}

std::vector<int> buses_of(const Store& s, int area) {
    std::vector<int> buses;
    for (int k = s.adr.IPAREA(area); k; k = s.adr.IAREAL(k)) buses.push_back(k);
    return buses;
}

// --- by selection

struct SelectionChangeCard : SelectionFields {
    double value1, value2, value3;
};
using SelectionCard = SelectionChangeCard;
using SelectionEdit = Edit<SelectionChangeCard>;

constexpr Field<SelectionChangeCard> VALUES[] = {
    {51, 56, &SelectionCard::value1},
    {58, 63, &SelectionCard::value2},
    {65, 70, &SelectionCard::value3},
};
constexpr auto BY_SELECTION = with_selection(VALUES);
static_assert(well_formed(BY_SELECTION));

template <class C>
std::array<bool, 3> given(const Edit<C>& e) {
    return {e.given(&C::value1), e.given(&C::value2), e.given(&C::value3)};
}

}  // namespace

void INPANC(Run& run, ShareBalance share) {
    LoadChange load(run, {120, -190, -180, 130, 140}, false);
    std::vector<bool> changed(std::size_t(run.store.area.NAREA) + 1);
    const Block<AreaChangeCard> block = {
        .routine = "INPANC",
        .fields = BY_AREA,
        .operation = {.always = Operation::add},
        .format_error = load.messages.format,
        .end_error = load.messages.end,
        .locate = [&](Run&, AreaEdit& e) { locate(load, e, changed); },
        .apply =
            [&](Run& r, AreaEdit& e) {
                load.change(buses_of(load.s, e.row), {e.card.value1, e.card.value2, e.card.value3}, given(e));
                changed[std::size_t(e.row)] = !r.msg.errors_wait();
            },
        .finish = [&](Run&) { load.share_out(share); },
    };
    read_block(run, block);
}

void INPACL(Run& run, ShareBalance share) {
    LoadChange load(run, {100, -210, -200, 180, 190}, true);
    std::vector<bool> changed(std::size_t(run.store.bus.NB) + 1);
    Selection selection;
    const Block<SelectionChangeCard> block = {
        .routine = "INPACL",
        .fields = BY_SELECTION,
        .operation = {.always = Operation::add},
        .format_error = load.messages.format,
        .end_error = load.messages.end,
        .locate =
            [&](Run& r, SelectionEdit& e) {
                if (!SELCRT(r, e, selection)) return;
                const std::vector<int>& buses = selection.buses.in_order();
                const auto before =
                    std::find_if(buses.begin(), buses.end(), [&](int k) { return changed[std::size_t(k)]; });
                if (before != buses.end()) refuse(r, true, load.messages.changed_before, *before, element::bus);
            },
        .apply =
            [&](Run& r, SelectionEdit& e) {
                const std::vector<int>& buses = selection.buses.in_order();
                load.change(buses, {e.card.value1, e.card.value2, e.card.value3}, given(e));
                if (r.msg.errors_wait()) return;
                for (int k : buses) changed[std::size_t(k)] = true;
            },
        .finish = [&](Run&) { load.share_out(share); },
    };
    read_block(run, block);
}

}  // namespace korvane
