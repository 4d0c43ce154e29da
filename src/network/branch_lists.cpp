// DTPF and DMFL with five branches on a card: taps held fixed, and branches whose flow is monitored.
#include "network/branch_ends.hpp"
#include "network/card_forms.hpp"
#include "network/network.hpp"
#include "network/placed_rows.hpp"

namespace korvane {

namespace {

struct BranchesCard {
    Parts first, second, circuit;  // numbers of the buses, circuits
};
using C = BranchesCard;
using BranchesEdit = Edit<BranchesCard>;

constexpr Field<BranchesCard> FIVE_BRANCHES[] = {
    {1, 5, &C::first, {.key = true, .zero_is_none = true, .part = 1}},
    {7, 11, &C::second, {.key = true, .zero_is_none = true, .part = 1}},
    {13, 14, &C::circuit, {.key = true, .zero_is_none = true, .part = 1}},
    {16, 20, &C::first, {.key = true, .zero_is_none = true, .part = 2}},
    {22, 26, &C::second, {.key = true, .zero_is_none = true, .part = 2}},
    {28, 29, &C::circuit, {.key = true, .zero_is_none = true, .part = 2}},
    {31, 35, &C::first, {.key = true, .zero_is_none = true, .part = 3}},
    {37, 41, &C::second, {.key = true, .zero_is_none = true, .part = 3}},
    {43, 44, &C::circuit, {.key = true, .zero_is_none = true, .part = 3}},
    {46, 50, &C::first, {.key = true, .zero_is_none = true, .part = 4}},
    {52, 56, &C::second, {.key = true, .zero_is_none = true, .part = 4}},
    {58, 59, &C::circuit, {.key = true, .zero_is_none = true, .part = 4}},
    {61, 65, &C::first, {.key = true, .zero_is_none = true, .part = 5}},
    {67, 71, &C::second, {.key = true, .zero_is_none = true, .part = 5}},
    {73, 74, &C::circuit, {.key = true, .zero_is_none = true, .part = 5}},
};
static_assert(well_formed(FIVE_BRANCHES));

constexpr EndMessages ENDS = {110, 120, 140, 150, 160};
constexpr int WRONG_CIRCUIT = 130, NO_BRANCH = 170, FULL = 180, NOT_LISTED = 200;

/// What the two blocks differ in.
struct ListRules {
    std::string_view routine;
    int greatest_type;        // LTYPE of branches that count
    int listed;               // message of an add of what is listed already
    bool (*fits)(int ltype);  // whether such a branch may be listed
    int unfit;                // message of one that may not
};

template <class List>
class BranchListBlock {
public:
    BranchListBlock(Run& run, List& list, const ListRules& rules)
        : run_(run), list_(list, run.store.branch.NL), rules_(rules) {}

    void read();

private:
    void find_branches(BranchesEdit& e);
    int find_branch(BranchesEdit& e, int part);
    void check_add(int l);
    void check_remove(int l);
    void apply(bool removes);

    Run& run_;
    PlacedList<List> list_;
    const ListRules& rules_;
    std::vector<int> due_;  // what the present card adds or removes
};

/// The branch of one field of the card, 0 when it is wrong.
template <class List>
int BranchListBlock<List>::find_branch(BranchesEdit& e, int part) {
    const auto i = std::size_t(part - 1);
    const int first = e.card.first[i], second = e.card.second[i], circuit = e.card.circuit[i];
    const bool given = e.given(&C::circuit, part);
    const bool numbers = check_end_numbers(run_, first, second, ENDS);
    const bool wrong_circuit = refuse(run_, given && circuit < 1, WRONG_CIRCUIT, first, element::bus_number);
    if (!numbers) return 0;
    const CardEnds ends = find_ends(run_, first, second, ENDS);
    if (!ends.found || wrong_circuit) return 0;
    const int l = branch_of_card(run_, ends, circuit, given, rules_.greatest_type);
    if (refuse(run_, l == 0, NO_BRANCH, first, element::bus_number)) return 0;
    if (!given) e.amend(&C::circuit, part, run_.store.branch.NCIR(l));
    return l;
}

template <class List>
void BranchListBlock<List>::find_branches(BranchesEdit& e) {
    due_.clear();
    for (int part : rows(int(BRANCHES_ON_A_CARD))) {
        if (!e.given(&C::first, part) && !e.given(&C::second, part) && !e.given(&C::circuit, part)) break;
        const int l = find_branch(e, part);
        if (l == 0) continue;
        if (e.removes())
            check_remove(l);
        else
            check_add(l);
    }
}

template <class List>
void BranchListBlock<List>::check_add(int l) {
    const bool listed = list_.has(l) || std::find(due_.begin(), due_.end(), l) != due_.end();
    if (refuse(run_, listed, rules_.listed, l, element::branch)) return;
    if (!refuse(run_, !rules_.fits(run_.store.branch.LTYPE(l)), rules_.unfit, l, element::branch)) due_.push_back(l);
}

template <class List>
void BranchListBlock<List>::check_remove(int l) {
    const bool listed = list_.has(l) && std::find(due_.begin(), due_.end(), l) == due_.end();
    if (!refuse(run_, !listed, NOT_LISTED, l, element::branch)) due_.push_back(l);
}

template <class List>
void BranchListBlock<List>::apply(bool removes) {
    for (int l : due_) {
        if (removes) {
            list_.remove(l);
            continue;
        }
        if (refuse(run_, list_.full(), FULL, l, element::branch)) return;
        list_.add(l);
    }
}

template <class List>
void BranchListBlock<List>::read() {
    const Block<BranchesCard> block = {
        .routine = rules_.routine,
        .fields = FIVE_BRANCHES,
        .operation = {.column = 76, .letters = "AE ", .refusal = 100, .letters_only = true},
        .format_error = 210,
        .end_error = 220,
        .locate = [&](Run&, BranchesEdit& e) { find_branches(e); },
        .apply = [&](Run&, BranchesEdit& e) { apply(e.removes()); },
    };
    read_block(run_, block);
}

}  // namespace

BranchListForm branch_list_cards(Run& run) {
    constexpr int OPERATION = 76;
    return [printer = CardPrinter<BranchesCard>(run, "INPTPI", FIVE_BRANCHES)](Run& r, std::span<const int> branches) {
        const Store& s = r.store;
        BranchesCard c{};
        for (std::size_t i = 0; i < branches.size(); ++i) {
            const int l = branches[i];
            c.first[i] = s.bus.NOINT(s.branch.NFROM(l));
            c.second[i] = s.bus.NOINT(s.branch.NTO(l));
            c.circuit[i] = s.branch.NCIR(l);
        }
        printer.show(r, c);
        r.CARD.at[OPERATION - 1] = 'A';
    };
}

void INPTPI(Run& run) {
    const ListRules rules = {"INPTPI", 4, -823, [](int ltype) { return ltype == 3 || ltype == 4; }, 230};
    BranchListBlock(run, run.store.tpf, rules).read();
}

void INPMFI(Run& run) {
    const ListRules rules = {"INPMFI", 6, 190, [](int) { return true; }, 0};
    BranchListBlock(run, run.store.mtl, rules).read();
}

}  // namespace korvane
