#include "casestore/side_links.hpp"

#include <algorithm>
#include <cmath>

namespace korvane {

namespace {

constexpr int LINKS_FULL = 260, BUSES_FULL = 270, LINES_FULL = 280, CONVERTERS_FULL = 290, TERMINALS_FULL = 295,
              ASTRAY = 300;

/// The converter as the file tells it, and back: the same change both ways but for the power of the bridges.
struct PerBridge {
    double volt, rating, resistance, tap, tap_min, tap_max, angle, angle_max;
};
double reciprocal(double v) { return v != 0 ? 1 / v : 0; }
PerBridge per_bridge(const ConverterTables& c, int i) {
    const double n = std::max(1, c.NPCNV(i));
    return {c.VVSCNV(i) / n,        c.SNTCNV(i) / n,        c.RCNV(i) / n,     reciprocal(c.CTAP(i)),
            reciprocal(c.CTMIN(i)), reciprocal(c.CTMAX(i)), std::cos(c.DL(i)), std::cos(c.DMX(i))};
}
void take(ConverterTables& c, int i, const PerBridge& b) {
    const double n = std::max(1, c.NPCNV(i));
    const auto angle = [](double cosine) { return std::acos(std::clamp(cosine, -1.0, 1.0)); };
    c.VVSCNV(i) = b.volt * n;
    c.SNTCNV(i) = b.rating * n;
    c.RCNV(i) = b.resistance * n;
    c.CTAP(i) = reciprocal(b.tap);
    c.CTMIN(i) = reciprocal(b.tap_min);
    c.CTMAX(i) = reciprocal(b.tap_max);
    c.DL(i) = angle(b.angle);
    c.DMX(i) = angle(b.angle_max);
}
constexpr double PerBridge::*PARTS[] = {&PerBridge::volt,  &PerBridge::rating,   &PerBridge::resistance,
                                        &PerBridge::tap,   &PerBridge::tap_min,  &PerBridge::tap_max,
                                        &PerBridge::angle, &PerBridge::angle_max};

/// One row: f(value) for every entry that is no reference, in the order of the tables.
template <class Tables, class F>
void each_value(Tables& t, int i, F f) {
    each_table(t, [&](const auto& column, auto& table) {
        using Entry = typename std::decay_t<decltype(column)>::value_type;
        if constexpr (!is_ref<Entry>::value) f(table(i));
    });
}

struct Out {
    SideWriter& to;
    void operator()(bool v) const { to.word(v); }
    void operator()(int v) const { to.word(v); }
    void operator()(double v) const { to.real(v); }
    template <int N>
    void operator()(const Text<N>& v) const {
        to.text(v.view(), N);
        to.end();
    }
};
struct In {
    SideReader& from;
    void operator()(bool& v) const { v = from.word() != 0; }
    void operator()(int& v) const { v = from.word(); }
    void operator()(double& v) const { v = from.real(); }
    template <int N>
    void operator()(Text<N>& v) const {
        v = from.text(N);
        from.end();
    }
};

/// The rows of one link.
struct LinkRows {
    std::vector<int> buses, lines, converters;
};
LinkRows rows_of(const Store& s, int link) {
    LinkRows r;
    const auto of = [&](int bus) { return bus != 0 && s.dcb.LINKDC(bus) == link; };
    for (int b : rows(s.dcb.NDCB))
        if (of(b)) r.buses.push_back(b);
    for (int l : rows(s.dcl.NDCL))
        if (of(s.dcl.NDCFR(l)) && of(s.dcl.NDCTO(l))) r.lines.push_back(l);
    for (int c : rows(s.cnv.NCNV))
        if (of(s.cnv.NDCBUS(c)) && s.bus.STBUS(s.cnv.INTBUS(c))) r.converters.push_back(c);
    return r;
}

class LinkReader {
public:
    LinkReader(Store& of, SideReader& from) : s(of), in(from) {}
    int link();
    int terminals(std::vector<TerminalPower>& powers);

private:
    void fail(int message) {
        if (message_ == 0) message_ = message;
    }
    /// The count of a family, 0 and the message when its table has no room for so many more.
    template <class Tables>
    int count(int used, int full) {
        const int n = in.word();
        if (n >= 0 && n <= limit_of<Tables>() - used) return n;
        fail(full);
        return 0;
    }
    /// A DC bus by its place in its link.
    int bus(int first, int n) {
        const int place = in.word();
        if (place >= 0 && place <= n) return place == 0 ? 0 : first + place - 1;
        fail(ASTRAY);
        return 0;
    }

    Store& s;
    SideReader& in;
    int message_ = 0;
};

int LinkReader::link() {
    if (s.ldc.NLDC == MXLDC) return LINKS_FULL;
    const int link = add_row(s.ldc);
    each_value(s.ldc, link, In{in});
    s.ldc.STUELO(link) = true;
    const int buses = count<DcBusTables>(s.dcb.NDCB, BUSES_FULL), first = s.dcb.NDCB + 1;
    for (int n = 0; n < buses; ++n) {
        const int b = add_row(s.dcb);
        each_value(s.dcb, b, In{in});
        s.dcb.LINKDC(b) = link;
        s.dcb.NDGLT(b) = 1;
    }
    for (int n = count<DcLineTables>(s.dcl.NDCL, LINES_FULL); n > 0; --n) {
        const int l = add_row(s.dcl);
        s.dcl.NDCFR(l) = bus(first, buses);
        s.dcl.NDCTO(l) = bus(first, buses);
        each_value(s.dcl, l, In{in});
        if (s.dcl.NDCFR(l) == 0 || s.dcl.NDCTO(l) == 0) fail(ASTRAY);
    }
    for (int n = count<ConverterTables>(s.cnv.NCNV, CONVERTERS_FULL); n > 0; --n) {
        const int c = add_row(s.cnv);
        s.cnv.INTBUS(c) = in.word();  // an external number
        s.cnv.NDCBUS(c) = bus(first, buses);
        s.cnv.NELBUS(c) = bus(first, buses);
        PerBridge told{};
        for (const auto part : PARTS) told.*part = in.real();
        each_value(s.cnv, c, In{in});
        take(s.cnv, c, told);
    }
    return message_;
}

int LinkReader::terminals(std::vector<TerminalPower>& powers) {
    for (int n = count<TerminalTables>(0, TERMINALS_FULL); n > 0; --n) {
        const int number = in.word();
        const double p = in.real(), q = in.real();
        powers.push_back({number, p, q});
    }
    return message_;
}

}  // namespace

int links_in_service(const Store& s) {
    int n = 0;
    for (int link : rows(s.ldc.NLDC)) n += s.ldc.STUELO(link);
    return n;
}

void write_links(const Store& s, SideWriter& out) {
    for (int link : rows(s.ldc.NLDC)) {
        if (!s.ldc.STUELO(link)) continue;
        const LinkRows r = rows_of(s, link);
        const auto place = [&](int bus) {
            return bus == 0 ? 0 : int(std::find(r.buses.begin(), r.buses.end(), bus) - r.buses.begin()) + 1;
        };
        each_value(s.ldc, link, Out{out});
        out.word(int(r.buses.size()));
        for (const int b : r.buses) each_value(s.dcb, b, Out{out});
        out.word(int(r.lines.size()));
        for (const int l : r.lines) {
            out.word(place(s.dcl.NDCFR(l)));
            out.word(place(s.dcl.NDCTO(l)));
            each_value(s.dcl, l, Out{out});
        }
        out.word(int(r.converters.size()));
        for (const int c : r.converters) {
            const int neutral = s.cnv.NELBUS(c);
            out.word(s.bus.NOINT(s.cnv.INTBUS(c)));
            out.word(place(s.cnv.NDCBUS(c)));
            out.word(neutral != 0 && s.dcb.LINKDC(neutral) == link ? place(neutral) : 0);
            const PerBridge told = per_bridge(s.cnv, c);
            for (const auto part : PARTS) out.real(told.*part);
            each_value(s.cnv, c, Out{out});
        }
    }
    std::vector<int> terminals;
    for (int t : rows(s.trm.NTRM))
        if (s.bus.STBUS(s.trm.NOLDC(t))) terminals.push_back(t);
    out.word(int(terminals.size()));
    for (const int t : terminals) {
        out.word(s.bus.NOINT(s.trm.NOLDC(t)));
        out.real(s.trm.PLDC(t));
        out.real(s.trm.QLDC(t));
    }
}

int read_links(Store& s, SideReader& in, int links, std::vector<TerminalPower>& powers) {
    if (links < 0 || links > MXLDC) return LINKS_FULL;
    LinkReader reader(s, in);
    for (int n = 0; n < links; ++n)
        if (const int message = reader.link()) return message;
    return reader.terminals(powers);
}

}  // namespace korvane
