// The model file, a store of reduced cases, and the flow interface file, which holds one network.
#pragma once
#include "casestore/side_network.hpp"

namespace korvane {

constexpr int MODEL_CASES = 99, MODEL_RECORDS = 140;

/// Record 1 of the model file.
struct ModelDirectory {
    std::array<std::int32_t, 200> cells{};
    std::int32_t& cell(int n) { return cells[std::size_t(n - 1)]; }
    std::int32_t& free() { return cell(2); }
    std::int32_t& first(int n) { return cell(2 + n); }
    std::int32_t& count(int n) { return cell(101 + n); }
    bool read(Records& r);
    bool write(Records& r) const;
};
/// No case, and all records in the free chain. False when a record cannot be written.
bool format_model(Records& r);

/// One case into records of the free chain, within a Writing scope. A case that is there is given up first, if
/// `replace` allows it; its title goes to `old`. Numbers of SAVPEC.
struct ModelSave {
    int message = 0;
    int number = 0;  // of the case
    bool replaced = false;
    std::string old;
};
ModelSave save_model(Records& r, ModelDirectory& d, int number, bool replace, const SideHead& head,
                     const SideWriter& stream);
/// The case goes, its records to the free chain. Numbers of DELPEC.
int delete_model(Records& r, ModelDirectory& d, int number);
/// The title of a case, blank when it cannot be read.
std::string model_title(Records& r, ModelDirectory& d, int number);
/// Head and stream of a case. False when its chain does not hold together.
bool load_model(Records& r, ModelDirectory& d, int number, SideHead& head, std::vector<std::uint32_t>& words);

/// The flow interface file, from record 1 on.
bool save_flow(Records& r, const SideHead& head, const SideWriter& stream);
bool load_flow(Records& r, SideHead& head, std::vector<std::uint32_t>& words);

}  // namespace korvane
