// The interpreter: one code line after the other, each tested for what it needs and handed to its handler.
#include "frame/run.hpp"

namespace korvane {

namespace {

/// Refusal number of the first need that does not hold, 0 when all do.
int first_refusal(const Run& run, const CodeRow& row) {
    for (const Need& need : row.needs) {
        if (need.refusal == 0) break;
        if (need.slot ? !run.ctl.KNTRL[std::size_t(need.slot)] : !need.met(run)) return need.refusal;
    }
    return row.handler ? 0 : NO_HANDLER;
}

/// Runs the code of the line; returns its refusal number, 0 when it ran.
int run_code(Run& run, const CodeRow& row) {
    const int refusal = first_refusal(run, row);
    if (refusal == 0) {
        run.ctl.returned = {};
        if (row.before) row.before(run);
        row.handler(run);
        if (row.sets) row.sets(run);
    }
    return refusal;
}

/// Whether FIM ends the run here; else it ends the stream that it stands in.
bool ends_run(const Run& run) {
    const Units& u = run.units;
    return u.CONINP || (!u.nested && u.BATCHI && run.ctl.NEXT == 0);
}

}  // namespace

int find_code(const Run& run, std::string_view code) {
    for (const CodeRow& row : run.ctl.codes)
        if (code == std::string_view(row.code, 4)) return row.index;
    return 0;
}

void KORVAN(Run& run) {
    Control& c = run.ctl;
    int errors = 0;  // of the last code that was not FIM: they decide how the run is said to have ended
    for (;;) {
        c.ICODE = SELKOD(run);
        MSGOUT(run);
        const CodeRow& row = c.codes[std::size_t(c.ICODE - 1)];
        if (c.ICODE == FIM) {
            const bool typed = run.msg.NERR == 0;
            if (typed) c.log.push_back({"FIM", 0});
            if (ends_run(run)) {
                if (typed) run.msg.NERR = errors;
                CONNUL(run);
                return;
            }
            INTERR(run);
        } else {
            // The entry is there before the handler runs, so that a code that stops the run is told too.
            const std::size_t entry = c.log.size();
            c.log.push_back({std::string(row.code, 4), 0});
            run.os.progress(c.log[entry].code);
            while (c.log[entry].code.back() == ' ') c.log[entry].code.pop_back();
            if (const int refusal = run_code(run, row)) {
                c.NEXT = refusal;
                c.log[entry].refused = refusal;
                MSGPUT(run, "KORVAN", refusal);
                MSGOUT(run);
                INTERR(run);
            }
            errors = run.msg.NERR;
            c.ILAST = c.ICODE;
        }
        CONNUL(run);
    }
}

}  // namespace korvane
