#include "network/element_selection.hpp"

#include <cmath>

#include "network/store.hpp"

namespace korvane {

namespace {

enum Kind : int { UNKNOWN = -1, NOTHING, BUS, AREA, VOLTAGE, AGGREGATOR };  // AGGREGATOR + k - 1 is aggregator k

/// A keyword with its value.
struct Term {
    int kind;
    bool given;  // its value is typed
    double value;
    int number;  // the value as a whole number

    bool blank() const { return kind == NOTHING && !given; }
};

Term term(const Text<4>& keyword, double value, bool given) {
    constexpr double most = 1e9;  // greater than every number that a table can hold
    return {BARRAR(keyword), given, value, int(std::clamp(value, -most, most) + 0.5)};
}

/// One criterion: two terms and their connector, blank, "E" or "A".
struct Criterion {
    Term first, second;
    char link;
};

/// Queues messages of the card and counts them.
struct Complaints {
    Run& run;
    int count = 0;
    void operator()(bool wrong, int message) { count += refuse(run, wrong, message); }
};

// Both connectors of two terms obey the same rules: messages blank + 0 to blank + 3.
void check_link(Complaints& say, const Criterion& c, int blank) {
    if (c.link == ' ') return say(!c.second.blank(), blank);
    say(c.link != 'E' && c.link != 'A', blank + 1);
    say(c.second.kind == NOTHING, blank + 2);
    say(!c.second.given, blank + 3);
}

// A range of what is missing or unknown has its message already.
void check_range(Complaints& say, const Criterion& c, int differ) {
    if (c.link != 'A') return;
    const bool keywords = c.first.kind > 0 && c.second.kind > 0, values = c.first.given && c.second.given;
    say(keywords && c.first.kind != c.second.kind, differ);
    say(values && c.second.number < c.first.number, differ + 1);
}

void check_fields(Complaints& say, const Criterion& a, char join, const Criterion& b) {
    say(a.first.kind == NOTHING, 701);
    say(a.first.kind == UNKNOWN, 702);
    say(!a.first.given, 703);
    say(a.first.given && a.first.number < 1, 704);
    say(a.second.kind == UNKNOWN, 705);
    say(a.second.given && a.second.number < 1, 706);
    check_link(say, a, 707);
    say(b.first.kind == UNKNOWN, 711);
    say(b.first.given && b.first.number < 1, 712);
    say(b.second.kind == UNKNOWN, 713);
    say(b.second.given && b.second.number < 1, 714);
    if (join == ' ') {
        say(!b.first.blank() || b.link != ' ' || !b.second.blank(), 715);
    } else {
        say(join != 'X' && join != 'E' && join != 'S', 716);
        say(b.first.kind == NOTHING, 717);
        say(!b.first.given, 718);
        check_link(say, b, 719);
    }
    check_range(say, a, 723);
    check_range(say, b, 725);
}

/// Positions in ascending order of their numbers, those from number a to number b. f(position) for each.
template <class Number, class F>
void walk_range(const int* order, int n, Number number, int a, int b, F f) {
    const int* const end = order + n;
    for (const int *at = std::lower_bound(order, end, a, [&](int k, int v) { return number(k) < v; });
         at != end && number(*at) <= b; ++at)
        f(*at);
}

/// Selects by one keyword on the values from a to b; a criterion that finds nothing queues its message.
class Finder {
public:
    Finder(Complaints& say, const Store& s, PositionSet& buses, PositionSet& branches)
        : say_(say), s_(s), buses_(buses), branches_(branches) {}

    void criterion(const Criterion& c) {
        if (c.link == 'A') return range(c.first, c.second);
        range(c.first, c.first);
        if (c.link == 'E') range(c.second, c.second);
    }

private:
    void range(const Term& a, const Term& b) {
        const bool one = a.number == b.number;
        found_ = false;
        switch (a.kind) {
            case BUS:
                walk_range(
                    s_.adr.NOORD.data(), s_.bus.NB, [&](int k) { return s_.bus.NOINT(k); }, a.number, b.number,
                    [&](int k) { add_bus(k); });
                return say_(!found_, one ? 801 : 802);
            case AREA:
                walk_range(
                    s_.adr.NAORD.data(), s_.area.NAREA, [&](int n) { return s_.area.NAINT(n); }, a.number, b.number,
                    [&](int n) { add_area(n); });
                return say_(!found_, one ? 811 : 812);
            case VOLTAGE: base_voltage(a.value, b.value); return say_(!found_, a.value == b.value ? 821 : 822);
            default:
                groups(a.kind - AGGREGATOR + 1, a.number, b.number);
                say_(!found_, one ? 831 : 832);
                say_(!found_, one ? 841 : 842);
        }
    }
    void add_bus(int k) {
        buses_.add(k);
        found_ = true;
    }
    void add_area(int n) {
        for (int k = s_.adr.IPAREA(n); k != 0; k = s_.adr.IAREAL(k)) add_bus(k);
    }
    void base_voltage(double a, double b) {
        std::array<bool, MXGBT + 1> inside{};
        for (int n : rows(s_.gbt.NGBT)) inside[std::size_t(n)] = a <= s_.gbt.BASET(n) && s_.gbt.BASET(n) <= b;
        for (int k : rows(s_.bus.NB))
            if (inside[std::size_t(s_.bus.NOGBT(k))]) add_bus(k);
    }
    void groups(int aggregator, int a, int b) {
        std::array<bool, MXAGROW + 1> inside{};
        bool any = false;
        for (int i : rows(s_.agr.count(aggregator))) {
            const int id = s_.agr.NIDGAG(aggregator)(i);
            any |= inside[std::size_t(i)] = a <= id && id <= b;
        }
        if (!any) return;
        for (int k : rows(s_.bus.NB))
            if (inside[s_.bus.IAGRBAR(k)(aggregator)]) add_bus(k);
        for (int l : rows(s_.branch.NL))
            if (inside[s_.branch.IAGRCIR(l)(aggregator)]) {
                branches_.add(l);
                found_ = true;
            }
    }

    Complaints& say_;
    const Store& s_;
    PositionSet &buses_, &branches_;
    bool found_ = false;
};

void combine(char join, PositionSet& into, const PositionSet& other) {
    if (join == 'E')
        for (int i : other.members()) into.add(i);
    else
        into.keep_if([&](int i) { return other.has(i) == (join == 'S'); });
}

}  // namespace

void PositionSet::clear(int n) {
    for (int i : member_) flag_[std::size_t(i)] = 0;
    member_.clear();
    if (flag_.size() <= std::size_t(n)) flag_.resize(std::size_t(n) + 1, 0);
}

const std::vector<int>& PositionSet::in_order() {
    if (!std::is_sorted(member_.begin(), member_.end())) std::sort(member_.begin(), member_.end());
    return member_;
}

SelectionFields select_buses(std::span<const int> numbers) {
    assert(!numbers.empty() && numbers.size() <= SELECTED_ONE_BY_ONE);
    constexpr Text<4> SelectionFields::*KEYWORDS[] = {&SelectionFields::keyword1, &SelectionFields::keyword2,
                                                      &SelectionFields::keyword3, &SelectionFields::keyword4};
    constexpr double SelectionFields::*VALUES[] = {&SelectionFields::value1, &SelectionFields::value2,
                                                   &SelectionFields::value3, &SelectionFields::value4};
    constexpr char SelectionFields::*LINKS[] = {nullptr, &SelectionFields::link1, &SelectionFields::join,
                                                &SelectionFields::link2};
    SelectionFields f{BLANK<4>, BLANK<4>, BLANK<4>, BLANK<4>, 0, 0, 0, 0, ' ', ' ', ' '};
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        f.*KEYWORDS[i] = std::string_view("barr");
        f.*VALUES[i] = numbers[i];
        if (i > 0) f.*LINKS[i] = 'E';
    }
    return f;
}

int BARRAR(const Text<4>& keyword) {
    if (keyword.blank()) return NOTHING;
    const std::string_view word = keyword;
    if (word == "BARR") return BUS;
    if (word == "AREA") return AREA;
    if (word == "TENS") return VOLTAGE;
    if (word == "AG10") return AGGREGATOR + MXAGR - 1;
    const bool numbered = word.substr(0, 3) == "AGR" || word.substr(0, 3) == "AG0";
    return numbered && word[3] >= '1' && word[3] <= '9' ? AGGREGATOR + (word[3] - '1') : UNKNOWN;
}

bool SELCRT(Run& run, const SelectionFields& f, const std::array<bool, 4>& given, Selection& into) {
    const Store& s = run.store;
    auto clear = [&](PositionSet& buses, PositionSet& branches) {
        buses.clear(s.bus.NB);
        branches.clear(s.branch.NL);
    };
    clear(into.buses, into.branches);
    Complaints say{run};
    const Criterion a{term(f.keyword1, f.value1, given[0]), term(f.keyword2, f.value2, given[1]), f.link1};
    const Criterion b{term(f.keyword3, f.value3, given[2]), term(f.keyword4, f.value4, given[3]), f.link2};
    check_fields(say, a, f.join, b);
    if (say.count) return false;

    Finder(say, s, into.buses, into.branches).criterion(a);
    if (f.join != ' ') {
        clear(into.other_buses, into.other_branches);
        Finder(say, s, into.other_buses, into.other_branches).criterion(b);
        combine(f.join, into.buses, into.other_buses);
        combine(f.join, into.branches, into.other_branches);
    }
    if (say.count) clear(into.buses, into.branches);
    return say.count == 0;
}

}  // namespace korvane
