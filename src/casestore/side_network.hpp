// A network in the reduced form of the side files: what a plain power flow needs, in single precision.
#pragma once
#include "casestore/side_stream.hpp"
#include "frame/run.hpp"
#include "network/store.hpp"

namespace korvane {

/// The two files differ in the rows of the vectors by bus: external numbers in the model file, positions in the flow
/// interface file, which ends with the external numbers of the positions.
enum class SideForm { model, flow };

/// The head of a case: what its vectors are long, and some constants.
struct SideHead {
    Text<80> title;
    int slack;         // external number of the first slack bus
    int buses, ends;   // NB; rows of the adjacency, two a circuit
    int taps, phases;  // rows
    int regulated;     // generators that hold a voltage
    int highest_area;  // external number
    int iterations;    // NITP of the solution
    int rows;          // of a vector by bus: NBMAX, or NB in the flow interface file
    double TEPA, TEPR, TLVC;
    int slacks;  // NSLK
    int loads;   // rows of load models
    int links;   // direct-current links, flow interface file
};
/// The head as it stands behind the link word of its record.
std::string head_bytes(const SideHead& head, SideForm form);
SideHead head_from(std::string_view bytes);
constexpr int SIDE_HEAD_BYTES = 304;

// Lengths that the stream has beside those of the head.
constexpr int SIDE_AREAS = 100;                                     // rows of a vector by area
constexpr std::array<int, 4> SIDE_RESERVE = {810, 190, 600, 1000};  // words of zero, model file
constexpr int SIDE_VOLTAGES = 3000, SIDE_FEW_VOLTAGES = 1500;       // of the second vector of voltages
constexpr int side_voltages(int rows) { return rows <= SIDE_FEW_VOLTAGES ? SIDE_FEW_VOLTAGES : SIDE_VOLTAGES; }
constexpr int SIDE_NO_RATING = 19999, SIDE_HIGHEST_NUMBER = 32767;

/// Why a network does not go into a side file, or does not come out of it.
struct SideFault {
    int message = 0;  // 0 for none
    int element = 0;  // an external number, 0 for none
};
/// The elements in service as head and stream; the store stays as it is. Messages 150: a bus number above 32767, 160:
/// an area number above 100.
SideFault network_to_side(Run& run, SideForm form, SideHead& head, SideWriter& out);
/// Replaces the network by the one of head and stream. After a message the store has its defaults.
SideFault network_from_side(Run& run, SideForm form, const SideHead& head, SideReader& in);

}  // namespace korvane
