// Constants: named numbers that tune a run, read from DCTE in card units, held in internal units.
#pragma once
#include <span>
#include <string_view>

namespace korvane {

struct Run;

/// The constants in internal units: per unit of BASE, fractions, radians. reset() gives the defaults.
struct Constants {
    double BASE, RBASE;  // MVA, and its reciprocal (CTE_BASE, CTE_RBASE)
    double TEPA, TEPR, TLPR, TLVC, TLTC, TETP, TBPA, TSFR, CSTP, ZMAX, QLST, EXST, TPST, TLPP, TLPQ, TLPV, TSBZ, TSBA;
    double VDVN, VDVM, ASTP, VSTP, TUDC, TADC, DASE, PGER, ZMIN, VFLD;
    int LPRT, HIST, ACIT, LPIT, LFLP, LFCV, LFIT, DCIT, VSIT, LCRT, PDIT;
    double XGHT, FGHT;
    int DMAX, ICIT, TSTP;
    double VART, FDIV, ICMN, TSDC, ASDC, ICMV, APAS, CPAR, VAVT, VAVF, VMVF, VPVT, VPVF, VPMF, VSVF, VINF, VSUP, TLSI;
    double NDIR;
    int NDIRI;  // NDIR as the nearest integer
    double STTR, TRPT, STIR, BFPO, LFPO, TLMT, TLMF, TLMG;

    /// The defaults of a reset store.
    void reset();
};

/// One row of the table of constants.
struct ConstantRow {
    /// How a number on the card becomes the internal value.
    enum class Scale { as_read, power, percent_single, percent_double, radians, integer, inverse_square, unused };
    int index;  // 1 to 106
    char name[5];
    Scale scale = Scale::unused;
    double initial = 0;                 // in card units
    double Constants::*real = nullptr;  // where it lives; neither for a name that no routine reads
    int Constants::*whole = nullptr;    // for a real constant: its nearest integer, kept beside it
};

/// The table of constants, in the order of the name table.
std::span<const ConstantRow> constant_table();

/// What a block of constants asks of the network, which is not the frame's to touch.
struct ConstantsRead {
    double rating_factor = 1.0;  // %SBC: what every branch rating is multiplied by
    bool ratings = false;        // %SBC was given
    bool jumpers = false;        // ZMIN was given: branches are marked anew
};

/// INPCTE: reads DCTE and applies it to the constants, good entries also when others were wrong. Messages 100 to 150,
/// -900 to -920.
ConstantsRead INPCTE(Run& run);

}  // namespace korvane
