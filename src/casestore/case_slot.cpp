#include "casestore/case_slot.hpp"

namespace korvane {

bool give_up_case(Records& r, Directory& d, int number, bool& lost) {
    // Records that the chain does not reach in order would take others with them into the free chain.
    lost = d.last(number) <= 0 || CHKCHN(r, d, number) != Chain::sound;
    return lost || free_case(r, d, number);
}

SlotFault open_slot(Records& r, int number, bool replace, CaseSlot& slot) {
    Directory& d = slot.directory;
    if (!d.read(r)) return SlotFault::unreadable;
    if (CHKFRE(r, d) == Chain::broken) return SlotFault::broken;
    slot.number = number != 0 ? number : d.free_number();
    if (slot.number == 0) return SlotFault::no_number;
    slot.replaces = d.has(slot.number);
    if (slot.replaces) {
        if (!replace) return SlotFault::exists;
        read_head(r, d.first(slot.number), slot.old);
        if (!give_up_case(r, d, slot.number, slot.lost)) return SlotFault::unreadable;
    }
    slot.first = d.free_head();
    return slot.first == 0 ? SlotFault::no_record : SlotFault::none;
}

SaveEnd close_slot(Records& r, CaseSlot& slot, CaseWriter& stream, bool extends) {
    Directory& d = slot.directory;
    CaseWriter::End end{};
    if (!stream.full()) end = stream.finish();
    if (stream.failed()) return SaveEnd::device;
    if (extends) d.set_highest(stream.highest());
    if (end.last == 0) {
        d.set_case(slot.number, 0, 0, 0);
        if (!d.write(r)) return SaveEnd::device;
        return d.highest() + 1 == RECORD_CEILING ? SaveEnd::ceiling : SaveEnd::full;
    }
    d.set_case(slot.number, slot.first, end.last, stream.records());
    d.set_free_head(end.free_head);
    return d.write(r) ? SaveEnd::saved : SaveEnd::device;
}

}  // namespace korvane
