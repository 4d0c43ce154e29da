// Direct-current links: their buses, lines and converters.
#pragma once
#include "network/bus.hpp"

namespace korvane {

struct LinkTables {
    static constexpr Family family = Family::link;
    int NLDC;
    Table<int, MXLDC> NINLNK;  // external number
    Table<Text<20>, MXLDC> NAMLNK;
    Table<bool, MXLDC> STUELO;  // in service

    int& count() { return NLDC; }
    static constexpr auto columns() {
        using L = LinkTables;
        return std::tuple{column("NINLNK", &L::NINLNK), column("NAMLNK", &L::NAMLNK, BLANK<20>),
                          column("STUELO", &L::STUELO, true)};
    }
};
static_assert(lists_every_table<LinkTables>());

struct DcBusTables {
    static constexpr Family family = Family::dc_bus;
    int NDCB;
    Table<int, MXDCB> NDCINT;  // external number
    Table<Ref<Family::link>, MXDCB> LINKDC;

    int& count() { return NDCB; }
    static constexpr auto columns() {
        return std::tuple{column("NDCINT", &DcBusTables::NDCINT), column("LINKDC", &DcBusTables::LINKDC)};
    }
};
static_assert(lists_every_table<DcBusTables>());

struct DcLineTables {
    static constexpr Family family = Family::dc_line;
    int NDCL;
    Table<Ref<Family::dc_bus>, MXDCL> NDCFR, NDCTO;
    Table<int, MXDCL> NDCIR;

    int& count() { return NDCL; }
    static constexpr auto columns() {
        return std::tuple{column("NDCFR", &DcLineTables::NDCFR), column("NDCTO", &DcLineTables::NDCTO),
                          column("NDCIR", &DcLineTables::NDCIR)};
    }
};
static_assert(lists_every_table<DcLineTables>());

struct ConverterTables {
    static constexpr Family family = Family::converter;
    int NCNV;
    Table<int, MXCNV> NCVINT;     // external number
    Table<BusRef, MXCNV> INTBUS;  // AC bus
    Table<Ref<Family::dc_bus>, MXCNV> NDCBUS, NELBUS;
    Table<double, MXCNV> VCNV;  // voltage held at the AC bus, pu

    int& count() { return NCNV; }
    static constexpr auto columns() {
        using C = ConverterTables;
        return std::tuple{column("NCVINT", &C::NCVINT), column("INTBUS", &C::INTBUS), column("NDCBUS", &C::NDCBUS),
                          column("NELBUS", &C::NELBUS), column("VCNV", &C::VCNV, 1.0)};
    }
};
static_assert(lists_every_table<ConverterTables>());

}  // namespace korvane
