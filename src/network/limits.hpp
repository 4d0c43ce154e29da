// How many rows each table of the store has room for.
#pragma once

namespace korvane {

constexpr int MXBUS = 20000;   // buses
constexpr int MXLIN = 40000;   // branches
constexpr int MXLINX = 80000;  // branches with the fictitious ones of the augmented equations
constexpr int MXGEN = 6000;    // buses with generation data
constexpr int MXTAP = 16000;   // transformers
constexpr int MXPHS = 3000;    // phase shifters
constexpr int MXSHT = 8000;    // bus shunts
constexpr int MXSHL = 4000;    // line shunts
constexpr int MXRCB = 1000;    // generators that control a remote bus
constexpr int MXSLK = 5000;    // slack generators
constexpr int MXFLD = 10000;   // load models
constexpr int MXEQV = 5000;    // equivalent injections
constexpr int MXARE = 200;     // areas
constexpr int MXGBT = 200;     // base-voltage groups
constexpr int MXGLT = 200;     // voltage-limit groups
constexpr int MXMOT = 2000;    // motors
constexpr int MXCSC = 400;     // controllable series devices
constexpr int MXCER = 400;     // static compensators
constexpr int MXCAI = 40000;   // individual loads
constexpr int MXGEI = 24000;   // individual generators
constexpr int MXBSH = 5000;    // shunt bank groups
constexpr int MXBSHL = 30000;  // units of shunt banks
constexpr int MXSCA = 8000;    // automatic shunts
constexpr int MXLDC = 36;      // direct-current links
constexpr int MXDCB = 216;     // direct-current buses
constexpr int MXDCL = 72;      // direct-current lines
constexpr int MXCNV = 144;     // converters
constexpr int MXTRM = 72;      // AC buses with converters
constexpr int MXCTG = 1000;    // contingencies
constexpr int MXPRI = 12;      // their classes
constexpr int MXCHG = 2000;    // their changes
constexpr int MXCTV = 4200;    // values of these
constexpr int MXVCO = 300;     // control variables of the optimisation
constexpr int MXPTO = 900;     // points of their cost curves
constexpr int MXRES = 50;      // group constraints
constexpr int MXCFT = 200;     // their terms
constexpr int MXMTB = 14000;   // monitored buses
constexpr int MXMTG = 4200;    // monitored generators
constexpr int MXMTL = 28000;   // monitored branches
constexpr int MXFCR = 5000;    // remote-control factors
constexpr int MXFQL = 5000;    // reactive-limit factors
constexpr int MXTPF = 8000;    // taps held fixed
constexpr int MXSLP = 2000;    // alternative slacks
constexpr int MXBTB = 2000;    // buses of the voltage table
constexpr int MXSUM = 2000;    // members of the sums of generation
constexpr int MXFTB = 4000;    // sums of branch flows
constexpr int MXLTB = 12000;   // their members
constexpr int MXFRP = 10;      // islands that hold their frequency
constexpr int MXCMT = 1520;    // characters of the comment of the case
constexpr int MXTIE = 28000;   // branches between areas
constexpr int MXAGR = 10;      // aggregators
constexpr int MXAGROW = 200;   // groups in one aggregator
constexpr int MXNUM = 99999;   // highest external bus number
constexpr int MXCTR = 5000;    // controls that CTROFF changes
constexpr int MXILH = 20000;   // islands

}  // namespace korvane
