#include "network/individual_records.hpp"

#include <bitset>

namespace korvane {

IndividualRecords::IndividualRecords(const Store& of)
    : s(of),
      load_stays_(std::size_t(s.bus.NB) + 1),
      blocks_(std::size_t(s.bsh.NBSH) + 1),
      number_(std::size_t(s.bsh.NBSH) + 1, 1) {
    for (int i : rows(s.mot.NMOT))
        if (s.mot.MOTIP(i) != 0) load_stays_[std::size_t(s.mot.NOMOT(i))] = true;
    std::vector<std::bitset<MXNUMBER + 1>> taken(blocks_.size());
    for (int i : rows(s.bshl.NBSHL))
        if (s.bshl.IDEGS(i) <= MXNUMBER) taken[std::size_t(s.bshl.IBUSH(i))].set(std::size_t(s.bshl.IDEGS(i)));
    for (int g : rows(s.bsh.NBSH)) {
        bank_[{s.bsh.NOBSH(g), s.bsh.IDCIR(g)}] = g;
        int& number = number_[std::size_t(g)];
        while (number <= MXNUMBER && taken[std::size_t(g)][std::size_t(number)]) ++number;
        blocks_[std::size_t(g)] = s.bsh.MCBSH(g) != 0 || number > MXNUMBER;
    }
}

}  // namespace korvane
