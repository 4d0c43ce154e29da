// ARQV as the operator types it.
#pragma once
#include "casestore/casestore.hpp"
#include "casestore/record_file.hpp"
#include "casestore/stored_networks.hpp"

namespace korvane::testing {

/// A run with a case file of its own and a network of three buses in memory.
class Desk {
public:
    Session session{SessionOptions{}};
    korvane::Run& run;
    Desk() : run(session.start().run) {
        open(RecordFile::Mode::create);
        network();
    }
    void network() {
        made_store(run, 5, 0.0, 9000);
        run.store.sol.CONVSTAT = 1;
        run.TITLE = Text<80>::of("Three buses");
    }
    void open(RecordFile::Mode mode) {
        run.units.cases.reset();
        run.units.cases = std::make_unique<RecordFile>("CASES.SAV", CASE_RECORD, mode);
    }
    /// One ARQV with these options and the lines behind it. Numbers of the messages, as "CNFILE 100".
    std::string arqv(const std::vector<Option>& options, std::string_view lines, void (*routine)(Run&) = nullptr) {
        run.opt.restore();
        for (Option o : {"INIC"_opt, "ELIM"_opt, "GRAV"_opt, "REST"_opt, "LIST"_opt, "SUBS"_opt, "NOVO"_opt, "KORV"_opt,
                         "V962"_opt, "AREG"_opt, "JUMP"_opt, "IMPR"_opt, "PECO"_opt})
            run.opt.clear(o);
        for (Option o : options) run.opt.set(o);
        session.feed(lines);
        run.msg.printed.clear();
        session.os.output.clear();
        try {
            if (routine)
                routine(run);
            else
                CNFILE(run);
        } catch (const RunStop&) {  // a batch run ends behind an error
        }
        std::string all;
        for (const auto& m : run.msg.printed)
            all += (all.empty() ? "" : ", ") + m.routine + ' ' + std::to_string(m.number);
        return all;
    }
    /// Case numbers in the file, each with w or n for its encoding and its version.
    std::string cases() {
        FileRecords r(machine_disk(), run.units.cases->descriptor(), "CASES.SAV", CASE_RECORD, true);
        const Reading scope(r);
        Directory d;
        std::string all;
        if (!scope || !d.read(r)) return "no directory";
        for (int n = 1; n <= CASES; ++n) {
            CaseHead head;
            if (!d.has(n) || !read_head(r, d.first(n), head)) continue;
            all += (all.empty() ? "" : " ") + std::to_string(n) + (head.encoding == Encoding::wide ? 'w' : 'n') +
                   std::to_string(head.version);
        }
        return all;
    }
};

}  // namespace korvane::testing
