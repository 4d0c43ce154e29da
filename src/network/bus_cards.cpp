// How buses show as cards of DBAR: to the reader of a card that changes one, and to the deck writer.
#include "network/bus_card.hpp"
#include "network/card_forms.hpp"
#include "network/individual_records.hpp"

namespace korvane {

BusCard bus_card(const Run& run, int k) {
    const Store& s = run.store;
    const BusTables& b = s.bus;
    const int g = s.map.NGADR(k), h = s.map.NSADR(k), r = s.map.NCADR(k);
    BusCard c{};
    c.number = b.NOINT(k);
    c.state = b.STBUS(k) ? 'L' : 'D';
    c.type = std::abs(IBTYP(b.NTYPE(k)));
    c.base_group = s.gbt.GBTEN(b.NOGBT(k));
    c.name = b.BNAME(k);
    c.limit_group = s.glt.GLTEN(b.NOGLT(k));
    c.volt = b.VOLT(k);
    c.angle = b.ANGLE(k);
    if (g) {
        c.pgen = s.gen.PGEN(g);
        c.qgen = c.type == 3 ? s.gen.VGEN(g) : s.gen.QGEN(g);
        c.qmin = s.gen.QMNO(g);
        c.qmax = s.gen.QMXO(g);
    }
    c.control = r ? s.rcb.IRCB(r).at : c.number;
    c.pload = b.PLOAD(k);
    c.qload = b.QLOAD(k);
    c.shunt = h ? s.sht.SHUNT(h) : 0.0;
    c.area = s.area.NAINT(b.IAREA(k));
    c.fvolt = b.FVOLT(k);
    c.midpoint = b.IBMIDPOINT(k);
    show_aggregators(s, b.IAGRBAR(k), c.aggregator);
    return c;
}

namespace {

using C = BusCard;

/// What the deck writer prints: what the bus is to hold rather than where the last solution left it, and neither loads
/// nor shunts when those go out as individual records.
class DeckBuses {
public:
    explicit DeckBuses(Run& run)
        : printer_(run, "INPBUS", DBAR, {&C::state, &C::volt, &C::area, &C::fvolt}, Implied::whole),
          generation_(printer_.of({&C::pgen, &C::qgen})),
          limits_(printer_.of({&C::qmin, &C::qmax})),
          held_(std::size_t(run.store.bus.NB) + 1, NOTHING) {
        const Store& s = run.store;
        const bool solved = run.opt["POPE"_opt];
        // The later of these wins.
        for (int n : rows(s.cer.NCER)) held(s.cer.NVKCER(n)) = s.cer.VCER(n);
        for (int t : rows(solved ? 0 : s.tap.NTAP)) {
            const int type = s.branch.LTYPE(s.tap.NOTAP(t));
            if (type == 3 || type == 4) held(std::abs(s.tap.KBUS(t).at)) = s.tap.VBUS(t);
        }
        for (int r : rows(solved ? 0 : s.rcb.NRCB)) held(s.rcb.IRCB(r)) = s.rcb.VRCB(r);
        map_bus_rows(run.store);
        if (run.opt["INDV"_opt]) individual_.emplace(s);
    }

    void show(Run& run, int k) const {
        const Shown shown = card(run, k);
        printer_.show(run, shown.card, shown.keep);
    }
    void list(Run& run, int k, std::string& text) const {
        constexpr int OPERATION = 6;
        const Shown shown = card(run, k);
        printer_.list(text, shown.card, OPERATION, shown.keep);
    }

private:
    struct Shown {
        BusCard card;
        card_detail::FieldSet keep;
    };

    double& held(int k) { return held_[std::size_t(k)]; }

    Shown card(const Run& run, int k) const {
        const Store& s = run.store;
        const bool solved = run.opt["POPE"_opt];
        const int g = s.map.NGADR(k);
        Shown shown{bus_card(run, k), 0};
        BusCard& c = shown.card;
        if (const double v = held_[std::size_t(k)]; v != NOTHING) c.volt = v;
        if (g) shown.keep = generation_ | (c.type != 0 ? limits_ : 0);
        if (g && c.type == 0) c.qmin = c.qmax = 0;
        if (g && c.type == 3)  // min before max: limits may stand the wrong way round until their cards come
            c.volt = std::max(std::min(c.volt, s.glt.VMAX(s.bus.NOGLT(k))), s.glt.VMIN(s.bus.NOGLT(k)));
        if (g && (c.type == 1 || c.type == 2) && !solved) c.volt = s.gen.VGEN(g);
        if (individual_ && !individual_->load_stays(k)) c.pload = c.qload = 0;
        if (individual_ && !individual_->shunt_stays(k)) c.shunt = 0;
        const int r = s.map.NCADR(k);  // outside the block the list holds rows, not numbers
        c.control = r ? s.bus.NOINT(s.rcb.IRCB(r)) : 0;
        return shown;
    }

    static constexpr double NOTHING = -1;  // no control holds the voltage of the bus

    CardPrinter<BusCard> printer_;
    card_detail::FieldSet generation_, limits_;
    std::vector<double> held_;  // by bus, pu
    std::optional<IndividualRecords> individual_;
};

}  // namespace

CardForm bus_cards(Run& run) {
    return [buses = DeckBuses(run)](Run& r, int k) { buses.show(r, k); };
}

ListForm bus_lists(Run& run) {
    return [buses = DeckBuses(run)](Run& r, int k, std::string& text) { buses.list(r, k, text); };
}

}  // namespace korvane
