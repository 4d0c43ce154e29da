// CASO: a new case, or a partial clear of what its options name.
#include "frame/run.hpp"
#include "network/network.hpp"
#include "network/store.hpp"

namespace korvane {

namespace {

/// Data that an option of CASO clears: the blocks that fill them, and the row that confirms it.
struct Part {
    Option option;
    std::array<int, 10> codes;  // of the table of codes, 0 ends them
    int row;                    // of FMTROT
    int none_kept;              // warning while no block of this release keeps such data, 0: there are such blocks
    void (*clear)(Store&);
};

void clear_tables(Store& s) { s.btb.NBTB = s.ftb.NFTB = s.ltb.NLTB = s.pge.n = s.qge.n = 0; }
void clear_contingencies(Store& s) { s.ctg.NCTG = s.pri.NPRI = s.chg.NCHG = s.ctv.NVAL = 0; }
void nothing(Store&) {}

constexpr Part PARTS[] = {
    {"TABE"_opt, {62, 64, 75, 76}, 2, 0, clear_tables},
    {"CTGS"_opt, {8}, 3, 0, clear_contingencies},
    {"GRAF"_opt, {67, 68, 69, 70, 71, 72, 73, 74, 83}, 4, -930, nothing},
};

void confirm(Run& run, int row) {
    if (!run.opt["IMPR"_opt]) return;
    Page page(run);
    if (!page.fits(1)) PAGHDR(run);
    if (page.wanted()) page.line(row);
}

}  // namespace

void INICAS(Run& run) {
    LDFORM(run, "INICAS");
    run.msg.NERR = 0;
    run.pag.NLINE = run.pag.LPP;
    run.pag.PAUSOK = false;
    bool partial = false;
    for (const Part& part : PARTS) {
        if (!run.opt[part.option]) continue;
        partial = true;
        part.clear(run.store);
        for (int code : part.codes)
            if (code) run.ctl.KNTRL[std::size_t(code)] = false;
        confirm(run, part.row);
        refuse(run, part.none_kept != 0, part.none_kept);
    }
    if (!partial) {
        RESET(run);
        confirm(run, 1);
    }
    MSGOUT(run);
    PAGWAI(run);
}

}  // namespace korvane
