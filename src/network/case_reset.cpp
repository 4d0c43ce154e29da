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
    int row, none_kept;         // row of FMTROT; warning while no block of this release keeps such data
};
constexpr Part PARTS[] = {
    {"TABE"_opt, {62, 64, 75, 76}, 2, -910},
    {"CTGS"_opt, {8}, 3, -920},
    {"GRAF"_opt, {67, 68, 69, 70, 71, 72, 73, 74, 83}, 4, -930},
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
        // The blocks of these data are not there yet, so there is nothing in the store beside their slots.
        for (int code : part.codes)
            if (code) run.ctl.KNTRL[std::size_t(code)] = false;
        confirm(run, part.row);
        refuse(run, true, part.none_kept);
    }
    if (!partial) {
        RESET(run);
        confirm(run, 1);
    }
    MSGOUT(run);
    PAGWAI(run);
}

}  // namespace korvane
