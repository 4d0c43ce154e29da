// Execution options: four-letter words on a code line, or set as defaults by DOPC; each is one logical.
#pragma once
#include <bitset>
#include <optional>
#include <string_view>

namespace korvane {

constexpr int OPTIONS = 354;

/// OPTION: the name of an option, four columns, index 1 to 354. Entry 1 is blank, entry 354 "+", entries "spar" are
/// free.
std::string_view OPTION(int index);

/// Index of an option that a line may name, 0 for none: four columns, upper case. "spar" is no option.
int find_option(std::string_view name);

/// One execution option, by its name: "NEWT"_opt. An unknown name does not compile.
struct Option {
    int index;
};

struct Options {
    std::bitset<OPTIONS + 1> IOPTN;   // in force for the present code
    std::bitset<OPTIONS + 1> OPTDEF;  // defaults
    std::optional<std::bitset<OPTIONS + 1>> solved;  // in force when EXLF solved the present network last

    bool operator[](Option o) const { return IOPTN[std::size_t(o.index)]; }
    void set(Option o, bool on = true) { IOPTN[std::size_t(o.index)] = on; }
    void clear(Option o) { set(o, false); }
    /// IOPTN takes the defaults.
    void restore() { IOPTN = OPTDEF; }
    /// OPTDEF as after a reset of the store: NEWT, RCVG, RMON and MFCT.
    void reset();
};

struct Run;
/// INPOPT: reads DOPC. Messages 100 to 130.
void INPOPT(Run& run);

}  // namespace korvane

#include "frame/option_names.hpp"
