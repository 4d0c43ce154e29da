// The priority-case driver: controls join the solution one by one, in the order of the code line.
#include <string>

#include "frame/page.hpp"
#include "powerflow/powerflow.hpp"

namespace korvane {

namespace {

// Rows of block PWFPRI.
constexpr int STATE = 1, LAST_STATE = 7;  // the text of a CONVSTAT
constexpr int FIRST_TITLE = 9;            // of the case as it came in
constexpr int ACCEPTED = 10, GIVEN_UP = 11, CLOSING = 12;
constexpr int NOT_KEPT = 100, NOT_BROUGHT_BACK = 110;

constexpr Option CONTROLS[] = {"QLIM"_opt, "CREM"_opt, "CTAP"_opt, "CSCA"_opt, "CPHS"_opt};

std::string trimmed(const std::string& text) {
    const auto end = text.find_last_not_of(' ');
    return end == std::string::npos ? std::string() : text.substr(0, end + 1);
}

/// The steps of one run of the driver.
class Steps {
public:
    Steps(Run& run, CaseKeeper& cases) : run_(run), cases_(cases) {}

    bool keep() {
        if (cases_.keep(run_, ++number_)) return true;
        MSGPUT(run_, "PWFPRI", NOT_KEPT, number_, element::number);
        return false;
    }
    /// The solution with one more control. False: the run cannot go on.
    bool add(Option control) {
        run_.opt.set(control);
        PWFSOL(run_);
        if (run_.msg.errors_wait()) MSGOUT(run_);
        const int state = run_.store.sol.CONVSTAT;
        const std::string name(OPTION(control.index));
        if (state != 1) {
            run_.opt.clear(control);
            box(GIVEN_UP, name, state);
            if (cases_.bring_back(run_, number_)) return true;
            MSGPUT(run_, "PWFPRI", NOT_BROUGHT_BACK, number_, element::number);
            return false;
        }
        run_.TITLE = trimmed(std::string(run_.TITLE.trimmed())) + " + " + name;
        if (!keep()) return false;
        box(ACCEPTED, std::string(run_.TITLE.trimmed()), state);
        return true;
    }
    void close() {
        LDFORM(run_, "PWFPRI");
        run_.pag.NLINE += print_rot(run_, CLOSING, {std::string(run_.TITLE.trimmed())});
    }

private:
    void box(int row, const std::string& text, int state) {
        LDFORM(run_, "PWFPRI");
        const int shown = std::min(STATE + std::max(state, 0), LAST_STATE);
        run_.pag.NLINE += print_rot(run_, row, {text, run_.fmt.rot(shown).text()});
    }
    Run& run_;
    CaseKeeper& cases_;
    int number_ = 0;
};

}  // namespace

void PWFPRI(Run& run, CaseKeeper& cases) {
    LDFORM(run, "PWFPRI");
    const auto title = run.TITLE;
    run.TITLE = run.fmt.rot(FIRST_TITLE).text();
    for (const Option control : CONTROLS) run.opt.clear(control);
    run.pag.NLINE = run.pag.LPP;
    Steps steps(run, cases);
    bool goes_on = steps.keep();
    const std::vector<int> order = run.ctl.order;
    for (const int index : order)
        if (goes_on && index > 0) goes_on = steps.add(Option{index});
    steps.close();
    run.TITLE = title;
}

}  // namespace korvane
