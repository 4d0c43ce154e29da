// Where a case goes in its file: the number, the free records, and what the directory says afterwards.
#pragma once
#include "casestore/case_stream.hpp"

namespace korvane {

/// The place of one save.
struct CaseSlot {
    Directory directory;
    int number = 0;         // of the case
    int first = 0;          // its first record
    bool replaces = false;  // a case of this number was there
    bool lost = false;      // its chain was broken, so its records did not go back to the free ones
    CaseHead old{};         // its head, if its first record could be read
};

enum class SlotFault {
    none,
    unreadable,  // the directory
    broken,      // the free chain
    no_number,   // all 99 are taken
    exists,      // and is not to be replaced
    no_record    // no record is free
};
/// Finds the place of a case: a number, or 0 for the lowest that is free. A case that is there is given up first, if
/// `replace` allows it, and its records are the first to be used again.
SlotFault open_slot(Records& r, int number, bool replace, CaseSlot& slot);

enum class SaveEnd {
    saved,
    full,     // no record was left
    ceiling,  // and the file may not grow any more
    device    // a record cannot be read or written
};
/// Ends the stream and writes the directory. When room ran out, the directory is left without the case.
SaveEnd close_slot(Records& r, CaseSlot& slot, CaseWriter& stream, bool extends);

/// A case is given up: its records become the first free ones, unless its chain does not hold together.
/// False when a record cannot be written. The directory is the caller's to write.
bool give_up_case(Records& r, Directory& d, int number, bool& lost);

}  // namespace korvane
