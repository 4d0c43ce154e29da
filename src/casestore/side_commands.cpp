// ARQV with PECO on the model file, and FLOW on the flow interface file.
#include "casestore/case_answers.hpp"
#include "casestore/case_operations.hpp"
#include "casestore/case_pages.hpp"
#include "casestore/casestore.hpp"
#include "casestore/record_file.hpp"
#include "casestore/side_files.hpp"

namespace korvane {

namespace {

bool busy(const Writing& scope) { return scope.admission() == Admission::busy; }

void initialise(Run& run, Records& r) {
    LDFORM(run, "INPECO");
    constexpr int DONE = 3;
    if (!initialisation_confirmed(run)) return;
    Writing scope(r);
    if (in_use(run, busy(scope)) || refuse(run, !scope || !format_model(r) || !scope.commit(), 110))
        return abandon(run);
    if (run.opt["IMPR"_opt]) print_line(run, DONE, {MODEL_RECORDS});
}

void list(Run& run, Records& r) {
    LDFORM(run, "LIPECO");
    constexpr int NO_DIRECTORY = 100, TITLE = 1, RULE = 2, CASE = 3, CLOSING = 4;
    const Reading scope(r);
    ModelDirectory d;
    if (refuse(run, !scope || !d.read(r), NO_DIRECTORY)) return abandon(run);
    print_line(run, TITLE);
    print_line(run, RULE);
    int cases = 0;
    for (int n = 1; n <= MODEL_CASES; ++n) {
        if (d.first(n) == 0) continue;
        ++cases;
        print_line(run, CASE, {n, d.count(n), model_title(r, d, n)});
    }
    print_line(run, CLOSING, {cases});
}

bool directory_there(Records& r) {
    const Reading scope(r);
    ModelDirectory d;
    return scope && d.read(r);
}

void remove(Run& run, Records& r, int n) {
    LDFORM(run, "DELPEC");
    constexpr int DONE = 1, NO_DIRECTORY = 110;
    Writing scope(r);
    ModelDirectory d;
    if (in_use(run, busy(scope)) || refuse(run, !scope || !d.read(r), NO_DIRECTORY)) return abandon(run);
    const std::string title = model_title(r, d, n);
    int message = delete_model(r, d, n);
    if (message == 0 && !scope.commit()) message = NO_DIRECTORY;
    if (refuse(run, message != 0, message)) return abandon(run);
    if (run.opt["IMPR"_opt]) print_title(run, DONE, n, title);
}

/// What a fault of the network is about, for its message.
void tell(Run& run, const SideFault& fault) {
    constexpr int NUMBER_OF_BUSES = 106;
    const int type = fault.element == 0                 ? element::none
                     : fault.message == NUMBER_OF_BUSES ? element::number
                                                        : element::bus_number;
    refuse(run, fault.message != 0, fault.message, fault.element, type);
}

void save(Run& run, Records& r, int n) {
    LDFORM(run, "SAVPEC");
    constexpr int DONE = 1, REPLACES = 2, NO_DIRECTORY = 105;
    SideHead head;
    SideWriter stream;
    if (const SideFault fault = network_to_side(run, SideForm::model, head, stream); fault.message) {
        tell(run, fault);
        LDFORM(run, "SAVPEC");
        return abandon(run);
    }
    LDFORM(run, "SAVPEC");
    Writing scope(r);
    ModelDirectory d;
    if (in_use(run, busy(scope)) || refuse(run, !scope || !d.read(r), NO_DIRECTORY)) return abandon(run);
    ModelSave out = save_model(r, d, n, run.opt["SUBS"_opt], head, stream);
    const bool print = run.opt["IMPR"_opt];
    if (print && out.replaced) print_title(run, REPLACES, out.number, out.old);
    // A replaced case is gone also when there was no room for the new one.
    const bool kept = out.message == 0 || out.replaced;
    if (kept && !scope.commit()) out.message = NO_DIRECTORY;
    if (refuse(run, out.message != 0, out.message)) return abandon(run);
    run.cas.NCASO = out.number;
    if (print) print_title(run, DONE, out.number, run.TITLE.trimmed());
}

/// The codes that the network of a side file stands for.
void mark_codes(Run& run) {
    const Store& s = run.store;
    auto& done = run.ctl.KNTRL;
    done[1] = s.bus.NB > 0;
    done[2] = s.branch.NL > 0;
    done[4] = s.area.NAREA > 0;
    done[5] = s.fld.NFLD > 0;
    done[6] = done[36] = true;
}

bool restore(Run& run, Records& r, int n) {
    LDFORM(run, "RETPEC");
    constexpr int DONE = 1, NO_CASE = 100, NO_DIRECTORY = 105, BROKEN = 115;
    SideHead head;
    std::vector<std::uint32_t> words;
    {
        const Reading scope(r);
        ModelDirectory d;
        if (in_use(run, scope.admission() == Admission::busy) || refuse(run, !scope || !d.read(r), NO_DIRECTORY) ||
            refuse(run, d.first(n) == 0, NO_CASE) || refuse(run, !load_model(r, d, n, head, words), BROKEN)) {
            abandon(run);
            return false;
        }
    }
    SideReader in(std::move(words));
    if (const SideFault fault = network_from_side(run, SideForm::model, head, in); fault.message) {
        LDFORM(run, "RETPEC");
        tell(run, fault);
        abandon(run);
        return false;
    }
    mark_codes(run);
    LDFORM(run, "RETPEC");
    run.cas.held = 0;
    if (run.opt["IMPR"_opt]) print_title(run, DONE, n, run.TITLE.trimmed());
    return true;
}

/// FLOW without a file. True when there is one.
bool flow_file_there(Run& run, bool writes) {
    constexpr int NO_FILE = 104, READ_ONLY = 140;
    const auto& file = run.units.flow;
    return !refuse(run, !file, NO_FILE) && !refuse(run, writes && !file->writable(), READ_ONLY);
}

FileRecords flow_records(Run& run) {
    const RecordFile& file = *run.units.flow;
    return {machine_disk(), file.descriptor(), file.path(), SIDE_RECORD, file.writable()};
}

void GRFLOW(Run& run) {
    LDFORM(run, "GRFLOW");
    constexpr int DONE = 1, NOT_WRITTEN = 110;
    if (!flow_file_there(run, true)) return abandon(run);
    SideHead head;
    SideWriter stream;
    const SideFault fault = network_to_side(run, SideForm::flow, head, stream);
    LDFORM(run, "GRFLOW");
    if (fault.message) {
        tell(run, fault);
        return abandon(run);
    }
    FileRecords r = flow_records(run);
    Writing scope(r);
    if (in_use(run, busy(scope)) || refuse(run, !scope || !save_flow(r, head, stream) || !scope.commit(), NOT_WRITTEN))
        return abandon(run);
    if (run.opt["IMPR"_opt]) print_line(run, DONE, {head.buses, head.ends / 2});
}

void FLWINT(Run& run) {
    LDFORM(run, "FLWINT");
    constexpr int DONE = 1, UNREADABLE = 105;
    if (!flow_file_there(run, false)) return abandon(run);
    SideHead head;
    std::vector<std::uint32_t> words;
    {
        FileRecords r = flow_records(run);
        const Reading scope(r);
        if (in_use(run, scope.admission() == Admission::busy) ||
            refuse(run, !scope || !load_flow(r, head, words), UNREADABLE))
            return abandon(run);
    }
    SideReader in(std::move(words));
    const SideFault fault = network_from_side(run, SideForm::flow, head, in);
    LDFORM(run, "FLWINT");
    if (fault.message) {
        tell(run, fault);
        return abandon(run);
    }
    mark_codes(run);
    run.cas.held = 0;
    if (run.opt["IMPR"_opt]) print_line(run, DONE, {head.buses, head.ends / 2});
}

}  // namespace

const CaseOperations MODEL_CASES_OF_PECO = {initialise, list, directory_there, remove, save, restore};

void exchange_flow(Run& run) {
    run.msg.NERR = 0;
    run.pag.NLINE = run.pag.LPP;
    const bool reads = run.opt["REST"_opt], writes = run.opt["GRAV"_opt];
    if (reads && !writes) FLWINT(run);
    if (writes && !reads) GRFLOW(run);
    MSGOUT(run);
}

}  // namespace korvane
