#include "network/dependent_rows.hpp"

#include <algorithm>
#include <vector>

#include "network/individual_generators.hpp"
#include "network/store.hpp"

namespace korvane {

static void drop_factors(Store& s) {
    if (s.fcr.n == 0) return;
    std::vector<char> remote(std::size_t(s.gen.NG) + 1);
    for (int r : rows(s.rcb.NRCB)) remote[std::size_t(s.rcb.ICB(r))] = 1;
    close_up(s, s.fcr, [&](int i) { return remote[std::size_t(s.fcr.row(i))] != 0; });
}

static void drop_held_taps(Store& s) {
    close_up(s, s.tpf, [&](int i) {
        const int type = s.branch.LTYPE(s.tpf.row(i));
        return type == 3 || type == 4;
    });
}

void settle_dependents(Run& run) {
    Store& s = run.store;
    drop_factors(s);
    drop_held_taps(s);
    if (s.gei.NGEI == 0) return;
    chain_individual_generators(s);
    update_step_up_transformers(s);
}

}  // namespace korvane
