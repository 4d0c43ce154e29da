// What ARQV can do with a file of cases: the same for the file of saved cases and for the model file.
#pragma once
#include "casestore/records.hpp"
#include "frame/run.hpp"

namespace korvane {

/// Each queues its own messages and ends with abandon() after one that is an error.
struct CaseOperations {
    void (*initialise)(Run& run, Records& r);
    void (*list)(Run& run, Records& r);
    bool (*directory_there)(Records& r);
    void (*remove)(Run& run, Records& r, int n);
    void (*save)(Run& run, Records& r, int n);  // 0: the lowest number that is free
    bool (*restore)(Run& run, Records& r, int n);
};
extern const CaseOperations SAVED_CASES, MODEL_CASES_OF_PECO;

/// The messages go out, and the code ends with an error.
void abandon(Run& run);
/// INIC asks first, by row 1 of the running routine; row 2 says that the file is left alone. True: go on. Messages 100,
/// 120 end the code.
bool initialisation_confirmed(Run& run);
/// Somebody else writes the file: told under CNFILE, whatever was asked.
bool in_use(Run& run, bool busy);

}  // namespace korvane
