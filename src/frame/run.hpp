// One run of the program, one object: all state that its routines share.
#pragma once
#include <memory>
#include <string>

#include "frame/constants.hpp"
#include "frame/control.hpp"
#include "frame/messages.hpp"
#include "frame/options.hpp"
#include "frame/page.hpp"
#include "frame/text.hpp"
#include "frame/units.hpp"
#include "platform/platform.hpp"

namespace korvane {

struct Store;
struct Matrices;

/// The case file as routines share it.
struct CaseState {
    int NCASO = 0;         // number of the case that the present operation is about
    int held = 0;          // case that was restored last
    bool CASFULL = false;  // the last save found no room, or failed otherwise
};

/// Columns of the present data card, changed in place so that the echo shows what was used.
using Card = Text<132>;

struct Run {
    Platform& os;
    Store& store;
    Matrices& mat;  // ordering, factors and right-hand sides of the solvers
    Units units{};
    Formats fmt{};
    Messages msg{};
    Options opt{};
    Constants cte{};
    Control ctl{};
    PageState pag{};
    CaseState cas{};
    Text<80> TITLE{};
    Card CARD{};

    Run(Platform& platform, Store& s, Matrices& m) : os(platform), store(s), mat(m) {}
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
};

}  // namespace korvane
