// The head of a case of the side files: one list of items, without gaps between them.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "casestore/side_network.hpp"

namespace korvane {

namespace {

constexpr int AREAS = 41, MODEL_VOLTAGES = 5555, FLOW_VOLTAGES = 3000, LINE_WIDTH = 40, FORMAT = 100;
constexpr int EXTRA_CELLS = 35, EXTRA_SLACKS = 11, EXTRA_LOADS = 13, EXTRA_LINKS = 14, EXTRA_FLOW = 16;
constexpr double HIGHEST_VOLTAGE = 1.05, LOWEST_VOLTAGE = 0.95;

class Items {
public:
    void put(std::int32_t v) { add(&v, sizeof v); }
    void put(double v) {
        const float single = float(v);
        add(&single, sizeof single);
    }
    void put(std::string_view text) { bytes.append(text); }
    void zeros(int n) { bytes.append(std::size_t(n), '\0'); }
    void halves(const std::array<std::int16_t, EXTRA_CELLS>& cells) { add(cells.data(), sizeof cells); }
    std::string bytes;

private:
    void add(const void* p, std::size_t n) { bytes.append(static_cast<const char*>(p), n); }
};

/// Item at a byte, as a number.
int integer_at(std::string_view bytes, std::size_t at) {
    std::int32_t v = 0;
    std::memcpy(&v, bytes.data() + at, sizeof v);
    return v;
}
double real_at(std::string_view bytes, std::size_t at) {
    float v = 0;
    std::memcpy(&v, bytes.data() + at, sizeof v);
    return std::isfinite(v) ? double(v) : 0;
}

}  // namespace

std::string head_bytes(const SideHead& h, SideForm form) {
    const bool flow = form == SideForm::flow;
    Items out;
    out.put(h.title.view());
    for (const int v : {h.slack, h.buses, h.ends, h.taps, h.regulated, h.highest_area, h.phases, h.iterations, h.rows,
                        AREAS, h.buses - h.slacks, FORMAT})
        out.put(v);
    for (const double v : {h.TEPA, h.TEPR, HIGHEST_VOLTAGE, LOWEST_VOLTAGE, h.TLVC}) out.put(v);
    out.put(flow ? FLOW_VOLTAGES : MODEL_VOLTAGES);
    for (const int n : SIDE_RESERVE) out.put(flow ? 0 : n);
    out.put(0.0);
    out.put(0.0);
    out.put(LINE_WIDTH);
    std::array<std::int16_t, EXTRA_CELLS> extra{};
    const auto cell = [&](int n) -> std::int16_t& { return extra[std::size_t(n - 1)]; };
    cell(EXTRA_SLACKS) = std::int16_t(h.slacks - 1);
    cell(EXTRA_LOADS) = std::int16_t(flow ? h.loads != 0 : h.loads);
    if (flow) cell(EXTRA_LINKS) = std::int16_t(h.links), cell(EXTRA_FLOW) = 1;
    out.halves(extra);
    out.put(" KORVANE");
    out.put(flow ? "VERSAO06" : "VERSAO05");
    out.put(std::string(20, ' '));
    if (flow)
        out.put(std::string(6, ' '));
    else
        out.zeros(6);
    for (const int v : {0, 1, 0}) out.put(v);
    return out.bytes;
}

SideHead head_from(std::string_view bytes) {
    SideHead h{};
    h.title = bytes.substr(0, 80);
    constexpr std::size_t NUMBERS = 80, TOLERANCES = NUMBERS + 12 * 4, EXTRA = TOLERANCES + 13 * 4;
    int* const numbers[] = {&h.slack,        &h.buses,  &h.ends,       &h.taps, &h.regulated,
                            &h.highest_area, &h.phases, &h.iterations, &h.rows};
    std::size_t at = NUMBERS;
    for (int* const n : numbers) *n = integer_at(bytes, at), at += 4;
    h.TEPA = real_at(bytes, TOLERANCES);
    h.TEPR = real_at(bytes, TOLERANCES + 4);
    h.TLVC = real_at(bytes, TOLERANCES + 16);
    const auto cell = [&](int n) {
        std::int16_t v = 0;
        std::memcpy(&v, bytes.data() + EXTRA + std::size_t(n - 1) * 2, sizeof v);
        return int(v);
    };
    h.slacks = cell(EXTRA_SLACKS) + 1;
    h.loads = cell(EXTRA_LOADS);
    h.links = cell(EXTRA_LINKS);
    return h;
}

}  // namespace korvane
