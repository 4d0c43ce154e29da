// ARQV and SNAP: what the options ask of the case file.
#include "casestore/case_answers.hpp"
#include "casestore/case_io.hpp"
#include "casestore/case_operations.hpp"
#include "casestore/case_pages.hpp"
#include "casestore/casestore.hpp"
#include "casestore/record_file.hpp"
#include "casestore/side_stream.hpp"
#include "frame/card_text.hpp"

#include <algorithm>
#include <optional>

namespace korvane {

// Messages of CNFILE.
constexpr int NO_INPUT = 100, NOT_A_NUMBER = 105, WRONG_NUMBER = 110, READ_ONLY = 120, NO_DIRECTORY = 130,
              NO_ANSWER = 140, NO_FILE = 150, IN_USE = 160, NO_SIDE_FORM = 170, UNSOLVED = -900;
// Rows of block "CNFILE".
constexpr int ASK_NUMBER = 1, ASK_UNSOLVED = 2, NOT_SAVED = 3;

void abandon(Run& run) {
    MSGOUT(run);
    INTERR(run);
}

bool in_use(Run& run, bool busy) {
    if (busy) MSGPUT(run, "CNFILE", IN_USE);
    return busy;
}

bool initialisation_confirmed(Run& run) {
    constexpr int ASK = 1, LEFT_ALONE = 2;
    const Answer answer = ask_yes_or_no(run, ASK);
    if (answer == Answer::none || answer == Answer::no) print_line(run, LEFT_ALONE);
    if (refuse(run, answer == Answer::none, 120) || refuse(run, answer == Answer::other, 100)) abandon(run);
    return answer == Answer::yes;
}

namespace {

// --- the operations

void initialise(Run& run, Records& r) {
    LDFORM(run, "INFILE");
    constexpr int DONE = 3;
    if (!initialisation_confirmed(run)) return;
    Writing scope(r);
    if (in_use(run, scope.admission() == Admission::busy)) return abandon(run);
    // A file that is there keeps its size at least.
    Directory d;
    int records = std::clamp(run.cte.HIST, 2, RECORD_CEILING - 1);
    if (scope && d.read(r)) records = std::clamp(std::max(records, d.highest()), 2, RECORD_CEILING - 1);
    if (refuse(run, !scope || !format_records(r, d, records) || !scope.commit(), 110)) return abandon(run);
    if (run.opt["IMPR"_opt]) print_line(run, DONE, {records});
}

void remove(Run& run, Records& r, int n) {
    LDFORM(run, "DELCAS");
    constexpr int DONE = 1, NO_CASE = 100, NO_DIRECTORY_HERE = 105, LOST = -110;
    Writing scope(r);
    if (in_use(run, scope.admission() == Admission::busy)) return abandon(run);
    Directory d;
    CaseHead head;
    bool lost = false;
    if (refuse(run, !scope || !d.read(r), NO_DIRECTORY_HERE) || refuse(run, !d.has(n), NO_CASE)) return abandon(run);
    const bool readable = read_head(r, d.first(n), head);
    bool done = give_up_case(r, d, n, lost);
    d.cell(n) = d.cell(100 + n) = 0;
    done = done && d.write(r) && scope.commit();
    if (refuse(run, !done, NO_DIRECTORY_HERE)) return abandon(run);
    refuse(run, lost, LOST);
    if (run.opt["IMPR"_opt]) print_title(run, DONE, n, readable ? title_of(head) : "");
    MSGOUT(run);
}

/// Whether the case may be saved though it is not solved.
enum class Go { on, stop, no };
Go unsolved_case(Run& run) {
    if (run.store.sol.CONVSTAT == 1) return Go::on;
    if (run.opt["JUMP"_opt]) {
        refuse(run, true, UNSOLVED);
        return Go::on;
    }
    switch (ask_yes_or_no(run, ASK_UNSOLVED)) {
        case Answer::yes: return Go::on;
        case Answer::no: print_line(run, NOT_SAVED); return Go::stop;
        case Answer::none: refuse(run, true, NO_INPUT); return Go::no;
        case Answer::other: refuse(run, true, NO_ANSWER); return Go::no;
    }
    return Go::no;
}

SaveRequest request_of(Run& run, int n) {
    SaveRequest request;
    request.number = n;
    request.replace = run.opt["SUBS"_opt];
    const bool wide = run.opt["NOVO"_opt] && !run.opt["KORV"_opt];
    request.encoding = wide ? Encoding::wide : Encoding::narrow;
    request.extend = wide || run.opt["AREG"_opt];
    if (wide)
        request.version = run.opt["V962"_opt] ? V962_VERSION : CURRENT_VERSION;
    else
        request.version = run.opt["KORV"_opt] ? CURRENT_VERSION : PLAIN_VERSION;
    return request;
}

void save(Run& run, Records& r, int n) {
    if (run.opt["KORV"_opt]) run.ctl.KNTRL[16] = false;
    const SaveOutcome out = write_case(run, r, request_of(run, n));
    run.cas.CASFULL = out.error != 0;
    if (in_use(run, out.error == BUSY)) return abandon(run);
    LDFORM(run, "SAVCAS");
    constexpr int DONE = 2, REPLACES = 3, LOST = -180;
    const bool print = run.opt["IMPR"_opt];
    const CaseSlot& slot = out.slot;
    if (print && slot.replaces && run.opt["SUBS"_opt]) print_title(run, REPLACES, slot.number, title_of(slot.old));
    refuse(run, out.warning != 0, out.warning);
    refuse(run, slot.lost, LOST);
    if (refuse(run, out.error != 0, out.error, out.element, out.type)) return abandon(run);
    run.cas.NCASO = slot.number;
    if (print) print_title(run, DONE, slot.number, run.TITLE.trimmed());
    MSGOUT(run);
}

bool restore(Run& run, Records& r, int n) {
    LDFORM(run, "RETCAS");
    constexpr int DONE = 1, VERSIONS = 2, DROPPED = -120;
    const bool print = run.opt["IMPR"_opt];
    const RestoreOutcome out = read_case(run, r, n);
    if (out.error) {
        run.cas.held = 0;
        const bool counted = out.error >= 200 && out.error <= 400 && out.error != 390;
        if (!in_use(run, out.error == BUSY))
            refuse(run, true, out.error, counted ? out.element : 0, counted ? element::number : element::none);
        MSGOUT(run);
        if (out.error == 140) print_line(run, VERSIONS, {out.head.version, CURRENT_VERSION});
        INTERR(run);
        return false;
    }
    run.cas.held = n;
    if (print) print_title(run, DONE, n, run.TITLE.trimmed());
    if (out.has_information) {
        print_information(run, n, {out.information.data(), out.information.size()});
        LDFORM(run, "RETCAS");
        print_comment(run);
    }
    refuse(run, out.dropped != 0, DROPPED, out.dropped, element::number);
    MSGOUT(run);
    review_case(run);
    return true;
}

/// The case number on the next card: -1 for one that cannot be, nothing when the input ends or holds no number.
std::optional<int> read_number(Run& run, bool blank_is_free) {
    std::string columns;
    if (refuse(run, !read_answer(run, ASK_NUMBER, columns), NO_INPUT)) return std::nullopt;
    columns.resize(2, ' ');
    if (blank(columns)) return blank_is_free ? 0 : -1;
    RJUST(columns.data(), 2);
    int n = 0, sign = 1;
    bool digits = false, good = true;
    for (const char c : columns) {
        if (c >= '0' && c <= '9')
            n = 10 * n + (c - '0'), digits = true;
        else if (c == '-' && !digits && sign == 1)
            sign = -1;
        else if (c == '+' && !digits)
            continue;
        else
            good = good && c == ' ' && !digits;
    }
    if (refuse(run, !good || !digits, NOT_A_NUMBER)) return std::nullopt;
    return sign * n;
}

/// The number of the case that the operation is about. Nothing after a message.
std::optional<int> case_number(Run& run) {
    const bool saves = run.opt["GRAV"_opt] && !run.opt["ELIM"_opt];
    const std::optional<int> n = read_number(run, run.opt["GRAV"_opt]);
    if (!n || refuse(run, *n < 0 || *n > CASES || (*n == 0 && !saves), WRONG_NUMBER)) return std::nullopt;
    return n;
}

bool directory_there(Records& r) {
    const Reading scope(r);
    Directory d;
    return scope && d.read(r);
}

/// ARQV on a file of cases. True when a case was restored.
bool act_on_cases(Run& run, const CaseOperations& operations, Records& r) {
    const Options& o = run.opt;
    if (o["INIC"_opt]) {
        operations.initialise(run, r);
        return false;
    }
    if (!o["ELIM"_opt] && !o["GRAV"_opt] && !o["REST"_opt]) {
        operations.list(run, r);
        return false;
    }
    const std::optional<int> n = case_number(run);
    run.cas.NCASO = n.value_or(0);
    bool restored = false;
    Go go = n ? Go::on : Go::no;
    if (o["ELIM"_opt]) {
        if (n) operations.remove(run, r, *n);
    } else if (o["GRAV"_opt]) {
        if (n) go = unsolved_case(run);
        if (go == Go::on) operations.save(run, r, *n);
    } else {
        if (n && refuse(run, !operations.directory_there(r), NO_DIRECTORY)) go = Go::no;
        if (go == Go::on) restored = operations.restore(run, r, *n);
    }
    if (go == Go::no) abandon(run);
    return restored;
}

}  // namespace

const CaseOperations SAVED_CASES = {initialise, list_cases, directory_there, remove, save, restore};

bool CNFILE(Run& run) {
    const Options& o = run.opt;
    const bool by_number = o["ELIM"_opt] || o["GRAV"_opt] || o["REST"_opt];
    LDFORM(run, "CNFILE");
    run.msg.NERR = 0;
    run.pag.NLINE = run.pag.LPP;
    run.pag.PAUSOK = false;
    if (!o["INIC"_opt] && !by_number && !o["LIST"_opt]) return false;
    const bool model = o["PECO"_opt];
    const auto& file = model ? run.units.model : run.units.cases;
    const bool writes = o["ELIM"_opt] || o["GRAV"_opt];
    if (refuse(run, model && (o["KORV"_opt] || o["NOVO"_opt]), NO_SIDE_FORM) || refuse(run, !file, NO_FILE) ||
        refuse(run, !file->writable() && !o["INIC"_opt] && writes, READ_ONLY)) {
        abandon(run);
        return false;
    }
    FileRecords r(machine_disk(), file->descriptor(), file->path(), model ? SIDE_RECORD : CASE_RECORD,
                  file->writable());
    const bool restored = act_on_cases(run, model ? MODEL_CASES_OF_PECO : SAVED_CASES, r);
    MSGOUT(run);
    PAGWAI(run);
    return restored;
}

void CNSNAP(Run& run) {
    LDFORM(run, "CNSNAP");
    run.msg.NERR = 0;
    const Options& o = run.opt;
    if (!o["ELIM"_opt] && !o["GRAV"_opt] && !o["REST"_opt]) return;
    if (!case_number(run)) abandon(run);
}

}  // namespace korvane
