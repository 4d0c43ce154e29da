#include "app/code_table.hpp"
#include "frame/run.hpp"
#include "network/network.hpp"

namespace korvane {

void equip(Run& run) {
    run.ctl.codes = code_table();
    run.msg.identify = name_element;
}

}  // namespace korvane
