// Sets of buses on cards of selections.
#include "cards/range_list.hpp"

#include "frame/decimal.hpp"

namespace korvane {

std::vector<Range> ranges_of(const std::vector<char>& marks) {
    std::vector<Range> ranges;
    const int n = int(marks.size()) - 1;
    for (int i = 1; i <= n; ++i) {
        if (!marks[std::size_t(i)]) continue;
        const int from = i;
        while (i < n && marks[std::size_t(i + 1)]) ++i;
        ranges.push_back({from, i});
    }
    return ranges;
}

namespace {

/// Cards of selections with one keyword: two ranges a card, then four single numbers a card.
class SelectionCards {
public:
    SelectionCards(Run& run, DeckBlock& block, std::string_view word, SelectionColumns at)
        : run_(run), block_(block), word_(word), at_(at) {}

    /// The ranges of the marked positions; number(position) is what stands for one.
    template <class Number>
    void put(std::string_view keyword, const std::vector<char>& marks, Number&& number) {
        const std::vector<Range> ranges = ranges_of(marks);
        for (const Range& r : ranges)
            if (r.from != r.to) {
                add(keyword, number(r.from), used_ ? 'E' : ' ');
                add(keyword, number(r.to), 'A');
            }
        flush();
        for (const Range& r : ranges)
            if (r.from == r.to) add(keyword, number(r.from), used_ ? 'E' : ' ');
        flush();
    }

private:
    static constexpr int ELEMENTS = 4;
    // Places of the four elements, and of the connectors before them, among the fields of a selection.
    static constexpr std::size_t KEYWORD[ELEMENTS] = {0, 3, 6, 9}, LINK[ELEMENTS] = {0, 2, 5, 8};
    static constexpr int VALUE_WIDTH = 5;

    char* column(std::size_t field) { return run_.CARD.at + at_[field] - 1; }

    void add(std::string_view keyword, int number, char link) {
        if (used_ == ELEMENTS) {
            flush();
            link = ' ';
        }
        if (used_ == 0) {
            run_.CARD = word_;
        } else {
            *column(LINK[used_]) = link;
        }
        std::memcpy(column(KEYWORD[used_]), keyword.data(), keyword.size());
        put_integer(column(KEYWORD[used_] + 1), VALUE_WIDTH, number);
        ++used_;
    }
    void flush() {
        if (used_) block_.card();
        used_ = 0;
    }

    Run& run_;
    DeckBlock& block_;
    std::string_view word_;
    SelectionColumns at_;
    std::size_t used_ = 0;  // elements on the card
};

}  // namespace

void put_marked_buses(Run& run, DeckBlock& block, const DeckScope& deck, const MarkedBuses& set, std::string_view word,
                      SelectionColumns at) {
    const Store& s = run.store;
    const std::vector<int>& buses = deck.buses();
    const std::vector<int> areas = deck.areas();
    std::vector<char> partial(std::size_t(s.area.NAREA) + 1), any(partial);  // by area
    for (int k : buses) {
        if (!set.counts[std::size_t(k)]) continue;
        const auto a = std::size_t(s.bus.IAREA(k));
        (set.marked[std::size_t(k)] ? any : partial)[a] = true;
    }
    std::vector<char> marks(areas.size() + 1);
    for (std::size_t i = 0; i < areas.size(); ++i) marks[i + 1] = !partial[std::size_t(areas[i])];
    // A run of areas that have nothing to mark says nothing.
    for (const Range& r : ranges_of(marks)) {
        const auto marked = [&](int i) { return any[std::size_t(areas[std::size_t(i - 1)])] != 0; };
        bool one = false;
        for (int i = r.from; i <= r.to; ++i) one |= marked(i);
        if (!one) std::fill(marks.begin() + r.from, marks.begin() + r.to + 1, char(0));
    }
    SelectionCards cards(run, block, word, at);
    cards.put("area", marks, [&](int i) { return s.area.NAINT(areas[std::size_t(i - 1)]); });

    marks.assign(buses.size() + 1, 0);
    for (std::size_t i = 0; i < buses.size(); ++i) {
        const int k = buses[i];
        marks[i + 1] = set.marked[std::size_t(k)] && partial[std::size_t(s.bus.IAREA(k))];
    }
    cards.put("barr", marks, [&](int i) { return s.bus.NOINT(buses[std::size_t(i - 1)]); });
}

}  // namespace korvane
