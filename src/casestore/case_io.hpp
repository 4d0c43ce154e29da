// A case out of the store into records, and back: the work of SAVCAS and RETCAS without their pages and messages.
#pragma once
#include "casestore/case_fields.hpp"
#include "casestore/case_slot.hpp"

namespace korvane {

/// A number that no message has: somebody else is writing the file.
constexpr int BUSY = 1;

struct SaveRequest {
    int number = 0;        // of the case, 0 for the lowest that is free
    bool replace = false;  // a case of this number may be overwritten
    bool extend = false;   // the file may grow
    Encoding encoding = Encoding::wide;
    int version = CURRENT_VERSION;
    bool whole = false;  // also what the format leaves out, behind its fields: for scratch cases
};
struct SaveOutcome {
    int error = 0;    // of SAVCAS, 0 for none; -105 stops a save too
    int warning = 0;  // of SAVCAS
    int element = 0;  // what the error is about, as its type tells
    int type = 0;
    CaseSlot slot;  // where the case went, and what it replaced
};
/// Writes the network in memory, in service or not, as one case. Memory stays as it is. Numbers of SAVCAS: 90, 100,
/// 101, 105, -105, 110, 120, 130, 140, 160, -170.
SaveOutcome write_case(Run& run, Records& r, const SaveRequest& request);

struct RestoreOutcome {
    int error = 0;                // of RETCAS, 0 for none
    int element = 0;              // the version; the count that does not fit; 400: its cell of LINE
    const char* field = nullptr;  // 410: what is unsound
    int dropped = 0;              // rows of shunt banks that stood on none
    CaseHead head{};
    bool has_information = false;  // line and comment: version 63 and above
    std::array<char, 80> information{};
};
/// Replaces the network, the options, the constants and the state of the solution by case n. After an error the store
/// has its defaults. Numbers of RETCAS: 100 to 140, 200 to 380, 390, 400, 410.
RestoreOutcome read_case(Run& run, Records& r, int n, bool whole = false);

/// The information line of a case: 80 characters. False when the case has none, or cannot be read.
bool read_information(Records& r, const Directory& d, int n, std::array<char, 80>& line);

}  // namespace korvane
