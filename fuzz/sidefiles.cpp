// Any bytes as a side file: a model file whose cases are listed, restored and deleted, and a flow interface file that
// is read. What was restored holds together and is written again.
#include <cstdlib>
#include <cstring>

#include "app/code_table.hpp"
#include "casestore/side_files.hpp"
#include "frame/run.hpp"
#include "null_platform.hpp"
#include "powerflow/powerflow.hpp"
#include "support/store_tools.hpp"

namespace {

using namespace korvane;

void require(bool holds) {
    if (!holds) std::abort();
}

void use(Run& run, SideForm form, const SideHead& head, std::vector<std::uint32_t> words) {
    SideReader in(std::move(words));
    if (network_from_side(run, form, head, in).message) {
        require(run.store.bus.NB + run.store.branch.NL + run.store.area.NAREA == 0);
        return;
    }
    require(testing::stray_reference(run.store).empty());
    require(testing::wrong_address(run.store).empty());
    SideHead again;
    SideWriter out;
    network_to_side(run, form, again, out);
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

    MemoryRecords records(SIDE_RECORD);
    std::string record;
    int count = 0;
    for (std::size_t at = 0; at < size; at += SIDE_RECORD) {
        record.assign(SIDE_RECORD, '\0');
        std::memcpy(record.data(), data + at, std::min(size - at, record.size()));
        records.write(++count, record.data(), SIDE_RECORD);
    }
    SideHead head;
    std::vector<std::uint32_t> words;
    if (load_flow(records, head, words)) use(run, SideForm::flow, head, std::move(words));
    ModelDirectory d;
    if (!d.read(records)) return 0;
    for (int n = 1; n <= 3; ++n) {
        model_title(records, d, n);
        words.clear();
        if (d.first(n) != 0 && load_model(records, d, n, head, words))
            use(run, SideForm::model, head, std::move(words));
        delete_model(records, d, n);
    }
    return 0;
}
