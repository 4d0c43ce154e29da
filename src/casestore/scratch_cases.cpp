// Cases that analyses keep: in memory for themselves, in files for the user.
#include "casestore/case_io.hpp"
#include "casestore/casestore.hpp"
#include "casestore/record_file.hpp"
#include "platform/files.hpp"

namespace korvane {

namespace {

constexpr int FIRST_RECORDS = 2;  // the directory and a free record: the rest comes as it is needed

bool make_empty(Records& r) {
    Writing scope(r);
    Directory d;
    return scope && format_records(r, d, FIRST_RECORDS) && scope.commit();
}

bool save(Run& run, Records& r, int n, bool whole) {
    SaveRequest request;
    request.number = n;
    request.replace = request.extend = true;
    request.whole = whole;
    run.cas.CASFULL = write_case(run, r, request).error != 0;
    return !run.cas.CASFULL;
}

}  // namespace

ScratchCases::ScratchCases() : records_(CASE_RECORD) { make_empty(records_); }

bool ScratchCases::keep(Run& run, int n) { return save(run, records_, n, true); }

bool ScratchCases::bring_back(Run& run, int n) {
    // A reset forgets the page and what was typed, which a user's restore may and an analysis must not.
    const int lines = run.pag.NLINE;
    Control typed;
    std::swap(typed.history, run.ctl.history);
    std::swap(typed.recall, run.ctl.recall);
    std::swap(typed.position, run.ctl.position);
    const bool done = read_case(run, records_, n, true).error == 0;
    std::swap(typed.history, run.ctl.history);
    std::swap(typed.recall, run.ctl.recall);
    std::swap(typed.position, run.ctl.position);
    run.pag.NLINE = lines;
    return done;
}

StepFile::StepFile(const std::string& path) {
    Disk& disk = machine_disk();
    disk.remove(path);
    handle_ = disk.open(path, Disk::Open::create);
    if (handle_ < 0) return;
    records_ = std::make_unique<FileRecords>(disk, handle_, path, CASE_RECORD, true);
    if (make_empty(*records_)) return;
    records_.reset();
    disk.close(handle_);
    handle_ = -1;
}

StepFile::~StepFile() {
    records_.reset();
    if (handle_ >= 0) machine_disk().close(handle_);
}

bool StepFile::save(Run& run, int n) { return korvane::save(run, *records_, n, false); }

}  // namespace korvane
