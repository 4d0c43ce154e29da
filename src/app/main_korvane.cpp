// korvane: the console program.
#include "app/code_table.hpp"
#include "frame/run.hpp"
#include "network/store.hpp"
#include "powerflow/powerflow.hpp"

int main(int argc, char** argv) {
    using namespace korvane;
    const auto platform = make_platform();
    const StorePtr store = make_store();
    const MatricesPtr matrices = make_matrices();
    Run run(*platform, *store, *matrices);
    equip(run);
    return run_program(run, {argv, std::size_t(argc)});
}
