// Branches, and the rows that transformers, phase shifters and line-end shunts add to them.
#pragma once
#include "network/bus.hpp"

namespace korvane {

using BranchRef = Ref<Family::branch>;

struct BranchTables {
    static constexpr Family family = Family::branch;
    int NL;
    Table<BusRef, MXLINX> NFROM, NTO;    // end buses; room for fictitious branches behind the real ones
    Table<bool, MXLINX> STLIN;           // in service
    Table<bool, MXLINX> STLIND, STLINP;  // end at NFROM, end at NTO energised
    Table<int, MXLIN> NCIR;              // circuit number, 1 to 99
    Table<int, MXLIN> LTYPE;             // 0 line; 1 fixed tap; 2 with phase; 3 tap under control; 4 with phase;
                                         // 5 series device; 6 phase shifter under control
    Table<int, MXLIN> LITRF;             // types 1, 3: tap row; 2, 4, 6: phase row; 0: line-shunt row; see follow()
    Table<double, MXLIN> GKM, BKM;       // series admittance divided by the tap, pu
    Table<double, MXLIN> BC;             // half of the charging, pu
    Table<double, MXLIN> CAPAC, CAPAE, CAPAQ;  // normal, emergency, equipment rating, MVA; 1E9: none
    Table<int, MXLIN> KAPAC, KAPAE, KAPAQ;     // the same as whole numbers
    Table<bool, MXLIN> OWNER;                  // owned by the side of NFROM
    Table<double, MXLIN> VFNENRG, VFXENRG;     // voltage limits at NFROM, pu
    Table<double, MXLIN> VTNENRG, VTXENRG;     // voltage limits at NTO, pu
    Table<bool, MXLIN> MARKC, MARKL;
    Table<bool, MXLIN> LINSEL;             // selected for reports
    Table<AggregatorRows, MXLIN> IAGRCIR;  // IAGR1CIR to IAGR10CIR

    int& count() { return NL; }
    static constexpr auto columns() {
        using B = BranchTables;
        return std::tuple{column("NFROM", &B::NFROM),
                          column("NTO", &B::NTO),
                          column("STLIN", &B::STLIN, true),
                          column("STLIND", &B::STLIND, true),
                          column("STLINP", &B::STLINP, true),
                          column("NCIR", &B::NCIR),
                          column("LTYPE", &B::LTYPE),
                          column("LITRF", &B::LITRF),
                          column("GKM", &B::GKM),
                          column("BKM", &B::BKM),
                          column("BC", &B::BC),
                          column("CAPAC", &B::CAPAC),
                          column("CAPAE", &B::CAPAE),
                          column("CAPAQ", &B::CAPAQ),
                          column("KAPAC", &B::KAPAC),
                          column("KAPAE", &B::KAPAE),
                          column("KAPAQ", &B::KAPAQ),
                          column("OWNER", &B::OWNER, true),
                          column("VFNENRG", &B::VFNENRG, 0.9),
                          column("VFXENRG", &B::VFXENRG, 1.1),
                          column("VTNENRG", &B::VTNENRG, 0.9),
                          column("VTXENRG", &B::VTXENRG, 1.1),
                          column("MARKC", &B::MARKC),
                          column("MARKL", &B::MARKL),
                          column("LINSEL", &B::LINSEL, true),
                          column("IAGRCIR", &B::IAGRCIR)};
    }
};
static_assert(lists_every_table<BranchTables>());

struct TapTables {
    static constexpr Family family = Family::tap;
    int NTAP;
    Table<BranchRef, MXTAP> NOTAP;        // the transformer
    Table<BusRef, MXTAP> KBUS;            // controlled bus; minus: the tap acts the other way on it
    Table<double, MXTAP> TAP;             // 1/a, a being the ratio on the from side
    Table<double, MXTAP> TPMIN, TPMAX;    // limits of a
    Table<double, MXTAP> VBUS;            // controlled voltage, pu
    Table<double, MXTAP> VBARRA;          // copy of it
    Table<int, MXTAP> NTSTP;              // tap positions
    Table<int, MXTAP> NTTAP;              // where the control left the tap: 0 free, 1 at TPMAX, 2 at TPMIN
    Table<int, MXTAP> NTTVF;              // state of the band control
    Table<double, MXTAP> VMNTVF, VMXTVF;  // voltage band, pu
    Table<bool, MXTAP> TVFLIM;            // outside the band to its nearest limit; else to its centre
    Table<bool, MXTAP> FTPDIS;            // the tap moves in whole positions
    Table<double, MXTAP> FATRF;           // control factor

    int& count() { return NTAP; }
    static constexpr auto columns() {
        using T = TapTables;
        return std::tuple{
            column("NOTAP", &T::NOTAP),         column("KBUS", &T::KBUS),     column("TAP", &T::TAP, 1.0),
            column("TPMIN", &T::TPMIN),         column("TPMAX", &T::TPMAX),   column("VBUS", &T::VBUS),
            column("VBARRA", &T::VBARRA),       column("NTSTP", &T::NTSTP),   column("NTTAP", &T::NTTAP),
            column("NTTVF", &T::NTTVF),         column("VMNTVF", &T::VMNTVF), column("VMXTVF", &T::VMXTVF),
            column("TVFLIM", &T::TVFLIM, true), column("FTPDIS", &T::FTPDIS), column("FATRF", &T::FATRF, 1.0)};
    }
};
static_assert(lists_every_table<TapTables>());

struct PhaseTables {
    static constexpr Family family = Family::phase;
    int NPHS;
    Table<Ref<Family::tap>, MXPHS> NOPHS;  // its tap row
    Table<double, MXPHS> PHS;              // phase shift, added to the angle across the branch, rad
    Table<double, MXPHS> PHSMIN, PHSMAX;   // limits, rad
    Table<double, MXPHS> VSPPHS;           // target of the control
    Table<int, MXPHS> NPHSTP;              // positions
    Table<int, MXPHS> KONPHS;              // kind of control
    Table<BusRef, MXPHS> NBEPHS;           // end at which the target is measured
    Table<bool, MXPHS> FLGPHS;             // at a limit
    Table<bool, MXPHS> bridge;             // its branch alone holds its island together, as CONTAP found

    int& count() { return NPHS; }
    static constexpr auto columns() {
        using P = PhaseTables;
        return std::tuple{column("NOPHS", &P::NOPHS),   column("PHS", &P::PHS),       column("PHSMIN", &P::PHSMIN),
                          column("PHSMAX", &P::PHSMAX), column("VSPPHS", &P::VSPPHS), column("NPHSTP", &P::NPHSTP),
                          column("KONPHS", &P::KONPHS), column("NBEPHS", &P::NBEPHS), column("FLGPHS", &P::FLGPHS),
                          column("bridge", &P::bridge)};
    }
};
static_assert(lists_every_table<PhaseTables>());

struct LineShuntTables {
    static constexpr Family family = Family::line_shunt;
    int NSHL;
    Table<BranchRef, MXSHL> LISHL;
    Table<double, MXSHL> SHLFR, SHLTO;  // susceptance at the from and at the to end, pu
    Table<bool, MXSHL> STSHLD, STSHLP;  // switched in at the from, at the to end

    int& count() { return NSHL; }
    static constexpr auto columns() {
        using L = LineShuntTables;
        return std::tuple{column("LISHL", &L::LISHL), column("SHLFR", &L::SHLFR), column("SHLTO", &L::SHLTO),
                          column("STSHLD", &L::STSHLD, true), column("STSHLP", &L::STSHLP, true)};
    }
};
static_assert(lists_every_table<LineShuntTables>());

}  // namespace korvane
