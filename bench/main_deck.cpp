// make_deck [SCALE]: writes the made network, ready to be solved, to standard output.
#include <cstdio>
#include <cstdlib>

#include "made_deck.hpp"

int main(int count, char** arguments) {
    const double scale = count > 1 ? std::atof(arguments[1]) : 1;
    if (!(scale > 0 && scale <= 1)) {
        std::fprintf(stderr, "usage: make_deck [SCALE], above 0 and up to 1\n");
        return 2;
    }
    const std::string deck = korvane::bench::made_deck(scale) + "EXLF NEWT FLAT\nFIM\n";
    return std::fwrite(deck.data(), 1, deck.size(), stdout) == deck.size() ? 0 : 1;
}
