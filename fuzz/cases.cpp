// Any bytes as a case file: it is listed and checked, and every case in it is restored or refused. What was restored
// holds together, is saved and written as a deck, and a solution of it ends.
#include <cstdlib>
#include <cstring>

#include "app/case_tool.hpp"
#include "app/code_table.hpp"
#include "casestore/case_io.hpp"
#include "frame/run.hpp"
#include "null_platform.hpp"
#include "powerflow/powerflow.hpp"
#include "support/store_tools.hpp"

namespace {

using namespace korvane;

void require(bool holds) {
    if (!holds) std::abort();
}

void use(Run& run) {
    require(testing::stray_reference(run.store).empty());
    require(testing::wrong_address(run.store).empty());
    MemoryRecords saved(CASE_RECORD);
    SaveRequest request;
    request.extend = true;
    write_case(run, saved, request);
    run.opt.clear("RCVG"_opt);
    PWFSOL(run);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static fuzz::NullPlatform platform;
    static const StorePtr store = make_store();
    static const MatricesPtr matrices = make_matrices();
    Run run(platform, *store, *matrices);
    equip(run);
    start_up(run);

    MemoryRecords records(CASE_RECORD);
    std::string record(CASE_RECORD, '\0');
    int count = 0;
    for (std::size_t at = 0; at < size; at += record.size()) {
        record.assign(CASE_RECORD, '\0');
        std::memcpy(record.data(), data + at, std::min(size - at, record.size()));
        records.write(++count, record.data(), CASE_RECORD);
    }
    case_list(records);
    case_faults(run, records);
    for (int n = 1; n <= 3; ++n)
        if (read_case(run, records, n).error == 0)
            use(run);
        else
            require(run.store.bus.NB + run.store.branch.NL + run.store.area.NAREA == 0);
    return 0;
}
