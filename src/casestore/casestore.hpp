// Saved cases: what other folders may call.
#pragma once
#include <memory>
#include <string>

#include "casestore/records.hpp"
#include "frame/run.hpp"

namespace korvane {

/// CNFILE: ARQV. What the options ask of the case file: INIC, ELIM, GRAV, REST, LIST, in this order the first that is
/// set. Reads the number of the case and answers from the input. Messages 100 to 180, -900.
/// True when a case was restored.
bool CNFILE(Run& run);
/// CNSNAP: SNAP. Reads the number of a snapshot and checks it. Messages 100, 105, 110.
void CNSNAP(Run& run);

/// FLOW: REST reads the network of the flow interface file (FLWINT, messages 105 to 310), GRAV writes it (GRFLOW,
/// messages 100 to 160).
void exchange_flow(Run& run);

/// Scratch cases of an analysis, in memory. keep saves the network as case n, replacing it; bring_back puts it back as
/// it was, out-of-service elements set aside if they were. Nothing is printed, and no message comes. False: the case
/// could not be kept (CASFULL), there is no such case (the store then has its defaults).
class ScratchCases {
public:
    ScratchCases();
    bool keep(Run& run, int n);
    bool bring_back(Run& run, int n);

private:
    MemoryRecords records_;
};

/// A case file of an analysis, for the user to restore from later: made anew and empty under this name.
class StepFile {
public:
    explicit StepFile(const std::string& path);
    ~StepFile();
    StepFile(const StepFile&) = delete;
    StepFile& operator=(const StepFile&) = delete;
    bool good() const { return handle_ >= 0; }
    /// Saves the network as case n, replacing it; the file grows as it must. False, with CASFULL: it cannot.
    bool save(Run& run, int n);

private:
    int handle_ = -1;
    std::unique_ptr<Records> records_;
};

}  // namespace korvane
