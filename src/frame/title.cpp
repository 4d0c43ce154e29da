// The case title.
#include "frame/card_text.hpp"
#include "frame/run.hpp"

namespace korvane {

void INPTIT(Run& run) {
    LDFORM(run, "INPTIT");
    run.msg.NERR = 0;
    if (run.units.interactive()) print_console(run, run.fmt.rot(1), {});
    std::string_view line;
    if (!refuse(run, !read_line(run, line), 100)) {
        log_line(run, line);
        refuse(run, line.size() > 80 && !blank(line.substr(80)), -100);
        run.TITLE = line;
    }
    MSGOUT(run);
    if (run.msg.NERR != 0) INTERR(run);
}

}  // namespace korvane
