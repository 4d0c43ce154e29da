// Valid decks made at random, that use every field of every block: what readers and the deck writer are tested with.
#pragma once
#include <string>

namespace korvane::testing {

/// Whether default options and constants are among the blocks.
enum class Settings { all, none };

/// A deck of a title and data blocks, without FIM: 20 to 60 buses with all that may stand at them. The same seed gives
/// the same deck. Every number on its cards fits their columns, and no card is refused.
std::string random_deck(unsigned seed, Settings settings = Settings::all);

/// Blocks behind random_deck of the same seed that remove many of its buses and branches, change some, and add buses
/// anew under numbers that have become free.
std::string random_deletions(unsigned seed);

}  // namespace korvane::testing
