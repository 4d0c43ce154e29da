// The routines that write one block of the deck each, and what they share. Included within the folder only.
#pragma once
#include <vector>

#include "cards/deck_block.hpp"
#include "network/card_forms.hpp"
#include "network/store.hpp"

namespace korvane {

/// What of the network goes into the deck, and in which order: one that depends on the network alone, so that a deck
/// that was read is written again as the same deck. (deck_scope.cpp)
class DeckScope {
public:
    /// The whole network.
    explicit DeckScope(const Run& run);
    /// With AREA and ILHA: the selected buses and areas.
    static DeckScope selected(const Run& run);

    bool whole() const { return whole_; }
    bool has_bus(int k) const { return bus_[std::size_t(k)]; }
    bool has_area(int a) const { return area_[std::size_t(a)]; }
    /// Buses by rising number.
    const std::vector<int>& buses() const { return buses_; }
    /// Areas of these buses by rising number.
    std::vector<int> areas() const;
    /// Branches with an end among the buses: by rising number of the from bus, of the to bus, of the circuit.
    std::vector<int> branches() const;

    /// Rows of a family that stand at buses: by rising number of the bus, rows of one bus by rising number on it;
    /// without a number, in their own order.
    std::vector<int> rows_at(int n, const BusRef* bus, const int* number = nullptr) const;

private:
    DeckScope(const Run& run, bool whole);
    const Store& s;
    bool whole_;
    std::vector<char> bus_, area_;  // by bus and by area: it is in the deck
    std::vector<int> buses_;
};

// settings_cards.cpp
void PUNOPT(Run& run, const DeckScope& deck);  ///< DOPC
void PUNCTE(Run& run, const DeckScope& deck);  ///< DCTE
void PUNCMT(Run& run, const DeckScope& deck);  ///< DCMT

// group_cards.cpp
void PUNAGR(Run& run, const DeckScope& deck);  ///< DAGR
void PUNGLT(Run& run, const DeckScope& deck);  ///< DGLT
void PUNARE(Run& run, const DeckScope& deck);  ///< DARE
void PUNGBT(Run& run, const DeckScope& deck);  ///< DGBT

// network_cards.cpp
void PUNBUS(Run& run, const DeckScope& deck);  ///< DBAR
void PUNLIN(Run& run, const DeckScope& deck);  ///< DLIN
void PUNGEN(Run& run, const DeckScope& deck);  ///< DGER
void PUNSHL(Run& run, const DeckScope& deck);  ///< DSHL
void PUNFLD(Run& run, const DeckScope& deck);  ///< DCAR
void PUNINJ(Run& run, const DeckScope& deck);  ///< DINJ

// device_cards.cpp
void PUNCSC(Run& run, const DeckScope& deck);  ///< DCSC
void PUNCER(Run& run, const DeckScope& deck);  ///< DCER
void PUNBSH(Run& run, const DeckScope& deck);  ///< DBSH
void PUNSCA(Run& run, const DeckScope& deck);  ///< DSCA
void PUNILH(Run& run, const DeckScope& deck);  ///< DFRQ

// individual_cards.cpp
void PUNMOT(Run& run, const DeckScope& deck);  ///< DMOT
void PUNCAI(Run& run, const DeckScope& deck);  ///< DCAI
void PUNGEI(Run& run, const DeckScope& deck);  ///< DGEI
void individual_records(Run& run,
                        const DeckScope& deck);  ///< DCAI, DBSH, DGEI of what stands on cards of buses and lines

// list_cards.cpp
void PUNSLP(Run& run, const DeckScope& deck);  ///< DSLP
void PUNTPF(Run& run, const DeckScope& deck);  ///< DTPF
void PUNFCR(Run& run, const DeckScope& deck);  ///< DFCR
void PUNFQL(Run& run, const DeckScope& deck);  ///< DFQL
void PUNMTE(Run& run, const DeckScope& deck);  ///< DMTE
void PUNMGR(Run& run, const DeckScope& deck);  ///< DMGR
void PUNMFL(Run& run, const DeckScope& deck);  ///< DMFL
void PUNFCT(Run& run, const DeckScope& deck);  ///< DFCT
void PUNREL(Run& run, const DeckScope& deck);  ///< DREL
void PUNBRE(Run& run, const DeckScope& deck);  ///< DBRE
void PUNTVF(Run& run, const DeckScope& deck);  ///< DTVF
void PUNLEN(Run& run, const DeckScope& deck);  ///< DLEN

/// One block: the code line, a card for each row, the end card.
void put_block(Run& run, std::string_view routine, const CardForm& form, const std::vector<int>& rows_in_order);

}  // namespace korvane
