// Execution options: the table of names, their search, and the block that sets their defaults.
#include "frame/options.hpp"

#include "frame/pair_card.hpp"

namespace korvane {

namespace {

// The names hashed once, by the four characters as one number. No entry for "spar": it marks a free place.
struct NameIndex {
    static constexpr unsigned SIZE = 1024;
    std::array<std::int16_t, SIZE> at{};

    static constexpr std::uint32_t key(const char* s) {
        std::uint32_t k = 0;
        for (int i = 0; i < 4; ++i) k = k << 8 | static_cast<unsigned char>(s[i]);
        return k;
    }
    static constexpr unsigned start(std::uint32_t k) { return (k * 2654435761u) >> 22; }

    constexpr NameIndex() {
        constexpr std::uint32_t spar = key("spar");
        for (int i = 0; i < OPTIONS; ++i) {
            const std::uint32_t k = key(OPTION_NAMES[i]);
            if (k == spar) continue;
            unsigned p = start(k);
            while (at[p] != 0) p = (p + 1) % SIZE;
            at[p] = std::int16_t(i + 1);
        }
    }
    int find(std::string_view name) const {
        const std::uint32_t k = key(name.data());
        for (unsigned p = start(k); at[p] != 0; p = (p + 1) % SIZE)
            if (key(OPTION_NAMES[at[p] - 1]) == k) return at[p];
        return 0;
    }
};
constexpr NameIndex INDEX;

constexpr int LAST_DEFAULT = 352;  // the last option that may have a default

void set_default(Run& run, Card& card, int i, bool& bad_state, bool& bad_name) {
    char* const state = DOPC_CARD.value(card, i);
    char* const name = DOPC_CARD.name(card, i);
    const int option = find_option({name, 4});
    const bool known = option >= 2 && option <= LAST_DEFAULT;
    const bool on = *state == 'L' || *state == ' ';
    if (known && (on || *state == 'D')) run.opt.OPTDEF[std::size_t(option)] = on;
    if (!on && *state != 'D') {
        bad_state = true;
        mark_wrong(state, 1);
    } else {
        *state = on ? 'L' : 'D';
    }
    if (!known) {
        bad_name = true;
        mark_wrong(name, 4);
    }
}

}  // namespace

std::string_view OPTION(int index) {
    assert(1 <= index && index <= OPTIONS);
    return {OPTION_NAMES[index - 1], 4};
}

int find_option(std::string_view name) { return name.size() == 4 ? INDEX.find(name) : 0; }

void Options::reset() {
    OPTDEF.reset();
    solved.reset();
    for (Option o : {"NEWT"_opt, "RCVG"_opt, "RMON"_opt, "MFCT"_opt}) OPTDEF.set(std::size_t(o.index));
}

void INPOPT(Run& run) {
    card_detail::open_block(run, "INPOPT");
    const bool ended = each_pair_card(run, DOPC_CARD, [&](Card& card) {
        bool any = false, bad_state = false, bad_name = false;
        for (int i = 1; i <= DOPC_CARD.pairs; ++i) {
            if (blank({DOPC_CARD.name(card, i), 4})) continue;
            any = true;
            set_default(run, card, i, bad_state, bad_name);
        }
        refuse(run, bad_state, 100);
        refuse(run, !any, 105);
        refuse(run, bad_name, 110);
    });
    refuse(run, !ended, 130);
    card_detail::close_block(run);
}

}  // namespace korvane
