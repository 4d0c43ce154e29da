// The deck being written: what all its blocks share. Included within the folder only.
#pragma once
#include <string>
#include <string_view>

#include "frame/run.hpp"

namespace korvane {

/// A line of the deck: to the card unit without its trailing blanks, and with IMPR to the report, in pieces of the
/// width of the page.
void put_deck_line(Run& run, std::string_view line);

/// One block of the deck: code line and ruler when it is made, cards, end card. With IMPR the report shows them all.
class DeckBlock {
public:
    /// Loads the rows of the routine. The block may have another form, with rows of its own; ruler 0: none.
    /// Without a card nothing of the block is written.
    explicit DeckBlock(Run& run, std::string_view routine, int code_row = 1, int ruler_row = 2);

    /// Writes the code line now, of a block that says something without cards too.
    void open();
    /// The card as it stands in run.CARD.
    void card();
    void line(std::string_view text);
    void end();

private:
    Run& run_;
    std::string code_, ruler_;
    bool open_ = false;
};

}  // namespace korvane
